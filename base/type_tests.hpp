// isinstance() as the host judges it; with the fast roads, without its lookup of
// `__class__` for the objects whose type leaves no room for another class.
#pragma once

#include "attributes.hpp"
#include "operations.hpp"

namespace tess {

inline bool is_float_type(PyTypeObject* type) { return PyType_IsSubtype(type, &PyFloat_Type); }
inline bool is_str_type(PyTypeObject* type) { return PyType_FastSubclass(type, Py_TPFLAGS_UNICODE_SUBCLASS); }
inline bool is_tuple_type(PyTypeObject* type) { return PyType_FastSubclass(type, Py_TPFLAGS_TUPLE_SUBCLASS); }
inline bool is_list_type(PyTypeObject* type) { return PyType_FastSubclass(type, Py_TPFLAGS_LIST_SUBCLASS); }
inline bool is_dict_type(PyTypeObject* type) { return PyType_FastSubclass(type, Py_TPFLAGS_DICT_SUBCLASS); }
inline bool is_int_type(PyTypeObject* type) { return PyType_FastSubclass(type, Py_TPFLAGS_LONG_SUBCLASS); }
inline bool is_number_type(PyTypeObject* type) { return is_int_type(type) || is_float_type(type); }

// isinstance(object, classes) for classes of the plain metaclass `type`,
// where `test` says whether a type is one of them.  As with isinstance, an
// object that claims another `__class__` (a proxy, a mock with a spec) is
// judged by that class as well.
template <typename Test>
bool isinstance_by(PyObject* object, Test&& test)
{
    PyTypeObject* type = Py_TYPE(object);
    if (test(type))
        return true;
    if (class_is_type(type))
        return false;
    Ref claimed = getattr_optional(object, n_dunder_class);
    return claimed && PyType_Check(claimed.get()) && claimed.get() != reinterpret_cast<PyObject*>(type) &&
           test(reinterpret_cast<PyTypeObject*>(claimed.get()));
}

// isinstance(object, cls) for any class.
inline bool isinstance_of(PyObject* object, PyObject* cls)
{
    if (!PyType_CheckExact(cls))
        return is_instance(object, cls);
    auto* wanted = reinterpret_cast<PyTypeObject*>(cls);
    return isinstance_by(object, [wanted](PyTypeObject* type) { return PyType_IsSubtype(type, wanted) != 0; });
}

}  // namespace tess
