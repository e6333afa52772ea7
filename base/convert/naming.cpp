// Record field naming: the "original" and "matlab" namings, the rewriting of
// field names into the Matlab style, and plain key rewriting of dicts.
#include "../Tessarine.hpp"

#include <utility>

namespace tess::body {
namespace {

Name n_lower("lower"), n_original("original"), n_matlab("matlab"), n_invalid_naming("Invalid record field naming: "),
    n_empty(""), n_replace("replace"), n_items("items"), n_index("index"), n_dot("dot"), n_strip("strip"),
    n_upper("upper"), n_compile("compile"), n_sub("sub"), n_array("array"), n_backslash("\\"), n_underscore("_"),
    n_index_prefix("index_"), n_subIdx_prefix("subIdx_"), n_subIdx_format("subIdx_%s"), n_capitals("(.)([A-Z])"),
    n_blank_before_capital("\\1 \\2");
Global g_OrvaneException("OrvaneException"), g_re("re"), g_array("array"), g_is_list("is_list"),
    g_convertToAscii("_convertToAscii"), g_convertMatlabFieldName("_convertMatlabFieldName"),
    g_dictMatlabReplace("_dictMatlabReplace");

// Letters that field names commonly carry, in the order they are rewritten.
Name ascii_from[] = {Name("\u00e4"), Name("\u00f6"), Name("\u00fc"), Name("\u00c4"), Name("\u00d6"), Name("\u00dc"),
                     Name("\u00df"), Name("\u00e9"), Name("\u00e8"), Name("\u00e1"), Name("\u00e0")};
Name ascii_to[] = {Name("ae"), Name("oe"), Name("ue"), Name("Ae"), Name("Oe"), Name("Ue"),
                   Name("ss"), Name("e"),  Name("e"),  Name("a"),  Name("a")};

Ref is_matlab_naming(const Args& args)
{
    Ref naming = call_method(args[0], n_lower);
    if (!equal(n_original, naming) && !equal(n_matlab, naming))
        raise_object(call(g_OrvaneException.get(), {concat({n_invalid_naming, format(args[0], n_empty)})}));
    return Ref::steal(PyObject_RichCompare(naming, n_original, Py_NE));
}

// Makes `sequence` a list if it is still the caller's tuple, so it can take
// item assignments.
void make_writable(Ref& sequence)
{
    if (isinstance_by(sequence, is_tuple_type))
        sequence = Ref::steal(PySequence_List(sequence));
}

// Floats become ints by truncation, at the top level and one level down in
// list-like arguments; array.array arguments are replaced by lists first.
Ref matlab_convert(const Args& args)
{
    Ref converted = Ref::borrow(args[0]);
    Ref arguments = Ref::steal(PyObject_GetIter(args[0]));
    for (Py_ssize_t i = 0; Ref arg = iterate_next(arguments); ++i) {
        if (isinstance_by(arg, is_float_type)) {
            make_writable(converted);
            set_item(converted, integer(i), Ref::steal(PyNumber_Long(arg)));
            continue;
        }
        if (!truthy(call(g_is_list.get(), {arg})))
            continue;
        if (isinstance_of(arg, getattr(g_array.get(), n_array))) {
            make_writable(converted);
            arg = Ref::steal(PySequence_List(arg));
            set_item(converted, integer(i), arg);
        }
        Ref values = Ref::steal(PyObject_GetIter(arg));
        for (Py_ssize_t j = 0; Ref value = iterate_next(values); ++j) {
            if (isinstance_by(value, is_float_type)) {
                make_writable(converted);
                set_item(arg, integer(j), Ref::steal(PyNumber_Long(value)));
            }
        }
    }
    if (isinstance_by(converted, is_list_type))
        return Ref::steal(PySequence_Tuple(converted));
    return converted;
}

// text.replace(old, new), straight to the str implementation for plain str
// and str arguments; anything else gets the method and its own refusals.
Ref replaced(Borrowed text, Borrowed old, Borrowed replacement)
{
    if (PyUnicode_CheckExact(text.get()) && PyUnicode_Check(old.get()) && PyUnicode_Check(replacement.get()))
        return Ref::steal(PyUnicode_Replace(text, old, replacement, -1));
    return call_method(text, n_replace, {old, replacement});
}

// --- key rewriting ---

// for key, value in mapping.items(): body(key, value)
template <typename Body>
void for_each_item(PyObject* mapping, Body&& body)
{
    Ref items = Ref::steal(PyObject_GetIter(call_method(mapping, n_items)));
    while (Ref pair = iterate_next(items)) {
        auto [key, value] = unpack<2>(pair);
        body(std::move(key), std::move(value));
    }
}

Ref dict_rename(const Args& args)
{
    PyObject* old = args[1];
    PyObject* renamed = args[2];
    Ref result = dict();
    for_each_item(args[0], [&](Ref key, Ref value) {
        // A key missing from `old` keeps its name.
        try_except(
            PyExc_ValueError, [&] { key = item(renamed, call_method(old, n_index, {key})); }, [](PyObject*) {});
        set_item(result, key, value);
    });
    return result;
}

Ref dict_rename_capitals(const Args& args)
{
    Ref pattern = call_method(g_re.get(), n_compile, {n_capitals});
    Ref first = integer(0);
    Ref tail = Ref::steal(PySlice_New(integer(1), nullptr, nullptr));
    Ref result = dict();
    for_each_item(args[0], [&](Ref key, Ref value) {
        Ref head = call_method(item(key, first), n_upper);
        Ref spaced = call_method(pattern, n_sub, {n_blank_before_capital, item(key, tail)});
        set_item(result, concat({head, spaced}), value);
    });
    return result;
}

Ref dict_replace(const Args& args)
{
    PyObject* strip = args[3];
    Ref result = dict();
    for_each_item(args[0], [&](Ref key, Ref value) {
        if (truthy(strip))
            key = call_method(key, n_strip, {strip});
        set_item(result, replaced(key, args[1], args[2]), value);
    });
    return result;
}

// --- field names ---

Ref convert_to_ascii(const Args& args)
{
    PyObject* name = args[0];
    if (PyUnicode_CheckExact(name) && PyUnicode_IS_ASCII(name))
        return Ref::borrow(name);
    Ref result = Ref::borrow(name);
    for (std::size_t row = 0; row < std::size(ascii_from); ++row)
        result = replaced(result, ascii_from[row], ascii_to[row]);
    return result;
}

Ref dict_matlab_replace(const Args& args)
{
    PyObject* index = args[1];
    PyObject* dot = args[2];
    Ref result = dict();
    for_each_item(args[0], [&](Ref key, Ref value) {
        if (isinstance_by(value, is_dict_type))
            value = call(g_dictMatlabReplace.get(), {value, index, dot});
        set_item(result, call(g_convertMatlabFieldName.get(), {key}, {{n_index, index}, {n_dot, dot}}), value);
    });
    return result;
}

// The text a field name starts from: index and subindex of a tuple key, or
// the str of anything that is not a str already.
Ref field_text(PyObject* name)
{
    if (isinstance_by(name, is_tuple_type) && length(name) == 2) {
        Ref first = item(name, integer(0));
        if (!isinstance_by(first, is_str_type))
            return concat({n_index_prefix, str(first), n_underscore, str(item(name, integer(1)))});
    }
    if (!isinstance_by(name, is_str_type))
        return str(name);
    return Ref::borrow(name);
}

// The str that a str pattern may search, refused with the TypeError of `re`.
PyObject* searchable(PyObject* value)
{
    if (PyUnicode_Check(value))
        return value;
    if (PyObject_CheckBuffer(value))
        raise(PyExc_TypeError, "cannot use a string pattern on a bytes-like object");
    raise_format(PyExc_TypeError, "expected string or bytes-like object, got '%.200s'", Py_TYPE(value)->tp_name);
}

bool is_ascii_alnum(Py_UCS4 c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// re.sub("[^a-zA-Z0-9_]", "_", text), with "." kept as well on request.
Ref underscore_others(PyObject* value, bool keep_dot)
{
    PyObject* text = searchable(value);
    Py_ssize_t size = PyUnicode_GET_LENGTH(text);
    Ref result = Ref::steal(PyUnicode_New(size, 127));
    Py_UCS1* out = PyUnicode_1BYTE_DATA(result.get());
    int kind = PyUnicode_KIND(text);
    const void* data = PyUnicode_DATA(text);
    for (Py_ssize_t i = 0; i < size; ++i) {
        Py_UCS4 c = PyUnicode_READ(kind, data, i);
        out[i] = is_ascii_alnum(c) || c == '_' || (keep_dot && c == '.') ? static_cast<Py_UCS1>(c) : '_';
    }
    return result;
}

// len(re.findall("[a-zA-Z0-9]", text))
Py_ssize_t count_alnum(PyObject* value)
{
    PyObject* text = searchable(value);
    int kind = PyUnicode_KIND(text);
    const void* data = PyUnicode_DATA(text);
    Py_ssize_t count = 0;
    for (Py_ssize_t i = 0; i < PyUnicode_GET_LENGTH(text); ++i)
        count += is_ascii_alnum(PyUnicode_READ(kind, data, i));
    return count;
}

// re.fullmatch("[0-9]+", text) for the ASCII text underscore_others makes.
bool only_digits(PyObject* text)
{
    Py_ssize_t size = PyUnicode_GET_LENGTH(text);
    const Py_UCS1* chars = PyUnicode_1BYTE_DATA(text);
    for (Py_ssize_t i = 0; i < size; ++i) {
        if (chars[i] < '0' || chars[i] > '9')
            return false;
    }
    return size > 0;
}

Ref convert_matlab_field_name(const Args& args)
{
    PyObject* sub_index = args[1];
    Ref name = replaced(field_text(args[0]), n_backslash, n_underscore);
    Ref ascii = call(g_convertToAscii.get(), {name});
    Ref field = underscore_others(ascii, truthy(args[3]));
    if (only_digits(field))
        field = concat({truthy(args[2]) ? n_index_prefix : n_subIdx_prefix, field});
    // Kept for names that lose most of their letters in the conversion; with
    // the builtin conversion to ASCII no letter is lost.
    if (truthy(sub_index) && count_alnum(name) > 2 && count_alnum(field) < 3)
        field = percent(n_subIdx_format, sub_index);
    return field;
}

const FunctionDef matlab_convert_def{.name = "matlabConvert",
                                     .params = {{"args"}},
                                     .implementation = matlab_convert,
                                     .doc = "Convert Float to Int arguments for Matlab"};
const FunctionDef is_matlab_naming_def{.name = "isMatlabNaming",
                                       .params = {{"recordFieldNaming"}},
                                       .implementation = is_matlab_naming,
                                       .doc = "Check record field naming setup and return if is Matlab naming"};
const FunctionDef dict_rename_def{.name = "dictRename",
                                  .params = {{"adict"}, {"old"}, {"new"}},
                                  .implementation = dict_rename,
                                  .doc = "Rename matching dict keys"};
const FunctionDef dict_rename_capitals_def{.name = "dictRenameCapitals",
                                           .params = {{"adict"}},
                                           .implementation = dict_rename_capitals,
                                           .doc = "Rename \"abcdEfgHij\" to \"Abcd Efg Hij\""};
const FunctionDef dict_replace_def{.name = "dictReplace",
                                   .params = {{"adict"}, {"old"}, {"new"}, {"strip", kNone}},
                                   .implementation = dict_replace,
                                   .doc = "Rename dict key sub strings"};
const FunctionDef convert_to_ascii_def{
    .name = "_convertToAscii", .params = {{"aName"}}, .implementation = convert_to_ascii, .doc = "Convert UTF8 to ASCII"};
const FunctionDef dict_matlab_replace_def{.name = "_dictMatlabReplace",
                                          .params = {{"aDict"}, {"index", false}, {"dot", false}},
                                          .implementation = dict_matlab_replace,
                                          .doc = "Dict field Matlab style replacing"};
const FunctionDef convert_matlab_field_name_def{
    .name = "_convertMatlabFieldName",
    .params = {{"aName"}, {"subIdx", kNone}, {"index", false}, {"dot", false}},
    .implementation = convert_matlab_field_name,
    .doc = "Convert field name to Matlab style"};

}  // namespace

void define_matlab_naming()
{
    define_function(matlab_convert_def);
    define_function(is_matlab_naming_def);
}

void define_dict_renaming()
{
    for (const FunctionDef* def : {&dict_rename_def, &dict_rename_capitals_def, &dict_replace_def})
        define_function(*def);
}

void define_field_name_helpers()
{
    for (const FunctionDef* def : {&convert_to_ascii_def, &dict_matlab_replace_def, &convert_matlab_field_name_def})
        define_function(*def);
}

}  // namespace tess::body
