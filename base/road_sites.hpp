// What the fast roads of attributes.cpp keep for one name: verdicts about
// the classes whose instances were asked for it, and the module attribute of
// that name as last read.  Only built with TESSARINE_FAST_ROADS.
#pragma once

#include "reference.hpp"

#include <cstdint>

namespace tess {

// The road to `name` on the instances of one class (or on the class itself),
// kept while the class keeps its version tag.
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
    // What the class holds under the name (borrowed; the class holds it while
    // it keeps its tag): a method, one of the module's properties, or the
    // member that Class.name gives.
    PyObject* held = nullptr;
};

// module.name as last read, valid while `watched_changes` stays `seen`.
struct ModuleMember {
    PyObject* module = nullptr;
    PyObject* value = nullptr;  // borrowed from the module's dict
    std::uint64_t seen = 0;
};

class NameSites {
public:
    // The site kept for instances of `type` (or for `type` itself), or NULL.
    AttributeSite* find(PyTypeObject* type, bool of_class = false) noexcept
    {
        for (AttributeSite& site : sites_)
            if (site.type == type && site.tag == type->tp_version_tag && site.tag != 0 && site.of_class == of_class)
                return &site;
        return nullptr;
    }
    // A place for a new site, in turn.
    AttributeSite& next() noexcept { return sites_[next_++ % kSites]; }
    ModuleMember& module_member() noexcept { return module_member_; }

private:
    static constexpr unsigned kSites = 4;
    AttributeSite sites_[kSites];
    unsigned char next_ = 0;
    ModuleMember module_member_;
};

}  // namespace tess
