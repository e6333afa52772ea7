// Plain instance attributes on hot paths.  Where a class keeps the default
// attribute protocol and defines none of the names as a data descriptor, an
// attribute of its instances is exactly an entry of the instance dictionary,
// so those paths read and write the dictionary directly instead of resolving
// each name through the class.  Any other class gets the generic protocol.
#pragma once

#include <array>
#include <initializer_list>
#include <vector>

#include "names.hpp"

namespace tess {

class InstanceFields {
public:
    InstanceFields(std::initializer_list<const Name*> names) : names_(names) {}

    // The fields of one instance, for the duration of one operation.
    class Access {
    public:
        Ref get(const Name& name) const;
        void set(const Name& name, Borrowed value) const;

    private:
        friend class InstanceFields;
        Access(PyObject* self, Ref dict) noexcept : self_(self), dict_(std::move(dict)) {}
        PyObject* self_;
        Ref dict_;  // empty: the generic protocol
    };

    Access of(PyObject* self);

private:
    bool plain(PyTypeObject* type);
    bool judge(PyTypeObject* type) const;

    std::vector<const Name*> names_;
    // Classes found plain, each under the version tag it had then: a change
    // to the class or to a base gives it a new tag, and a new verdict.
    struct Verdict {
        PyTypeObject* type = nullptr;
        unsigned int tag = 0;
    };
    std::array<Verdict, 4> plain_;
    size_t next_ = 0;
};

}  // namespace tess
