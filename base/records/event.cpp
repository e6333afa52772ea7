// IoddEvent: names, two degrees of equality and the older positional access
// for an event sequence (name, code, type, mode, source, counter, time).
#include "records.hpp"

namespace tess::body {
namespace {

Name n_address("address"), n_port("port"), n_event("_event"), n_description("description"), n_name("name"),
    n_code("code"), n_type("type"), n_mode("mode"), n_source("source"), n_counter("counter"), n_time("time"),
    n_address_attr("_address"), n_port_attr("_port"), n_description_attr("_description"), n_equalKind("equalKind"),
    n_eq("__eq__"), n_Event("Event");
Global g_IoddEvent("IoddEvent");

// Index access reaches the time at position 6; iteration stops one short of it.
constexpr long kLastIndex = 6;
constexpr long kIteratedPositions = 6;

// Where each property finds its value: a position of the event sequence, or
// an attribute of the instance.
struct Field {
    const Name& name;
    long position;
    const Name* stored = nullptr;
};

const Field f_address{n_address, -1, &n_address_attr}, f_port{n_port, -1, &n_port_attr},
    f_description{n_description, -1, &n_description_attr}, f_name{n_name, 0}, f_code{n_code, 1}, f_type{n_type, 2},
    f_mode{n_mode, 3}, f_source{n_source, 4}, f_counter{n_counter, 5}, f_time{n_time, 6};

Ref init(const Args& args)
{
    PyObject* self = args[0];
    setattr(self, n_address_attr, args[1]);
    setattr(self, n_port_attr, args[2]);
    setattr(self, n_event, args[3]);
    setattr(self, n_description_attr, args[4]);
    return none();
}

// sequence[position] where the sequence is an exact tuple or list that
// reaches that far (borrowed), or NULL.
PyObject* item_in_place(PyObject* sequence, long position) noexcept
{
    if (PyTuple_CheckExact(sequence))
        return position < PyTuple_GET_SIZE(sequence) ? PyTuple_GET_ITEM(sequence, position) : nullptr;
    if (PyList_CheckExact(sequence))
        return position < PyList_GET_SIZE(sequence) ? PyList_GET_ITEM(sequence, position) : nullptr;
    return nullptr;
}

template <const Field& F>
Ref property_value(const Args& args)
{
    if (F.position < 0)
        return getattr(args[0], *F.stored);
    Ref sequence = getattr(args[0], n_event);
    PyObject* value = item_in_place(sequence, F.position);
    return value ? Ref::borrow(value) : item_at(sequence, F.position);
}

// The class as defined here, and its version tag then: an instance of it
// whose class still has that tag answers every property as defined above.
PyTypeObject* event_class = nullptr;
unsigned int event_class_tag = 0;

// The value that the property of `field` would give (borrowed), read in place
// where `event` is such an instance and the value lies in a tuple or a list
// in reach; NULL where only the property itself can tell.
PyObject* in_place(PyObject* event, const Field& field) noexcept
{
    if (Py_TYPE(event) != event_class || event_class->tp_version_tag != event_class_tag)
        return nullptr;
    if (field.position < 0)
        return peek(event, *field.stored);
    PyObject* sequence = peek(event, n_event);
    return sequence ? item_in_place(sequence, field.position) : nullptr;
}

using Fields = std::initializer_list<const Field*>;

Ref same_fields(PyObject* self, PyObject* event, Fields fields)
{
    // Each value read in place stands for a call of its getter, which would
    // take one recursion level here.  All those calls are made at this same
    // depth, and what runs between them leaves the depth as it found it, so
    // one level taken for the first of them answers for all.
    bool depth_checked = false;
    auto read = [&depth_checked](Borrowed event, const Field* field) {
        PyObject* value = in_place(event, *field);
        if (!value)
            return getattr(event, field->name);
        if (!depth_checked) {
            RecursionGuard depth;
            depth_checked = true;
        }
        return Ref::borrow(value);
    };
    return fields_equal(self, event, fields, read);
}

Ref at_position(PyObject* self, Borrowed index) { return item(getattr(self, n_event), index); }

// self.<coarser>(event), and where that holds the given fields too, with the
// same stopping rule.  Where self's method is still `own`, it runs in place.
Ref refined(PyObject* self, PyObject* event, const Name& coarser, Implementation own, Fields fields)
{
    PyObject* method = method_of(self, coarser);
    Ref held;
    if (implementation_of(method) == own) {
        PyObject* const arguments[] = {self, event};
        held = as_call_of(method, [&] { return own(Args(arguments, {}, nullptr, nullptr)); });
    } else {
        held = call_method(self, coarser, {event});
    }
    return truthy(held) ? same_fields(self, event, fields) : held;
}

Ref equal_kind(const Args& args) { return same_fields(args[0], args[1], {&f_code, &f_source, &f_type, &f_mode}); }

Ref equal(const Args& args)
{
    return refined(args[0], args[1], n_equalKind, equal_kind, {&f_address, &f_port, &f_counter});
}

Ref equal_exact(const Args& args) { return refined(args[0], args[1], n_eq, equal, {&f_name, &f_description}); }

Ref get_type(const Args&) { return g_IoddEvent.get(); }

Ref get_item(const Args& args)
{
    if (compare(args[1], integer(kLastIndex), Py_GT))
        raise(PyExc_IndexError, "Index out of range, only 0..6 allowed");
    return at_position(args[0], args[1]);
}

Ref iterated_position(const Args& args) { return at_position(args[0], args[1]); }

const FunctionDef item_at_def{
    .name = "__iter__", .params = {{"self"}, {"position"}}, .implementation = iterated_position};
PyObject* iterated_item = nullptr;  // made by the definer, kept for the life of the process

// A lazy iterator that reads _event afresh for each item, as a generator would.
Ref iterate(const Args& args)
{
    Ref read_item = Ref::steal(PyMethod_New(iterated_item, args[0]));
    Ref positions = Ref::steal(PyObject_CallOneArg(reinterpret_cast<PyObject*>(&PyRange_Type),
                                                   integer(kIteratedPositions)));
    return call(b_map, {read_item, positions});
}

Ref representation(const Args& args)
{
    Ref report = dict();
    report_attributes(report, args[0],
                      {n_address, n_port, n_name, n_description, n_code, n_type, n_mode, n_source, n_counter, n_time});
    return json_report(n_Event, report);
}

const FunctionDef init_def{
    .name = "__init__",
    .params = {{"self"}, {"address"}, {"port"}, {"event"}, {"description"}},
    .implementation = init,
};
const FunctionDef properties[] = {
    {.name = "address", .params = {{"self"}}, .implementation = property_value<f_address>, .doc = "Event address"},
    {.name = "port", .params = {{"self"}}, .implementation = property_value<f_port>, .doc = "Event port"},
    {.name = "description",
     .params = {{"self"}},
     .implementation = property_value<f_description>,
     .doc = "Event description"},
    {.name = "name", .params = {{"self"}}, .implementation = property_value<f_name>, .doc = "Event name"},
    {.name = "code", .params = {{"self"}}, .implementation = property_value<f_code>, .doc = "Event code"},
    {.name = "type", .params = {{"self"}}, .implementation = property_value<f_type>, .doc = "Event type"},
    {.name = "mode", .params = {{"self"}}, .implementation = property_value<f_mode>, .doc = "Event mode"},
    {.name = "source", .params = {{"self"}}, .implementation = property_value<f_source>, .doc = "Event source"},
    {.name = "counter",
     .params = {{"self"}},
     .implementation = property_value<f_counter>,
     .doc = "Event counting number"},
    {.name = "time", .params = {{"self"}}, .implementation = property_value<f_time>, .doc = "Event time"},
};
const FunctionDef methods[] = {
    {.name = "equalKind", .params = {{"self"}, {"event"}}, .implementation = equal_kind,
     .doc = "Event is of equal kind?"},
    {.name = "__eq__", .params = {{"self"}, {"event"}}, .implementation = equal, .doc = "Event is equal?"},
    {.name = "equalExact", .params = {{"self"}, {"event"}}, .implementation = equal_exact,
     .doc = "Event is exactly equal?"},
    {.name = "__getitem__", .params = {{"self"}, {"index"}}, .implementation = get_item},
    {.name = "__iter__", .params = {{"self"}}, .implementation = iterate},
    {.name = "__repr__", .params = {{"self"}}, .implementation = representation,
     .doc = "Returns the object data in JSON-format."},
};
const FunctionDef get_type_def{.name = "_getType", .params = {}, .implementation = get_type};

}  // namespace

void define_event_record()
{
    ClassBuilder event("IoddEvent", {b_object}, nullptr);
    event.method(init_def);
    event.properties(properties);
    event.methods(methods);
    event.static_method(get_type_def);
    Py_XSETREF(iterated_item, make_function(item_at_def, "IoddEvent").release());
    Ref cls = event.build();
    Py_CLEAR(event_class);
    auto* type = reinterpret_cast<PyTypeObject*>(cls.get());
    if (PyUnstable_Type_AssignVersionTag(type)) {
        event_class_tag = type->tp_version_tag;
        event_class = reinterpret_cast<PyTypeObject*>(cls.release());
    }
}

}  // namespace tess::body
