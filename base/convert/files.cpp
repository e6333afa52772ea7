// Values out of text lines, the SHA-256 of a file, namespace and schema
// prefixes of XML root elements, and the versions of modules.
#include "type_tests.hpp"

#include <algorithm>

namespace tess::body {
namespace {

Name n_find("find"), n_strip("strip"), n_rb("rb"), n_read("read"), n_close("close"), n_sha256("sha256"),
    n_update("update"), n_digest("digest"), n_match("match"), n_group("group"), n_tag("tag"), n_attrib("attrib"),
    n_braced("\\{.*\\}"), n_schemaLocation("schemaLocation"), n_empty(""), n_name("__name__"),
    n_version_attr("__version__"), n_metadata("metadata"), n_version("version"),
    n_PackageNotFoundError("PackageNotFoundError"), n_equals_sign(" = "), n_line_feed("\n"), n_unknown("unknown");
Global g_hashlib("hashlib"), g_re("re"), g_importlib("importlib");

// A number beyond the range of indices counts as that range's end: the
// ranges it bounds and the look-ups it leads to behave alike.
Py_ssize_t as_index(PyObject* number)
{
    Py_ssize_t value = PyNumber_AsSsize_t(number, nullptr);
    if (value == -1 && PyErr_Occurred())
        throw_python_error();
    return value;
}

// first + second for an index into the caller's lines: a sum beyond the
// range of indices fails as such an index fails in a look-up.
Py_ssize_t index_sum(Py_ssize_t first, Py_ssize_t second)
{
    Py_ssize_t sum;
    if (__builtin_add_overflow(first, second, &sum))
        raise(PyExc_IndexError, "cannot fit 'int' into an index-sized integer");
    return sum;
}

// text[start:].find(sub), counted from the start of `text`; -1 if missing.
// A `start` beyond the end finds what the empty tail holds.
Py_ssize_t find_from(Borrowed text, Borrowed sub, Py_ssize_t start)
{
    if (PyUnicode_CheckExact(text.get()) && PyUnicode_CheckExact(sub.get())) {
        start = std::min(start, PyUnicode_GET_LENGTH(text.get()));
        Py_ssize_t at = PyUnicode_Find(text, sub, start, PY_SSIZE_T_MAX, 1);
        if (at == -2)
            throw_python_error();
        return at;
    }
    Ref tail = start ? Ref::steal(PySequence_GetSlice(text, start, PY_SSIZE_T_MAX)) : text.ref();
    Py_ssize_t at = as_index(call_method(tail, n_find, {sub}));
    return at < 0 ? -1 : index_sum(at, start);
}

Ref line_at(PyObject* lines, Py_ssize_t index) { return item(lines, integer(index)); }

// The value behind `prefix` and before `suffix`, looked for from `add_lines`
// lines below a line holding `name`; it may run over up to `max_lines` lines.
Ref find_line_data(const Args& args)
{
    PyObject* lines = args[0];
    PyObject* name = args[1];
    Py_ssize_t add_lines = as_index(args[2]);
    PyObject* prefix = args[3];
    PyObject* suffix = args[4];
    Py_ssize_t max_lines = as_index(args[5]);
    // A count of lines below the end of the index range leaves the range of
    // candidates without end; the look-ups end it.
    Py_ssize_t candidates;
    if (__builtin_sub_overflow(length(lines), add_lines, &candidates))
        candidates = PY_SSIZE_T_MAX;
    for (Py_ssize_t i = 0; i < candidates; ++i) {
        if (find_from(line_at(lines, i), name, 0) < 0)
            continue;
        const Py_ssize_t below = index_sum(i, add_lines);
        for (Py_ssize_t k = 0; k < max_lines; ++k) {
            Ref line = line_at(lines, index_sum(below, k));
            Py_ssize_t start = find_from(line, prefix, 0);
            if (start < 0)
                continue;
            start = index_sum(start, length(prefix));
            Ref text = line;
            for (Py_ssize_t j = 0; j < max_lines; ++j) {
                Py_ssize_t end = find_from(text, suffix, start);
                if (end >= 0)
                    return call_method(Ref::steal(PySequence_GetSlice(text, start, end)), n_strip);
                text = concat({text, line_at(lines, index_sum(below, index_sum(j, 1)))});
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
