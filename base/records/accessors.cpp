// Attribute-style surfaces on the communication object of one device: its
// variables, its system commands, and its two local access locks.
#include "records.hpp"

namespace tess::body {
namespace {

Name n_ioc("_ioc"), n_setattr("__setattr__"), n_getVariableNames("getVariableNames"), n_sort("sort"),
    n_matlabNaming("matlabNaming"), n_read("read"), n_write("write"), n_getError("getError"),
    n_getValueNames("getValueNames"), n_getValue("getValue"), n_sysCmd("sysCmd"), n_doc("__doc__"), n_empty(""),
    n_hex4("4X"), n_hex("X"),
    n_error_prefix("Error 0x"), n_colon(": "), n_command_prefix("System command "), n_open_hex(" (0x"),
    n_close_hex(") : "), n_AccessLocks("AccessLocks");
Global g_OrvaneException("OrvaneException"), g_convertMatlabFieldName("_convertMatlabFieldName");

// IO-Link parameter addressing of what these accessors reach.
constexpr long kSystemCommandIndex = 2;
constexpr long kAccessLocksIndex = 12;
constexpr long kParameterizationLockSubindex = 3;
constexpr long kUserInterfaceLockSubindex = 4;

// The accessors' own __setattr__ would write a device variable or refuse, so
// the reference is stored by object.__setattr__, which also refuses what it
// must not write to, such as a class.
Ref init(const Args& args)
{
    call(getattr(b_object, n_setattr), {args[0], n_ioc, args[1]});
    return none();
}

Ref variable_names(const Args& args)
{
    return call(getattr(getattr(args[0], n_ioc), n_getVariableNames), {},
                {{n_sort, Py_True}, {n_matlabNaming, Py_True}});
}

Ref read_variable(const Args& args) { return call_method(getattr(args[0], n_ioc), n_read, {args[1]}); }

Ref write_variable(const Args& args)
{
    Ref ioc = getattr(args[0], n_ioc);
    Ref result = call_method(ioc, n_write, {args[1], args[2]});
    if (compare(result, integer(0), Py_NE)) {
        Ref code = format(result, n_hex4);
        Ref message = concat({n_error_prefix, code, n_colon, format(call_method(ioc, n_getError, {result}), n_empty)});
        raise_object(call(g_OrvaneException.get(), {message}));
    }
    return none();
}

Ref command_names(const Args& args)
{
    Ref names = call(getattr(getattr(args[0], n_ioc), n_getValueNames), {integer(kSystemCommandIndex)},
                     {{n_sort, Py_True}});
    Ref converted = list();
    Ref iterator = Ref::steal(PyObject_GetIter(names));
    while (Ref name = iterate_next(iterator))
        check(PyList_Append(converted, call(g_convertMatlabFieldName.get(), {name})));
    return converted;
}

// What calling a system command attribute runs: the closure keeps the
// accessor and the name, so the accessor's reference at the time of the call
// runs the command.
Ref run_command(const Args& args)
{
    PyObject* accessor = PyTuple_GET_ITEM(args.closure(), 0);
    PyObject* name = PyTuple_GET_ITEM(args.closure(), 1);
    return call_method(getattr(accessor, n_ioc), n_sysCmd, {name});
}

const FunctionDef run_command_def{.name = "ret", .params = {}, .implementation = run_command};
PyObject* command_runner = nullptr;  // made by the definer, kept for the life of the process

Ref command(const Args& args)
{
    PyObject* self = args[0];
    PyObject* name = args[1];
    Ref runner = make_closure(command_runner, tuple({self, name}));
    Ref ioc = getattr(self, n_ioc);
    Ref index = integer(kSystemCommandIndex);
    Ref value = call_method(ioc, n_getValue, {index, name});
    Ref full_name = call_method(ioc, n_getValue, {index, value});
    Ref doc = concat(
        {n_command_prefix, format(value, n_empty), n_open_hex, format(value, n_hex), n_close_hex, full_name});
    setattr(runner, n_doc, doc);
    return runner;
}

Ref refuse_command_attribute(const Args&)
{
    raise_object(call(g_OrvaneException.get(), {text("Set attribute for system command accessor not allowed")}));
}

template <long Subindex>
Ref read_lock(const Args& args)
{
    return call_method(getattr(args[0], n_ioc), n_read, {integer(kAccessLocksIndex), integer(Subindex)});
}

// What write answers is of no interest here: a failed write raises in write.
template <long Subindex>
Ref write_lock(const Args& args)
{
    call_method(getattr(args[0], n_ioc), n_write, {integer(kAccessLocksIndex), integer(Subindex), args[1]});
    return none();
}

// A device without the locks still prints: the failure becomes the value.
Ref locks_representation(const Args& args)
{
    Ref locks;
    try_except(
        g_OrvaneException.get(),
        [&] { locks = call_method(getattr(args[0], n_ioc), n_read, {integer(kAccessLocksIndex)}); },
        [&](PyObject* error) { locks = str(error); });
    return json_report(n_AccessLocks, locks);
}

const FunctionDef accessor_init_def{
    .name = "__init__", .params = {{"self"}, {"orvane"}}, .implementation = init, .doc = "Constructor."};
const FunctionDef var_methods[] = {
    {.name = "__dir__", .params = {{"self"}}, .implementation = variable_names},
    {.name = "__getattr__", .params = {{"self"}, {"name"}}, .implementation = read_variable, .doc = "Read variable."},
    {.name = "__setattr__", .params = {{"self"}, {"name"}, {"value"}}, .implementation = write_variable,
     .doc = "Write variable."},
};
const FunctionDef sys_methods[] = {
    {.name = "__dir__", .params = {{"self"}}, .implementation = command_names},
    {.name = "__getattr__", .params = {{"self"}, {"name"}}, .implementation = command},
    {.name = "__setattr__", .params = {{"self"}, {"name"}, {"value"}}, .implementation = refuse_command_attribute},
};
const FunctionDef locks_init_def{.name = "__init__", .params = {{"self"}, {"ioc"}}, .implementation = init};
const FunctionDef lock_getters[] = {
    {.name = "localParameterizationLock",
     .params = {{"self"}},
     .implementation = read_lock<kParameterizationLockSubindex>,
     .doc = "Local parameterization lock.\n\n"
            "True ('Locked'): control elements on the device are disabled (write protection).\n"
            "False ('Unlocked'): unlocked."},
    {.name = "localUserInterfaceLock",
     .params = {{"self"}},
     .implementation = read_lock<kUserInterfaceLockSubindex>,
     .doc = "Local user interface lock.\n\n"
            "True ('Locked'): controls and displays on the device are disabled.\n"
            "False ('Unlocked'): unlocked."},
};
const FunctionDef lock_setters[] = {
    {.name = "localParameterizationLock",
     .params = {{"self"}, {"value"}},
     .implementation = write_lock<kParameterizationLockSubindex>},
    {.name = "localUserInterfaceLock",
     .params = {{"self"}, {"value"}},
     .implementation = write_lock<kUserInterfaceLockSubindex>},
};
const FunctionDef locks_repr_def{
    .name = "__repr__", .params = {{"self"}}, .implementation = locks_representation,
    .doc = "Returns the object data in JSON-format"};

}  // namespace

void define_accessors()
{
    ClassBuilder variables("_IoddVarAccess", {b_object}, "Variable access helper class.");
    variables.method(accessor_init_def);
    variables.methods(var_methods);
    variables.build();

    ClassBuilder commands("_IoddSysAccess", {b_object}, "System command access helper class.");
    commands.method(accessor_init_def);
    commands.methods(sys_methods);
    commands.build();
    Py_XSETREF(command_runner, make_function(run_command_def, "_IoddSysAccess.__getattr__.<locals>").release());

    ClassBuilder locks("AccessLocks", {b_object}, "Device access locks returned by Orvane.accessLocks.");
    locks.method(locks_init_def);
    for (std::size_t i = 0; i < std::size(lock_getters); ++i)
        locks.property(lock_getters[i], &lock_setters[i]);
    locks.method(locks_repr_def).build();
}

}  // namespace tess::body
