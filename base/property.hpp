// The read-only and read-write attributes of the module's classes.  They are
// properties (isinstance(..., property), fget, fset and __doc__ as usual), of
// a subclass whose get slot runs the module's own getter without building a
// call.
#pragma once

#include "reference.hpp"

namespace tess {

void ready_property_type();

// property(getter, setter), the setter may be NULL.
Ref make_property(Borrowed getter, Borrowed setter);

// The module's own getter behind `descriptor` when it is one of these
// properties, or NULL.
PyObject* own_getter(PyObject* descriptor) noexcept;

}  // namespace tess
