// Comparison as a call, hexadecimal rendering of byte sequences, and the
// type tests that tell a list-like value from a single one.
#include "../Tessarine.hpp"

#include <algorithm>
#include <charconv>
#include <string>

namespace tess::body {
namespace {

Name n_hex_spec("02X"), n_empty(""), n_undefined("undefined"), n_join("join"),
    n_values("values"), n_array("array"), n_ndarray("ndarray");
Global g_dict_depth("dict_depth"), g_is_list("is_list"), g_array("array"), g_np("np");

Ref equals(const Args& args) { return Ref::steal(PyObject_RichCompare(args[0], args[1], Py_EQ)); }
Ref notequals(const Args& args) { return Ref::steal(PyObject_RichCompare(args[0], args[1], Py_NE)); }

// A str as UTF-8; lone surrogates travel with it and come back on decoding.
void append_utf8(std::string& out, PyObject* text)
{
    if (PyUnicode_IS_ASCII(text)) {
        out.append(static_cast<const char*>(PyUnicode_DATA(text)), static_cast<std::size_t>(PyUnicode_GET_LENGTH(text)));
        return;
    }
    Ref encoded = Ref::steal(PyUnicode_AsEncodedString(text, "utf-8", "surrogatepass"));
    out.append(PyBytes_AS_STRING(encoded.get()), static_cast<std::size_t>(PyBytes_GET_SIZE(encoded.get())));
}

// The two digits of format(byte, '02X').
char* write_byte_hex(char* cursor, unsigned char byte)
{
    static constexpr char kHexDigits[] = "0123456789ABCDEF";
    *cursor++ = kHexDigits[byte >> 4];
    *cursor++ = kHexDigits[byte & 15];
    return cursor;
}

// format(value, '02X') of a non-negative value.
void append_hex_digits(std::string& out, unsigned long long value)
{
    char digits[16];
    char* end = value < 256 ? write_byte_hex(digits, static_cast<unsigned char>(value))
                            : std::to_chars(digits, digits + sizeof digits, value, 16).ptr;
    for (char* digit = digits; digit != end; ++digit)
        out += static_cast<char>(*digit >= 'a' ? *digit - 'a' + 'A' : *digit);
}

// format(element, '02X'); plain non-negative ints skip the host's formatter.
void append_hex(std::string& out, PyObject* element)
{
    if (PyLong_CheckExact(element)) {
        int overflow = 0;
        long long value = PyLong_AsLongLongAndOverflow(element, &overflow);
        if (!overflow && value >= 0) {
            append_hex_digits(out, static_cast<unsigned long long>(value));
            return;
        }
    }
    append_utf8(out, format(element, n_hex_spec));
}

// lead + separator.join(format(x, '02X') for x in items), lead and separator
// being exact str.
Ref hex_text(PyObject* items, PyObject* lead, PyObject* separator)
{
    std::string out;
    append_utf8(out, lead);
    std::string between;
    append_utf8(between, separator);
    if (PyBytes_CheckExact(items) || PyByteArray_CheckExact(items)) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(PyBytes_CheckExact(items) ? PyBytes_AS_STRING(items)
                                                                                             : PyByteArray_AS_STRING(items));
        const auto size = static_cast<std::size_t>(Py_SIZE(items));
        std::size_t written = out.size();
        out.resize(written + size * 2 + (size ? (size - 1) * between.size() : 0));
        char* cursor = out.data() + written;
        for (std::size_t index = 0; index < size; ++index) {
            if (index)
                cursor = std::copy(between.begin(), between.end(), cursor);
            cursor = write_byte_hex(cursor, bytes[index]);
        }
    } else {
        Ref iterator = Ref::steal(PyObject_GetIter(items));
        for (bool first = true; Ref element = iterate_next(iterator); first = false) {
            if (!first)
                out += between;
            append_hex(out, element);
        }
    }
    return Ref::steal(
        PyUnicode_DecodeUTF8(out.data(), static_cast<Py_ssize_t>(out.size()), "surrogatepass"));
}

Ref to_hex(const Args& args)
{
    PyObject* prefix = args[1];
    if (PyUnicode_CheckExact(prefix))
        return hex_text(args[0], prefix, n_empty);
    return concat({prefix, hex_text(args[0], n_empty, n_empty)});
}

Ref to_hex_delim(const Args& args)
{
    PyObject* delim = args[1];
    if (PyUnicode_CheckExact(delim))
        return hex_text(args[0], n_empty, delim);
    // Any other delimiter gets the pieces through its own join, as it would
    // in `delim.join(...)`, and fails the way that join fails.
    Ref join = getattr(delim, n_join);
    Ref pieces = list();
    Ref iterator = Ref::steal(PyObject_GetIter(args[0]));
    while (Ref element = iterate_next(iterator))
        check(PyList_Append(pieces, format(element, n_hex_spec)));
    return call(join, {pieces});
}

Ref undef_if_none(const Args& args) { return Ref::borrow(args[0] == Py_None ? n_undefined.get() : args[0]); }

// max(map(depth_of, values)), with the builtins as the module fixed them:
// each value's depth in turn, the first of the greatest kept.
Ref deepest_of(Borrowed depth_of, Borrowed values)
{
    Ref iterator = Ref::steal(PyObject_GetIter(values));
    Ref deepest;
    while (Ref value = iterate_next(iterator)) {
        Ref depth = call(depth_of, {value});
        if (!deepest || compare(depth, deepest, Py_GT))
            deepest = depth;
    }
    // Nothing to compare: the host's own words for it.
    return deepest ? deepest : call(b_max, {list()});
}

Ref dict_depth(const Args& args)
{
    PyObject* d = args[0];
    if (!isinstance_by(d, is_dict_type))
        return integer(0);
    if (!truthy(d))
        return integer(1);
    Ref depth_of = g_dict_depth.get();
    return tess::add(integer(1), deepest_of(depth_of, call_method(d, n_values)));
}

bool is_list_like_type(PyTypeObject* type)
{
    return PyType_FastSubclass(type, Py_TPFLAGS_LIST_SUBCLASS | Py_TPFLAGS_TUPLE_SUBCLASS) || type == &PyRange_Type ||
           PyType_IsSubtype(type, &PySet_Type) || type == &PyMemoryView_Type;
}

Ref is_list(const Args& args)
{
    PyObject* object = args[0];
    if (isinstance_by(object, is_list_like_type) || isinstance_of(object, getattr(g_array.get(), n_array)))
        return boolean(true);
    // Without numpy the answer is `np` itself: None, which callers only test for truth.
    Ref np = g_np.get();
    if (!truthy(np))
        return np;
    return boolean(isinstance_of(object, getattr(np, n_ndarray)));
}

// is_list(obj) and every element passing `test`.
template <bool (*Test)(PyTypeObject*)>
Ref is_list_of(const Args& args)
{
    PyObject* object = args[0];
    if (!truthy(call(g_is_list.get(), {object})))
        return boolean(false);
    Ref iterator = Ref::steal(PyObject_GetIter(object));
    while (Ref element = iterate_next(iterator)) {
        if (!isinstance_by(element, Test))
            return boolean(false);
    }
    return boolean(true);
}

Ref is_list_none(const Args& args)
{
    if (args[0] == Py_None)
        return boolean(true);
    return call(g_is_list.get(), {args[0]});
}

const FunctionDef equals_def{
    .name = "equals", .params = {{"obj1"}, {"obj2"}}, .implementation = equals, .doc = "Equals."};
const FunctionDef notequals_def{
    .name = "notequals", .params = {{"obj1"}, {"obj2"}}, .implementation = notequals, .doc = "Not equals."};
const FunctionDef to_hex_def{.name = "toHex",
                             .params = {{"arr"}, {"pre", "0x"}},
                             .implementation = to_hex,
                             .doc = "Convert byte array to hex string '0x...'"};
const FunctionDef to_hex_delim_def{.name = "toHexDelim",
                                   .params = {{"arr"}, {"delim", ""}},
                                   .implementation = to_hex_delim,
                                   .doc = "Format bytes into hex format AB.CD.EF"};
const FunctionDef undef_if_none_def{.name = "undefIfNone",
                                    .params = {{"obj"}},
                                    .implementation = undef_if_none,
                                    .doc = "Returns x if not None, else 'undefined'"};
const FunctionDef dict_depth_def{.name = "dict_depth", .params = {{"d"}}, .implementation = dict_depth};
const FunctionDef is_list_def{.name = "is_list", .params = {{"obj"}}, .implementation = is_list, .doc = "Is list?"};
const FunctionDef is_int_list_def{.name = "is_int_list",
                                  .params = {{"obj"}},
                                  .implementation = is_list_of<is_number_type>,
                                  .doc = "Is list of integers or floats?"};
const FunctionDef is_str_list_def{
    .name = "is_str_list", .params = {{"obj"}}, .implementation = is_list_of<is_str_type>, .doc = "Is list of str?"};
const FunctionDef is_list_none_def{
    .name = "is_list_none", .params = {{"obj"}}, .implementation = is_list_none, .doc = "Is list or None?"};

}  // namespace

void define_value_helpers()
{
    for (const FunctionDef* def : {&equals_def, &notequals_def, &to_hex_def, &to_hex_delim_def, &undef_if_none_def,
                                    &dict_depth_def})
        define_function(*def);
}

void define_list_tests()
{
    for (const FunctionDef* def : {&is_list_def, &is_int_list_def, &is_str_list_def, &is_list_none_def})
        define_function(*def);
}

}  // namespace tess::body
