// The everyday Python operations, as C++ calls that throw PythonError
// instead of returning NULL.
#pragma once

#include "names.hpp"
#include "small_vector.hpp"

#include <array>
#include <cstring>
#include <initializer_list>
#include <span>
#include <string_view>

namespace tess {

// --- making values -------------------------------------------------------
inline Ref none() noexcept { return Ref::borrow(Py_None); }
inline Ref boolean(bool value) noexcept { return Ref::borrow(value ? Py_True : Py_False); }
inline Ref integer(long long value) { return Ref::steal(PyLong_FromLongLong(value)); }
// The small int Value, as a literal of code: found once, kept for the life of
// the process.  The host keeps such ints itself, so finding one never fails.
template <long long Value>
Borrowed small_integer() noexcept
{
    static_assert(Value >= -5 && Value <= 256, "the host keeps only the ints from -5 to 256");
    static PyObject* const value = PyLong_FromLongLong(Value);
    return value;
}
inline Ref floating(double value) { return Ref::steal(PyFloat_FromDouble(value)); }
inline Ref text(std::string_view value)
{
    return Ref::steal(PyUnicode_FromStringAndSize(value.data(), static_cast<Py_ssize_t>(value.size())));
}
Ref tuple(std::initializer_list<Borrowed> items);
Ref tuple(std::span<PyObject* const> items);
Ref list(std::initializer_list<Borrowed> items = {});
Ref dict();

// --- attributes ----------------------------------------------------------
inline Ref getattr(Borrowed object, Borrowed name) { return Ref::steal(PyObject_GetAttr(object, name)); }
// Empty Ref when the attribute is missing; other errors throw.
Ref getattr_optional(Borrowed object, Borrowed name);
bool hasattr(Borrowed object, Borrowed name);
inline void setattr(Borrowed object, Borrowed name, Borrowed value) { check(PyObject_SetAttr(object, name, value)); }

// --- calls (all through vectorcall) -------------------------------------
Ref call(Borrowed callable, std::initializer_list<Borrowed> args = {});
Ref call(Borrowed callable, std::span<PyObject* const> args, Borrowed kwnames = nullptr);
// The argument vector of obj.name(*leading, *rest): self in front.
class MethodStack : public SmallVector<PyObject*, 8> {
public:
    MethodStack(Borrowed self, std::initializer_list<Borrowed> leading, std::span<PyObject* const> rest)
        : SmallVector(1 + leading.size() + rest.size())
    {
        PyObject** next = data();
        *next++ = self.get();
        for (Borrowed arg : leading)
            *next++ = arg.get();
        for (PyObject* arg : rest)
            *next++ = arg;
    }
};
// obj.name(*args): no bound method is made when `name` is a plain method.
Ref call_method(Borrowed self, Borrowed name, std::initializer_list<Borrowed> args = {});
// obj.name(*leading, *rest), e.g. forwarding a *args tail unchanged.
Ref call_method(Borrowed self, Borrowed name, std::initializer_list<Borrowed> leading,
                std::span<PyObject* const> rest);
// callable(*args, name=value, ...).
struct Keyword {
    Borrowed name;
    Borrowed value;
};
Ref call(Borrowed callable, std::initializer_list<Borrowed> args, std::initializer_list<Keyword> keywords);
// callable(*args, **kwargs) with a tuple and a dict (either may be NULL).
Ref call_with(Borrowed callable, Borrowed args, Borrowed kwargs);
// super(cls, self).name: what the next class after `cls` in self's MRO gives,
// as `super().name` inside a method of `cls`.
inline Ref super_getattr(Borrowed cls, Borrowed self, Borrowed name)
{
    return getattr(call(b_super, {cls, self}), name);
}

// --- the usual protocol -------------------------------------------------
inline bool truthy(Borrowed object)
{
    if (object.get() == Py_True)
        return true;
    if (object.get() == Py_False || object.get() == Py_None)
        return false;
    return check(PyObject_IsTrue(object)) != 0;
}
inline bool compare(Borrowed a, Borrowed b, int op) { return check(PyObject_RichCompareBool(a, b, op)) != 0; }
// a == b as containers compare their items; two exact str are compared here.
inline bool equal(Borrowed a, Borrowed b)
{
    PyObject* x = a.get();
    PyObject* y = b.get();
    if (!PyUnicode_CheckExact(x) || !PyUnicode_CheckExact(y))
        return compare(a, b, Py_EQ);
    const Py_ssize_t size = PyUnicode_GET_LENGTH(x);
    return x == y || (size == PyUnicode_GET_LENGTH(y) && PyUnicode_KIND(x) == PyUnicode_KIND(y) &&
                      std::memcmp(PyUnicode_DATA(x), PyUnicode_DATA(y), static_cast<std::size_t>(size) * PyUnicode_KIND(x)) == 0);
}
// a == b, the result as the operator gives it, whatever its type.
Ref equality(Borrowed a, Borrowed b);
inline bool is_instance(Borrowed object, Borrowed cls) { return check(PyObject_IsInstance(object, cls)) != 0; }
inline Ref str(Borrowed object) { return Ref::steal(PyObject_Str(object)); }
inline Ref repr(Borrowed object) { return Ref::steal(PyObject_Repr(object)); }
inline Ref format(Borrowed value, Borrowed spec) { return Ref::steal(PyObject_Format(value, spec)); }
inline Py_ssize_t length(Borrowed object)
{
    Py_ssize_t size = PyObject_Length(object);
    if (size < 0)
        throw_python_error();
    return size;
}
inline Ref item(Borrowed object, Borrowed key) { return Ref::steal(PyObject_GetItem(object, key)); }
// `sequence[index]` (borrowed) where a tuple or list within bounds answers
// it, as its subscript would, without running any code; NULL elsewhere.
inline PyObject* item_in_place(PyObject* object, Py_ssize_t index) noexcept
{
    if (PyTuple_CheckExact(object) && index >= 0 && index < PyTuple_GET_SIZE(object))
        return PyTuple_GET_ITEM(object, index);
    if (PyList_CheckExact(object) && index >= 0 && index < PyList_GET_SIZE(object))
        return PyList_GET_ITEM(object, index);
    return nullptr;
}
// `sequence[index]`
inline Ref item_at(Borrowed sequence, Py_ssize_t index)
{
    if (PyObject* found = item_in_place(sequence, index))
        return Ref::borrow(found);
    return item(sequence, integer(index));
}
// `item in container`
inline bool contains(Borrowed container, Borrowed item) { return check(PySequence_Contains(container, item)) != 0; }
// `mapping.get(key)`
Ref mapping_get(Borrowed mapping, Borrowed key);
inline void set_item(Borrowed object, Borrowed key, Borrowed value)
{
    check(PyDict_CheckExact(object.get()) ? PyDict_SetItem(object, key, value) : PyObject_SetItem(object, key, value));
}
inline Ref binary(Borrowed a, Borrowed b, PyObject* (*op)(PyObject*, PyObject*)) { return Ref::steal(op(a, b)); }
// `parts[0] + parts[1] + ...`: one join when all are str.
Ref concat(std::initializer_list<Borrowed> parts);
Ref iterate_next(Borrowed iterator);  // empty Ref at the end
// a, b, ... = iterable, into `items`: the host's errors for anything else.
void unpack_into(Borrowed iterable, std::span<Ref> items);
template <std::size_t N>
std::array<Ref, N> unpack(Borrowed iterable)
{
    std::array<Ref, N> items;
    unpack_into(iterable, items);
    return items;
}

// --- raising -------------------------------------------------------------
[[noreturn]] void raise(PyObject* type, const char* message);
[[noreturn]] void raise_format(PyObject* type, const char* format, ...);
// Raises an instance, e.g. one made from a module class looked up late.
[[noreturn]] void raise_object(Ref exception);
// True when the error being raised is an instance of `type` (or a subclass).
bool error_matches(Borrowed type);

// While alive, `error` is the exception being handled (sys.exception()), as
// inside an `except` block; the previous one comes back afterwards.
class HandledException {
public:
    explicit HandledException(PyObject* error) : previous_(Ref::steal_nullable(PyErr_GetHandledException()))
    {
        PyErr_SetHandledException(error);
    }
    ~HandledException() { PyErr_SetHandledException(previous_.get() ? previous_.get() : Py_None); }
    HandledException(const HandledException&) = delete;
    HandledException& operator=(const HandledException&) = delete;

private:
    Ref previous_;
};

// try: body()  except <type> as error: handler(error)
// `type` may be a class or a tuple of classes; anything else passes through.
template <typename Body, typename Handler>
void try_except(PyObject* type, Body&& body, Handler&& handler)
{
    Ref error;
    try {
        body();
        return;
    } catch (const PythonError&) {
        error = Ref::steal_nullable(PyErr_GetRaisedException());
        if (!PyErr_GivenExceptionMatches(error, type)) {
            PyErr_SetRaisedException(error.release());
            throw;
        }
    }
    HandledException handled(error);
    handler(error.get());
}

}  // namespace tess
