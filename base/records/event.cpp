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

// Where each property finds its value: an attribute of the instance, or a
// position of the event sequence.
const FieldView f_address{n_address_attr}, f_port{n_port_attr}, f_description{n_description_attr},
    f_name{n_event, 0}, f_code{n_event, 1}, f_type{n_event, 2}, f_mode{n_event, 3}, f_source{n_event, 4},
    f_counter{n_event, 5}, f_time{n_event, 6};

Ref init(const Args& args)
{
    PyObject* self = args[0];
    setattr(self, n_address_attr, args[1]);
    setattr(self, n_port_attr, args[2]);
    setattr(self, n_event, args[3]);
    setattr(self, n_description_attr, args[4]);
    return none();
}

Ref at_position(PyObject* self, Borrowed index) { return item(getattr(self, n_event), index); }

// self.<coarser>(event), and where that holds the given fields too, with the
// same stopping rule.
Ref refined(PyObject* self, PyObject* event, const Name& coarser, Names fields)
{
    Ref held = call_method(self, coarser, {event});
    return truthy(held) ? fields_equal(self, event, fields) : held;
}

Ref equal_kind(const Args& args) { return fields_equal(args[0], args[1], {n_code, n_source, n_type, n_mode}); }

Ref equal(const Args& args) { return refined(args[0], args[1], n_equalKind, {n_address, n_port, n_counter}); }

Ref equal_exact(const Args& args) { return refined(args[0], args[1], n_eq, {n_name, n_description}); }

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
    field<f_address>("address", "Event address"),
    field<f_port>("port", "Event port"),
    field<f_description>("description", "Event description"),
    field<f_name>("name", "Event name"),
    field<f_code>("code", "Event code"),
    field<f_type>("type", "Event type"),
    field<f_mode>("mode", "Event mode"),
    field<f_source>("source", "Event source"),
    field<f_counter>("counter", "Event counting number"),
    field<f_time>("time", "Event time"),
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
    event.build();
}

}  // namespace tess::body
