// ErrorHandler: the one place failures are sent to.  It composes a text,
// records it as the last error and on a bounded list, logs it, and raises or
// not according to its mode.
#include "../Tessarine.hpp"

namespace tess::body {
namespace {

Name n_mode_attr("_mode"), n_maxStackLength("maxStackLength"), n_logger("_logger"), n_errorStack("_errorStack"),
    n_lastErrorCode("_lastErrorCode"), n_lastError("_lastError"), n_mode("mode"), n_clearLastError("clearLastError"),
    n_handleError("handleError"), n_logLevel("_logLevel"), n_message("message"), n_code("code"), n_args("args"),
    n_error("error"), n_append("append"), n_pop("pop"), n_empty(""), n_raise("raise"), n_lastErrorMode("lastError"),
    n_error_code(" (error code "), n_close_paren(")"), n_open_paren(" ("), n_open_info(" ["), n_close_info("]"),
    n_syntax_format("%s: File \"%s\", line %s, col %s: %s"), n_blank(" "), n_rstrip("rstrip"), n_dangerous("DANGEROUS"),
    n_invalid_mode("invalid mode: "), n_logLevel_not_int("logLevel must be integer"),
    n_io_link_error("IO-Link error code 0x"), n_hex4("04X");
Global g_Logger("Logger");

// Both directions of the mode names; made once by the definer, never freed.
PyObject* mode_numbers = nullptr;  // {'raise': 1, 'lastError': 2}
PyObject* mode_names = nullptr;    // {1: 'raise', 2: 'lastError'}

Ref default_logger() { return call(g_Logger.get(), {integer(0)}); }

// try: body()  except Exception as error: self.handleError(error)
template <typename Body>
void handled_by(PyObject* self, Body&& body)
{
    try_except(PyExc_Exception, body, [self](PyObject* error) { call_method(self, n_handleError, {error}); });
}

[[noreturn]] void raise_plain(Borrowed message) { raise_object(call(PyExc_Exception, {message})); }

Ref init(const Args& args)
{
    PyObject* self = args[0];
    setattr(self, n_mode_attr, integer(1));
    setattr(self, n_maxStackLength, integer(100));
    setattr(self, n_logger, args[2]);
    setattr(self, n_errorStack, list());
    setattr(self, n_mode, args[1]);
    setattr(self, n_lastErrorCode, integer(0));
    setattr(self, n_lastError, n_empty);
    call_method(self, n_clearLastError);
    return none();
}

Ref get_mode(const Args& args)
{
    PyObject* name = PyDict_GetItemWithError(mode_names, getattr(args[0], n_mode_attr));
    if (!name && PyErr_Occurred())
        throw_python_error();
    return Ref::borrow(name ? name : Py_None);
}

Ref set_mode(const Args& args)
{
    PyObject* self = args[0];
    PyObject* value = args[1];
    handled_by(self, [&] {
        PyObject* number = PyDict_GetItemWithError(mode_numbers, value);
        if (number)
            setattr(self, n_mode_attr, number);
        else if (PyErr_Occurred())
            throw_python_error();
        else
            raise_plain(concat({n_invalid_mode, format(value, n_empty)}));
    });
    return none();
}

Ref get_log_level(const Args& args) { return getattr(getattr(args[0], n_logger), n_logLevel); }

Ref set_log_level(const Args& args)
{
    PyObject* self = args[0];
    PyObject* value = args[1];
    handled_by(self, [&] {
        if (!isinstance_by(value, is_int_type))
            raise_plain(n_logLevel_not_int);
        setattr(getattr(self, n_logger), n_logLevel, value);
    });
    return none();
}

// The text of an exception with a `message` (the package's own tree).
Ref compose_from_message(PyObject* self, PyObject* error, PyObject* info)
{
    Ref message = getattr(error, n_message);
    setattr(self, n_lastError, message);
    Ref code = getattr_optional(error, n_code);
    Ref text_used = message;
    if (code && !equal(code, integer(-1))) {
        setattr(self, n_lastErrorCode, code);
        text_used = concat({format(message, n_empty), n_error_code, format(code, n_empty), n_close_paren});
    }
    if (truthy(info))
        text_used = concat({text_used, n_open_info, format(info, n_empty), n_close_info});
    return text_used;
}

// The text of any other exception, from its `args`.
Ref compose_from_args(PyObject* self, PyObject* args)
{
    if (length(args) == 2) {
        Ref first = item(args, integer(0));
        Ref second = item(args, integer(1));
        setattr(self, n_lastError, second);
        if (isinstance_by(second, is_tuple_type) && length(second) == 4) {
            // Position of a syntax error: (file, line, column, text).
            Ref values = tuple({first, item_at(second, 0), item_at(second, 1), item_at(second, 2), item_at(second, 3)});
            return percent(n_syntax_format, values);
        }
        return concat({str(second), n_open_paren, str(first), n_close_paren});
    }
    Ref joined = Ref::borrow(n_empty);
    Ref iterator = Ref::steal(PyObject_GetIter(args));
    while (Ref element = iterate_next(iterator))
        joined = concat({joined, str(element), n_blank});
    joined = call_method(joined, n_rstrip);
    setattr(self, n_lastError, joined);
    return joined;
}

Ref handle_error(const Args& args)
{
    PyObject* self = args[0];
    PyObject* error = args[1];
    setattr(self, n_lastErrorCode, integer(-1));
    Ref mode = args[2] == Py_None ? getattr(self, n_mode_attr) : Ref::borrow(args[2]);

    Ref message;
    if (hasattr(error, n_message)) {
        message = compose_from_message(self, error, args[3]);
    } else if (Ref error_args = getattr_optional(error, n_args)) {
        message = compose_from_args(self, error_args);
    } else {
        message = Ref::borrow(n_dangerous);
        setattr(self, n_lastError, message);
    }

    call_method(getattr(self, n_logger), n_error, {message});
    Ref stack = getattr(self, n_errorStack);
    call_method(stack, n_append, {message});
    if (compare_numbers(integer(length(stack)), getattr(self, n_maxStackLength), Py_GT))
        call_method(stack, n_pop, {integer(0)});
    if (compare_numbers(mode, integer(1), Py_EQ))
        raise_object(Ref::borrow(error));
    return none();
}

Ref clear_last_error(const Args& args)
{
    setattr(args[0], n_lastErrorCode, integer(0));
    setattr(args[0], n_lastError, n_empty);
    return none();
}

Ref get_error_list(const Args& args) { return getattr(args[0], n_errorStack); }
Ref get_last_error(const Args& args) { return getattr(args[0], n_lastError); }
Ref get_last_error_code(const Args& args) { return getattr(args[0], n_lastErrorCode); }

Ref get_error_msg(const Args& args) { return concat({n_io_link_error, format(args[0], n_hex4)}); }

FunctionDef self_only(const char* name, Implementation implementation)
{
    return {.name = name, .params = {{"self"}}, .implementation = implementation};
}

const FunctionDef init_def{
    .name = "__init__",
    .params = {{"self"}, {"mode", "raise"}, {"logger", default_logger}},
    .implementation = init,
};
const FunctionDef mode_getter{.name = "mode", .params = {{"self"}}, .implementation = get_mode, .doc = "Get mode"};
const FunctionDef mode_setter{
    .name = "mode", .params = {{"self"}, {"value"}}, .implementation = set_mode, .doc = "Set mode"};
const FunctionDef log_level_getter{
    .name = "logLevel", .params = {{"self"}}, .implementation = get_log_level, .doc = "Get mode"};
const FunctionDef log_level_setter{
    .name = "logLevel", .params = {{"self"}, {"value"}}, .implementation = set_log_level, .doc = "Set mode"};
const FunctionDef handle_error_def{
    .name = "handleError",
    .params = {{"self"}, {"error"}, {"mode", kNone}, {"errInfo", kNone}},
    .implementation = handle_error,
};
const FunctionDef clear_last_error_def = self_only("clearLastError", clear_last_error);
const FunctionDef get_error_list_def = self_only("getErrorList", get_error_list);
const FunctionDef get_last_error_def = self_only("getLastError", get_last_error);
const FunctionDef get_last_error_code_def = self_only("getLastErrorCode", get_last_error_code);
const FunctionDef get_error_msg_def{.name = "getErrorMsg", .params = {{"errCode"}}, .implementation = get_error_msg};

}  // namespace

void define_error_handler()
{
    if (!mode_numbers) {
        Ref numbers = dict(), names = dict();
        set_item(numbers, n_raise, integer(1));
        set_item(numbers, n_lastErrorMode, integer(2));
        set_item(names, integer(1), n_raise);
        set_item(names, integer(2), n_lastErrorMode);
        mode_numbers = numbers.release();
        mode_names = names.release();
    }
    ClassBuilder("ErrorHandler", {b_object}, "Orvane error handler.")
        .method(init_def)
        .property(mode_getter, &mode_setter)
        .property(log_level_getter, &log_level_setter)
        .method(handle_error_def)
        .method(clear_last_error_def)
        .method(get_error_list_def)
        .method(get_last_error_def)
        .method(get_last_error_code_def)
        .static_method(get_error_msg_def)
        .build();
}

}  // namespace tess::body
