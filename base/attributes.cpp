#include "attributes.hpp"

#include "numbers.hpp"


namespace tess {

void add_to(Borrowed object, const Name& name, Borrowed amount)
{
    setattr(object, name, add(getattr(object, name), amount, PyNumber_InPlaceAdd));
}

#if !TESSARINE_FAST_ROADS

bool class_is_type(PyTypeObject*) { return false; }

#else

namespace {

using namespace interpreter;

bool layout_confirmed = false;

void judge(AttributeSite& site, PyTypeObject* type, PyObject* name)
{
    site = AttributeSite{.type = type};
    if (!layout_confirmed || !PyUnstable_Type_AssignVersionTag(type))
        return;  // tag 0: judged again at the next use
    site.tag = type->tp_version_tag;
    if (type->tp_getattro != PyObject_GenericGetAttr)
        return;
    PyObject* found = _PyType_Lookup(type, name);
    if (found) {
        PyTypeObject* kind = Py_TYPE(found);
        const bool fixed = PyType_HasFeature(kind, Py_TPFLAGS_IMMUTABLETYPE);
        // A data descriptor comes before the instance's values: where its
        // class is fixed, its get slot is called directly.
        if (kind->tp_descr_set) {
            if (fixed && kind->tp_descr_get) {
                site.road = road::data_descriptor;
                site.held = found;
            }
            return;
        }
        // An object whose class is given __set__ later would come before them
        // too, unseen by this class's tag.
        if (!fixed)
            return;
    }
    // A method: called with the instance in front, it does what the bound
    // method would.
    if (found && PyType_HasFeature(Py_TYPE(found), Py_TPFLAGS_METHOD_DESCRIPTOR))
        site.held = found;
    if (!(type->tp_flags & Py_TPFLAGS_MANAGED_DICT) && type->tp_dictoffset == 0) {
        site.road = road::no_instance_dict;
        return;
    }
    if (!found && !(type->tp_flags & Py_TPFLAGS_MANAGED_DICT) && type->tp_dictoffset > 0) {
        site.road = road::dict_entry;
        return;
    }
    if (!keeps_inline_values(type)) {
        site.held = nullptr;
        return;
    }
    site.road = road::instance_value;
    site.writable = type->tp_setattro == PyObject_GenericSetAttr;
    site.known_keys = shared_keys(type)->dk_nentries;
    site.index = key_index(shared_keys(type), name);
}

AttributeSite& site_for(PyTypeObject* type, const Name& name)
{
    AttributeSite* site = name.sites().find(type);
    if (!site) {
        site = &name.sites().next();
        judge(*site, type, name);
    }
    // The shared keys only grow: a name they lacked may have come since.
    if (site->road == road::instance_value && site->index < 0 && shared_keys(type)->dk_nentries != site->known_keys) {
        site->known_keys = shared_keys(type)->dk_nentries;
        site->index = key_index(shared_keys(type), name);
    }
    return *site;
}

// What Class.name gives where the class holds `held`, worked out without
// running anyone's code: a static method's callable as it holds it now (it
// may be made anew in place), and the object itself where its class has no
// __get__, or a fixed one.  Empty where only the general road can tell: a
// __get__ of a class that can change may do anything at each read.
Ref held_value(PyObject* held, PyTypeObject* cls)
{
    PyTypeObject* kind = Py_TYPE(held);
    if (kind == &PyStaticMethod_Type)
        return Ref::steal(kind->tp_descr_get(held, nullptr, reinterpret_cast<PyObject*>(cls)));
    if (!kind->tp_descr_get || PyType_HasFeature(kind, Py_TPFLAGS_IMMUTABLETYPE))
        return Ref::borrow(held);
    return {};
}

// Class.name for a class of the plain metaclass: what its classes hold is
// fixed by their version tag, and the metaclass `type` changes never.  Kept
// where what the class holds gives the value read, as held_value finds it;
// anything a descriptor makes anew at each read is not.
Ref class_attribute(PyObject* object, const Name& name)
{
    auto* cls = reinterpret_cast<PyTypeObject*>(object);
    if (AttributeSite* site = name.sites().find(cls, true); site && site->road == road::class_member)
        if (Ref value = held_value(site->held, cls))
            return value;
    Ref value = Ref::steal(PyObject_GetAttr(object, name));
    if (!layout_confirmed || _PyType_Lookup(&PyType_Type, name) || !PyUnstable_Type_AssignVersionTag(cls))
        return value;
    PyObject* found = _PyType_Lookup(cls, name);
    if (found && held_value(found, cls).get() == value.get()) {
        AttributeSite& site = name.sites().next();
        site = AttributeSite{
            .type = cls, .tag = cls->tp_version_tag, .road = road::class_member, .of_class = true, .held = found};
    }
    return value;
}

// module.name, kept while nothing the module watches changes: where the
// module's own type has nothing of that name, the attribute is the entry of
// its dict, and the module's dict is watched from the first read on.
Ref module_attribute(PyObject* module, const Name& name)
{
    ModuleMember& member = name.sites().module_member();
    if (member.module == module && member.seen == watched_changes)
        return Ref::borrow(member.value);
    Ref value = Ref::steal(PyObject_GetAttr(module, name));
    PyObject* namespace_ = PyModule_GetDict(module);
    if (!layout_confirmed || _PyType_Lookup(&PyModule_Type, name) || !namespace_)
        return value;
    PyObject* held = PyDict_GetItemWithError(namespace_, name);
    if (held != value.get()) {
        PyErr_Clear();
        return value;
    }
    watch(namespace_);
    member = {module, held, watched_changes};
    return value;
}

enum class Held { unknown, absent, present };

// Whether the instance holds a value under the site's name: `absent` when
// no instance of the class can, `unknown` when only the general road can
// tell.
Held held(const AttributeSite& site, PyObject* object)
{
    DictValues* values = inline_values(object);
    if (!values->valid)
        return Held::unknown;
    if (site.index < 0)
        return Held::absent;
    return values->values[site.index] ? Held::present : Held::absent;
}

// The entry of the instance's dict, found as the general road finds it, or
// an empty Ref where the dict lacks it and only the general road can tell.
Ref dict_entry(PyObject* object, PyObject* name)
{
    PyObject* dict = *reinterpret_cast<PyObject**>(reinterpret_cast<char*>(object) + Py_TYPE(object)->tp_dictoffset);
    if (!dict)
        return {};
    Ref held = Ref::borrow(dict);  // the keys' __eq__ may replace the instance's dict
    PyObject* value = nullptr;
    return check(PyDict_GetItemRef(held, name, &value)) ? Ref::steal(value) : Ref{};
}

}  // namespace

Ref getattr_judged(Borrowed object, const Name& name)
{
    if (Py_IS_TYPE(object.get(), &PyType_Type))
        return class_attribute(object, name);
    if (PyModule_CheckExact(object.get()))
        return module_attribute(object, name);
    AttributeSite& site = site_for(Py_TYPE(object.get()), name);
    if (site.road == road::data_descriptor)
        return descriptor_value(site.held, object);
    if (site.road == road::instance_value && held(site, object) == Held::present)
        return Ref::borrow(inline_values(object)->values[site.index]);
    if (site.road == road::dict_entry)
        if (Ref value = dict_entry(object, name))
            return value;
    return Ref::steal(PyObject_GetAttr(object, name));
}

void setattr_judged(Borrowed object, const Name& name, Borrowed value)
{
    AttributeSite& site = site_for(Py_TYPE(object.get()), name);
    if (site.writable && !managed_dict(object) && held(site, object) == Held::present) {
        PyObject** slot = &inline_values(object)->values[site.index];
        PyObject* old = *slot;
        *slot = Py_NewRef(value.get());
        Py_DECREF(old);
        return;
    }
    check(PyObject_SetAttr(object, name, value));
}

PyObject* method_judged(Borrowed self, const Name& name) noexcept
{
    return unhidden_method(site_for(Py_TYPE(self.get()), name), self);
}

bool class_is_type(PyTypeObject* type)
{
    // The type keeps the generic attribute lookup and the __class__ that
    // `object` defines.
    static PyObject* const inherited = _PyType_Lookup(&PyBaseObject_Type, n_dunder_class);
    return layout_confirmed && type->tp_getattro == PyObject_GenericGetAttr &&
           _PyType_Lookup(type, n_dunder_class) == inherited;
}

namespace {
Name n_probe_first("first"), n_probe_second("second");
}

void check_instance_layout()
{
    PyObject* metaclass = reinterpret_cast<PyObject*>(&PyType_Type);
    Ref cls = call(metaclass, {text("probe"), tuple({b_object}), dict()});
    Ref probe = call(cls);
    Ref first = list(), second = list();
    check(PyObject_SetAttr(probe, n_probe_first, first));
    check(PyObject_SetAttr(probe, n_probe_second, second));
    auto* type = reinterpret_cast<PyTypeObject*>(cls.get());
    if (!keeps_inline_values(type) || type->tp_basicsize != sizeof(PyObject) || !shared_keys(type) ||
        managed_dict(probe))
        return;
    DictKeys* keys = shared_keys(type);
    DictValues* values = inline_values(probe);
    layout_confirmed = values->valid && key_index(keys, n_probe_first) == 0 && key_index(keys, n_probe_second) == 1 &&
                       values->values[0] == first.get() && values->values[1] == second.get();
}

#endif

}  // namespace tess
