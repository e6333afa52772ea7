#include "traceback.hpp"

#include "names.hpp"

#include <frameobject.h>

namespace tess {

void add_traceback_entry(PyCodeObject** cache, const char* name, const char* file, int line) noexcept
{
    PyObject* exception = PyErr_GetRaisedException();
    PyCodeObject* code = cache ? *cache : nullptr;
    if (!code)
        code = PyCode_NewEmpty(file, name, line);
    PyFrameObject* frame = nullptr;
    if (code && module_dict())
        frame = PyFrame_New(PyThreadState_Get(), code, module_dict(), nullptr);
    if (cache && !*cache)
        *cache = code;
    else if (!cache)
        Py_XDECREF(code);
    // Whatever failed above, the exception that was on its way out wins.
    PyErr_Clear();
    PyErr_SetRaisedException(exception);
    if (frame) {
        PyTraceBack_Here(frame);
        Py_DECREF(frame);
    }
}

}  // namespace tess
