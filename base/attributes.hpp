// Attribute reads, writes and method calls by a Name: the operations that
// subsystem code asks of objects.  Each means what the same expression
// means in Python.
//
// With TESSARINE_FAST_ROADS, they take the shortcuts the interpreter's own
// specialised bytecode takes: a plain instance attribute is read and
// replaced among the instance's values, a property of the module's own
// classes runs its getter, and a method of the module's own classes is
// called without a bound method or a second lookup.  Each shortcut is taken
// only where the class, unchanged since it was last judged (its version
// tag), and the instance leave no doubt that the general road would arrive
// at the very same place; everywhere else, and always without the switch,
// the general road is taken.
#pragma once

#include "names.hpp"
#include "operations.hpp"
#if TESSARINE_FAST_ROADS
#include "function.hpp"
#include "interpreter.hpp"
#endif

#include <initializer_list>
#include <span>

namespace tess {

#if TESSARINE_FAST_ROADS

namespace road {
// instance_value: the instance keeps its attributes among inline values;
// data_descriptor: one whose class is fixed, so its get slot is what the
// lookup would call;
// no_instance_dict: instances have no attributes of their own at all;
// class_member: what Class.name gives, always the same object;
// dict_entry: the class has nothing of the name, so the instance's own
// dict (at the class's dict offset) decides.
enum : std::uint8_t { general, instance_value, data_descriptor, no_instance_dict, class_member, dict_entry };
}  // namespace road

Ref getattr_judged(Borrowed object, const Name& name);
void setattr_judged(Borrowed object, const Name& name, Borrowed value);

// What the data descriptor `held` gives for `object`, as the lookup that
// found it would ask.
inline Ref descriptor_value(PyObject* held, Borrowed object)
{
    Ref descriptor = Ref::borrow(held);  // its class may let go of it while it runs
    PyObject* owner = reinterpret_cast<PyObject*>(Py_TYPE(object.get()));
    return Ref::steal(Py_TYPE(held)->tp_descr_get(descriptor, object, owner));
}

// The instance's own value that the site finds (borrowed), or NULL.
inline PyObject* instance_value(const AttributeSite& site, PyObject* object) noexcept
{
    if (site.road != road::instance_value || site.index < 0)
        return nullptr;
    interpreter::DictValues* values = interpreter::inline_values(object);
    return values->valid ? values->values[site.index] : nullptr;
}

// object.name
inline Ref getattr(Borrowed object, const Name& name)
{
    if (AttributeSite* site = name.sites().find(Py_TYPE(object.get()))) {
        if (PyObject* value = instance_value(*site, object))
            return Ref::borrow(value);
        if (site->road == road::data_descriptor)
            return descriptor_value(site->held, object);
    }
    return getattr_judged(object, name);
}

// object.name (borrowed) where the instance holds it among its own values,
// so reading it runs no code; NULL wherever only the general road can tell.
inline PyObject* stored_in_place(Borrowed object, const Name& name) noexcept
{
    AttributeSite* site = name.sites().find(Py_TYPE(object.get()));
    return site ? instance_value(*site, object) : nullptr;
}

// object.name = value
inline void setattr(Borrowed object, const Name& name, Borrowed value)
{
    // Replaced in place only where the instance already has the attribute
    // among its values, and no dict object stands for them.
    AttributeSite* site = name.sites().find(Py_TYPE(object.get()));
    if (site && site->writable && site->index >= 0 && !interpreter::managed_dict(object)) {
        interpreter::DictValues* values = interpreter::inline_values(object);
        PyObject** slot = &values->values[site->index];
        if (values->valid && *slot) {
            PyObject* old = *slot;
            *slot = Py_NewRef(value.get());
            Py_DECREF(old);
            return;
        }
    }
    setattr_judged(object, name, value);
}

// The method that the site's class holds, unless an attribute of the
// instance hides it; NULL where the shortcut cannot be sure.
inline PyObject* unhidden_method(const AttributeSite& site, PyObject* self) noexcept
{
    if (site.road == road::no_instance_dict)
        return site.held;
    if (site.road != road::instance_value)
        return nullptr;
    interpreter::DictValues* values = interpreter::inline_values(self);
    return values->valid && (site.index < 0 || !values->values[site.index]) ? site.held : nullptr;
}

PyObject* method_judged(Borrowed self, const Name& name) noexcept;

// The method that `self.name` would bind (borrowed from the class), or NULL
// where the shortcut cannot be sure.
inline PyObject* method_of(Borrowed self, const Name& name) noexcept
{
    PyTypeObject* type = Py_TYPE(self.get());
    AttributeSite* site = name.sites().find(type);
    // The class's shared keys only grow: a name they lacked may have come since.
    if (!site || (site->road == road::instance_value && site->index < 0 &&
                  interpreter::shared_keys(type)->dk_nentries != site->known_keys))
        return method_judged(self, name);
    return unhidden_method(*site, self);
}

// self.name(*leading, *rest)
inline Ref call_method(Borrowed self, const Name& name, std::initializer_list<Borrowed> leading = {},
                       std::span<PyObject* const> rest = {})
{
    PyObject* found = method_of(self, name);
    MethodStack stack(self, leading, rest);
    if (!found)
        return Ref::steal(PyObject_VectorcallMethod(name, stack.data(), stack.size() | PY_VECTORCALL_ARGUMENTS_OFFSET,
                                                    nullptr));
    Ref method = Ref::borrow(found);  // the class may drop it while it runs
    if (is_function(method))
        return Ref::steal(call_function(method, stack.data(), stack.size()));
    return Ref::steal(PyObject_Vectorcall(method, stack.data(), stack.size(), nullptr));
}

// Confirms at start-up that the interpreter lays out instances as
// interpreter.hpp expects; where it does not, only the general road is used.
void check_instance_layout();

#else

inline Ref getattr(Borrowed object, const Name& name) { return Ref::steal(PyObject_GetAttr(object, name)); }
inline PyObject* stored_in_place(Borrowed, const Name&) noexcept { return nullptr; }
inline void setattr(Borrowed object, const Name& name, Borrowed value)
{
    check(PyObject_SetAttr(object, name, value));
}
inline Ref call_method(Borrowed self, const Name& name, std::initializer_list<Borrowed> leading = {},
                       std::span<PyObject* const> rest = {})
{
    return call_method(self, Borrowed(name), leading, rest);
}

#endif

inline Name n_dunder_class("__class__");

// object.name += amount
void add_to(Borrowed object, const Name& name, Borrowed amount);

// Whether object.__class__ can only give type(object) for objects of `type`:
// false where only reading it can tell.
bool class_is_type(PyTypeObject* type);

}  // namespace tess
