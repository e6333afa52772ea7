// Attribute reads, writes and method calls by a Name, with the shortcuts the
// interpreter's own specialised bytecode takes: a plain instance attribute is
// read and replaced among the instance's values, a property of the module's
// own classes runs its getter, and a method of the module's own classes is
// called without a bound method or a second lookup.  Each shortcut is taken
// only where the class, unchanged since it was last judged (its version
// tag), and the instance leave no doubt that the general road would arrive
// at the very same place; everywhere else the general road is taken.
#pragma once

#include "interpreter.hpp"
#include "names.hpp"

#include <initializer_list>
#include <span>

namespace tess {

namespace road {
// instance_value: the instance keeps its attributes among inline values;
// no_instance_dict: instances have no attributes of their own at all;
// class_member: what Class.name gives, always the same object;
// dict_entry: the class has nothing of the name, so the instance's own
// dict (at the class's dict offset) decides.
enum : std::uint8_t { general, instance_value, own_getter, no_instance_dict, class_member, dict_entry };
}

Ref getattr_judged(Borrowed object, const Name& name);
void setattr_judged(Borrowed object, const Name& name, Borrowed value);

inline Ref getattr(Borrowed object, const Name& name)
{
    AttributeSite* site = name.site(Py_TYPE(object.get()));
    if (site && site->road == road::instance_value && site->index >= 0) {
        interpreter::DictValues* values = interpreter::inline_values(object);
        if (values->valid)
            if (PyObject* value = values->values[site->index])
                return Ref::borrow(value);
    }
    return getattr_judged(object, name);
}

// Where the instance keeps a value under `name` that may be replaced in
// place: only an attribute the instance already has, and only while no
// dict object stands for its values.  NULL where the general road decides.
inline PyObject** writable_slot(Borrowed object, const Name& name)
{
    AttributeSite* site = name.site(Py_TYPE(object.get()));
    if (!site || !site->writable || site->index < 0 || interpreter::managed_dict(object))
        return nullptr;
    interpreter::DictValues* values = interpreter::inline_values(object);
    PyObject** slot = &values->values[site->index];
    return values->valid && *slot ? slot : nullptr;
}

inline void setattr(Borrowed object, const Name& name, Borrowed value)
{
    if (PyObject** slot = writable_slot(object, name)) {
        PyObject* old = *slot;
        *slot = Py_NewRef(value.get());
        Py_DECREF(old);
        return;
    }
    setattr_judged(object, name, value);
}

// object.name += amount
void add_to(Borrowed object, const Name& name, Borrowed amount);

PyObject* peek_judged(Borrowed object, const Name& name) noexcept;

// The value the instance itself keeps under `name`, where the shortcut finds
// it (borrowed), or NULL: then only the general road can tell.
inline PyObject* peek(Borrowed object, const Name& name) noexcept
{
    AttributeSite* site = name.site(Py_TYPE(object.get()));
    if (site && site->road == road::instance_value && site->index >= 0) {
        interpreter::DictValues* values = interpreter::inline_values(object);
        return values->valid ? values->values[site->index] : nullptr;
    }
    return peek_judged(object, name);
}

// The method that `self.name` would bind (borrowed from the class), or NULL
// where the shortcut cannot be sure: then only the general road can tell.
PyObject* method_of(Borrowed self, const Name& name) noexcept;

// The module's own getter that `object.name` runs (borrowed from its
// property), or NULL where it is anything else or only the general road can
// tell.
PyObject* getter_of(Borrowed object, const Name& name) noexcept;

// A class of the module as the module body made it: is() holds while a type
// is that very class, unchanged since then (by its version tag).
class OwnClass {
public:
    void remember(Borrowed cls);
    bool is(PyTypeObject* type) const noexcept
    {
        return type == type_ && tag_ != 0 && type->tp_version_tag == tag_;
    }

private:
    PyTypeObject* type_ = nullptr;  // strong, for the life of the process
    unsigned int tag_ = 0;
};

// self.name(*leading, *rest)
Ref call_method(Borrowed self, const Name& name, std::initializer_list<Borrowed> leading = {},
                std::span<PyObject* const> rest = {});

// Confirms at start-up that the interpreter lays out instances as
// interpreter.hpp expects; where it does not, only the general road is used.
void check_instance_layout();

}  // namespace tess
