// What the module reads of the interpreter's own object layout.  An instance
// of an ordinary class keeps its attributes in values placed right behind
// the object header, at positions that the class's shared keys give; the
// interpreter's specialised bytecode reads them there, and so do the fast
// roads of attributes.cpp.  This header is the only place that knows that
// layout: it mirrors the internal definitions of CPython 3.13 and nothing
// else, so it refuses to compile for another version.
#pragma once

#include "reference.hpp"

#include <cstdint>

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

// Whether every key of the dict is an exact str (a dict whose keys are
// DICT_KEYS_UNICODE or DICT_KEYS_SPLIT, not DICT_KEYS_GENERAL): looking up an
// exact str there compares str with str and runs no code of any key.
inline bool str_keys_only(PyObject* dict) noexcept
{
    constexpr std::uint8_t kGeneralKeys = 0;
    return reinterpret_cast<DictKeys*>(reinterpret_cast<PyDictObject*>(dict)->ma_keys)->dk_kind != kGeneralKeys;
}

inline bool keeps_inline_values(PyTypeObject* type) noexcept
{
    return (type->tp_flags & Py_TPFLAGS_INLINE_VALUES) != 0;
}

// _PyObject_InlineValues: right behind the header, for such types only.
inline DictValues* inline_values(PyObject* object) noexcept
{
    return reinterpret_cast<DictValues*>(reinterpret_cast<char*>(object) + sizeof(PyObject));
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

// `number += amount` where `number` is an exact float or an exact positive
// one-digit int that nothing but the caller's one reference holds: the sum
// is written into the object itself, as the interpreter does for a float
// whose last reference is the left operand, and no one can tell the object
// from a new one.  False, with nothing changed, where that does not apply.
inline bool add_in_place(PyObject* number, PyObject* amount) noexcept
{
    if (Py_REFCNT(number) != 1 || (!PyLong_CheckExact(amount) && !PyFloat_CheckExact(amount)))
        return false;
    auto* addend = reinterpret_cast<PyLongObject*>(amount);
    const bool small_addend = PyLong_CheckExact(amount) && _PyLong_IsCompact(addend);
    if (PyFloat_CheckExact(number)) {
        if (PyFloat_CheckExact(amount))
            reinterpret_cast<PyFloatObject*>(number)->ob_fval += PyFloat_AS_DOUBLE(amount);
        else if (small_addend)
            reinterpret_cast<PyFloatObject*>(number)->ob_fval += static_cast<double>(_PyLong_CompactValue(addend));
        else
            return false;
        return true;
    }
    constexpr std::uintptr_t kOnePositiveDigit = std::uintptr_t{1} << _PyLong_NON_SIZE_BITS;
    auto* held = reinterpret_cast<PyLongObject*>(number);
    if (!PyLong_CheckExact(number) || held->long_value.lv_tag != kOnePositiveDigit || !small_addend)
        return false;
    const Py_ssize_t sum = static_cast<Py_ssize_t>(held->long_value.ob_digit[0]) + _PyLong_CompactValue(addend);
    if (sum < 1 || sum > static_cast<Py_ssize_t>(PyLong_MASK))
        return false;
    held->long_value.ob_digit[0] = static_cast<digit>(sum);
    return true;
}

}  // namespace tess::interpreter
