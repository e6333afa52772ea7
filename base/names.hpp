// Interned names, module attributes looked up at each use, and the builtins
// that the module fixes at start-up.
#pragma once

#include "reference.hpp"

namespace tess {

inline constexpr const char* kModuleName = "vantrel.base.Tessarine";

// An identifier interned once, when the module starts.  Declare them at
// namespace scope; every Name registers itself so start-up can intern all.
class Name {
public:
    explicit Name(const char* text) noexcept;
    Name(const Name&) = delete;
    Name& operator=(const Name&) = delete;

    PyObject* get() const noexcept { return object_; }
    operator PyObject*() const noexcept { return object_; }
    operator Borrowed() const noexcept { return object_; }
    const char* text() const noexcept { return text_; }

    static void intern_all();

private:
    const char* text_;
    PyObject* object_ = nullptr;
    Name* next_;
};

// A name of the module's own namespace.  get() reads the module dict at each
// call, so an attribute replaced from outside takes effect at once.
class Global {
public:
    explicit Global(const char* text) noexcept : name_(text) {}
    Ref get() const;
    const Name& name() const noexcept { return name_; }

private:
    Name name_;
};

// A builtin fetched once at start-up; replacing it in builtins later does not
// reach the module.
class Builtin {
public:
    explicit Builtin(const char* text) noexcept;
    Builtin(const Builtin&) = delete;
    Builtin& operator=(const Builtin&) = delete;

    PyObject* get() const noexcept { return object_; }
    operator PyObject*() const noexcept { return object_; }
    operator Borrowed() const noexcept { return object_; }

    static void fetch_all();

private:
    const char* text_;
    PyObject* object_ = nullptr;
    Builtin* next_;
};

extern Builtin b_object, b_property, b_staticmethod, b_super, b_print, b_map, b_max, b_zip, b_open;

// The namespace of the one module object (borrowed; the module lives until
// the process ends once it has started).
PyObject* module_dict() noexcept;
void set_module_dict(PyObject* dict) noexcept;

}  // namespace tess
