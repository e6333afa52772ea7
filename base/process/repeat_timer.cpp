// RepeatTimer: a threading.Timer that calls back again and again, keeping the
// period by taking the callback's own duration off the next wait.
#include "../Tessarine.hpp"

namespace tess::body {
namespace {

Name n_logger("_logger"), n_cancelled("cancelled"), n_init("__init__"), n_name("name"), n_interval("interval"),
    n_function("function"), n_args("args"), n_kwargs("kwargs"), n_finished("finished"), n_wait("wait"),
    n_time("time"), n_cancel("cancel"), n_debugPeriodic("debugPeriodic"), n_Timer("Timer"), n_keys("keys"),
    n_overrun("WARNING: %s callback took longer than timer period: per %ss, dt %.4fs");
Global g_threading("threading"), g_time("time");

// The class itself, for super(): the defining class, not whatever the module
// name is bound to later.  Lives as long as the process.
PyObject* repeat_timer_class = nullptr;

Ref now() { return call_method(g_time.get(), n_time); }

Ref init(const Args& args)
{
    PyObject* self = args[0];
    setattr(self, n_logger, args[4]);
    Ref base_init = super_getattr(repeat_timer_class, self, n_init);
    call(base_init, {args[2], args[3], args.rest_tuple(), args.kwargs()});
    if (truthy(args[1]))
        setattr(self, n_name, args[1]);
    setattr(self, n_cancelled, Py_False);
    return none();
}

// After an overrun the next round follows at once, and the missed ones are
// not made up.
void report_overrun(PyObject* self, Borrowed dt)
{
    Ref logger = getattr(self, n_logger);
    if (truthy(logger))
        call_method(logger, n_debugPeriodic, {n_overrun, getattr(self, n_name), getattr(self, n_interval), dt});
}

// function(*args, **kwargs) as a call statement makes it, from whatever the
// attributes hold by now: any iterable for the positional arguments, any
// mapping for the keywords.
void call_back(PyObject* self)
{
    Ref function = getattr(self, n_function);
    Ref positional = getattr(self, n_args);
    Ref keywords = getattr(self, n_kwargs);
    PyTypeObject* positional_type = Py_TYPE(positional.get());
    if (!PyTuple_CheckExact(positional)) {
        if (!positional_type->tp_iter && !PySequence_Check(positional))
            raise_format(PyExc_TypeError, "argument after * must be an iterable, not %.200s", positional_type->tp_name);
        positional = Ref::steal(PySequence_Tuple(positional));
    }
    if (!PyDict_CheckExact(keywords)) {
        if (!hasattr(keywords, n_keys))
            raise_format(PyExc_TypeError, "argument after ** must be a mapping, not %.200s",
                         Py_TYPE(keywords.get())->tp_name);
        Ref copied = dict();
        check(PyDict_Merge(copied, keywords, 1));
        keywords = copied;
    }
    call_with(function, positional, keywords);
}

// Only the callback's time is taken off the wait; the wait's own lateness is
// not measured, so the timer drifts by it on each round.
Ref run(const Args& args)
{
    PyObject* self = args[0];
    Ref wait = getattr(self, n_interval);
    Ref zero = integer(0);
    for (;;) {
        if (truthy(call_method(getattr(self, n_finished), n_wait, {wait})))
            return none();
        if (truthy(getattr(self, n_cancelled)))
            return none();
        Ref started = now();
        call_back(self);
        Ref dt = binary(now(), started, PyNumber_Subtract);
        wait = binary(getattr(self, n_interval), dt, PyNumber_Subtract);
        if (compare(wait, zero, Py_LT)) {
            wait = floating(0.0001);
            report_overrun(self, dt);
        }
    }
}

Ref cancel(const Args& args)
{
    PyObject* self = args[0];
    setattr(self, n_cancelled, Py_True);
    call(super_getattr(repeat_timer_class, self, n_cancel));
    return none();
}

const FunctionDef init_def{
    .name = "__init__",
    .params = {{"self"}, {"name"}, {"interval"}, {"function"}, {"logger", kNone}},
    .implementation = init,
    .star = star_args | star_kwargs,
};
const FunctionDef run_def{.name = "run", .params = {{"self"}}, .implementation = run};
const FunctionDef cancel_def{.name = "cancel", .params = {{"self"}}, .implementation = cancel};

}  // namespace

void define_repeat_timer()
{
    Ref timer = getattr(g_threading.get(), n_Timer);
    Ref cls = ClassBuilder("RepeatTimer", {timer}, "Repeat timer class.")
                  .method(init_def)
                  .method(run_def)
                  .method(cancel_def)
                  .build();
    repeat_timer_class = cls.release();
}

}  // namespace tess::body
