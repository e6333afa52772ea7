// Values out of text lines, the SHA-256 of a file, namespace and schema
// prefixes of XML root elements, and the versions of modules.
#include "type_tests.hpp"

namespace tess::body {
namespace {

Name n_find("find"), n_strip("strip"), n_rb("rb"), n_read("read"), n_close("close"), n_sha256("sha256"),
    n_update("update"), n_digest("digest"), n_match("match"), n_group("group"), n_tag("tag"), n_attrib("attrib"),
    n_braced("\\{.*\\}"), n_schemaLocation("schemaLocation"), n_empty(""), n_name("__name__"),
    n_version_attr("__version__"), n_metadata("metadata"), n_version("version"),
    n_PackageNotFoundError("PackageNotFoundError"), n_equals_sign(" = "), n_line_feed("\n"), n_unknown("unknown");
Global g_hashlib("hashlib"), g_re("re"), g_importlib("importlib");

Py_ssize_t as_index(PyObject* number)
{
    Py_ssize_t value = PyNumber_AsSsize_t(number, PyExc_OverflowError);
    if (value == -1 && PyErr_Occurred())
        throw_python_error();
    return value;
}

// text[start:].find(sub), counted from the start of `text`; -1 if missing.
// `start` never lies beyond the end of `text`.
Py_ssize_t find_from(Borrowed text, Borrowed sub, Py_ssize_t start)
{
    if (PyUnicode_CheckExact(text.get()) && PyUnicode_CheckExact(sub.get())) {
        Py_ssize_t at = PyUnicode_Find(text, sub, start, PY_SSIZE_T_MAX, 1);
        if (at == -2)
            throw_python_error();
        return at;
    }
    Ref tail = start ? Ref::steal(PySequence_GetSlice(text, start, PY_SSIZE_T_MAX)) : text.ref();
    Py_ssize_t at = as_index(call_method(tail, n_find, {sub}));
    return at < 0 ? -1 : at + start;
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
    Py_ssize_t candidates = length(lines) - add_lines;
    for (Py_ssize_t i = 0; i < candidates; ++i) {
        if (find_from(line_at(lines, i), name, 0) < 0)
            continue;
        for (Py_ssize_t k = 0; k < max_lines; ++k) {
            Ref line = line_at(lines, i + add_lines + k);
            Py_ssize_t start = find_from(line, prefix, 0);
            if (start < 0)
                continue;
            start += length(prefix);
            Ref text = line;
            for (Py_ssize_t j = 0; j < max_lines; ++j) {
                Py_ssize_t end = find_from(text, suffix, start);
                if (end >= 0)
                    return call_method(Ref::steal(PySequence_GetSlice(text, start, end)), n_strip);
                text = concat({text, line_at(lines, i + add_lines + j + 1)});
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
