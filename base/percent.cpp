#include "percent.hpp"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <span>
#include <string_view>

namespace tess {
namespace {

// Thrown where only the host's % can tell what the text is.
struct HostOnly {};

// The text being written, ASCII only; a text too long for it is left to
// the host, which loses nothing but time.
class AsciiText {
public:
    void put(char c)
    {
        room(1);
        chars_[size_++] = c;
    }
    void put(std::string_view text)
    {
        room(text.size());
        std::memcpy(chars_ + size_, text.data(), text.size());
        size_ += text.size();
    }
    void zeros(std::size_t count)
    {
        room(count);
        std::memset(chars_ + size_, '0', count);
        size_ += count;
    }
    Ref str() const
    {
        Ref result = Ref::steal(PyUnicode_New(static_cast<Py_ssize_t>(size_), 127));
        std::memcpy(PyUnicode_1BYTE_DATA(result.get()), chars_, size_);
        return result;
    }

private:
    void room(std::size_t more) const
    {
        if (sizeof chars_ - size_ < more)
            throw HostOnly{};
    }

    char chars_[512];
    std::size_t size_ = 0;
};

struct FreeWithPyMem {
    void operator()(char* text) const noexcept { PyMem_Free(text); }
};

// The host's own text of a double, as float.__repr__ ('r') or a fixed
// number of decimals ('f') write it.
void host_double(AsciiText& out, double number, char style, int precision, int flags)
{
    std::unique_ptr<char, FreeWithPyMem> text(PyOS_double_to_string(number, style, precision, flags, nullptr));
    if (!text)
        throw_python_error();
    out.put(std::string_view(text.get()));
}

// An exact int that fits in a long long.
bool whole_number(PyObject* object, long long& value)
{
    if (!PyLong_CheckExact(object))
        return false;
    int overflow = 0;
    value = PyLong_AsLongLongAndOverflow(object, &overflow);
    return !overflow && !(value == -1 && PyErr_Occurred());
}

// %d with at least `precision` digits, the sign in front of them.
void decimal(AsciiText& out, long long number, int precision)
{
    char digits[24];
    unsigned long long magnitude = number < 0 ? 0ull - static_cast<unsigned long long>(number) : number;
    const char* end = std::to_chars(digits, digits + sizeof digits, magnitude).ptr;
    const auto count = static_cast<std::size_t>(end - digits);
    if (number < 0)
        out.put('-');
    if (static_cast<std::size_t>(precision) > count)
        out.zeros(static_cast<std::size_t>(precision) - count);
    out.put(std::string_view(digits, count));
}

// %.<precision>f.  Up to four decimals, the product of a double and
// 10**precision is exact in a long double of 64 bits or more, so rounding it
// to an integer, half to even, rounds as the host's correctly rounded
// conversion of the decimal value does.  Other numbers the host writes.
void fixed(AsciiText& out, double number, int precision)
{
    constexpr bool exact = std::numeric_limits<long double>::digits >= 64;
    if (!exact || precision > 4 || !std::isfinite(number) || std::fabs(number) >= 1e14) {
        host_double(out, number, 'f', precision, 0);
        return;
    }
    long double scale = 1;
    for (int i = 0; i < precision; ++i)
        scale *= 10;
    auto units = static_cast<unsigned long long>(std::fabs(std::rint(static_cast<long double>(number) * scale)));
    char digits[24];
    char* cursor = digits + sizeof digits;
    for (int i = 0; i < precision; ++i, units /= 10)
        *--cursor = static_cast<char>('0' + units % 10);
    if (precision > 0)
        *--cursor = '.';
    do
        *--cursor = static_cast<char>('0' + units % 10);
    while (units /= 10);
    if (std::signbit(number))
        *--cursor = '-';
    out.put(std::string_view(cursor, static_cast<std::size_t>(digits + sizeof digits - cursor)));
}

// The number of a conversion as a double: an exact float, or an exact int
// as float() would make it.
bool real_number(PyObject* object, double& value)
{
    long long whole;
    if (PyFloat_CheckExact(object))
        value = PyFloat_AS_DOUBLE(object);
    else if (whole_number(object, whole))
        value = static_cast<double>(whole);
    else
        return false;
    return true;
}

void convert(AsciiText& out, char conversion, int precision, PyObject* value)
{
    long long whole;
    double real;
    switch (conversion) {
    case 's':
        if (precision >= 0)
            throw HostOnly{};  // %.<n>s cuts the text
        if (PyUnicode_CheckExact(value) && PyUnicode_IS_ASCII(value))
            out.put(std::string_view(reinterpret_cast<const char*>(PyUnicode_1BYTE_DATA(value)),
                                     static_cast<std::size_t>(PyUnicode_GET_LENGTH(value))));
        else if (whole_number(value, whole))
            decimal(out, whole, 0);
        else if (PyFloat_CheckExact(value))
            host_double(out, PyFloat_AS_DOUBLE(value), 'r', 0, Py_DTSF_ADD_DOT_0);
        else
            throw HostOnly{};
        return;
    case 'd':
    case 'i':
        if (!whole_number(value, whole))
            throw HostOnly{};
        decimal(out, whole, precision);
        return;
    case 'f':
        if (!real_number(value, real))
            throw HostOnly{};
        fixed(out, real, precision < 0 ? 6 : precision);
        return;
    default:
        throw HostOnly{};
    }
}

// A precision of one or two digits after '.', or -1 where there is none.
int precision_at(std::string_view text, std::size_t& at)
{
    if (at >= text.size() || text[at] != '.')
        return -1;
    int precision = 0;
    std::size_t digits = 0;
    for (++at; at < text.size() && text[at] >= '0' && text[at] <= '9' && digits < 2; ++at, ++digits)
        precision = precision * 10 + (text[at] - '0');
    if (digits == 0)
        throw HostOnly{};
    return precision;
}

Ref written(std::string_view text, std::span<PyObject* const> values)
{
    AsciiText out;
    std::size_t used = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t sign = text.find('%', at);
        out.put(text.substr(at, sign == std::string_view::npos ? std::string_view::npos : sign - at));
        if (sign == std::string_view::npos)
            break;
        at = sign + 1;
        if (at < text.size() && text[at] == '%') {
            out.put('%');
            ++at;
            continue;
        }
        const int precision = precision_at(text, at);
        if (at >= text.size() || used >= values.size())
            throw HostOnly{};
        convert(out, text[at++], precision, values[used++]);
    }
    if (used != values.size())
        throw HostOnly{};
    return out.str();
}

bool plain_value(PyObject* object)
{
    return PyLong_CheckExact(object) || PyFloat_CheckExact(object) || PyUnicode_CheckExact(object);
}

}  // namespace

Ref percent(Borrowed format, Borrowed args)
{
    PyObject* text = format.get();
    PyObject* given = args.get();
    if (PyUnicode_CheckExact(text) && PyUnicode_IS_ASCII(text) && (PyTuple_CheckExact(given) || plain_value(given))) {
        std::span<PyObject* const> values(&given, 1);
        if (PyTuple_CheckExact(given))
            values = {PySequence_Fast_ITEMS(given), static_cast<std::size_t>(PyTuple_GET_SIZE(given))};
        try {
            return written({reinterpret_cast<const char*>(PyUnicode_1BYTE_DATA(text)),
                            static_cast<std::size_t>(PyUnicode_GET_LENGTH(text))},
                           values);
        } catch (const HostOnly&) {
        }
    }
    return Ref::steal(PyNumber_Remainder(format, args));
}

}  // namespace tess
