#include "recursion.hpp"

#include <pthread.h>

#include <algorithm>
#include <cstdint>

namespace tess {
namespace {

// The lowest stack address that a guarded level may start at, per thread;
// null until first asked, 1 where the thread's stack is unknown.
thread_local const char* stack_floor = nullptr;

const char* find_stack_floor() noexcept
{
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0)
        return reinterpret_cast<const char*>(1);
    void* lowest = nullptr;
    std::size_t size = 0;
    const int failed = pthread_attr_getstack(&attributes, &lowest, &size);
    pthread_attr_destroy(&attributes);
    if (failed)
        return reinterpret_cast<const char*>(1);
    // Room for what runs below the last level: the host's own C code, a
    // print, the formatting of the RecursionError itself.
    const std::size_t reserve = std::min<std::size_t>(256 * 1024, size / 4);
    return static_cast<const char*>(lowest) + reserve;
}

}  // namespace

bool RecursionGuard::stack_exhausted() noexcept
{
    if (!stack_floor)
        stack_floor = find_stack_floor();
    return static_cast<const char*>(__builtin_frame_address(0)) < stack_floor;
}

void RecursionGuard::refuse()
{
#if TESSARINE_FAST_ROADS
    ++tstate_->py_recursion_remaining;
#else
    Py_LeaveRecursiveCall();
#endif
    PyErr_SetString(PyExc_RecursionError, "maximum recursion depth exceeded");
    throw_python_error();
}

}  // namespace tess
