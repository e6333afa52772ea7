#include "operations.hpp"

#include "numbers.hpp"
#include "small_vector.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstring>

namespace tess {

Ref tuple(std::initializer_list<Borrowed> items)
{
    Ref result = Ref::steal(PyTuple_New(static_cast<Py_ssize_t>(items.size())));
    Py_ssize_t index = 0;
    for (Borrowed item : items)
        PyTuple_SET_ITEM(result.get(), index++, Py_NewRef(item.get()));
    return result;
}

Ref tuple(std::span<PyObject* const> items)
{
    Ref result = Ref::steal(PyTuple_New(static_cast<Py_ssize_t>(items.size())));
    for (std::size_t index = 0; index < items.size(); ++index)
        PyTuple_SET_ITEM(result.get(), static_cast<Py_ssize_t>(index), Py_NewRef(items[index]));
    return result;
}

Ref list(std::initializer_list<Borrowed> items)
{
    Ref result = Ref::steal(PyList_New(static_cast<Py_ssize_t>(items.size())));
    Py_ssize_t index = 0;
    for (Borrowed item : items)
        PyList_SET_ITEM(result.get(), index++, Py_NewRef(item.get()));
    return result;
}

Ref dict() { return Ref::steal(PyDict_New()); }

Ref getattr_optional(Borrowed object, Borrowed name)
{
    PyObject* value;
    check(PyObject_GetOptionalAttr(object, name, &value));
    return Ref::steal_nullable(value);
}

bool hasattr(Borrowed object, Borrowed name)
{
    return check(PyObject_HasAttrWithError(object, name)) != 0;
}

Ref call(Borrowed callable, std::span<PyObject* const> args, Borrowed kwnames)
{
    Py_ssize_t positional = static_cast<Py_ssize_t>(args.size());
    if (kwnames)
        positional -= PyTuple_GET_SIZE(kwnames.get());
    return Ref::steal(PyObject_Vectorcall(callable, args.data(), static_cast<size_t>(positional), kwnames));
}

Ref call(Borrowed callable, std::initializer_list<Borrowed> args, std::initializer_list<Keyword> keywords)
{
    SmallVector<PyObject*, 8> stack(1 + args.size() + keywords.size());
    Ref kwnames = Ref::steal(PyTuple_New(static_cast<Py_ssize_t>(keywords.size())));
    std::size_t index = 1;
    for (Borrowed arg : args)
        stack[index++] = arg.get();
    Py_ssize_t position = 0;
    for (const Keyword& keyword : keywords) {
        stack[index++] = keyword.value.get();
        PyTuple_SET_ITEM(kwnames.get(), position++, Py_NewRef(keyword.name.get()));
    }
    return Ref::steal(PyObject_Vectorcall(callable, stack.data() + 1, args.size() | PY_VECTORCALL_ARGUMENTS_OFFSET,
                                          kwnames));
}

Ref call_method(Borrowed self, Borrowed name, std::initializer_list<Borrowed> args)
{
    return call_method(self, name, args, {});
}

Ref call_method(Borrowed self, Borrowed name, std::initializer_list<Borrowed> leading,
                std::span<PyObject* const> rest)
{
    MethodStack stack(self, leading, rest);
    return Ref::steal(PyObject_VectorcallMethod(name, stack.data(), stack.size() | PY_VECTORCALL_ARGUMENTS_OFFSET,
                                                nullptr));
}

Ref call_with(Borrowed callable, Borrowed args, Borrowed kwargs)
{
    Ref empty;
    if (!args.get())
        empty = Ref::steal(PyTuple_New(0));
    return Ref::steal(PyObject_Call(callable, args.get() ? args.get() : empty.get(), kwargs));
}

namespace {
Name n_get("get");
}  // namespace

Ref mapping_get(Borrowed mapping, Borrowed key)
{
    if (!PyDict_CheckExact(mapping.get()))
        return call_method(mapping, n_get, {key});
    PyObject* value;
    return check(PyDict_GetItemRef(mapping, key, &value)) ? Ref::steal(value) : none();
}

Ref concat(std::initializer_list<Borrowed> parts)
{
    bool all_str = true;
    for (Borrowed part : parts)
        all_str = all_str && PyUnicode_CheckExact(part.get());
    if (!all_str) {
        // `a + b + ...` step by step: the host's own error for a non-str part,
        // and __radd__ where a part has one.
        Ref sum;
        for (Borrowed part : parts)
            sum = sum ? Ref::steal(PyNumber_Add(sum, part)) : part.ref();
        return sum;
    }
    // All str: one new str of the joined length and widest kind.
    Py_ssize_t size = 0;
    Py_UCS4 widest = 0;
    for (Borrowed part : parts) {
        size += PyUnicode_GET_LENGTH(part.get());
        widest = std::max<Py_UCS4>(widest, PyUnicode_MAX_CHAR_VALUE(part.get()));
    }
    Ref joined = Ref::steal(PyUnicode_New(size, widest));
    Py_ssize_t at = 0;
    for (Borrowed part : parts) {
        const Py_ssize_t length = PyUnicode_GET_LENGTH(part.get());
        if (PyUnicode_KIND(part.get()) == PyUnicode_KIND(joined.get()))
            std::memcpy(static_cast<char*>(PyUnicode_DATA(joined.get())) + at * PyUnicode_KIND(joined.get()),
                        PyUnicode_DATA(part.get()), static_cast<std::size_t>(length) * PyUnicode_KIND(joined.get()));
        else
            check(static_cast<int>(PyUnicode_CopyCharacters(joined, at, part, 0, length)));
        at += length;
    }
    return joined;
}

Ref equality(Borrowed a, Borrowed b)
{
    // Two exact str, or two exact ints, run no code of their own.
    if (PyUnicode_CheckExact(a.get()) && PyUnicode_CheckExact(b.get()))
        return boolean(equal(a, b));
    if (PyLong_CheckExact(a.get()) && PyLong_CheckExact(b.get()))
        return boolean(compare_numbers(a, b, Py_EQ));
    return Ref::steal(PyObject_RichCompare(a, b, Py_EQ));
}

Ref iterate_next(Borrowed iterator)
{
    PyObject* value = PyIter_Next(iterator);
    if (!value && PyErr_Occurred())
        throw_python_error();
    return Ref::steal_nullable(value);
}

namespace {

[[noreturn]] void too_many_to_unpack([[maybe_unused]] PyObject* iterable, Py_ssize_t expected)
{
#if PY_VERSION_HEX >= 0x030E0000
    // From 3.14 on, the host tells how many there were where the container
    // knows it without being asked.
    if (PyList_CheckExact(iterable) || PyTuple_CheckExact(iterable) || PyDict_CheckExact(iterable))
        raise_format(PyExc_ValueError, "too many values to unpack (expected %zd, got %zd)", expected,
                     PyDict_CheckExact(iterable) ? PyDict_GET_SIZE(iterable) : Py_SIZE(iterable));
#endif
    raise_format(PyExc_ValueError, "too many values to unpack (expected %zd)", expected);
}

}  // namespace

void unpack_into(Borrowed iterable, std::span<Ref> items)
{
    PyObject* object = iterable.get();
    const auto expected = static_cast<Py_ssize_t>(items.size());
    if (PyTuple_CheckExact(object) && PyTuple_GET_SIZE(object) == expected) {
        for (Py_ssize_t i = 0; i < expected; ++i)
            items[static_cast<std::size_t>(i)] = Ref::borrow(PyTuple_GET_ITEM(object, i));
        return;
    }
    if (!Py_TYPE(object)->tp_iter && !PySequence_Check(object))
        raise_format(PyExc_TypeError, "cannot unpack non-iterable %.200s object", Py_TYPE(object)->tp_name);
    // As the statement does: one item more than wanted is asked for, no more.
    Ref iterator = Ref::steal(PyObject_GetIter(object));
    for (Py_ssize_t i = 0; i < expected; ++i) {
        items[static_cast<std::size_t>(i)] = iterate_next(iterator);
        if (!items[static_cast<std::size_t>(i)])
            raise_format(PyExc_ValueError, "not enough values to unpack (expected %zd, got %zd)", expected, i);
    }
    if (iterate_next(iterator))
        too_many_to_unpack(object, expected);
}

void raise(PyObject* type, const char* message)
{
    PyErr_SetString(type, message);
    throw_python_error();
}

void raise_format(PyObject* type, const char* format, ...)
{
    va_list vargs;
    va_start(vargs, format);
    PyErr_FormatV(type, format, vargs);
    va_end(vargs);
    throw_python_error();
}

void raise_object(Ref exception)
{
    // The rules of the `raise` statement: an instance (chained to the
    // exception being handled, keeping its traceback), or a class to call.
    if (PyExceptionInstance_Check(exception.get()))
        PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.get())), exception);
    else if (PyExceptionClass_Check(exception.get()))
        PyErr_SetNone(exception);
    else
        PyErr_SetString(PyExc_TypeError, "exceptions must derive from BaseException");
    throw_python_error();
}

bool error_matches(Borrowed type) { return PyErr_ExceptionMatches(type) != 0; }

}  // namespace tess
