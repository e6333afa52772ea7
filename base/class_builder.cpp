#include "class_builder.hpp"

#include "property.hpp"

namespace tess {

namespace {
Name n_module("__module__"), n_qualname("__qualname__"), n_doc("__doc__");

// The most derived metaclass among the bases, as a class statement picks it.
PyObject* metaclass_of(PyObject* bases)
{
    PyObject* winner = reinterpret_cast<PyObject*>(&PyType_Type);
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(bases); ++i) {
        PyObject* candidate = reinterpret_cast<PyObject*>(Py_TYPE(PyTuple_GET_ITEM(bases, i)));
        if (PyType_IsSubtype(reinterpret_cast<PyTypeObject*>(candidate), reinterpret_cast<PyTypeObject*>(winner)))
            winner = candidate;
    }
    return winner;
}
}  // namespace

ClassBuilder::ClassBuilder(const char* name, std::initializer_list<Borrowed> bases, const char* doc)
    : name_(name), bases_(tuple(bases)), namespace_(dict())
{
    set_item(namespace_, n_module, text(kModuleName));
    set_item(namespace_, n_qualname, text(name));
    if (doc)
        set_item(namespace_, n_doc, text(doc));
}

ClassBuilder& ClassBuilder::method(const FunctionDef& def)
{
    check(PyDict_SetItemString(namespace_, def.name, function(def)));
    return *this;
}

ClassBuilder& ClassBuilder::methods(std::span<const FunctionDef> defs)
{
    for (const FunctionDef& def : defs)
        method(def);
    return *this;
}

ClassBuilder& ClassBuilder::static_method(const FunctionDef& def)
{
    check(PyDict_SetItemString(namespace_, def.name, call(b_staticmethod, {function(def)})));
    return *this;
}

ClassBuilder& ClassBuilder::property(const FunctionDef& getter, const FunctionDef* setter)
{
    Ref set = setter ? function(*setter) : Ref();
    check(PyDict_SetItemString(namespace_, getter.name, make_property(function(getter), set, getter.view)));
    return *this;
}

ClassBuilder& ClassBuilder::properties(std::span<const FunctionDef> getters)
{
    for (const FunctionDef& getter : getters)
        property(getter);
    return *this;
}

ClassBuilder& ClassBuilder::attribute(const char* name, Borrowed value)
{
    check(PyDict_SetItemString(namespace_, name, value));
    return *this;
}

Ref ClassBuilder::build()
{
    Ref cls = call(metaclass_of(bases_), {text(name_), bases_, namespace_});
    define_value(name_, cls);
    return cls;
}

void define_function(const FunctionDef& def) { define_value(def.name, make_function(def)); }

void define_value(const char* name, Borrowed value) { check(PyDict_SetItemString(module_dict(), name, value)); }

}  // namespace tess
