// Stat and its presentations: one measured figure each.  Values stay raw in
// the object; scale and format are applied only when a report is made, so
// every figure in a report is a str and only `count` stays a number.
#include "statistics.hpp"

namespace tess::body {
namespace {
using namespace stats;

Name n_count("count"), n_min("min"), n_max("max"), n_sum("_sum"), n_scale("scale"), n_format("format"),
    n_hist("hist"), n_mean("mean"), n_inited("_inited"), n_addStat("_addStat"), n_empty(""),
    n_ms_format("%.3f ms"), n_sec_format("%.3f s");
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

// format % (value * scale)
Ref shown(Borrowed pattern, Borrowed value, Borrowed scale) { return percent(pattern, multiply(value, scale)); }

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

Ref get_stat(const Args& args)
{
    PyObject* self = args[0];
    Ref count = getattr(self, n_count);
    if (!truthy(count))
        return none();
    Ref pattern = getattr(self, n_format);
    Ref scale = getattr(self, n_scale);
    Ref min = getattr(self, n_min);
    Ref max = getattr(self, n_max);
    Ref report = dict();
    set_item(report, n_count, count);
    set_item(report, n_min, shown(pattern, min, scale));
    set_item(report, n_max, shown(pattern, max, scale));
    if (!compare_numbers(min, max, Py_NE))
        return report;
    set_item(report, n_mean, shown(pattern, getattr(self, n_mean), scale));
    Ref hist = getattr(self, n_hist);
    if (truthy(hist)) {
        Ref history = list();
        for_each(hist, [&](PyObject* value) { check(PyList_Append(history, shown(pattern, value, scale))); });
        set_item(report, n_hist, history);
    }
    return report;
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
    return true_divide(sum, getattr(args[0], n_count));
}

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
    ClassBuilder("StatMs", {stat}, "Moving statistics for milliseconds").method(ms_init_def).build();
    ClassBuilder("StatSec", {stat}, "Moving statistics for seconds").method(sec_init_def).build();
    ClassBuilder("StatMerge", {stat}, "Merged statistics").method(merge_init_def).method(add_stat_def).build();
}

}  // namespace tess::body
