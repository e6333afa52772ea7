// The function object of the module: every function, method and constructor
// is one, so all of them bind arguments, refuse bad calls and add traceback
// entries in exactly the same way.
#pragma once

#include "operations.hpp"

#include <source_location>
#include <span>
#include <string_view>
#include <vector>

namespace tess {

struct NoneDefault {};
inline constexpr NoneDefault kNone{};

// A parameter's default, described at compile time and made once, when the
// function object is created by the module body.
class Default {
public:
    enum class Kind : unsigned char { required, none, integer, floating, text, boolean, factory };

    constexpr Default() noexcept = default;
    constexpr Default(NoneDefault) noexcept : kind_(Kind::none) {}
    constexpr Default(int value) noexcept : kind_(Kind::integer), integer_(value) {}
    constexpr Default(double value) noexcept : kind_(Kind::floating), floating_(value) {}
    constexpr Default(bool value) noexcept : kind_(Kind::boolean), integer_(value) {}
    constexpr Default(const char* value) noexcept : kind_(Kind::text), text_(value) {}
    constexpr Default(Ref (*factory)()) noexcept : kind_(Kind::factory), factory_(factory) {}

    bool required() const noexcept { return kind_ == Kind::required; }
    Ref make() const;

private:
    Kind kind_ = Kind::required;
    long long integer_ = 0;
    double floating_ = 0;
    const char* text_ = nullptr;
    Ref (*factory_)() = nullptr;
};

struct Param {
    const char* name;
    Default value{};
};

enum Star : unsigned { no_star = 0, star_args = 1, star_kwargs = 2 };

class Args;
using Implementation = Ref (*)(const Args&);
struct FieldView;  // property.hpp

// What the module body needs to make one function object (which copies what
// it keeps).  Required parameters come first; `self` of a method is an
// ordinary parameter.
struct FunctionDef {
    const char* name;
    std::vector<Param> params;
    Implementation implementation;
    unsigned star = no_star;
    const char* doc = nullptr;
    std::source_location where = std::source_location::current();
    // The getter of a property that shows a stored attribute: what it reads.
    const FieldView* view = nullptr;
};

// The arguments of one call, bound to the parameters.  Values are borrowed
// from the caller (or from the function's defaults) for the call's duration.
class Args {
public:
    Args(PyObject* const* values, std::span<PyObject* const> rest, PyObject* kwargs, PyObject* closure) noexcept
        : values_(values), rest_(rest), kwargs_(kwargs), closure_(closure)
    {
    }

    PyObject* operator[](std::size_t index) const noexcept { return values_[index]; }
    // The surplus positional arguments of a `*args` function, as passed.
    std::span<PyObject* const> rest() const noexcept { return rest_; }
    Ref rest_tuple() const { return tuple(rest_); }
    // The surplus keyword arguments of a `**kwargs` function: a new dict.
    PyObject* kwargs() const noexcept { return kwargs_; }
    // What a function made by make_closure carries.
    PyObject* closure() const noexcept { return closure_; }

private:
    PyObject* const* values_;
    std::span<PyObject* const> rest_;
    PyObject* kwargs_;
    PyObject* closure_;
};

// A new function object; `qualname_prefix` is the class's qualified name for
// methods, empty for module functions.
Ref make_function(const FunctionDef& def, std::string_view qualname_prefix = {});

// A function that behaves as `prototype` and carries `closure` to its
// implementation (Args::closure), as an inner function keeps the variables
// of the one that made it.  Its __doc__ is its own.
Ref make_closure(Borrowed prototype, Borrowed closure);

namespace detail {
extern PyTypeObject* function_type;
}

// True for the module's own function objects.
inline bool is_function(PyObject* object) noexcept { return Py_IS_TYPE(object, detail::function_type); }

// Adds the traceback entry that `function` (one of the module's own) adds
// when an exception leaves it.
void add_function_traceback(PyObject* function) noexcept;

// function(*arguments) for one of the module's own function objects, as a
// call from Python would run it, without the detour through vectorcall.
PyObject* call_function(PyObject* function, PyObject* const* arguments, std::size_t count) noexcept;

void ready_function_type();

}  // namespace tess
