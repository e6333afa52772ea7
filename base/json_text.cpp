#include "json_text.hpp"

#include "operations.hpp"
#include "recursion.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>

namespace tess {
namespace {

Name n_dumps("dumps"), n_indent("indent"), n_ensure_ascii("ensure_ascii"), n_JSONEncoder("JSONEncoder"),
    n_iterencode("iterencode"), n_c_make_encoder("c_make_encoder"), n_encode_basestring("encode_basestring"),
    n_make_encoder("make_encoder"), n_key_separator("key_separator");
Global g_json("json");

// --- the host's encoder, as the module body found it -----------------------

// A name that dumps looks up in a namespace at each call, and what it held.
struct Pin {
    PyObject* namespace_dict;
    const Name* name;
    PyObject* object;
};

// Strong references, kept for the life of the process (as the module itself).
struct HostEncoder {
    PyObject* json = nullptr;
    PyObject* dumps = nullptr;
    PyObject* code = nullptr;
    PyObject* keyword_defaults = nullptr;
    PyTypeObject* encoder_class = nullptr;
    unsigned int class_tag = 0;
    Pin pins[3] = {};
};

HostEncoder host;

PyObject* lookup(PyObject* namespace_dict, PyObject* name)
{
    PyObject* found = PyDict_GetItemWithError(namespace_dict, name);
    if (!found && PyErr_Occurred())
        throw_python_error();
    return found;
}

bool defined_in(PyObject* function, const char* module)
{
    if (!PyFunction_Check(function))
        return false;
    PyObject* name = PyFunction_GET_MODULE(function);
    return name && PyUnicode_Check(name) && PyUnicode_CompareWithASCIIString(name, module) == 0;
}

// Every function of the class comes from `module`: none was put there from
// outside before the module started.
bool functions_all_from(PyObject* members, const char* module)
{
    Py_ssize_t position = 0;
    PyObject *name, *member;
    while (PyDict_Next(members, &position, &name, &member))
        if (PyFunction_Check(member) && !defined_in(member, module))
            return false;
    return true;
}

HostEncoder find_host_encoder()
{
    Ref json = g_json.get();
    Ref dumps = getattr(json, n_dumps);
    if (!defined_in(dumps, "json"))
        return {};
    PyObject* json_globals = PyFunction_GET_GLOBALS(dumps);
    PyObject* encoder_class = lookup(json_globals, n_JSONEncoder);
    if (!encoder_class || !PyType_Check(encoder_class))
        return {};
    auto* type = reinterpret_cast<PyTypeObject*>(encoder_class);
    Ref members = Ref::steal(PyType_GetDict(type));
    PyObject* iterencode = lookup(members, n_iterencode);
    PyObject* key_separator = lookup(members, n_key_separator);
    if (!functions_all_from(members, "json.encoder") || !iterencode || !defined_in(iterencode, "json.encoder") ||
        !key_separator || !PyUnicode_CheckExact(key_separator) ||
        PyUnicode_CompareWithASCIIString(key_separator, ": ") != 0 || !PyUnstable_Type_AssignVersionTag(type))
        return {};
    // The host's C encoder and its string escaping are what this file writes
    // like; a pure-Python encoder differs in its recursion and is left alone.
    PyObject* encoder_globals = PyFunction_GET_GLOBALS(iterencode);
    Ref accelerator = Ref::steal(PyImport_ImportModule("_json"));
    Ref make_encoder = getattr(accelerator, n_make_encoder);
    Ref encode_basestring = getattr(accelerator, n_encode_basestring);
    if (lookup(encoder_globals, n_c_make_encoder) != make_encoder.get() ||
        lookup(encoder_globals, n_encode_basestring) != encode_basestring.get())
        return {};
    return {
        .json = json.release(),
        .dumps = Py_NewRef(dumps.get()),
        .code = Py_NewRef(PyFunction_GET_CODE(dumps)),
        .keyword_defaults = Py_XNewRef(PyFunction_GET_KW_DEFAULTS(dumps)),
        .encoder_class = reinterpret_cast<PyTypeObject*>(Py_NewRef(encoder_class)),
        .class_tag = type->tp_version_tag,
        .pins = {{json_globals, &n_JSONEncoder, encoder_class},
                 {encoder_globals, &n_c_make_encoder, make_encoder.release()},
                 {encoder_globals, &n_encode_basestring, encode_basestring.release()}},
    };
}

// dumps(report, indent=4, ensure_ascii=False) would run the very code it ran
// when the module started: same module, same function with the same code and
// defaults, the same encoder class, unchanged, and the same C encoder.
bool host_encoder_unchanged(PyObject* json, PyObject* dumps)
{
    if (json != host.json || dumps != host.dumps || PyFunction_GET_CODE(dumps) != host.code ||
        PyFunction_GET_KW_DEFAULTS(dumps) != host.keyword_defaults ||
        host.encoder_class->tp_version_tag != host.class_tag)
        return false;
    for (const Pin& pin : host.pins)
        if (lookup(pin.namespace_dict, *pin.name) != pin.object)
            return false;
    return true;
}

// --- the writer --------------------------------------------------------------

// Thrown where only the host's encoder can tell what dumps gives: a value of
// another type (a subclass too), a structure that contains itself.
struct HostOnly {};
// Thrown where a str holds wider characters than the text being written.
struct NeedsWider {
    Py_UCS4 widest;
};

// One level of the interpreter's count of nested native calls, which the
// host's C encoder takes for each container it enters.
class NativeLevel {
public:
    NativeLevel()
    {
        if (Py_EnterRecursiveCall(" while encoding a JSON object"))
            throw_python_error();
    }
    ~NativeLevel() { Py_LeaveRecursiveCall(); }
    NativeLevel(const NativeLevel&) = delete;
    NativeLevel& operator=(const NativeLevel&) = delete;
};

// A container being written, inside those around it: the indentation of its
// items, and the host's test for a structure that contains itself.  Each
// container, empty ones too, takes a native level as the host's encoder
// does, and a Python frame besides, so that a report nested too deep for
// either is left to the host, which then writes it or raises its own error.
class Open {
public:
    Open(PyObject* container, const Open* outer)
        : container_(container), outer_(outer), depth_(outer ? outer->depth_ + 1 : 1)
    {
        for (const Open* open = outer; open; open = open->outer_)
            if (open->container_ == container)
                throw HostOnly{};
    }
    int depth() const noexcept { return depth_; }

private:
    RecursionGuard frame_;
    NativeLevel native_;
    PyObject* container_;
    const Open* outer_;
    int depth_;
};

// The characters that json escapes with ensure_ascii=False, by code up to
// 0xFF: those below 0x20, the quote and the backslash.
constexpr std::array<bool, 256> kEscaped = [] {
    std::array<bool, 256> escaped{};
    for (std::size_t c = 0; c < 0x20; ++c)
        escaped[c] = true;
    escaped['"'] = escaped['\\'] = true;
    return escaped;
}();

template <typename Source>
bool is_escaped(Source c)
{
    if constexpr (sizeof(Source) == 1)
        return kEscaped[c];
    else
        return c <= 0xFF && kEscaped[c];
}

struct FreeWithPyMem {
    void operator()(char* text) const noexcept { PyMem_Free(text); }
};

// Writes one report straight into a str whose characters go up to
// `widest` and are of type Char.  Nothing here runs Python code, so the
// containers cannot change under the walk and their items stay borrowed.
template <typename Char>
class JsonWriter {
public:
    explicit JsonWriter(Py_UCS4 widest) : widest_(widest) {}

    Ref text_of(PyObject* report)
    {
        // While the host's C encoder runs, dumps, encode and iterencode are
        // Python frames, and three native levels lie before the first
        // container.
        RecursionGuard host_frames[3];
        NativeLevel host_levels[3];
        value(report, nullptr);
        resize(size_);
        return std::move(text_);
    }

private:
    void value(PyObject* object, const Open* outer)
    {
        PyTypeObject* type = Py_TYPE(object);
        if (type == &PyUnicode_Type)
            string(object);
        else if (type == &PyDict_Type)
            mapping(object, outer);
        else if (type == &PyList_Type || type == &PyTuple_Type)
            sequence(object, outer);
        else if (!scalar(object))
            throw HostOnly{};
    }

    // Numbers, true, false and null, as values and, quoted, as keys.
    bool scalar(PyObject* object)
    {
        PyTypeObject* type = Py_TYPE(object);
        if (type == &PyLong_Type)
            integer(object);
        else if (type == &PyFloat_Type)
            floating(PyFloat_AS_DOUBLE(object));
        else if (object == Py_None)
            ascii("null");
        else if (object == Py_True)
            ascii("true");
        else if (object == Py_False)
            ascii("false");
        else
            return false;
        return true;
    }

    void key(PyObject* object)
    {
        if (Py_TYPE(object) == &PyUnicode_Type) {
            string(object);
            return;
        }
        put('"');
        if (!scalar(object))
            throw HostOnly{};
        put('"');
    }

    void sequence(PyObject* items, const Open* outer)
    {
        Open open(items, outer);
        const Py_ssize_t count = PySequence_Fast_GET_SIZE(items);
        if (count == 0) {
            ascii("[]");
            return;
        }
        PyObject* const* item = PySequence_Fast_ITEMS(items);
        put('[');
        for (Py_ssize_t index = 0; index < count; ++index) {
            if (index)
                put(',');
            newline(open.depth());
            value(item[index], &open);
        }
        newline(open.depth() - 1);
        put(']');
    }

    void mapping(PyObject* entries, const Open* outer)
    {
        Open open(entries, outer);
        if (PyDict_GET_SIZE(entries) == 0) {
            ascii("{}");
            return;
        }
        put('{');
        Py_ssize_t position = 0;
        PyObject *name, *item;
        for (bool first = true; PyDict_Next(entries, &position, &name, &item); first = false) {
            if (!first)
                put(',');
            newline(open.depth());
            key(name);
            ascii(": ");
            value(item, &open);
        }
        newline(open.depth() - 1);
        put('}');
    }

    void integer(PyObject* number)
    {
        auto* digits = reinterpret_cast<PyLongObject*>(number);
        if (PyUnstable_Long_IsCompact(digits)) {
            char buffer[24];
            const char* end = std::to_chars(buffer, buffer + sizeof buffer, PyUnstable_Long_CompactValue(digits)).ptr;
            ascii(buffer, static_cast<std::size_t>(end - buffer));
            return;
        }
        // The host's own repr, with its limit on the number of digits.
        Ref text = repr(number);
        ascii(reinterpret_cast<const char*>(PyUnicode_1BYTE_DATA(text.get())),
              static_cast<std::size_t>(PyUnicode_GET_LENGTH(text.get())));
    }

    void floating(double number)
    {
        if (std::isnan(number))
            ascii("NaN");
        else if (std::isinf(number))
            number > 0 ? ascii("Infinity") : ascii("-Infinity");
        else {
            // float.__repr__
            std::unique_ptr<char, FreeWithPyMem> text(PyOS_double_to_string(number, 'r', 0, Py_DTSF_ADD_DOT_0, nullptr));
            if (!text)
                throw_python_error();
            ascii(text.get(), std::strlen(text.get()));
        }
    }

    void string(PyObject* text)
    {
        if (PyUnicode_MAX_CHAR_VALUE(text) > widest_)
            throw NeedsWider{PyUnicode_MAX_CHAR_VALUE(text)};
        const int kind = PyUnicode_KIND(text);
        const Py_ssize_t length = PyUnicode_GET_LENGTH(text);
        if (kind == PyUnicode_1BYTE_KIND)
            quoted(PyUnicode_1BYTE_DATA(text), length);
        else if constexpr (sizeof(Char) >= 2) {
            if (kind == PyUnicode_2BYTE_KIND)
                quoted(PyUnicode_2BYTE_DATA(text), length);
            else if constexpr (sizeof(Char) == 4)
                quoted(PyUnicode_4BYTE_DATA(text), length);
        }
    }

    // json's escaping with ensure_ascii=False: the quote, the backslash and
    // the characters below 0x20; everything else, lone surrogates included,
    // as it stands.
    template <typename Source>
    void quoted(const Source* text, Py_ssize_t length)
    {
        reserve(static_cast<std::size_t>(length) + 2);
        Char* out = data_ + size_;
        *out++ = '"';
        Py_ssize_t index = 0;
        if constexpr (sizeof(Source) == 1 && sizeof(Char) == 1) {
            for (std::uint64_t eight; index + 8 <= length && !needs_escape(eight = load8(text + index)); index += 8) {
                std::memcpy(out, &eight, 8);
                out += 8;
            }
        }
        for (; index < length; ++index) {
            const Source c = text[index];
            if (!is_escaped(c)) [[likely]] {
                *out++ = static_cast<Char>(c);
                continue;
            }
            size_ = static_cast<std::size_t>(out - data_);
            reserve(static_cast<std::size_t>(length - index) + 6);
            out = escape(data_ + size_, c);
        }
        *out++ = '"';
        size_ = static_cast<std::size_t>(out - data_);
    }

    static std::uint64_t load8(const Py_UCS1* text)
    {
        std::uint64_t eight;
        std::memcpy(&eight, text, 8);
        return eight;
    }

    // Whether any of eight bytes is below 0x20, a quote or a backslash; a
    // false alarm only costs the byte-wise road.
    static bool needs_escape(std::uint64_t eight)
    {
        constexpr std::uint64_t ones = 0x0101010101010101, highs = 0x8080808080808080;
        const auto has_zero = [](std::uint64_t bytes) { return (bytes - ones) & ~bytes & highs; };
        return ((eight - 0x20 * ones) & ~eight & highs) | has_zero(eight ^ ('"' * ones)) |
               has_zero(eight ^ ('\\' * ones));
    }

    static Char* escape(Char* out, Py_UCS4 c)
    {
        static constexpr char hex[] = "0123456789abcdef";
        *out++ = '\\';
        switch (c) {
        case '"': *out++ = '"'; break;
        case '\\': *out++ = '\\'; break;
        case '\b': *out++ = 'b'; break;
        case '\f': *out++ = 'f'; break;
        case '\n': *out++ = 'n'; break;
        case '\r': *out++ = 'r'; break;
        case '\t': *out++ = 't'; break;
        default:
            for (char digit : {'u', '0', '0', hex[c >> 4], hex[c & 0xf]})
                *out++ = static_cast<Char>(digit);
        }
        return out;
    }

    void newline(int depth)
    {
        const std::size_t spaces = 4 * static_cast<std::size_t>(depth);
        reserve(1 + spaces);
        data_[size_++] = '\n';
        std::fill_n(data_ + size_, spaces, static_cast<Char>(' '));
        size_ += spaces;
    }

    void put(char c)
    {
        reserve(1);
        data_[size_++] = static_cast<Char>(c);
    }

    void ascii(const char* text, std::size_t length)
    {
        reserve(length);
        std::copy_n(text, length, data_ + size_);
        size_ += length;
    }
    template <std::size_t N>
    void ascii(const char (&text)[N])
    {
        ascii(text, N - 1);
    }

    void reserve(std::size_t more)
    {
        if (capacity_ - size_ >= more) [[likely]]
            return;
        resize(std::max({2 * capacity_, size_ + more, std::size_t{512}}));
    }

    // The text so far keeps its first `size_` characters; the rest are yet
    // to be written, which a str that no one else holds allows.
    void resize(std::size_t capacity)
    {
        if (!text_) {
            text_ = Ref::steal(PyUnicode_New(static_cast<Py_ssize_t>(capacity), widest_));
        } else {
            PyObject* text = text_.release();
            const int status = PyUnicode_Resize(&text, static_cast<Py_ssize_t>(capacity));
            text_ = Ref::steal_nullable(text);
            check(status);
        }
        data_ = static_cast<Char*>(PyUnicode_DATA(text_.get()));
        capacity_ = capacity;
    }

    const Py_UCS4 widest_;
    Ref text_;
    Char* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

// The report in the narrowest characters that hold all its text: ASCII
// until a str says otherwise, then again from the start.  Every character
// of a str but the few escaped ones is written as it stands, so the text
// is as wide as its widest str.
Ref written(PyObject* report)
{
    Py_UCS4 widest = 127;
    for (;;) {
        try {
            if (widest <= 0xFF)
                return JsonWriter<Py_UCS1>(widest).text_of(report);
            if (widest <= 0xFFFF)
                return JsonWriter<Py_UCS2>(widest).text_of(report);
            return JsonWriter<Py_UCS4>(widest).text_of(report);
        } catch (const NeedsWider& wider) {
            widest = wider.widest;
        }
    }
}

}  // namespace

void keep_host_encoder()
{
    try {
        host = find_host_encoder();
    } catch (const PythonError&) {
        // A json module that cannot be examined is left to do its own work.
        PyErr_Clear();
    }
}

Ref json_text(Borrowed report)
{
    Ref json = g_json.get();
    Ref dumps = getattr(json, n_dumps);
    if (host_encoder_unchanged(json, dumps)) {
        try {
            return written(report);
        } catch (const HostOnly&) {
        } catch (const PythonError&) {
            // The host raises what fits, in its own words.
            PyErr_Clear();
        }
    }
    return call(dumps, {report}, {{n_indent, integer(4)}, {n_ensure_ascii, Py_False}});
}

}  // namespace tess
