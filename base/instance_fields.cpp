#include "instance_fields.hpp"

#include "operations.hpp"

namespace tess {

Ref InstanceFields::Access::get(const Name& name) const
{
    if (dict_) {
        PyObject* value;
        if (check(PyDict_GetItemRef(dict_, name, &value)))
            return Ref::steal(value);
    }
    // Not in the dictionary: a class attribute, or the AttributeError.
    return getattr(self_, name);
}

void InstanceFields::Access::set(const Name& name, Borrowed value) const
{
    if (dict_)
        check(PyDict_SetItem(dict_, name, value));
    else
        setattr(self_, name, value);
}

InstanceFields::Access InstanceFields::of(PyObject* self)
{
    if (!plain(Py_TYPE(self)))
        return Access(self, Ref());
    return Access(self, Ref::steal(PyObject_GenericGetDict(self, nullptr)));
}

bool InstanceFields::plain(PyTypeObject* type)
{
    if (type->tp_version_tag == 0 && !PyUnstable_Type_AssignVersionTag(type))
        return false;
    unsigned int tag = type->tp_version_tag;
    for (const Verdict& verdict : plain_)
        if (verdict.type == type && verdict.tag == tag)
            return true;
    if (!judge(type))
        return false;
    plain_[next_++ % plain_.size()] = {type, tag};
    return true;
}

bool InstanceFields::judge(PyTypeObject* type) const
{
    if (type->tp_getattro != PyObject_GenericGetAttr || type->tp_setattro != PyObject_GenericSetAttr)
        return false;
    if (!(type->tp_flags & Py_TPFLAGS_MANAGED_DICT) && type->tp_dictoffset == 0)
        return false;
    for (const Name* name : names_) {
        PyObject* found = _PyType_Lookup(type, *name);
        if (found && Py_TYPE(found)->tp_descr_set)
            return false;
    }
    return true;
}

}  // namespace tess
