// Depth accounting for everything that can recurse: every call of a module
// function, and every walk of a structure that a caller handed in.
#pragma once

#include "reference.hpp"

namespace tess {

// While alive, one level of the interpreter's recursion limit is taken, as a
// Python frame takes it: a structure that contains itself, or one nested
// beyond sys.getrecursionlimit(), ends in RecursionError where the same code
// written in Python would, and the process goes on.  A second check on the
// native stack itself keeps a raised limit from overflowing it.
class RecursionGuard {
public:
    RecursionGuard()
    {
        tstate_ = PyThreadState_GetUnchecked();
        const int remaining = tstate_->py_recursion_remaining--;
        // The stack is worth a look only once calls have nested a while.
        if (remaining <= 0 || (tstate_->py_recursion_limit - remaining > kShallow && stack_exhausted()))
            refuse();
    }
    ~RecursionGuard() { ++tstate_->py_recursion_remaining; }
    RecursionGuard(const RecursionGuard&) = delete;
    RecursionGuard& operator=(const RecursionGuard&) = delete;

private:
    static constexpr int kShallow = 50;
    static bool stack_exhausted() noexcept;
    [[noreturn]] void refuse();

    PyThreadState* tstate_;
};

}  // namespace tess
