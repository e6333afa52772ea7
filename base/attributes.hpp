// Attribute reads, writes and method calls by a Name, with the shortcuts the
// interpreter's own specialised bytecode takes: a plain instance attribute is
// read from the instance's values, a property of the module's own classes
// runs its getter, and a method of the module's own classes is called
// without a bound method or a second lookup.  Each shortcut is taken only
// where the class, unchanged since it was last judged (its version tag), and
// the instance leave no doubt that the general road would arrive at the very
// same place; everywhere else the general road is taken.
#pragma once

#include "names.hpp"

#include <initializer_list>
#include <span>

namespace tess {

Ref getattr(Borrowed object, const Name& name);
void setattr(Borrowed object, const Name& name, Borrowed value);
// self.name(*leading, *rest)
Ref call_method(Borrowed self, const Name& name, std::initializer_list<Borrowed> leading = {},
                std::span<PyObject* const> rest = {});

// Confirms at start-up that the interpreter lays out instances as
// interpreter.hpp expects; where it does not, only the general road is used.
void check_instance_layout();

}  // namespace tess
