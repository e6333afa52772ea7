#include "names.hpp"

namespace tess {

namespace {
constinit Name* all_names = nullptr;
constinit Builtin* all_builtins = nullptr;
constinit PyObject* the_module_dict = nullptr;
}  // namespace

Name::Name(const char* text) noexcept : text_(text), next_(all_names)
{
    all_names = this;
}

void Name::intern_all()
{
    for (Name* name = all_names; name; name = name->next_) {
        if (name->object_)
            continue;
        name->object_ = PyUnicode_InternFromString(name->text_);
        if (!name->object_)
            throw_python_error();
    }
}

Ref Global::lookup() const
{
    PyObject* value;
    if (check(PyDict_GetItemRef(the_module_dict, name_, &value)) == 0) {
        PyErr_Format(PyExc_NameError, "name '%U' is not defined", name_.get());
        throw_python_error();
    }
#if TESSARINE_FAST_ROADS
    value_ = value;
    seen_ = watched_changes;
#endif
    return Ref::steal(value);
}

Builtin::Builtin(const char* text) noexcept : text_(text), next_(all_builtins)
{
    all_builtins = this;
}

void Builtin::fetch_all()
{
    Ref builtins = Ref::steal(PyImport_ImportModule("builtins"));
    PyObject* owner = PyModule_GetDict(builtins);
    for (Builtin* builtin = all_builtins; builtin; builtin = builtin->next_) {
        if (builtin->object_)
            continue;
        PyObject* value = PyDict_GetItemString(owner, builtin->text_);
        if (!value) {
            PyErr_Format(PyExc_NameError, "name '%s' is not defined", builtin->text_);
            throw_python_error();
        }
        builtin->object_ = Py_NewRef(value);
    }
}

Builtin b_object("object"), b_property("property"), b_staticmethod("staticmethod"), b_super("super"),
    b_print("print"), b_map("map"), b_max("max"), b_zip("zip"), b_open("open");

PyObject* module_dict() noexcept { return the_module_dict; }

#if TESSARINE_FAST_ROADS
// Starts at 1, so that nothing counts as current before its first lookup.
std::uint64_t watched_changes = 1;

namespace {
int count_change(PyDict_WatchEvent, PyObject*, PyObject*, PyObject*)
{
    ++watched_changes;
    return 0;
}
int watcher = -1;
}  // namespace

void watch(PyObject* dict)
{
    if (watcher < 0)
        watcher = check(PyDict_AddWatcher(count_change));
    check(PyDict_Watch(watcher, dict));
}
#endif

void set_module_dict(PyObject* dict)
{
    the_module_dict = dict;
#if TESSARINE_FAST_ROADS
    ++watched_changes;
    if (dict)
        watch(dict);
#endif
}

}  // namespace tess
