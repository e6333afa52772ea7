// The read-only and read-write attributes of the module's classes.  They are
// properties (isinstance(..., property), fget, fset and __doc__ as usual), of
// a subclass whose get slot runs the module's own getter without building a
// call, and reads a stored attribute in place where that is all the getter
// does.
#pragma once

#include "function.hpp"
#include "names.hpp"

#include <source_location>

namespace tess {

// What a property shows that is only a stored attribute of the instance, or
// one item of it: self.<stored>, or self.<stored>[position].
struct FieldView {
    const Name& stored;
    Py_ssize_t position = -1;
};

// self.<stored>[position], as the getter of such a property reads it.
Ref read_field(Borrowed self, const FieldView& view);

template <const FieldView& View>
Ref field_getter(const Args& args)
{
    return read_field(args[0], View);
}

// The definition of the getter of a property that shows View.
template <const FieldView& View>
FunctionDef field(const char* name, const char* doc, std::source_location where = std::source_location::current())
{
    return {.name = name,
            .params = {{"self"}},
            .implementation = field_getter<View>,
            .doc = doc,
            .where = where,
            .view = &View};
}

void ready_property_type();

// property(getter, setter), the setter may be NULL; `view` is what the getter
// reads, where it is one made by field().
Ref make_property(Borrowed getter, Borrowed setter, const FieldView* view = nullptr);

}  // namespace tess
