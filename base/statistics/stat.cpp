// Stat and its presentations: one measured figure each.  Values stay raw in
// the object; scale and format are applied only when a report is made, so
// every figure in a report is a str and only `count` stays a number.
#include "statistics.hpp"

#include "../numbers.hpp"
#include "../recursion.hpp"

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

namespace tess::body {
namespace {
using namespace stats;

Name n_count("count"), n_min("min"), n_max("max"), n_sum("_sum"), n_scale("scale"), n_format("format"),
    n_hist("hist"), n_mean("mean"), n_inited("_inited"), n_addStat("_addStat"), n_empty(""),
    n_plain_format("%s"), n_ms_format("%.3f ms"), n_sec_format("%.3f s");
Global g_deque("deque");

// Constants shared by every figure, as the literals of one code object are;
// made once by the definer and kept for the life of the process.  The bounds
// are real numbers on purpose: they limit the designed range of a figure.
PyObject* min_unset = nullptr;   // 1000000.0
PyObject* max_unset = nullptr;   // -1000000.0
PyObject* float_zero = nullptr;  // 0.0
PyObject* one = nullptr;         // 1

void init_stat(PyObject* self, Borrowed scale, Borrowed pattern, Borrowed hist_size)
{
    setattr(self, n_count, integer(0));
    setattr(self, n_min, min_unset);
    setattr(self, n_max, max_unset);
    setattr(self, n_sum, integer(0));
    setattr(self, n_scale, scale);
    setattr(self, n_format, pattern);
    setattr(self, n_hist, truthy(hist_size) ? call(g_deque.get(), {list(), hist_size}) : none());
}

// if candidate <op> figure.<name>: figure.<name> = candidate
void take_if(PyObject* figure, const Name& name, Borrowed candidate, int op)
{
    if (compare_numbers(candidate, getattr(figure, name), op))
        setattr(figure, name, candidate);
}

// The float that an exact float or a small exact int stands for.
bool as_double(PyObject* number, double& value)
{
    long long whole;
    if (PyFloat_CheckExact(number))
        value = PyFloat_AS_DOUBLE(number);
    else if (small_int(number, whole))
        value = static_cast<double>(whole);
    else
        return false;
    return true;
}

// An ASCII text as a str.
Ref ascii_text(const char* chars, std::size_t size)
{
    Ref result = Ref::steal(PyUnicode_New(static_cast<Py_ssize_t>(size), 127));
    std::memcpy(PyUnicode_1BYTE_DATA(result.get()), chars, size);
    return result;
}

// `"%.3f" % number` followed by `unit`.  The product of a double and 1000
// is exact in a long double of 64 bits or more, so rounding it to an integer,
// half to even, rounds exactly as the host's formatting of the decimal value
// does.  Beyond such numbers, or without such a long double, the host writes it.
Ref fixed_three(double number, std::string_view unit)
{
    constexpr bool exact = std::numeric_limits<long double>::digits >= 64;
    if (!exact || !std::isfinite(number) || std::fabs(number) >= 1e15) {
        char* digits = PyOS_double_to_string(number, 'f', 3, 0, nullptr);
        if (!digits)
            throw_python_error();
        std::string written = std::string(digits) + std::string(unit);
        PyMem_Free(digits);
        return ascii_text(written.data(), written.size());
    }
    const long double thousandths = std::rint(static_cast<long double>(number) * 1000.0L);
    unsigned long long magnitude = static_cast<unsigned long long>(std::fabs(thousandths));
    char buffer[40];
    char* end = buffer + sizeof buffer;
    char* cursor = end;
    for (int digit = 0; digit < 3; ++digit, magnitude /= 10)
        *--cursor = static_cast<char>('0' + magnitude % 10);
    *--cursor = '.';
    do
        *--cursor = static_cast<char>('0' + magnitude % 10);
    while (magnitude /= 10);
    if (std::signbit(number))
        *--cursor = '-';
    std::string_view written(cursor, static_cast<std::size_t>(end - cursor));
    char line[48];
    std::memcpy(line, written.data(), written.size());
    std::memcpy(line + written.size(), unit.data(), unit.size());
    return ascii_text(line, written.size() + unit.size());
}

// The decimal digits of a whole number, as str() writes them.
Ref decimal_text(long long number)
{
    char buffer[24];
    char* end = buffer + sizeof buffer;
    char* cursor = end;
    unsigned long long magnitude = number < 0 ? 0ull - static_cast<unsigned long long>(number) : number;
    do
        *--cursor = static_cast<char>('0' + magnitude % 10);
    while (magnitude /= 10);
    if (number < 0)
        *--cursor = '-';
    return ascii_text(cursor, static_cast<std::size_t>(end - cursor));
}

// str() of a float: the shortest digits that read back as the same float.
Ref float_text(double number)
{
    char* digits = PyOS_double_to_string(number, 'r', 0, Py_DTSF_ADD_DOT_0, nullptr);
    if (!digits)
        throw_python_error();
    Ref written = ascii_text(digits, std::strlen(digits));
    PyMem_Free(digits);
    return written;
}

// format % (value * scale).  The module's own formats are written here as
// `%` writes them, from the product of plain numbers: "%s" is str() of it,
// "%.3f" its digits rounded.  Anything else goes through `%` itself; a str
// subclass too, which may have a `%` of its own and is never compared.
Ref shown(Borrowed pattern, Borrowed value, Borrowed scale)
{
    const bool text = PyUnicode_CheckExact(pattern.get());
    const bool plain = text && equal(pattern, n_plain_format);
    const char* unit = nullptr;
    if (text && !plain)
        unit = equal(pattern, n_ms_format) ? " ms" : equal(pattern, n_sec_format) ? " s" : nullptr;
    long long whole, factor;
    double x, y;
    if ((plain || unit) && small_int(value, whole) && small_int(scale, factor)) {
        const long long product = whole * factor;
        return plain ? decimal_text(product) : fixed_three(static_cast<double>(product), unit);
    }
    if ((plain || unit) && both_float(value, scale, x, y))
        return plain ? float_text(x * y) : fixed_three(x * y, unit);
    return percent(pattern, multiply(value, scale));
}

// The report of a figure with these values, as getStat makes it; `mean`
// and `history` are asked for the mean and the history (or NULL) when the
// report needs them.
template <typename Mean, typename History>
Ref figure_report(Borrowed count, Borrowed pattern, Borrowed scale, Borrowed min, Borrowed max, Mean&& mean,
                  History&& history)
{
    if (!truthy(count))
        return none();
    Ref report = dict();
    set_item(report, n_count, count);
    set_item(report, n_min, shown(pattern, min, scale));
    set_item(report, n_max, shown(pattern, max, scale));
    if (!compare_numbers(min, max, Py_NE))
        return report;
    set_item(report, n_mean, shown(pattern, mean(), scale));
    Ref hist = history();
    if (hist && truthy(hist)) {
        Ref history = list();
        for_each(hist, [&](PyObject* value) { check(PyList_Append(history, shown(pattern, value, scale))); });
        set_item(report, n_hist, history);
    }
    return report;
}

// sum / count, of numbers whose division runs no one's code and cannot fail.
bool plain_mean(PyObject* sum, PyObject* count, Ref& mean)
{
    double numerator, denominator;
    if (!sum || !count || !as_double(sum, numerator) || !as_double(count, denominator) || denominator == 0)
        return false;
    mean = true_divide(sum, count);
    return true;
}

Ref stat_init(const Args& args)
{
    init_stat(args[0], args[1], args[2], args[3]);
    return none();
}

Ref add(const Args& args)
{
    PyObject* figure = args[0];
    PyObject* value = args[1];
    add_to(figure, n_count, one);
    add_to(figure, n_sum, value);
    take_if(figure, n_min, value, Py_LT);
    take_if(figure, n_max, value, Py_GT);
    // The test is on the deque's truth: a history grows only once a caller
    // has put a first entry into it.
    Ref hist = getattr(figure, n_hist);
    if (truthy(hist))
        call_method(hist, n_append, {value});
    return none();
}

Ref mean(const Args& args);

// The classes as the module body made them; the merge below stands for their
// own code only while they stay so.
OwnClass own_stat, own_stat_ms, own_stat_sec, own_stat_merge;

// What StatMerge(figures) would hold once made, worked out without making
// it: only where every figure is a plain figure of the module's own classes
// whose values are plain numbers, so that reading and summing them runs no
// one's code.  False, with nothing done that anyone could see, elsewhere.
struct Totals {
    Ref count, sum, min, max, pattern, scale;
};

bool merge_figure(PyObject* figure, Totals& totals, bool& inited)
{
    PyTypeObject* type = Py_TYPE(figure);
    if (!own_stat.is(type) && !own_stat_ms.is(type) && !own_stat_sec.is(type))
        return false;
    PyObject* count = peek(figure, n_count);
    PyObject* sum = peek(figure, n_sum);
    PyObject* min = peek(figure, n_min);
    PyObject* max = peek(figure, n_max);
    PyObject* pattern = peek(figure, n_format);
    PyObject* scale = peek(figure, n_scale);
    if (!plain_number(count) || !plain_number(sum) || !plain_number(min) || !plain_number(max) || !pattern || !scale)
        return false;
    if (!inited) {
        totals.pattern = Ref::borrow(pattern);
        totals.scale = Ref::borrow(scale);
        inited = true;
    }
    totals.count = tess::add(totals.count, count);
    totals.sum = tess::add(totals.sum, sum);
    if (compare_numbers(min, totals.min, Py_LT))
        totals.min = Ref::borrow(min);
    if (compare_numbers(max, totals.max, Py_GT))
        totals.max = Ref::borrow(max);
    return true;
}

bool merge_plainly(PyObject* figures, Totals& totals)
{
    if (!PyList_CheckExact(figures))
        return false;
    totals = {integer(0), integer(0), Ref::borrow(min_unset), Ref::borrow(max_unset), Ref::borrow(n_empty),
              integer(1)};
    bool inited = false;
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(figures); ++i) {
        PyObject* figure = PyList_GET_ITEM(figures, i);
        if (!PyDict_CheckExact(figure)) {
            if (!merge_figure(figure, totals, inited))
                return false;
            continue;
        }
        // Nothing merged runs code, so the dict stays as it is while walked.
        Py_ssize_t position = 0;
        PyObject *key, *value;
        while (PyDict_Next(figure, &position, &key, &value))
            if (!merge_figure(value, totals, inited))
                return false;
    }
    return true;
}

Ref get_stat(const Args& args)
{
    PyObject* self = args[0];
    Ref count = getattr(self, n_count);
    if (!truthy(count))
        return none();
    // The mean is worked out here where self.mean is this module's own.
    auto mean_of_self = [self]() {
        PyObject* getter = getter_of(self, n_mean);
        Ref value;
        if (implementation_of(getter) == mean && plain_mean(peek(self, n_sum), peek(self, n_count), value))
            return as_call_of(getter, [&] { return value; });
        return getattr(self, n_mean);
    };
    Ref pattern = getattr(self, n_format);
    Ref scale = getattr(self, n_scale);
    Ref min = getattr(self, n_min);
    Ref max = getattr(self, n_max);
    return figure_report(count, pattern, scale, min, max, mean_of_self, [self] { return getattr(self, n_hist); });
}

Ref clear(const Args& args)
{
    PyObject* self = args[0];
    setattr(self, n_count, integer(0));
    setattr(self, n_min, min_unset);
    setattr(self, n_max, max_unset);
    setattr(self, n_sum, float_zero);
    Ref hist = getattr(self, n_hist);
    if (truthy(hist))
        call_method(hist, n_clear);
    return none();
}

Ref mean(const Args& args)
{
    Ref sum = getattr(args[0], n_sum);
    return Ref::steal(PyNumber_TrueDivide(sum, getattr(args[0], n_count)));
}

}  // namespace

namespace stats {

Ref report_of(Borrowed figure)
{
    PyObject* own = method_of(figure, n_getStat);
    if (implementation_of(own) != get_stat)
        return call_method(figure, n_getStat);
    PyObject* self = figure.get();
    return as_call_of(own, [self] { return get_stat(Args(&self, {}, nullptr, nullptr)); });
}

Ref merged_report(Borrowed merge_class, Borrowed figures)
{
    Totals totals;
    if (!PyType_Check(merge_class.get()) || !own_stat_merge.is(reinterpret_cast<PyTypeObject*>(merge_class.get())) ||
        !merge_plainly(figures, totals))
        return {};
    Ref mean;
    return figure_report(
        totals.count, totals.pattern, totals.scale, totals.min, totals.max,
        [&] {
            RecursionGuard depth;  // the level that the mean's getter would take
            return plain_mean(totals.sum, totals.count, mean) ? mean : true_divide(totals.sum, totals.count);
        },
        [] { return Ref(); });
}

}  // namespace stats

namespace {

template <int Scale, const Name& Pattern>
Ref presentation_init(const Args& args)
{
    init_stat(args[0], integer(Scale), Pattern, args[1]);
    return none();
}

Ref merge_init(const Args& args)
{
    PyObject* self = args[0];
    init_stat(self, integer(1), n_empty, integer(0));
    setattr(self, n_inited, Py_False);
    // One level of dict is unpacked: a master's figure of port to Stat.
    auto merge = [self](PyObject* stat) { call_method(self, n_addStat, {stat}); };
    for_each(args[1], [&](PyObject* stat) {
        if (isinstance_by(stat, is_dict_type))
            for_each(call_method(stat, n_values), merge);
        else
            merge(stat);
    });
    return none();
}

Ref add_stat(const Args& args)
{
    PyObject* self = args[0];
    PyObject* stat = args[1];
    // The first figure merged decides the presentation of the whole merge.
    if (!truthy(getattr(self, n_inited))) {
        setattr(self, n_scale, getattr(stat, n_scale));
        setattr(self, n_format, getattr(stat, n_format));
        setattr(self, n_inited, Py_True);
    }
    add_to(self, n_count, getattr(stat, n_count));
    add_to(self, n_sum, getattr(stat, n_sum));
    take_if(self, n_min, getattr(stat, n_min), Py_LT);
    take_if(self, n_max, getattr(stat, n_max), Py_GT);
    return none();
}

FunctionDef self_only(const char* name, Implementation implementation, const char* doc)
{
    return {.name = name, .params = {{"self"}}, .implementation = implementation, .doc = doc};
}

const FunctionDef stat_init_def{
    .name = "__init__",
    .params = {{"self"}, {"scale", 1}, {"strformat", "%s"}, {"histSize", 10}},
    .implementation = stat_init,
};
const FunctionDef add_def{
    .name = "add", .params = {{"self"}, {"value"}}, .implementation = add, .doc = "Add new value for statistics"};
const FunctionDef get_stat_def = self_only("getStat", get_stat, "Get statistics (dict)");
const FunctionDef clear_def = self_only("clear", clear, "Clear");
const FunctionDef mean_def = self_only("mean", mean, "Get mean value");
const FunctionDef ms_init_def{
    .name = "__init__", .params = {{"self"}, {"histSize", 10}}, .implementation = presentation_init<1000, n_ms_format>};
const FunctionDef sec_init_def{
    .name = "__init__", .params = {{"self"}, {"histSize", 10}}, .implementation = presentation_init<1, n_sec_format>};
const FunctionDef merge_init_def{.name = "__init__", .params = {{"self"}, {"stats"}}, .implementation = merge_init};
const FunctionDef add_stat_def{
    .name = "_addStat", .params = {{"self"}, {"stat"}}, .implementation = add_stat, .doc = "Add statistics to merge"};

const FunctionDef stat_repr_def = repr_def(plain_repr);

}  // namespace

void define_stat_values()
{
    if (!min_unset) {
        min_unset = floating(1000000.0).release();
        max_unset = floating(-1000000.0).release();
        float_zero = floating(0.0).release();
        one = integer(1).release();
    }
    ClassBuilder("Stat", {b_object}, "Moving statistics")
        .method(stat_init_def)
        .method(add_def)
        .method(get_stat_def)
        .method(clear_def)
        .property(mean_def)
        .method(stat_repr_def)
        .build();
    Ref stat = g_Stat.get();
    own_stat.remember(stat);
    own_stat_ms.remember(
        ClassBuilder("StatMs", {stat}, "Moving statistics for milliseconds").method(ms_init_def).build());
    own_stat_sec.remember(ClassBuilder("StatSec", {stat}, "Moving statistics for seconds").method(sec_init_def).build());
    own_stat_merge.remember(
        ClassBuilder("StatMerge", {stat}, "Merged statistics").method(merge_init_def).method(add_stat_def).build());
}

}  // namespace tess::body
