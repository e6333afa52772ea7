// Interned names, module attributes looked up at each use, and the builtins
// that the module fixes at start-up.
#pragma once

#include "reference.hpp"

#include <cstdint>
#include <functional>
#include <initializer_list>

namespace tess {

inline constexpr const char* kModuleName = "vantrel.base.Tessarine";

// What the shortcuts of attributes.hpp found for one name on the instances
// of one class, kept while the class keeps its version tag.
struct AttributeSite {
    PyTypeObject* type = nullptr;
    unsigned int tag = 0;
    std::uint8_t road = 0;
    bool writable = false;
    bool of_class = false;  // for the class itself (Class.name), not its instances
    // Position among the instance's values, -1 while the class's shared
    // keys lack the name; they only grow, so `known_keys` tells when to look
    // again.
    Py_ssize_t index = -1;
    Py_ssize_t known_keys = 0;
    PyObject* function = nullptr;  // borrowed from the class, valid with the tag
};

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

    // The site kept for instances of `type` (or for `type` itself), or NULL.
    AttributeSite* site(PyTypeObject* type, bool of_class = false) const noexcept
    {
        for (AttributeSite& site : sites_)
            if (site.type == type && site.tag == type->tp_version_tag && site.tag != 0 && site.of_class == of_class)
                return &site;
        return nullptr;
    }
    // A place for a new site, in turn.
    AttributeSite& new_site() const noexcept { return sites_[next_site_++ % kSites]; }

    // module.name as last read, valid while `watched_changes` stays `seen`.
    struct ModuleMember {
        PyObject* module = nullptr;
        PyObject* value = nullptr;  // borrowed from the module's dict
        std::uint64_t seen = 0;
    };
    ModuleMember& module_member() const noexcept { return module_member_; }

    static void intern_all();

private:
    static constexpr unsigned kSites = 4;

    const char* text_;
    PyObject* object_ = nullptr;
    Name* next_;
    mutable AttributeSite sites_[kSites];
    mutable unsigned char next_site_ = 0;
    mutable ModuleMember module_member_;
};

// Changes to the dicts the module watches: its own namespace, and the
// namespaces of the modules whose attributes it reads.  A value found in
// one of them stays valid while the count stays the same.
extern std::uint64_t watched_changes;
// Counts the changes of `dict` from now on.
void watch(PyObject* dict);

// Several Names in one argument, e.g. {n_code, n_source}.
using Names = std::initializer_list<std::reference_wrapper<const Name>>;

// A name of the module's own namespace, resolved at each use, so that an
// attribute replaced from outside takes effect at once.  What was found is
// kept until the namespace changes in any way (a watcher on the module dict
// counts the changes), so a use in between costs a comparison.
class Global {
public:
    explicit Global(const char* text) noexcept : name_(text) {}
    Ref get() const
    {
        if (seen_ == watched_changes && value_)
            return Ref::borrow(value_);
        return lookup();
    }
    const Name& name() const noexcept { return name_; }

private:
    Ref lookup() const;

    Name name_;
    mutable PyObject* value_ = nullptr;  // borrowed from the module dict, valid while seen_ is current
    mutable std::uint64_t seen_ = 0;
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
// Makes `dict` the module's namespace, watched for changes from then on
// (NULL, after a failed start, never fails).
void set_module_dict(PyObject* dict);

}  // namespace tess
