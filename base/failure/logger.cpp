// Logger: one line per message on standard output, or nothing when the
// message's level is above the logger's.
#include "../Tessarine.hpp"
#include "../numbers.hpp"

#include <datetime.h>

#include <cstdio>
#include <string_view>

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

// The decimals of a format of the form the logger makes,
// "%.2d:%.2d:%.2d.%.<decimals>d", or -1 for any other text.
int decimals_in(PyObject* format)
{
    constexpr std::string_view head = "%.2d:%.2d:%.2d.%.";
    if (!PyUnicode_CheckExact(format) || !PyUnicode_IS_ASCII(format))
        return -1;
    std::string_view text(reinterpret_cast<const char*>(PyUnicode_1BYTE_DATA(format)),
                          static_cast<std::size_t>(PyUnicode_GET_LENGTH(format)));
    if (!text.starts_with(head) || !text.ends_with('d'))
        return -1;
    std::string_view digits = text.substr(head.size(), text.size() - head.size() - 1);
    if (digits.empty() || digits.size() > 2)
        return -1;
    int decimals = 0;
    for (char digit : digits) {
        if (digit < '0' || digit > '9')
            return -1;
        decimals = decimals * 10 + (digit - '0');
    }
    return decimals;
}

// format % (now.hour, now.minute, now.second, int(now.microsecond / scale))
// for a datetime of the host's own class and a format the logger makes,
// written as `%` writes it; an empty Ref where only `%` can tell.  The
// microseconds and a divisor up to 2**53 are exact as doubles, so the
// division rounds as the host's int / int does.
Ref decimal_time_text(PyObject* format, PyObject* now, PyObject* scale)
{
    long long divisor;
    const int decimals = decimals_in(format);
    if (decimals < 0 || !PyDateTime_CheckExact(now) || !small_int(scale, divisor) || divisor <= 0 ||
        divisor > (1LL << 53))
        return {};
    const auto fraction = static_cast<long long>(static_cast<double>(PyDateTime_DATE_GET_MICROSECOND(now)) /
                                                 static_cast<double>(divisor));
    char buffer[160];
    const int length = std::snprintf(buffer, sizeof buffer, "%.2d:%.2d:%.2d.%.*lld", PyDateTime_DATE_GET_HOUR(now),
                                     PyDateTime_DATE_GET_MINUTE(now), PyDateTime_DATE_GET_SECOND(now), decimals,
                                     fraction);
    return Ref::steal(PyUnicode_FromStringAndSize(buffer, length));
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
    // The fields of the host's own datetime are plain values, read in any
    // order with the same outcome; those of another class are read in the
    // order the expression reads them.
    Ref scale;
    if (PyDateTime_CheckExact(now.get())) {
        scale = getattr(self, n_decimalsscale);
        if (Ref written = decimal_time_text(format, now, scale))
            return written;
    }
    Ref hour = getattr(now, n_hour), minute = getattr(now, n_minute), second = getattr(now, n_second);
    Ref microsecond = getattr(now, n_microsecond);
    if (!scale)
        scale = getattr(self, n_decimalsscale);
    Ref fraction = true_divide(microsecond, scale);
    return percent(format, tuple({hour, minute, second, Ref::steal(PyNumber_Long(fraction))}));
}

Ref log(const Args& args)
{
    PyObject* self = args[0];
    // The filter is all the work a suppressed message costs.
    if (compare(getattr(self, n_logLevel), args[1], Py_LT))
        return none();
    Ref when = time_text(self);
    // Joined left to right, as one `+` expression: the message is formatted
    // only once the head has joined the line.
    Ref line = concat({n_open_bracket, when, getattr(self, n_prefix), n_close_bracket, args[2]});
    call(b_print, {concat({line, percent(args[3], args.rest_tuple())})});
    return none();
}

// The printing operations hand msg and *args to self.log unformatted, through
// the instance, so that a subclass replacing log receives everything.  Where
// the class's log is this very one and its filter refuses the message, the
// call is answered here without being made.
template <int Level, const Name& Head>
Ref emit(const Args& args)
{
    PyObject* own_log = method_of(args[0], n_log);
    long long threshold;
    if (implementation_of(own_log) == log && small_int(peek(args[0], n_logLevel), threshold) && threshold < Level)
        return as_call_of(own_log, [] { return none(); });
    call_method(args[0], n_log, {integer(Level), Head, args[1]}, args.rest());
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
    PyDateTime_IMPORT;
    if (!PyDateTimeAPI)
        throw_python_error();
    ClassBuilder logger("Logger", {b_object}, "Orvane Logger class.");
    logger.method(init_def).method(set_prefix_def).method(set_seconds_decimals_def);
    logger.methods(printers);
    logger.method(log_def).build();
}

}  // namespace tess::body
