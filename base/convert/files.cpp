// Values out of text lines, the SHA-256 of a file, namespace and schema
// prefixes of XML root elements, and the versions of modules.
#include "../Tessarine.hpp"

#include <climits>

namespace tess::body {
namespace {

Name n_find("find"), n_strip("strip"), n_rb("rb"), n_read("read"), n_close("close"), n_sha256("sha256"),
    n_update("update"), n_digest("digest"), n_match("match"), n_group("group"), n_tag("tag"), n_attrib("attrib"),
    n_braced("\\{.*\\}"), n_schemaLocation("schemaLocation"), n_empty(""), n_name("__name__"),
    n_version_attr("__version__"), n_metadata("metadata"), n_version("version"),
    n_PackageNotFoundError("PackageNotFoundError"), n_equals_sign(" = "), n_line_feed("\n"), n_unknown("unknown");
Global g_hashlib("hashlib"), g_re("re"), g_importlib("importlib");

// The number of rounds of `range(bound)`.  Counted in 64 bits, a range too
// long for that is one that no search lives to finish.
long long range_length(Borrowed bound)
{
    Ref count = Ref::steal(PyNumber_Index(bound));
    int overflow = 0;
    long long rounds = PyLong_AsLongLongAndOverflow(count, &overflow);
    if (rounds == -1 && PyErr_Occurred())
        throw_python_error();
    if (overflow)
        return overflow > 0 ? LLONG_MAX : 0;
    return rounds < 0 ? 0 : rounds;
}

// `text[start:].find(sub)`, or `text.find(sub)` without a start.  A str
// within bounds is searched in place rather than sliced.
Ref find(Borrowed text, Borrowed sub, Borrowed start = nullptr)
{
    if (PyUnicode_CheckExact(text.get()) && PyUnicode_CheckExact(sub.get()) &&
        (!start || PyLong_CheckExact(start.get()))) {
        int overflow = 0;
        long long from = start ? PyLong_AsLongLongAndOverflow(start, &overflow) : 0;
        if (!overflow && from >= 0 && from <= PyUnicode_GET_LENGTH(text.get())) {
            Py_ssize_t at = PyUnicode_Find(text, sub, static_cast<Py_ssize_t>(from), PY_SSIZE_T_MAX, 1);
            if (at == -2)
                throw_python_error();
            return integer(at < 0 ? -1 : at - from);
        }
    }
    Ref tail = start ? item(text, Ref::steal(PySlice_New(start, nullptr, nullptr))) : text.ref();
    return call_method(tail, n_find, {sub});
}

bool compares(Borrowed number, int op, long long other) { return compare(number, integer(other), op); }

// The value behind `prefix` and before `suffix`, looked for from `addLines`
// lines below a line holding `name`; it may run over up to `maxLines` lines.
// Indices are the host's integers, so that any `addLines` and `maxLines`
// give what the host's arithmetic gives; `maxLines` is read only once a line
// holds the name.
Ref find_line_data(const Args& args)
{
    PyObject* lines = args[0];
    PyObject* name = args[1];
    PyObject* add_lines = args[2];
    PyObject* prefix = args[3];
    PyObject* suffix = args[4];
    PyObject* max_lines = args[5];
    long long candidates = range_length(binary(integer(length(lines)), add_lines, PyNumber_Subtract));
    for (long long i = 0; i < candidates; ++i) {
        if (!compares(find(item(lines, integer(i)), name), Py_GE, 0))
            continue;
        for (long long k = 0, rounds = range_length(max_lines); k < rounds; ++k) {
            Ref line = item(lines, concat({integer(i), add_lines, integer(k)}));
            Ref start = find(line, prefix);
            if (compares(start, Py_LT, 0))
                continue;
            start = binary(start, integer(length(prefix)), PyNumber_InPlaceAdd);
            Ref text = line;
            for (long long j = 0, more = range_length(max_lines); j < more; ++j) {
                Ref end = find(text, suffix, start);
                if (compares(end, Py_GE, 0)) {
                    Ref value = Ref::steal(PySlice_New(start, binary(start, end, PyNumber_Add), nullptr));
                    return call_method(item(text, value), n_strip);
                }
                line = item(lines, concat({integer(i), add_lines, integer(j), integer(1)}));
                text = binary(text, line, PyNumber_InPlaceAdd);
            }
        }
    }
    return none();
}

Ref filesha256(const Args& args)
{
    Ref file = call(b_open, {args[0], n_rb});
    Ref digest;
    try {
        Ref sha = call_method(g_hashlib.get(), n_sha256);
        for (;;) {
            Ref block = call_method(file, n_read, {args[1]});
            if (!truthy(block))
                break;
            call_method(sha, n_update, {block});
        }
        digest = call_method(sha, n_digest);
    } catch (const PythonError&) {
        // Closed as a `with` block would: a failing close reports its own
        // error, chained to the one that brought us here.
        Ref error = Ref::steal_nullable(PyErr_GetRaisedException());
        {
            HandledException handled(error);
            call_method(file, n_close);
        }
        PyErr_SetRaisedException(error.release());
        throw;
    }
    call_method(file, n_close);
    return digest;
}

// The "{...}" that `text` starts with, or "".
Ref braced_prefix(Borrowed text)
{
    Ref match = call_method(g_re.get(), n_match, {n_braced, text});
    if (match.get() == Py_None)
        return Ref::borrow(n_empty);
    return call_method(match, n_group, {integer(0)});
}

Ref get_root_namespace(const Args& args) { return braced_prefix(getattr(args[0], n_tag)); }

// The namespace prefix of the element's schemaLocation attribute.
Ref get_root_schema(const Args& args)
{
    Ref names = Ref::steal(PyObject_GetIter(getattr(args[0], n_attrib)));
    while (Ref name = iterate_next(names)) {
        Ref schema = braced_prefix(name);
        if (equal(name, concat({schema, n_schemaLocation})))
            return schema;
    }
    return Ref::borrow(n_empty);
}

Ref get_module_versions(const Args& args)
{
    Ref metadata = getattr(g_importlib.get(), n_metadata);
    Ref not_found = getattr(metadata, n_PackageNotFoundError);
    Ref lines = list();
    Ref modules = Ref::steal(PyObject_GetIter(args[0]));
    while (Ref module = iterate_next(modules)) {
        if (!truthy(module))
            continue;
        bool given_by_name = isinstance_by(module, is_str_type);
        Ref name = given_by_name ? module : getattr(module, n_name);
        Ref version = given_by_name ? none() : getattr_optional(module, n_version_attr);
        if (!version)
            version = none();
        if (isinstance_by(name, is_str_type)) {
            // The installed package's metadata wins over the module's own attribute.
            bool missing = false;
            try_except(
                not_found, [&] { version = call_method(metadata, n_version, {name}); },
                [&](PyObject*) { missing = true; });
            if (missing && given_by_name)
                continue;
            if (missing)
                version = Ref::borrow(n_unknown);
        }
        check(PyList_Append(lines, concat({format(name, n_empty), n_equals_sign, format(version, n_empty), n_line_feed})));
    }
    return Ref::steal(PyUnicode_Join(n_empty, lines));
}

const FunctionDef find_line_data_def{.name = "find_line_data",
                                     .params = {{"lines"}, {"name"}, {"addLines"}, {"prefix"}, {"suffix"}, {"maxLines", 3}},
                                     .implementation = find_line_data,
                                     .doc = "Find data in string line."};
const FunctionDef filesha256_def{.name = "filesha256",
                                 .params = {{"filename"}, {"blockSize", 1048576}},
                                 .implementation = filesha256,
                                 .doc = "Get sha256 of file."};
const FunctionDef get_root_namespace_def{.name = "getRootNamespace",
                                         .params = {{"element"}},
                                         .implementation = get_root_namespace,
                                         .doc = "Get name space of a root node"};
const FunctionDef get_root_schema_def{.name = "getRootSchema",
                                      .params = {{"element"}},
                                      .implementation = get_root_schema,
                                      .doc = "Get schema of a root node"};
const FunctionDef get_module_versions_def{.name = "getModuleVersions",
                                          .params = {{"modules"}},
                                          .implementation = get_module_versions,
                                          .doc = "Get module versions"};

}  // namespace

void define_file_helpers()
{
    for (const FunctionDef* def : {&find_line_data_def, &filesha256_def, &get_root_namespace_def, &get_root_schema_def,
                                   &get_module_versions_def})
        define_function(*def);
}

}  // namespace tess::body
