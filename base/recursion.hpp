// Depth accounting for everything that can recurse: every call of a module
// function, and every walk of a structure that a caller handed in.
#pragma once

#include "reference.hpp"

namespace tess {

// While alive, one level of recursion is taken: a structure that contains
// itself, or one nested too deep, ends in RecursionError and the process
// goes on.  With the fast roads the level is one of sys.getrecursionlimit(),
// as a Python frame takes it, so a walk fails where the same code written in
// Python fails; without them it is one of the interpreter's limit for C
// code, as its own C walks (repr, ==, json) take it.  A check on the native
// stack itself backs either up.
class RecursionGuard {
public:
#if TESSARINE_FAST_ROADS
    RecursionGuard()
    {
        tstate_ = PyThreadState_GetUnchecked();
        const int remaining = tstate_->py_recursion_remaining--;
        // The stack is worth a look only once calls have nested a while.
        if (remaining <= 0 || (tstate_->py_recursion_limit - remaining > kShallow && stack_exhausted()))
            refuse();
    }
    ~RecursionGuard() { ++tstate_->py_recursion_remaining; }
#else
    RecursionGuard()
    {
        if (Py_EnterRecursiveCall(""))
            throw_python_error();
        if (stack_exhausted())
            refuse();
    }
    ~RecursionGuard() { Py_LeaveRecursiveCall(); }
#endif
    RecursionGuard(const RecursionGuard&) = delete;
    RecursionGuard& operator=(const RecursionGuard&) = delete;

private:
    static bool stack_exhausted() noexcept;
    [[noreturn]] void refuse();

#if TESSARINE_FAST_ROADS
    static constexpr int kShallow = 50;
    PyThreadState* tstate_;
#endif
};

}  // namespace tess
