#include "function.hpp"

#include "recursion.hpp"
#include "traceback.hpp"

#include <cstddef>
#include <new>
#include <string>

namespace tess {

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

PyTypeObject* function_type = nullptr;

// The source file as the project names it (base/...), for traceback entries.
const char* project_path(const char* file)
{
    std::string_view path(file);
    std::size_t at = path.rfind("/base/");
    return at == std::string_view::npos ? file : file + at + 1;
}

}  // namespace

struct FunctionObject {
    PyObject_HEAD
    vectorcallfunc vectorcall;
    // Copied from the FunctionDef, which need not outlive the function.
    Implementation implementation;
    unsigned star;
    std::size_t count;
    const char* bare_name;  // UTF-8 of `name`, for the TypeError texts
    const char* file;
    int line;
    PyObject* name;
    PyObject* qualname;
    PyObject* module;
    PyObject* doc;
    PyObject** defaults;  // one per parameter, NULL where required
    std::size_t required;
    std::string* dotted_name;
    PyCodeObject* code;  // made at the first traceback entry

    std::size_t param_count() const noexcept { return count; }

    // "f() takes exactly 2 positional arguments (1 given)", with the word and
    // number chosen by what kind of signature f has and which way it failed.
    [[noreturn]] void refuse_count(Py_ssize_t given) const
    {
        const bool fixed = required == param_count() && !(star & star_args);
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
            expected = param_count();
        }
        raise_format(PyExc_TypeError, "%.200s() takes %.8s %zd positional argument%.1s (%zd given)", bare_name, word,
                     static_cast<Py_ssize_t>(expected), expected == 1 ? "" : "s", given);
    }

    // Index of the parameter called `key`, or -1.  Names are interned, so the
    // pointer test nearly always decides; equality covers built-up strings.
    Py_ssize_t find_param(PyObject* key, PyObject* const* names) const
    {
        const Py_ssize_t count = static_cast<Py_ssize_t>(param_count());
        for (Py_ssize_t i = 0; i < count; ++i)
            if (names[i] == key)
                return i;
        for (Py_ssize_t i = 0; i < count; ++i)
            if (PyUnicode_Check(key) && PyUnicode_Compare(names[i], key) == 0)
                return i;
        return -1;
    }

    void bind(Args& args, PyObject* const* stack, Py_ssize_t positional, PyObject* kwnames) const;
    static PyObject* call(PyObject* self, PyObject* const* stack, size_t nargsf, PyObject* kwnames) noexcept;
};

namespace {

PyObject* const* param_names(const FunctionObject* function)
{
    // Stored right behind the defaults array; see make_function.
    return function->defaults + function->param_count();
}

}  // namespace

void FunctionObject::bind(Args& args, PyObject* const* stack, Py_ssize_t positional, PyObject* kwnames) const
{
    const std::size_t count = param_count();
    const bool takes_rest = star & star_args;
    if (static_cast<std::size_t>(positional) > count && !takes_rest)
        refuse_count(positional);

    const std::size_t filled = std::min<std::size_t>(static_cast<std::size_t>(positional), count);
    for (std::size_t i = 0; i < filled; ++i)
        args.values_[i] = stack[i];
    if (takes_rest && static_cast<std::size_t>(positional) > count)
        args.rest_ = {stack + count, stack + positional};
    if (star & star_kwargs)
        args.kwargs_ = dict();

    const Py_ssize_t keywords = kwnames ? PyTuple_GET_SIZE(kwnames) : 0;
    PyObject* const* names = param_names(this);
    PyObject* const* keyword_values = stack + positional;
    Py_ssize_t used = 0;
    for (std::size_t i = filled; i < count; ++i) {
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
        args.values_[i] = value;
    }
    if (used == keywords)
        return;

    // Keywords left over: the first one that is none of the parameters still
    // open decides the error, unless **kwargs takes them.
    for (Py_ssize_t k = 0; k < keywords; ++k) {
        PyObject* key = PyTuple_GET_ITEM(kwnames, k);
        if (!PyUnicode_Check(key))
            raise_format(PyExc_TypeError, "%.200s() keywords must be strings", bare_name);
        const Py_ssize_t index = find_param(key, names);
        if (index >= positional)
            continue;
        if (index >= 0)
            raise_format(PyExc_TypeError, "%s() got multiple values for keyword argument '%U'", bare_name, key);
        if (!args.kwargs_)
            raise_format(PyExc_TypeError, "%s() got an unexpected keyword argument '%U'", bare_name, key);
        check(PyDict_SetItem(args.kwargs_, key, keyword_values[k]));
    }
}

PyObject* FunctionObject::call(PyObject* self, PyObject* const* stack, size_t nargsf, PyObject* kwnames) noexcept
{
    auto* function = reinterpret_cast<FunctionObject*>(self);
    try {
        RecursionGuard depth;
        Args args(self, function->param_count());
        function->bind(args, stack, PyVectorcall_NARGS(nargsf), kwnames);
        return function->implementation(args).release();
    } catch (const PythonError&) {
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    }
    add_traceback_entry(&function->code, function->dotted_name->c_str(), function->file, function->line);
    return nullptr;
}

namespace {

void function_dealloc(PyObject* self)
{
    auto* function = reinterpret_cast<FunctionObject*>(self);
    Py_XDECREF(function->name);
    Py_XDECREF(function->qualname);
    Py_XDECREF(function->module);
    Py_XDECREF(function->doc);
    Py_XDECREF(function->code);
    if (function->defaults) {
        for (std::size_t i = 0; i < 2 * function->param_count(); ++i)
            Py_XDECREF(function->defaults[i]);
        delete[] function->defaults;
    }
    delete function->dotted_name;
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
    return PyUnicode_FromFormat("<function %U at %p>", reinterpret_cast<FunctionObject*>(self)->qualname, self);
}

// Pickled, and copied, by reference to its qualified name, as functions are.
PyObject* function_reduce(PyObject* self, PyObject*)
{
    return Py_NewRef(reinterpret_cast<FunctionObject*>(self)->qualname);
}

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

PyType_Slot function_slots[] = {
    {Py_tp_dealloc, reinterpret_cast<void*>(function_dealloc)},
    {Py_tp_descr_get, reinterpret_cast<void*>(function_get)},
    {Py_tp_repr, reinterpret_cast<void*>(function_repr)},
    {Py_tp_call, reinterpret_cast<void*>(PyVectorcall_Call)},
    {Py_tp_members, function_members},
    {Py_tp_methods, function_methods},
    {0, nullptr},
};

PyType_Spec function_spec = {
    "vantrel.base.Tessarine.function",
    sizeof(FunctionObject),
    0,
    Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_VECTORCALL | Py_TPFLAGS_METHOD_DESCRIPTOR | Py_TPFLAGS_IMMUTABLETYPE |
        Py_TPFLAGS_DISALLOW_INSTANTIATION,
    function_slots,
};

Ref interned(const char* value)
{
    return Ref::steal(PyUnicode_InternFromString(value));
}

}  // namespace

void ready_function_type()
{
    if (!function_type)
        function_type = reinterpret_cast<PyTypeObject*>(Ref::steal(PyType_FromSpec(&function_spec)).release());
}

Ref make_function(const FunctionDef& def, std::string_view qualname_prefix)
{
    std::string qualname = qualname_prefix.empty() ? std::string(def.name)
                                                   : std::string(qualname_prefix) + "." + def.name;
    Ref object = Ref::steal(PyType_GenericAlloc(function_type, 0));
    auto* function = reinterpret_cast<FunctionObject*>(object.get());
    function->vectorcall = FunctionObject::call;
    function->implementation = def.implementation;
    function->star = def.star;
    function->count = def.params.size();
    function->file = project_path(def.where.file_name());
    function->line = static_cast<int>(def.where.line());
    function->dotted_name = new std::string(std::string(kModuleName) + "." + qualname);

    // Defaults first, then the interned parameter names, in one array.
    const std::size_t count = def.params.size();
    function->defaults = new PyObject*[2 * count]();
    for (std::size_t i = 0; i < count; ++i) {
        const Param& param = def.params[i];
        if (param.value.required())
            ++function->required;
        else
            function->defaults[i] = param.value.make().release();
        function->defaults[count + i] = interned(param.name).release();
    }
    function->name = interned(def.name).release();
    function->bare_name = PyUnicode_AsUTF8(function->name);
    if (!function->bare_name)
        throw_python_error();
    function->qualname = text(qualname).release();
    function->module = interned(kModuleName).release();
    function->doc = def.doc ? text(def.doc).release() : Py_NewRef(Py_None);
    return object;
}

}  // namespace tess
