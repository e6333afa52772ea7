// Arithmetic and comparison with the host's semantics, computed directly
// where both operands are exact floats or small exact ints: there the host
// would arrive at the very same value by a longer road.  Anything else takes
// the host's operators.
#pragma once

#include "reference.hpp"

namespace tess {

// The value of `object` where it is an exact int small enough to be held
// without loss in a double as well as in a long long; false for NULL.
inline bool small_int(PyObject* object, long long& value) noexcept
{
    if (!object || !PyLong_CheckExact(object) || !PyUnstable_Long_IsCompact(reinterpret_cast<PyLongObject*>(object)))
        return false;
    value = PyUnstable_Long_CompactValue(reinterpret_cast<PyLongObject*>(object));
    return true;
}

// Both operands as doubles, where each is an exact float or a small exact
// int and at least one is a float: what mixed arithmetic converts to.
inline bool both_float(PyObject* a, PyObject* b, double& x, double& y) noexcept
{
    long long n;
    const bool a_float = PyFloat_CheckExact(a), b_float = PyFloat_CheckExact(b);
    if (!a_float && !b_float)
        return false;
    if (a_float)
        x = PyFloat_AS_DOUBLE(a);
    else if (small_int(a, n))
        x = static_cast<double>(n);
    else
        return false;
    if (b_float)
        y = PyFloat_AS_DOUBLE(b);
    else if (small_int(b, n))
        y = static_cast<double>(n);
    else
        return false;
    return true;
}

// a + b, or a += b with PyNumber_InPlaceAdd as `general`.
inline Ref add(Borrowed a, Borrowed b, binaryfunc general = PyNumber_Add)
{
    long long m, n;
    if (small_int(a, m) && small_int(b, n))
        return Ref::steal(PyLong_FromLongLong(m + n));
    double x, y;
    if (both_float(a, b, x, y))
        return Ref::steal(PyFloat_FromDouble(x + y));
    return Ref::steal(general(a, b));
}

// a * b
inline Ref multiply(Borrowed a, Borrowed b)
{
    long long m, n;
    if (small_int(a, m) && small_int(b, n))
        return Ref::steal(PyLong_FromLongLong(m * n));
    double x, y;
    if (both_float(a, b, x, y))
        return Ref::steal(PyFloat_FromDouble(x * y));
    return Ref::steal(PyNumber_Multiply(a, b));
}

// a / b, where the division by zero stays the host's to report.
inline Ref true_divide(Borrowed a, Borrowed b)
{
    long long m, n;
    double x, y;
    if (small_int(a, m) && small_int(b, n) && n != 0)
        return Ref::steal(PyFloat_FromDouble(static_cast<double>(m) / static_cast<double>(n)));
    if (both_float(a, b, x, y) && y != 0)
        return Ref::steal(PyFloat_FromDouble(x / y));
    return Ref::steal(PyNumber_TrueDivide(a, b));
}

// bool(a < b), bool(a > b), ... for op one of Py_LT, Py_LE, Py_EQ, Py_NE,
// Py_GT, Py_GE: the comparison as an expression makes it, so an object is
// not taken to equal itself without asking it.
inline bool compare_numbers(Borrowed a, Borrowed b, int op)
{
    long long m, n;
    double x, y;
    if (small_int(a, m) && small_int(b, n)) {
        x = static_cast<double>(m);
        y = static_cast<double>(n);
    } else if (!both_float(a, b, x, y)) {
        Ref result = Ref::steal(PyObject_RichCompare(a, b, op));
        return check(PyObject_IsTrue(result)) != 0;
    }
    switch (op) {
    case Py_LT:
        return x < y;
    case Py_LE:
        return x <= y;
    case Py_EQ:
        return x == y;
    case Py_NE:
        return x != y;
    case Py_GT:
        return x > y;
    default:
        return x >= y;
    }
}

}  // namespace tess
