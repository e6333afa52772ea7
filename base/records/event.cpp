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

Ref init(const Args& args)
{
    PyObject* self = args[0];
    setattr(self, n_address_attr, args[1]);
    setattr(self, n_port_attr, args[2]);
    setattr(self, n_event, args[3]);
    setattr(self, n_description_attr, args[4]);
    return none();
}

template <const Name& Attribute>
Ref stored(const Args& args)
{
    return getattr(args[0], Attribute);
}

Ref at_position(PyObject* self, Borrowed index) { return item(getattr(self, n_event), index); }

template <long Position>
Ref positional(const Args& args)
{
    return item_at(getattr(args[0], n_event), Position);
}

// self.<coarser>(event) and then the named fields, with the same stopping rule.
Ref refined(PyObject* self, PyObject* event, const Name& coarser, Names names)
{
    Ref held = call_method(self, coarser, {event});
    return truthy(held) ? fields_equal(self, event, names) : held;
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

Ref item_at(const Args& args) { return at_position(args[0], args[1]); }

const FunctionDef item_at_def{.name = "__iter__", .params = {{"self"}, {"position"}}, .implementation = item_at};
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
    {.name = "address", .params = {{"self"}}, .implementation = stored<n_address_attr>, .doc = "Event address"},
    {.name = "port", .params = {{"self"}}, .implementation = stored<n_port_attr>, .doc = "Event port"},
    {.name = "description",
     .params = {{"self"}},
     .implementation = stored<n_description_attr>,
     .doc = "Event description"},
    {.name = "name", .params = {{"self"}}, .implementation = positional<0>, .doc = "Event name"},
    {.name = "code", .params = {{"self"}}, .implementation = positional<1>, .doc = "Event code"},
    {.name = "type", .params = {{"self"}}, .implementation = positional<2>, .doc = "Event type"},
    {.name = "mode", .params = {{"self"}}, .implementation = positional<3>, .doc = "Event mode"},
    {.name = "source", .params = {{"self"}}, .implementation = positional<4>, .doc = "Event source"},
    {.name = "counter", .params = {{"self"}}, .implementation = positional<5>, .doc = "Event counting number"},
    {.name = "time", .params = {{"self"}}, .implementation = positional<6>, .doc = "Event time"},
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
