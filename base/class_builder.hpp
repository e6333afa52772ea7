// Classes of the module are ordinary classes: made, as a class statement
// would, by calling the metaclass of the bases with a namespace.
#pragma once

#include <span>

#include "function.hpp"

namespace tess {

class ClassBuilder {
public:
    ClassBuilder(const char* name, std::initializer_list<Borrowed> bases, const char* doc);

    ClassBuilder& method(const FunctionDef& def);
    ClassBuilder& methods(std::span<const FunctionDef> defs);
    ClassBuilder& static_method(const FunctionDef& def);
    // A property; its docstring is the getter's, as with @property.
    ClassBuilder& property(const FunctionDef& getter, const FunctionDef* setter = nullptr);
    // Read-only properties.
    ClassBuilder& properties(std::span<const FunctionDef> getters);
    ClassBuilder& attribute(const char* name, Borrowed value);

    // Makes the class and binds it in the module's namespace.
    Ref build();

private:
    Ref function(const FunctionDef& def) const { return make_function(def, name_); }

    const char* name_;
    Ref bases_;
    Ref namespace_;
};

// Makes a module-level function and binds it in the module's namespace.
void define_function(const FunctionDef& def);
// Binds any other value in the module's namespace.
void define_value(const char* name, Borrowed value);

}  // namespace tess
