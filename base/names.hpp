// Interned names, module attributes looked up at each use, and the builtins
// that the module fixes at start-up.
#pragma once

#include "reference.hpp"
#if TESSARINE_FAST_ROADS
#include "road_sites.hpp"
#endif

#include <cstdint>
#include <functional>
#include <initializer_list>

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

#if TESSARINE_FAST_ROADS
    NameSites& sites() const noexcept { return sites_; }
#endif

    static void intern_all();

private:
    const char* text_;
    PyObject* object_ = nullptr;
    Name* next_;
#if TESSARINE_FAST_ROADS
    mutable NameSites sites_;
#endif
};

#if TESSARINE_FAST_ROADS
// Changes to the dicts the module watches: its own namespace, and the
// namespaces of the modules whose attributes it reads.  A value found in
// one of them stays valid while the count stays the same.
extern std::uint64_t watched_changes;
// Counts the changes of `dict` from now on.
void watch(PyObject* dict);
#endif

// Several Names in one argument, e.g. {n_code, n_source}.
using Names = std::initializer_list<std::reference_wrapper<const Name>>;

// A name of the module's own namespace, resolved at each use, so that an
// attribute replaced from outside takes effect at once.  With the fast roads,
// what was found is kept until the namespace changes in any way (a watcher
// on the module dict counts the changes), so a use in between costs a
// comparison.
class Global {
public:
    explicit Global(const char* text) noexcept : name_(text) {}
    Ref get() const
    {
#if TESSARINE_FAST_ROADS
        if (seen_ == watched_changes && value_)
            return Ref::borrow(value_);
#endif
        return lookup();
    }
    const Name& name() const noexcept { return name_; }

private:
    Ref lookup() const;

    Name name_;
#if TESSARINE_FAST_ROADS
    mutable PyObject* value_ = nullptr;  // borrowed from the module dict, valid while seen_ is current
    mutable std::uint64_t seen_ = 0;
#endif
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
// Makes `dict` the module's namespace (NULL, after a failed start, never
// fails); with the fast roads, watched for changes from then on.
void set_module_dict(PyObject* dict);

}  // namespace tess
