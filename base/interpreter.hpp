// What the fast roads read of the interpreter's own object layout.  An
// instance of an ordinary class keeps its attributes in values placed right
// behind the object, at positions that the class's shared keys give; the
// interpreter's specialised bytecode reads them there, and so do the fast
// roads of attributes.cpp.  This header is the only place that knows that
// layout: it mirrors the internal definitions of CPython 3.13 with the global
// interpreter lock and nothing else, so it refuses to compile for another
// interpreter (build with -DTESSARINE_FAST_ROADS=OFF there).
#pragma once

#include "reference.hpp"

#include <cstdint>

#if !TESSARINE_FAST_ROADS
#error "interpreter.hpp belongs to the fast roads"
#endif
#if PY_VERSION_HEX < 0x030D0000 || PY_VERSION_HEX >= 0x030E0000
#error "interpreter.hpp mirrors the object layout of CPython 3.13 only"
#endif
#ifdef Py_GIL_DISABLED
#error "interpreter.hpp mirrors the layout of the build with the global interpreter lock"
#endif

namespace tess::interpreter {

// struct _dictvalues (internal/pycore_dict.h)
struct DictValues {
    std::uint8_t capacity;
    std::uint8_t size;
    std::uint8_t embedded;
    std::uint8_t valid;
    PyObject* values[1];
};

// struct _dictkeysobject (internal/pycore_dict.h)
struct DictKeys {
    Py_ssize_t dk_refcnt;
    std::uint8_t dk_log2_size;
    std::uint8_t dk_log2_index_bytes;
    std::uint8_t dk_kind;
    std::uint32_t dk_version;
    Py_ssize_t dk_usable;
    Py_ssize_t dk_nentries;
    char dk_indices[1];
};

// PyDictUnicodeEntry (internal/pycore_dict.h)
struct UnicodeEntry {
    PyObject* me_key;
    PyObject* me_value;
};

inline bool keeps_inline_values(PyTypeObject* type) noexcept
{
    return (type->tp_flags & Py_TPFLAGS_INLINE_VALUES) != 0;
}

// _PyObject_InlineValues: right behind the object, for such types only.
inline DictValues* inline_values(PyObject* object) noexcept
{
    return reinterpret_cast<DictValues*>(reinterpret_cast<char*>(object) + Py_TYPE(object)->tp_basicsize);
}

// _PyObject_GetManagedDict: the dict object, once someone asked for __dict__.
inline PyObject* managed_dict(PyObject* object) noexcept
{
    return *reinterpret_cast<PyObject**>(reinterpret_cast<char*>(object) - 3 * static_cast<Py_ssize_t>(sizeof(PyObject*)));
}

// The keys that all instances of the class share; they only ever grow.
inline DictKeys* shared_keys(PyTypeObject* type) noexcept
{
    return reinterpret_cast<DictKeys*>(reinterpret_cast<PyHeapTypeObject*>(type)->ht_cached_keys);
}

// Position of `name` among the shared keys, which is its position among an
// instance's values, or -1.
inline Py_ssize_t key_index(DictKeys* keys, PyObject* name) noexcept
{
    const auto* entries =
        reinterpret_cast<const UnicodeEntry*>(keys->dk_indices + (std::size_t{1} << keys->dk_log2_index_bytes));
    for (Py_ssize_t i = 0; i < keys->dk_nentries; ++i)
        if (entries[i].me_key == name)
            return i;
    // Keys are interned as attributes are set; an equal key that is not the
    // same object would be one put into __dict__ directly.
    for (Py_ssize_t i = 0; i < keys->dk_nentries; ++i)
        if (entries[i].me_key && PyUnicode_Compare(entries[i].me_key, name) == 0)
            return i;
    return -1;
}

}  // namespace tess::interpreter
