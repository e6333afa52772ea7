// DeviceContent, a stamped snapshot of one device on one master port, and
// MasterCommands, the base of per-master command sets.
#include "records.hpp"

namespace tess::body {
namespace {

Name n_masterInfo("_masterInfo"), n_port("_port"), n_data("_data"), n_ioc("_ioc"),
    n_recordFieldNaming("_recordFieldNaming"), n_date("_date"), n_time("_time"), n_datetime("datetime"),
    n_today("today"), n_strftime("strftime"), n_date_format("%Y-%m-%d"), n_time_format("%H:%M:%S"),
    n_master("_master"), n_commands("_commands"), n_driverName("driverName"), n_blank(" "), n_empty(""),
    n_underscore("_"), n_repr_format("<%smaster commands>");
Global g_datetime("datetime"), g_isMatlabNaming("isMatlabNaming"), g_dictMatlabReplace("_dictMatlabReplace");

Ref content_init(const Args& args)
{
    PyObject* self = args[0];
    const Name* const kept[] = {&n_masterInfo, &n_port, &n_data, &n_ioc};
    for (std::size_t i = 0; i < std::size(kept); ++i)
        setattr(self, *kept[i], args[i + 1]);
    setattr(self, n_recordFieldNaming, call(g_isMatlabNaming.get(), {args[5]}));
    if (args[3] == Py_None) {
        setattr(self, n_date, Py_None);
        setattr(self, n_time, Py_None);
        return none();
    }
    // One reading of the clock, so date and time can't fall on different
    // sides of midnight.
    Ref now = call_method(getattr(g_datetime.get(), n_datetime), n_today);
    setattr(self, n_date, call_method(now, n_strftime, {n_date_format}));
    setattr(self, n_time, call_method(now, n_strftime, {n_time_format}));
    return none();
}

const FieldView f_port{n_port}, f_date{n_date}, f_time{n_time};

// Converted afresh at each read, so the stored information stays as given.
Ref master_info(const Args& args)
{
    PyObject* self = args[0];
    Ref info = getattr(self, n_masterInfo);
    if (!truthy(getattr(self, n_recordFieldNaming)))
        return info;
    return call(g_dictMatlabReplace.get(), {info});
}

Ref has_iodd(const Args& args) { return boolean(truthy(getattr(args[0], n_ioc))); }

// Every public name of the object is a command, apart from the two queries.
bool is_command(PyObject* name)
{
    if (check(static_cast<int>(PyUnicode_Tailmatch(name, n_underscore, 0, PY_SSIZE_T_MAX, -1))))
        return false;
    return !PyUnicode_EqualToUTF8(name, "has") && !PyUnicode_EqualToUTF8(name, "getNames");
}

// Commands are not registered anywhere: they follow from what dir() lists
// at construction, in its sorted order.
Ref commands_init(const Args& args)
{
    PyObject* self = args[0];
    setattr(self, n_master, args[1]);
    Ref names = Ref::steal(PyObject_Dir(self));
    Ref commands = list();
    Ref iterator = Ref::steal(PyObject_GetIter(names));
    while (Ref name = iterate_next(iterator))
        if (is_command(name))
            check(PyList_Append(commands, name));
    setattr(self, n_commands, Ref::steal(PyList_AsTuple(commands)));
    return none();
}

Ref has(const Args& args) { return boolean(check(PySequence_Contains(getattr(args[0], n_commands), args[1]))); }

Ref command_names(const Args& args) { return getattr(args[0], n_commands); }

Ref commands_representation(const Args& args)
{
    Ref master = getattr(args[0], n_master);
    Ref prefix = truthy(master) ? concat({call_method(master, n_driverName), n_blank}) : Ref::borrow(n_empty);
    return percent(n_repr_format, prefix);
}

const FunctionDef content_init_def{
    .name = "__init__",
    .params = {{"self"}, {"masterInfo", kNone}, {"port", kNone}, {"data", kNone}, {"ioc", kNone},
               {"recordFieldNaming", "original"}},
    .implementation = content_init,
};
const FunctionDef content_properties[] = {
    {.name = "master", .params = {{"self"}}, .implementation = master_info, .doc = "Master information."},
    field<f_port>("port", "Port ID."),
    field<f_date>("date", "Date of the snapshot."),
    field<f_time>("time", "Time of the snapshot."),
};
const FunctionDef has_iodd_def{
    .name = "hasIodd", .params = {{"self"}}, .implementation = has_iodd, .doc = "Check if IODD is loaded"};

const FunctionDef commands_methods[] = {
    {.name = "__init__", .params = {{"self"}, {"master", kNone}}, .implementation = commands_init},
    {.name = "has", .params = {{"self"}, {"cmd"}}, .implementation = has,
     .doc = "Returns true iff command cmd available."},
    {.name = "getNames", .params = {{"self"}}, .implementation = command_names,
     .doc = "Returns tuple of command names."},
    {.name = "__repr__", .params = {{"self"}}, .implementation = commands_representation},
};

}  // namespace

void define_device_content()
{
    ClassBuilder content("DeviceContent", {b_object}, "Device content.");
    content.method(content_init_def);
    content.properties(content_properties);
    content.method(has_iodd_def).build();

    ClassBuilder commands("MasterCommands", {b_object}, "Base master commands.");
    commands.methods(commands_methods);
    commands.build();
}

}  // namespace tess::body
