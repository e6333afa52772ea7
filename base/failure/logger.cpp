// Logger: one line per message on standard output, or nothing when the
// message's level is above the logger's.
#include "../Tessarine.hpp"

namespace tess::body {
namespace {

Name n_logLevel("_logLevel"), n_printDate("_printDate"), n_prefix("_prefix"), n_printSecDecimals("_printSecDecimals"),
    n_dateformat("_dateformat"), n_decimalsscale("_decimalsscale"), n_setSecondsDecimals("setSecondsDecimals"),
    n_log("log"), n_datetime("datetime"), n_now("now"), n_hour("hour"), n_minute("minute"), n_second("second"),
    n_microsecond("microsecond"), n_strftime("strftime"), n_empty(""), n_blank(" "), n_open_bracket("["),
    n_close_bracket("] "), n_plain_format("%H:%M:%S"), n_decimal_format("%.2d:%.2d:%.2d.%.");
Global g_datetime("datetime"), g_time("time");

Ref init(const Args& args)
{
    PyObject* self = args[0];
    setattr(self, n_logLevel, args[1]);
    setattr(self, n_printDate, Py_True);
    setattr(self, n_prefix, args[2]);
    call_method(self, n_setSecondsDecimals, {integer(1)});
    return none();
}

Ref set_prefix(const Args& args)
{
    setattr(args[0], n_prefix, concat({n_blank, args[1]}));
    return none();
}

Ref set_seconds_decimals(const Args& args)
{
    PyObject* self = args[0];
    PyObject* decimals = args[1];
    setattr(self, n_printSecDecimals, decimals);
    if (!truthy(decimals)) {
        setattr(self, n_dateformat, n_plain_format);
        return none();
    }
    setattr(self, n_dateformat, concat({n_decimal_format, str(decimals), text("d")}));
    Ref exponent = Ref::steal(PyNumber_Subtract(integer(6), decimals));
    setattr(self, n_decimalsscale, Ref::steal(PyNumber_Power(integer(10), exponent, Py_None)));
    return none();
}

// The time of day as the logger shows it, or '' with _printDate off.
Ref time_text(PyObject* self)
{
    if (!truthy(getattr(self, n_printDate)))
        return Ref::borrow(n_empty);
    if (!truthy(getattr(self, n_printSecDecimals)))
        return call_method(g_time.get(), n_strftime, {getattr(self, n_dateformat)});
    Ref now = call_method(getattr(g_datetime.get(), n_datetime), n_now);
    Ref format = getattr(self, n_dateformat);
    Ref hour = getattr(now, n_hour), minute = getattr(now, n_minute), second = getattr(now, n_second);
    Ref fraction = true_divide(getattr(now, n_microsecond), getattr(self, n_decimalsscale));
    return percent(format, tuple({hour, minute, second, Ref::steal(PyNumber_Long(fraction))}));
}

Ref log(const Args& args)
{
    PyObject* self = args[0];
    // The filter is all the work a suppressed message costs.
    if (compare_numbers(getattr(self, n_logLevel), args[1], Py_LT))
        return none();
    Ref when = time_text(self);
    // Joined left to right, as one `+` expression: the message is formatted
    // only once the head has joined the line.
    Ref line = concat({n_open_bracket, when, getattr(self, n_prefix), n_close_bracket, args[2]});
    call(b_print, {concat({line, percent(args[3], args.rest_tuple())})});
    return none();
}

// The printing operations hand msg and *args to self.log unformatted, through
// the instance, so that a subclass replacing log receives everything.
template <int Level, const Name& Head>
Ref emit(const Args& args)
{
    call_method(args[0], n_log, {small_integer<Level>(), Head, args[1]}, args.rest());
    return none();
}

Name h_info("INFO: "), h_warning("WARNING: "), h_deprecated("DEPRECATED: "), h_error("ERROR: "),
    h_calling("DEBUG: calling "), h_debug("DEBUG: "), h_rw("R/W: "), h_rw_result("R/W Result: "),
    h_rw_data("R/W Data: ");

FunctionDef printer(const char* name, Implementation implementation, const char* first = "msg")
{
    return {.name = name, .params = {{"self"}, {first}}, .implementation = implementation, .star = star_args};
}

const FunctionDef init_def{
    .name = "__init__",
    .params = {{"self"}, {"logLevel"}, {"prefix", ""}},
    .implementation = init,
    .doc = "logLevel: 0: disable all logging, 1: print errors, 2: print warnings, 3: print info,\n"
           "          4: print read/write, 5: print read/write result, 6: print read/write data,\n"
           "          9: debug, 10: periodic debug, 11: send/recv debug",
};
const FunctionDef set_prefix_def{.name = "setPrefix", .params = {{"self"}, {"label"}}, .implementation = set_prefix};
const FunctionDef set_seconds_decimals_def{
    .name = "setSecondsDecimals", .params = {{"self"}, {"decimals"}}, .implementation = set_seconds_decimals};
const FunctionDef printers[] = {
    printer("info", emit<3, h_info>),
    printer("warning", emit<2, h_warning>),
    printer("deprecated", emit<0, h_deprecated>),
    printer("error", emit<1, h_error>),
    printer("debugExecute", emit<9, h_calling>, "methodCall"),
    printer("debug", emit<9, h_debug>),
    printer("debugPeriodic", emit<10, h_debug>),
    printer("debugSendRecv", emit<11, h_debug>),
    printer("rw", emit<4, h_rw>),
    printer("rwr", emit<5, h_rw_result>),
    printer("rwd", emit<6, h_rw_data>),
};
const FunctionDef log_def{
    .name = "log",
    .params = {{"self"}, {"level"}, {"head"}, {"msg"}},
    .implementation = log,
    .star = star_args,
};

}  // namespace

void define_logger()
{
    ClassBuilder logger("Logger", {b_object}, "Orvane Logger class.");
    logger.method(init_def).method(set_prefix_def).method(set_seconds_decimals_def);
    logger.methods(printers);
    logger.method(log_def).build();
}

}  // namespace tess::body
