// Owning and borrowed references to Python objects, and the one C++
// exception that means "a Python error is set".
#pragma once

#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include <utility>

namespace tess {

// Thrown after a Python exception has been set.  Every entry point from the
// interpreter catches it and returns NULL (or -1), so C++ code between them
// can use ordinary control flow instead of checking each result.
struct PythonError {};

[[noreturn]] inline void throw_python_error() { throw PythonError{}; }

// A strong reference.  Converts implicitly to a borrowed PyObject*, which is
// what the C API wants; ownership only moves through steal()/release().
class Ref {
public:
    Ref() noexcept = default;
    Ref(const Ref& other) noexcept : ptr_(Py_XNewRef(other.ptr_)) {}
    Ref(Ref&& other) noexcept : ptr_(std::exchange(other.ptr_, nullptr)) {}
    ~Ref() { Py_XDECREF(ptr_); }

    Ref& operator=(Ref other) noexcept
    {
        std::swap(ptr_, other.ptr_);
        return *this;
    }

    // Takes over a new reference; NULL means the call that made it failed.
    static Ref steal(PyObject* ptr)
    {
        if (!ptr)
            throw_python_error();
        return Ref(ptr);
    }
    static Ref steal_nullable(PyObject* ptr) noexcept { return Ref(ptr); }
    static Ref borrow(PyObject* ptr) noexcept { return Ref(Py_XNewRef(ptr)); }

    PyObject* get() const noexcept { return ptr_; }
    PyObject* release() noexcept { return std::exchange(ptr_, nullptr); }
    operator PyObject*() const noexcept { return ptr_; }
    explicit operator bool() const noexcept { return ptr_ != nullptr; }

private:
    explicit Ref(PyObject* ptr) noexcept : ptr_(ptr) {}
    PyObject* ptr_ = nullptr;
};

// A reference that someone else keeps alive for as long as it is used: the
// argument type of every helper that only looks at an object.
class Borrowed {
public:
    Borrowed(PyObject* ptr) noexcept : ptr_(ptr) {}
    Borrowed(const Ref& ref) noexcept : ptr_(ref.get()) {}
    PyObject* get() const noexcept { return ptr_; }
    operator PyObject*() const noexcept { return ptr_; }
    Ref ref() const noexcept { return Ref::borrow(ptr_); }

private:
    PyObject* ptr_;
};

// C API calls that report failure with -1.
inline int check(int status)
{
    if (status < 0)
        throw_python_error();
    return status;
}

}  // namespace tess
