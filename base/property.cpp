#include "property.hpp"

#include "function.hpp"
#include "names.hpp"

#include <cstddef>
#include <unordered_set>
#include <vector>

namespace tess {
namespace {

PyTypeObject* property_type = nullptr;

// What this subclass adds to a property.
struct Extra {
    PyObject* getter;  // fget when it is the module's own function (borrowed from fget), else NULL
    PyObject* doc;     // a property subclass keeps __doc__ in its instance
};

PyTypeObject* base() { return property_type->tp_base; }

// Where Extra lies within each property of this type: the same for all of
// them, so it is asked of the host once, with the first one made.
Py_ssize_t extra_offset = -1;

Extra* extra(PyObject* self)
{
    if (extra_offset < 0)
        extra_offset = static_cast<char*>(PyObject_GetTypeData(self, property_type)) - reinterpret_cast<char*>(self);
    return reinterpret_cast<Extra*>(reinterpret_cast<char*>(self) + extra_offset);
}

Name n_fget("fget"), n_subclasses("__subclasses__");

// Marks changed every class that holds `descriptor`, and with it its
// subclasses: the shortcuts trust what a class held while its version tag
// stays, and a property made anew in place leaves every tag as it was.
void mark_holders_changed(PyObject* descriptor)
{
    std::vector<Ref> pending{Ref::borrow(reinterpret_cast<PyObject*>(&PyBaseObject_Type))};
    std::vector<Ref> walked;  // held, so that no address in `seen` is taken by another class meanwhile
    std::unordered_set<PyObject*> seen;
    // type.__subclasses__ as a function of the class, for metaclasses too.
    Ref subclasses_of = Ref::steal(PyObject_GetAttr(reinterpret_cast<PyObject*>(&PyType_Type), n_subclasses));
    while (!pending.empty()) {
        Ref cls = std::move(pending.back());
        pending.pop_back();
        if (!seen.insert(cls.get()).second)
            continue;
        auto* type = reinterpret_cast<PyTypeObject*>(cls.get());
        Ref namespace_ = Ref::steal(PyType_GetDict(type));
        Py_ssize_t position = 0;
        PyObject *key, *value;
        while (PyDict_Next(namespace_, &position, &key, &value))
            if (value == descriptor)
                PyType_Modified(type);
        Ref subclasses = Ref::steal(PyObject_CallOneArg(subclasses_of, cls));
        for (Py_ssize_t i = 0; i < PyList_GET_SIZE(subclasses.get()); ++i)
            pending.push_back(Ref::borrow(PyList_GET_ITEM(subclasses.get(), i)));
        walked.push_back(std::move(cls));
    }
}

// property.__init__, then the getter is taken note of; re-running __init__
// on the object brings the note up to date.
int property_init(PyObject* self, PyObject* args, PyObject* kwargs)
{
    // Before the old getter is let go: the shortcuts may still hold it.
    if (extra(self)->getter) {
        try {
            mark_holders_changed(self);
        } catch (const PythonError&) {
            return -1;
        }
    }
    extra(self)->getter = nullptr;
    if (base()->tp_init(self, args, kwargs) < 0)
        return -1;
    PyObject* getter = PyObject_GetAttr(self, n_fget);
    if (!getter)
        return -1;
    if (is_function(getter))
        extra(self)->getter = getter;
    Py_DECREF(getter);  // the property holds it
    return 0;
}

PyObject* property_get(PyObject* self, PyObject* instance, PyObject* owner)
{
    PyObject* getter = extra(self)->getter;
    if (!getter || !instance || instance == Py_None)
        return base()->tp_descr_get(self, instance, owner);
    return call_function(getter, &instance, 1);
}

int property_traverse(PyObject* self, visitproc visit, void* arg)
{
    Py_VISIT(Py_TYPE(self));
    Py_VISIT(extra(self)->doc);
    return base()->tp_traverse(self, visit, arg);
}

int property_clear(PyObject* self)
{
    Py_CLEAR(extra(self)->doc);
    extra(self)->getter = nullptr;
    return base()->tp_clear(self);
}

// As for any heap subclass: what this class adds goes first, then the base
// deallocates, expecting the object still tracked.
void property_dealloc(PyObject* self)
{
    PyTypeObject* type = Py_TYPE(self);
    PyObject_GC_UnTrack(self);
    Py_CLEAR(extra(self)->doc);
    PyObject_GC_Track(self);
    base()->tp_dealloc(self);
    Py_DECREF(type);
}

PyMemberDef property_members[] = {
    {"__doc__", Py_T_OBJECT_EX, offsetof(Extra, doc), Py_RELATIVE_OFFSET, nullptr},
    {nullptr, 0, 0, 0, nullptr},
};

PyType_Slot property_slots[] = {
    {Py_tp_init, reinterpret_cast<void*>(property_init)},
    {Py_tp_descr_get, reinterpret_cast<void*>(property_get)},
    {Py_tp_traverse, reinterpret_cast<void*>(property_traverse)},
    {Py_tp_clear, reinterpret_cast<void*>(property_clear)},
    {Py_tp_dealloc, reinterpret_cast<void*>(property_dealloc)},
    {Py_tp_members, property_members},
    {0, nullptr},
};

PyType_Spec property_spec = {
    "vantrel.base.Tessarine.property",
    -static_cast<int>(sizeof(Extra)),
    0,
    Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC | Py_TPFLAGS_IMMUTABLETYPE,
    property_slots,
};

}  // namespace

void ready_property_type()
{
    if (property_type)
        return;
    property_type = reinterpret_cast<PyTypeObject*>(
        Ref::steal(PyType_FromSpecWithBases(&property_spec, b_property)).release());
}

Ref make_property(Borrowed getter, Borrowed setter)
{
    PyObject* type = reinterpret_cast<PyObject*>(property_type);
    return setter.get() ? call(type, {getter, setter}) : call(type, {getter});
}

PyObject* own_getter(PyObject* descriptor) noexcept
{
    return Py_IS_TYPE(descriptor, property_type) ? extra(descriptor)->getter : nullptr;
}

}  // namespace tess
