#include "property.hpp"

#include "attributes.hpp"
#include "recursion.hpp"

#include <cstddef>

namespace tess {

namespace {

// self.<stored>[position] (borrowed) where reading it runs no code; NULL
// where only the general road can tell.
PyObject* field_in_place(Borrowed self, const FieldView& view) noexcept
{
    PyObject* stored = stored_in_place(self, view.stored);
    return stored && view.position >= 0 ? item_in_place(stored, view.position) : stored;
}

// self.<stored>[position] by the general road: code may run.
Ref read_field_generally(Borrowed self, const FieldView& view)
{
    Ref stored = getattr(self, view.stored);
    return view.position < 0 ? stored : item_at(stored, view.position);
}

}  // namespace

Ref read_field(Borrowed self, const FieldView& view)
{
    if (PyObject* found = field_in_place(self, view))
        return Ref::borrow(found);
    return read_field_generally(self, view);
}

namespace {

PyTypeObject* property_type = nullptr;

// What this subclass adds to a property.
struct Extra {
    PyObject* getter;        // fget when it is the module's own function (borrowed from fget), else NULL
    const FieldView* view;   // what that getter reads, where it was made by field()
    PyObject* doc;           // a property subclass keeps __doc__ in its instance
};

PyTypeObject* base() { return property_type->tp_base; }

// Where Extra lies within each property of this type: the same for all of
// them, so it is asked of the host once, of a first one.
Py_ssize_t extra_offset = 0;

Extra* extra(PyObject* self) { return reinterpret_cast<Extra*>(reinterpret_cast<char*>(self) + extra_offset); }

Name n_fget("fget");

// property.__init__, then the getter is taken note of; re-running __init__
// on the object brings the note up to date.
int property_init(PyObject* self, PyObject* args, PyObject* kwargs)
{
    extra(self)->getter = nullptr;
    extra(self)->view = nullptr;
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

// getter(instance), where the getter only reads `view`: as a call of it
// would, with one level of recursion taken and its traceback entry added.
PyObject* read_in_place(PyObject* getter, PyObject* instance, const FieldView& view) noexcept
{
    Ref held;
    try {
        RecursionGuard level;
        if (PyObject* found = field_in_place(instance, view))
            return Py_NewRef(found);
        // Code may run from here on, and re-make this property, dropping the getter.
        held = Ref::borrow(getter);
        return read_field_generally(instance, view).release();
    } catch (const PythonError&) {
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    }
    add_function_traceback(getter);
    return nullptr;
}

PyObject* property_get(PyObject* self, PyObject* instance, PyObject* owner)
{
    const Extra& own = *extra(self);
    if (!own.getter || !instance || instance == Py_None)
        return base()->tp_descr_get(self, instance, owner);
    if (own.view)
        return read_in_place(own.getter, instance, *own.view);
    // Held while it runs: the getter may re-make this property and drop it.
    Ref getter = Ref::borrow(own.getter);
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
    extra(self)->view = nullptr;
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
    Ref made = Ref::steal(PyType_FromSpecWithBases(&property_spec, b_property));
    auto* type = reinterpret_cast<PyTypeObject*>(made.get());
    Ref first = Ref::steal(PyType_GenericAlloc(type, 0));  // left empty: its dealloc reads nothing
    extra_offset = static_cast<char*>(PyObject_GetTypeData(first, type)) - reinterpret_cast<char*>(first.get());
    property_type = reinterpret_cast<PyTypeObject*>(made.release());
}

Ref make_property(Borrowed getter, Borrowed setter, const FieldView* view)
{
    PyObject* type = reinterpret_cast<PyObject*>(property_type);
    Ref made = setter.get() ? call(type, {getter, setter}) : call(type, {getter});
    extra(made)->view = view;
    return made;
}

}  // namespace tess
