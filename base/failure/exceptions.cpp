// The exception tree that the whole communication package raises and catches.
// Constructors call the constructor of a class named in their own text (not
// always the direct base), looked up in the module at each call as the
// package's code expects.
#include "../Tessarine.hpp"

namespace tess::body {
namespace {

Name n_init("__init__"), n_message("message"), n_code("code"), n_hex("hex"), n_point("."),
    n_driverName("driverName"), n_masterInfo("_masterInfo"), n_get("get"), n_product_name("Product Name"),
    n_address("address"), n_getErrorText("_getErrorText"), n_getError("_getError"), n_getErrorMsg("getErrorMsg");
Global g_OrvaneException("OrvaneException"), g_DriverException("DriverException"),
    g_BlockParameterException("BlockParameterException"), g_ErrorHandler("ErrorHandler");

Ref orvane() { return g_OrvaneException.get(); }
Ref driver() { return g_DriverException.get(); }
Ref block_parameter() { return g_BlockParameterException.get(); }
Ref not_implemented() { return Ref::borrow(PyExc_NotImplementedError); }
Ref exception() { return Ref::borrow(PyExc_Exception); }

using Target = Ref (*)();

// Target.__init__(self, *args)
void init_as(Target target, PyObject* self, std::initializer_list<Borrowed> args)
{
    Ref init = getattr(target(), n_init);
    SmallVector<PyObject*, 4> stack(1 + args.size());
    std::size_t index = 0;
    stack[index++] = self;
    for (Borrowed arg : args)
        stack[index++] = arg.get();
    call(init, {stack.data(), stack.size()});
}

// `f"{value}"`: the default string format of a value.
Ref formatted(Borrowed value) { return format(value, Ref::steal(PyUnicode_FromStringAndSize("", 0))); }

// --- constructors shared by several classes ------------------------------

template <Target To>
Ref forward_message(const Args& args)
{
    init_as(To, args[0], {args[1]});
    return none();
}

template <Target To, const Name& Text>
Ref fixed_message(const Args& args)
{
    init_as(To, args[0], {Text});
    return none();
}

template <Target To, const Name& Default>
Ref message_or_default(const Args& args)
{
    init_as(To, args[0], {truthy(args[1]) ? args[1] : Default.get()});
    return none();
}

// --- constructors of their own -------------------------------------------

Ref orvane_init(const Args& args)
{
    PyObject* self = args[0];
    setattr(self, n_message, args[1]);
    if (isinstance_by(args[2], is_int_type))
        setattr(self, n_code, args[2]);
    init_as(exception, self, {args[1]});
    return none();
}

Name n_analyse(" Please send us traceback for analyse.");
Ref invalid_call_init(const Args& args)
{
    init_as(driver, args[0], {concat({args[1], n_analyse})});
    return none();
}

Name n_master_error("Master Error ("), n_master_error_sep("): ");
Ref master_init(const Args& args)
{
    Ref hexdata = call_method(args[2], n_hex, {n_point});
    init_as(driver, args[0], {concat({n_master_error, formatted(args[1]), n_master_error_sep, formatted(hexdata)})});
    return none();
}

Name n_not_supported("Not supported by this master"), n_quote("\""), n_is_n("\" is n");
Ref not_supported_init(const Args& args)
{
    PyObject* message = args[1];
    Ref text_used;
    if (truthy(message)) {
        text_used = Ref::borrow(message);
    } else if (truthy(args[2])) {
        // The default text loses its capital: '"name" is n' + 'ot supported ...'
        Ref tail = Ref::steal(PyUnicode_Substring(n_not_supported, 1, PY_SSIZE_T_MAX));
        text_used = concat({n_quote, formatted(args[2]), n_is_n, tail});
    } else {
        text_used = Ref::borrow(n_not_supported);
    }
    init_as(driver, args[0], {text_used});
    return none();
}

Name n_malfunction(": master malfunction detected: \""), n_open_paren("\" ("),
    n_restart("). Please restart the master.");
Ref master_malfunction_init(const Args& args)
{
    PyObject* master = args[1];
    Ref driver_name = call_method(master, n_driverName);
    Ref product_name = call_method(getattr(master, n_masterInfo), n_get, {n_product_name});
    init_as(driver, args[0],
            {concat({formatted(driver_name), n_malfunction, formatted(getattr(master, n_address)), n_open_paren,
                     formatted(product_name), n_restart})});
    return none();
}

Ref request_init(const Args& args)
{
    init_as(orvane, args[0], {args[1], args[2]});
    return none();
}

bool is_numeric_error_type(PyTypeObject* type) { return is_list_type(type) || is_tuple_type(type) || is_int_type(type); }

// The numeric error of a message given as an int or a (high, low) sequence.
Ref error_code_of(PyObject* message)
{
    if (isinstance_by(message, is_int_type))
        return Ref::borrow(message);
    // message[0] * 256 + message[1], step by step: the product fails before
    // the second item is asked for.
    Ref shifted = binary(item(message, integer(0)), integer(256), PyNumber_Multiply);
    return binary(shifted, item(message, integer(1)), PyNumber_Add);
}

Ref io_link_init(const Args& args)
{
    PyObject* self = args[0];
    Ref message = Ref::borrow(args[1]);
    PyObject* second = args[2];
    Ref code;
    if (isinstance_by(message, is_numeric_error_type)) {
        code = error_code_of(message);
        message = truthy(second) ? call_method(second, n_getErrorText, {code})
                                 : call_method(g_ErrorHandler.get(), n_getErrorMsg, {code});
    } else if (isinstance_by(second, is_int_type)) {
        code = Ref::borrow(second);
    } else {
        // A text: its code comes from the second argument, if it knows one.
        try_except(
            orvane().get(), [&] { code = call_method(second, n_getError, {message}); },
            [&](PyObject*) { code = integer(-1); });
    }
    init_as(orvane, self, {message, code});
    return none();
}

Name n_not_valid("Not a valid IODD: \"");
Ref invalid_iodd_init(const Args& args)
{
    init_as(orvane, args[0], {concat({n_not_valid, formatted(args[1]), n_quote})});
    return none();
}

// --- texts of the classes that take no message ---------------------------

Name t_abstract("Abstract not implemented"), t_not_yet("Not implemented yet"), t_not_connected("not connected"),
    t_master_not_connected("Master not connected"), t_communication_failed("Communication failed"),
    t_sim_device("Function not supported by simulation device"),
    t_sim_plugged("Simulation device or master not plugged in"), t_not_simulator("not simulator"),
    t_no_io_link("IO-Link not active"), t_block_not_allowed("Block parameter command not allowed"),
    t_block_active("Block parameter already active"), t_block_writing("Block parameter writing not active"),
    t_block_reading("Block parameter reading not active");

FunctionDef init_def(std::vector<Param> params, Implementation implementation)
{
    params.insert(params.begin(), Param{"self"});
    return {.name = "__init__", .params = std::move(params), .implementation = implementation};
}

template <Target To, const Name& Text>
const FunctionDef fixed = init_def({}, fixed_message<To, Text>);
template <Target To>
const FunctionDef with_message = init_def({{"message"}}, forward_message<To>);
template <Target To, const Name& Default>
const FunctionDef message_or = init_def({{"message", ""}}, message_or_default<To, Default>);

struct ExceptionClass {
    const char* name;
    const char* base;  // a module class, or the builtin it names
    const char* doc;
    const FunctionDef& init;
};

const FunctionDef orvane_def = init_def({{"message"}, {"code", -1}}, orvane_init);
const FunctionDef invalid_call_def = init_def({{"message"}}, invalid_call_init);
const FunctionDef master_def = init_def({{"address"}, {"bytesdata"}}, master_init);
const FunctionDef not_supported_def = init_def({{"message", kNone}, {"name", kNone}}, not_supported_init);
const FunctionDef malfunction_def = init_def({{"masterDrv"}}, master_malfunction_init);
const FunctionDef request_def = init_def({{"message"}, {"code", 0}}, request_init);
const FunctionDef io_link_def = init_def({{"message"}, {"code"}}, io_link_init);
const FunctionDef invalid_iodd_def = init_def({{"fn"}}, invalid_iodd_init);

const ExceptionClass tree[] = {
    {"NotImplementedAbstract", "NotImplementedError", "Not implemented abstract exception",
     fixed<not_implemented, t_abstract>},
    {"NotImplementedYet", "NotImplementedError", "Not implemented yet exception",
     message_or<not_implemented, t_not_yet>},
    {"OrvaneException", "Exception", "Base class for Orvane exceptions", orvane_def},
    {"NonConformIoddException", "OrvaneException", "Non conform IODD exception", with_message<orvane>},
    {"IoddCollectionException", "OrvaneException", "IoddCollection exception", with_message<orvane>},
    {"DriverException", "OrvaneException", "Orvane driver exception", with_message<orvane>},
    {"CouldNotOpenMasterException", "DriverException", "Could not open master driver exception",
     with_message<driver>},
    {"InvalidCallException", "DriverException", "Invalid driver call exception", invalid_call_def},
    {"MasterException", "DriverException", "Orvane master exception", master_def},
    {"NotConnectedException", "OrvaneException", "Not connected exception", fixed<orvane, t_not_connected>},
    {"MasterNotConnectedException", "NotConnectedException", "Master not connected exception",
     fixed<orvane, t_master_not_connected>},
    {"NotSupportedError", "DriverException", "Not supported exception", not_supported_def},
    {"CommunicationFailedError", "DriverException", "Communication failed exception",
     fixed<driver, t_communication_failed>},
    {"MasterMalfunctionException", "DriverException", "Master malfunction exception", malfunction_def},
    {"CommException", "DriverException", "Communication exception.", with_message<driver>},
    {"RequestException", "DriverException", "Request exception.", request_def},
    {"IOLinkException", "OrvaneException", "IO-Link exception", io_link_def},
    {"InvalidIoddException", "OrvaneException", "Invalid IODD exception", invalid_iodd_def},
    {"NotSupportedBySimDeviceException", "OrvaneException", "Function not supported by simulation device exception",
     fixed<orvane, t_sim_device>},
    {"SimNotPluggedinException", "OrvaneException", "Simulation device or master not plugged in exception",
     message_or<orvane, t_sim_plugged>},
    {"NotSimulatorException", "OrvaneException", "Not simulator exception", fixed<orvane, t_not_simulator>},
    {"NoIoLinkException", "OrvaneException", "IO-Link not active exception", fixed<orvane, t_no_io_link>},
    {"IndexUnavailableException", "OrvaneException", "Index unavailable exception.", with_message<orvane>},
    {"TTimeException", "OrvaneException", "TTime exception.", with_message<orvane>},
    {"RecordFieldException", "OrvaneException", "Record field exception.", with_message<orvane>},
    {"BlockParameterException", "OrvaneException", "Block parameter exception", with_message<orvane>},
    {"BlockParameterNotAllowedException", "BlockParameterException", "Block parameter command not allowed exception",
     fixed<block_parameter, t_block_not_allowed>},
    {"BlockParameterAlreadyActiveException", "BlockParameterException", "Block parameter already active exception",
     fixed<block_parameter, t_block_active>},
    {"BlockParameterWritingNotActiveException", "BlockParameterException",
     "Block parameter writing not active exception", fixed<block_parameter, t_block_writing>},
    {"BlockParameterReadingNotActiveException", "BlockParameterException",
     "Block parameter reading not active exception", fixed<block_parameter, t_block_reading>},
};

Ref base_class(const char* name)
{
    if (PyObject* own = PyDict_GetItemString(module_dict(), name))
        return Ref::borrow(own);
    return Ref::steal(PyObject_GetAttrString(Ref::steal(PyImport_ImportModule("builtins")), name));
}

}  // namespace

void define_exceptions()
{
    for (const ExceptionClass& exception : tree)
        ClassBuilder(exception.name, {base_class(exception.base)}, exception.doc).method(exception.init).build();
}

}  // namespace tess::body
