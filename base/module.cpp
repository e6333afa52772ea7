// The module's entry: a create and an exec slot, and the process-wide state
// that makes the module exist once however often it is imported.
#include "Tessarine.hpp"
#include "module_body.hpp"
#include "property.hpp"
#include "traceback.hpp"

#include <cstdint>

namespace tess {
namespace {

constinit std::int64_t first_interpreter = -1;
constinit PyObject* the_module = nullptr;

// Copies spec.<from> to module.<to>; a spec without the attribute is fine.
void copy_spec_attribute(PyObject* spec, PyObject* module, const char* from, const char* to, bool skip_none)
{
    PyObject* found;
    check(PyObject_GetOptionalAttrString(spec, from, &found));
    Ref value = Ref::steal_nullable(found);
    if (value && !(skip_none && value.get() == Py_None))
        check(PyObject_SetAttrString(module, to, value));
}

PyObject* create(PyObject* spec, PyModuleDef*)
{
    const std::int64_t current = PyInterpreterState_GetID(PyInterpreterState_Get());
    if (current == -1)
        return nullptr;
    if (first_interpreter == -1) {
        first_interpreter = current;
    } else if (first_interpreter != current) {
        PyErr_SetString(PyExc_ImportError,
                        "Interpreter change detected - this module can only be loaded into one interpreter per "
                        "process.");
        return nullptr;
    }
    if (the_module)
        return Py_NewRef(the_module);
    try {
        Ref name = Ref::steal(PyObject_GetAttrString(spec, "name"));
        Ref module = Ref::steal(PyModule_NewObject(name));
        copy_spec_attribute(spec, module, "loader", "__loader__", false);
        copy_spec_attribute(spec, module, "origin", "__file__", false);
        copy_spec_attribute(spec, module, "parent", "__package__", false);
        copy_spec_attribute(spec, module, "submodule_search_locations", "__path__", true);
        return module.release();
    } catch (const PythonError&) {
        return nullptr;
    }
}

// The interpreter the module runs in against the one it was built for.
void warn_on_version_mismatch()
{
    const int major = static_cast<int>((Py_Version >> 24) & 0xff);
    const int minor = static_cast<int>((Py_Version >> 16) & 0xff);
    if (major == PY_MAJOR_VERSION && minor == PY_MINOR_VERSION)
        return;
    char message[200];
    PyOS_snprintf(message, sizeof message, "compile time Python version %d.%d of module '%.100s' %s runtime version %d.%d",
                  PY_MAJOR_VERSION, PY_MINOR_VERSION, kModuleName, "does not match", major, minor);
    check(PyErr_WarnEx(nullptr, message, 1));
}

int exec(PyObject* module)
{
    if (the_module == module)
        return 0;
    if (the_module) {
        PyErr_SetString(PyExc_RuntimeError,
                        "Module 'Tessarine' has already been imported. Re-initialisation is not supported.");
        return -1;
    }
    the_module = Py_NewRef(module);
    try {
        set_module_dict(PyModule_GetDict(module));
        warn_on_version_mismatch();
        Name::intern_all();
        Builtin::fetch_all();
#if TESSARINE_FAST_ROADS
        check_instance_layout();
#endif
        ready_function_type();
        ready_property_type();
        run_module_body();
        return 0;
    } catch (const PythonError&) {
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    }
    add_traceback_entry(nullptr, "init vantrel.base.Tessarine", "base/module.cpp", __LINE__);
    set_module_dict(nullptr);
    Py_CLEAR(the_module);
    return -1;
}

PyModuleDef_Slot slots[] = {
    {Py_mod_create, reinterpret_cast<void*>(create)},
    {Py_mod_exec, reinterpret_cast<void*>(exec)},
    {0, nullptr},
};

PyModuleDef definition = {
    PyModuleDef_HEAD_INIT,
    "Tessarine",
    nullptr,
    0,
    nullptr,
    slots,
    nullptr,
    nullptr,
    nullptr,
};

}  // namespace
}  // namespace tess

PyMODINIT_FUNC PyInit_Tessarine(void) { return PyModuleDef_Init(&tess::definition); }
