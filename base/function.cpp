#include "function.hpp"

#include "recursion.hpp"
#include "small_vector.hpp"
#include "traceback.hpp"

#include <cstddef>
#include <new>
#include <string>

namespace tess {

PyTypeObject* detail::function_type = nullptr;

Ref Default::make() const
{
    switch (kind_) {
    case Kind::none:
        return none();
    case Kind::integer:
        return integer(integer_);
    case Kind::floating:
        return floating(floating_);
    case Kind::boolean:
        return boolean(integer_ != 0);
    case Kind::text:
        return text(text_);
    case Kind::factory:
        return factory_();
    case Kind::required:
        break;
    }
    return {};
}

namespace {


// The source file as the project names it (base/...), for traceback entries.
const char* project_path(const char* file)
{
    std::string_view path(file);
    std::size_t at = path.rfind("/base/");
    return at == std::string_view::npos ? file : file + at + 1;
}

Ref interned(const char* value) { return Ref::steal(PyUnicode_InternFromString(value)); }

// What all function objects made from one definition share, as Python
// functions share their code object.  Owned by the function made by
// make_function; closures keep that one alive.
struct Code {
    Implementation implementation;
    unsigned star;
    std::size_t required = 0;
    std::vector<PyObject*> names;     // interned
    std::vector<PyObject*> defaults;  // one per parameter, NULL where required
    std::string bare_name;            // for the TypeError texts
    std::string dotted_name;          // for traceback entries
    const char* file;
    int line;
    PyCodeObject* traceback_code = nullptr;  // made at the first traceback entry
    PyObject* signature = nullptr;           // made when first asked for

    std::size_t count() const noexcept { return names.size(); }

    ~Code()
    {
        for (PyObject* object : names)
            Py_XDECREF(object);
        for (PyObject* object : defaults)
            Py_XDECREF(object);
        Py_XDECREF(traceback_code);
        Py_XDECREF(signature);
    }

    // A call with these arguments binds by position alone: the arguments are
    // the caller's own array, and any surplus is the *args tail.
    bool binds_by_position(Py_ssize_t given, PyObject* kwnames) const noexcept
    {
        if (kwnames || (star & star_kwargs))
            return false;
        const auto expected = static_cast<Py_ssize_t>(count());
        return given == expected || ((star & star_args) && given > expected);
    }

    // "f() takes exactly 2 positional arguments (1 given)", with the word and
    // number chosen by what kind of signature f has and which way it failed.
    [[noreturn]] void refuse_count(Py_ssize_t given) const
    {
        const bool fixed = required == count() && !(star & star_args);
        const char* word;
        std::size_t expected;
        if (fixed) {
            word = "exactly";
            expected = required;
        } else if (static_cast<std::size_t>(given) < required) {
            word = "at least";
            expected = required;
        } else {
            word = "at most";
            expected = count();
        }
        raise_format(PyExc_TypeError, "%.200s() takes %.8s %zd positional argument%.1s (%zd given)",
                     bare_name.c_str(), word, static_cast<Py_ssize_t>(expected), expected == 1 ? "" : "s", given);
    }

    // Index of the parameter called `key`, or -1.  Names are interned, so the
    // pointer test nearly always decides; equality covers built-up strings.
    Py_ssize_t find_param(PyObject* key) const
    {
        for (std::size_t i = 0; i < count(); ++i)
            if (names[i] == key)
                return static_cast<Py_ssize_t>(i);
        for (std::size_t i = 0; i < count(); ++i)
            if (PyUnicode_Check(key) && PyUnicode_Compare(names[i], key) == 0)
                return static_cast<Py_ssize_t>(i);
        return -1;
    }

    void bind(PyObject** values, Ref& kwargs, PyObject* const* stack, Py_ssize_t positional, PyObject* kwnames) const;
    Ref make_signature() const;
};

void Code::bind(PyObject** values, Ref& kwargs, PyObject* const* stack, Py_ssize_t positional,
                PyObject* kwnames) const
{
    if (static_cast<std::size_t>(positional) > count() && !(star & star_args))
        refuse_count(positional);

    const std::size_t filled = std::min<std::size_t>(static_cast<std::size_t>(positional), count());
    for (std::size_t i = 0; i < filled; ++i)
        values[i] = stack[i];
    if (star & star_kwargs)
        kwargs = dict();

    const Py_ssize_t keywords = kwnames ? PyTuple_GET_SIZE(kwnames) : 0;
    PyObject* const* keyword_values = stack + positional;
    Py_ssize_t used = 0;
    for (std::size_t i = filled; i < count(); ++i) {
        PyObject* value = nullptr;
        for (Py_ssize_t k = 0; k < keywords && !value; ++k)
            if (PyTuple_GET_ITEM(kwnames, k) == names[i])
                value = keyword_values[k];
        for (Py_ssize_t k = 0; k < keywords && !value; ++k) {
            PyObject* key = PyTuple_GET_ITEM(kwnames, k);
            if (PyUnicode_Check(key) && PyUnicode_Compare(key, names[i]) == 0)
                value = keyword_values[k];
        }
        if (value)
            ++used;
        else if (i < required)
            refuse_count(static_cast<Py_ssize_t>(i));
        else
            value = defaults[i];
        values[i] = value;
    }
    if (used == keywords)
        return;

    // Keywords left over: the first one that is none of the parameters still
    // open decides the error, unless **kwargs takes them.
    for (Py_ssize_t k = 0; k < keywords; ++k) {
        PyObject* key = PyTuple_GET_ITEM(kwnames, k);
        if (!PyUnicode_Check(key))
            raise_format(PyExc_TypeError, "%.200s() keywords must be strings", bare_name.c_str());
        const Py_ssize_t index = find_param(key);
        if (index >= positional)
            continue;
        if (index >= 0)
            raise_format(PyExc_TypeError, "%s() got multiple values for keyword argument '%U'", bare_name.c_str(),
                         key);
        if (!kwargs)
            raise_format(PyExc_TypeError, "%s() got an unexpected keyword argument '%U'", bare_name.c_str(), key);
        check(PyDict_SetItem(kwargs, key, keyword_values[k]));
    }
}

Name n_inspect("inspect"), n_Parameter("Parameter"), n_Signature("Signature"), n_default("default"),
    n_POSITIONAL_OR_KEYWORD("POSITIONAL_OR_KEYWORD"), n_VAR_POSITIONAL("VAR_POSITIONAL"),
    n_VAR_KEYWORD("VAR_KEYWORD"), n_args("args"), n_kwargs("kwargs");

// inspect.Signature of the parameters, with the very default objects.
Ref Code::make_signature() const
{
    Ref inspect = Ref::steal(PyImport_Import(n_inspect));
    Ref parameter = getattr(inspect, n_Parameter);
    Ref by_either = getattr(parameter, n_POSITIONAL_OR_KEYWORD);
    Ref parameters = list();
    for (std::size_t i = 0; i < count(); ++i) {
        Ref each = defaults[i] ? call(parameter, {names[i], by_either}, {{n_default, defaults[i]}})
                               : call(parameter, {names[i], by_either});
        check(PyList_Append(parameters, each));
    }
    if (star & star_args)
        check(PyList_Append(parameters, call(parameter, {n_args, getattr(parameter, n_VAR_POSITIONAL)})));
    if (star & star_kwargs)
        check(PyList_Append(parameters, call(parameter, {n_kwargs, getattr(parameter, n_VAR_KEYWORD)})));
    return call(getattr(inspect, n_Signature), {parameters});
}

}  // namespace

struct FunctionObject {
    PyObject_HEAD
    vectorcallfunc vectorcall;
    Code* code;
    PyObject* owner;  // the function that owns `code`, for closures; NULL for that one itself
    PyObject* name;
    PyObject* qualname;
    PyObject* module;
    PyObject* doc;
    PyObject* closure;

    static PyObject* call(PyObject* self, PyObject* const* stack, size_t nargsf, PyObject* kwnames) noexcept;
};

namespace {

// The road of a call whose arguments need binding to the parameters, kept
// apart so that the common call by position stays short.
[[gnu::noinline]] Ref call_binding(const FunctionObject* function, PyObject* const* stack, Py_ssize_t given,
                                   PyObject* kwnames)
{
    const Code& code = *function->code;
    SmallVector<PyObject*, 12> values(code.count());
    Ref kwargs;
    code.bind(values.data(), kwargs, stack, given, kwnames);
    std::span<PyObject* const> rest;
    if (static_cast<std::size_t>(given) > code.count())
        rest = {stack + code.count(), stack + given};
    return code.implementation(Args(values.data(), rest, kwargs.get(), function->closure));
}

}  // namespace

PyObject* FunctionObject::call(PyObject* self, PyObject* const* stack, size_t nargsf, PyObject* kwnames) noexcept
{
    auto* function = reinterpret_cast<FunctionObject*>(self);
    const Code& code = *function->code;
    const Py_ssize_t given = PyVectorcall_NARGS(nargsf);
    try {
        RecursionGuard depth;
        if (!code.binds_by_position(given, kwnames)) [[unlikely]]
            return call_binding(function, stack, given, kwnames).release();
        std::span<PyObject* const> rest(stack + code.count(), stack + given);
        return code.implementation(Args(stack, rest, nullptr, function->closure)).release();
    } catch (const PythonError&) {
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    }
    add_function_traceback(self);
    return nullptr;
}

namespace {

FunctionObject* as_function(PyObject* self) { return reinterpret_cast<FunctionObject*>(self); }

int function_traverse(PyObject* self, visitproc visit, void* arg)
{
    FunctionObject* function = as_function(self);
    Py_VISIT(Py_TYPE(self));
    Py_VISIT(function->owner);
    Py_VISIT(function->doc);
    Py_VISIT(function->closure);
    if (!function->owner && function->code)
        for (PyObject* value : function->code->defaults)
            Py_VISIT(value);
    return 0;
}

int function_clear(PyObject* self)
{
    FunctionObject* function = as_function(self);
    Py_CLEAR(function->doc);
    Py_CLEAR(function->closure);
    return 0;
}

void function_dealloc(PyObject* self)
{
    FunctionObject* function = as_function(self);
    PyObject_GC_UnTrack(self);
    function_clear(self);
    Py_XDECREF(function->name);
    Py_XDECREF(function->qualname);
    Py_XDECREF(function->module);
    if (function->owner)
        Py_DECREF(function->owner);
    else
        delete function->code;
    PyTypeObject* type = Py_TYPE(self);
    type->tp_free(self);
    Py_DECREF(type);
}

// Functions bind to instances as Python functions do.
PyObject* function_get(PyObject* self, PyObject* instance, PyObject*)
{
    if (!instance || instance == Py_None)
        return Py_NewRef(self);
    return PyMethod_New(self, instance);
}

PyObject* function_repr(PyObject* self)
{
    return PyUnicode_FromFormat("<function %U at %p>", as_function(self)->qualname, self);
}

// Pickled, and copied, by reference to its qualified name, as functions are.
PyObject* function_reduce(PyObject* self, PyObject*) { return Py_NewRef(as_function(self)->qualname); }

PyObject* function_signature(PyObject* self, void*)
{
    Code& code = *as_function(self)->code;
    try {
        if (!code.signature)
            code.signature = code.make_signature().release();
        return Py_NewRef(code.signature);
    } catch (const PythonError&) {
        return nullptr;
    }
}

// The defaults of the trailing parameters, as a Python function shows them.
PyObject* function_defaults(PyObject* self, void*)
{
    const Code& code = *as_function(self)->code;
    if (code.required == code.count())
        Py_RETURN_NONE;
    try {
        return tuple(std::span<PyObject* const>(code.defaults).subspan(code.required)).release();
    } catch (const PythonError&) {
        return nullptr;
    }
}

PyObject* function_no_keyword_defaults(PyObject*, void*) { Py_RETURN_NONE; }

PyMethodDef function_methods[] = {
    {"__reduce__", function_reduce, METH_NOARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

PyMemberDef function_members[] = {
    {"__name__", Py_T_OBJECT_EX, offsetof(FunctionObject, name), 0, nullptr},
    {"__qualname__", Py_T_OBJECT_EX, offsetof(FunctionObject, qualname), 0, nullptr},
    {"__module__", Py_T_OBJECT_EX, offsetof(FunctionObject, module), 0, nullptr},
    {"__doc__", Py_T_OBJECT_EX, offsetof(FunctionObject, doc), 0, nullptr},
    {"__vectorcalloffset__", Py_T_PYSSIZET, offsetof(FunctionObject, vectorcall), Py_READONLY, nullptr},
    {nullptr, 0, 0, 0, nullptr},
};

PyGetSetDef function_getset[] = {
    {"__signature__", function_signature, nullptr, nullptr, nullptr},
    {"__defaults__", function_defaults, nullptr, nullptr, nullptr},
    {"__kwdefaults__", function_no_keyword_defaults, nullptr, nullptr, nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

PyType_Slot function_slots[] = {
    {Py_tp_dealloc, reinterpret_cast<void*>(function_dealloc)},
    {Py_tp_traverse, reinterpret_cast<void*>(function_traverse)},
    {Py_tp_clear, reinterpret_cast<void*>(function_clear)},
    {Py_tp_descr_get, reinterpret_cast<void*>(function_get)},
    {Py_tp_repr, reinterpret_cast<void*>(function_repr)},
    {Py_tp_call, reinterpret_cast<void*>(PyVectorcall_Call)},
    {Py_tp_members, function_members},
    {Py_tp_getset, function_getset},
    {Py_tp_methods, function_methods},
    {0, nullptr},
};

PyType_Spec function_spec = {
    "vantrel.base.Tessarine.function",
    sizeof(FunctionObject),
    0,
    Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC | Py_TPFLAGS_HAVE_VECTORCALL | Py_TPFLAGS_METHOD_DESCRIPTOR |
        Py_TPFLAGS_IMMUTABLETYPE | Py_TPFLAGS_DISALLOW_INSTANTIATION,
    function_slots,
};

// A new, empty function object of the module's type; tracked once filled.
FunctionObject* allocate_function(Ref& holder)
{
    holder = Ref::steal(PyType_GenericAlloc(detail::function_type, 0));
    PyObject_GC_UnTrack(holder);
    FunctionObject* function = as_function(holder);
    function->vectorcall = FunctionObject::call;
    return function;
}

}  // namespace

void ready_function_type()
{
    if (!detail::function_type)
        detail::function_type = reinterpret_cast<PyTypeObject*>(Ref::steal(PyType_FromSpec(&function_spec)).release());
}

void add_function_traceback(PyObject* function) noexcept
{
    Code& code = *reinterpret_cast<FunctionObject*>(function)->code;
    add_traceback_entry(&code.traceback_code, code.dotted_name.c_str(), code.file, code.line);
}

PyObject* call_function(PyObject* function, PyObject* const* arguments, std::size_t count) noexcept
{
    return FunctionObject::call(function, arguments, count, nullptr);
}

// The module's own functions are called straight through their entry: the
// detour through PyObject_Vectorcall would only fetch the thread state to
// re-check a result that they always leave consistent.
Ref call(Borrowed callable, std::initializer_list<Borrowed> args)
{
    // Borrowed is layout-compatible with PyObject*; one slot in front lets the
    // callee prepend `self` without copying (PY_VECTORCALL_ARGUMENTS_OFFSET).
    SmallVector<PyObject*, 8> stack(args.size() + 1);
    std::size_t index = 1;
    for (Borrowed arg : args)
        stack[index++] = arg.get();
    const std::size_t nargsf = args.size() | PY_VECTORCALL_ARGUMENTS_OFFSET;
    if (is_function(callable))
        return Ref::steal(FunctionObject::call(callable, stack.data() + 1, nargsf, nullptr));
    return Ref::steal(PyObject_Vectorcall(callable, stack.data() + 1, nargsf, nullptr));
}

Ref make_function(const FunctionDef& def, std::string_view qualname_prefix)
{
    std::string qualname =
        qualname_prefix.empty() ? std::string(def.name) : std::string(qualname_prefix) + "." + def.name;
    Ref object;
    FunctionObject* function = allocate_function(object);
    function->code = new Code{.implementation = def.implementation,
                              .star = def.star,
                              .bare_name = def.name,
                              .dotted_name = std::string(kModuleName) + "." + qualname,
                              .file = project_path(def.where.file_name()),
                              .line = static_cast<int>(def.where.line())};
    Code& code = *function->code;
    for (const Param& param : def.params) {
        if (param.value.required())
            ++code.required;
        code.defaults.push_back(param.value.required() ? nullptr : param.value.make().release());
        code.names.push_back(interned(param.name).release());
    }
    function->name = interned(def.name).release();
    function->qualname = text(qualname).release();
    function->module = interned(kModuleName).release();
    function->doc = def.doc ? text(def.doc).release() : Py_NewRef(Py_None);
    PyObject_GC_Track(object);
    return object;
}

Ref make_closure(Borrowed prototype, Borrowed closure)
{
    FunctionObject* original = as_function(prototype);
    Ref object;
    FunctionObject* function = allocate_function(object);
    function->code = original->code;
    function->owner = Py_NewRef(original->owner ? original->owner : prototype.get());
    function->name = Py_NewRef(original->name);
    function->qualname = Py_NewRef(original->qualname);
    function->module = Py_NewRef(original->module);
    function->doc = Py_NewRef(original->doc);
    function->closure = Py_NewRef(closure.get());
    PyObject_GC_Track(object);
    return object;
}

}  // namespace tess
