// DriverOptions: the package's options per driver, a dict of driver name to
// that driver's options dict.  Names are forgiving (any case, "_" for "-")
// but always filed under the driver's own spelling, and the options given at
// construction can be restored.
#include "registry.hpp"

namespace tess::body {
namespace {

Name n_driverNames("_driverNames"), n_lowerNames("_lowerNames"), n_default("_default"), n_general("general"),
    n_lower("lower"), n_replace("replace"), n_underscore("_"), n_minus("-"), n_index("index"), n_clear("clear"),
    n_copy("copy"), n_deepcopy("deepcopy"), n_setOptions("_setOptions"), n_getName("_getName"),
    n_checkOptions("_checkOptions");
Global g_copy("copy");
using registry::n_driverName, registry::n_values;

Ref init(const Args& args)
{
    PyObject* self = args[0];
    Ref names = list({n_general});
    Ref drivers = Ref::steal(PyObject_GetIter(args[1]));
    while (Ref driver = iterate_next(drivers))
        check(PyList_Append(names, call_method(driver, n_driverName)));
    Ref driverNames = Ref::steal(PyList_AsTuple(names));
    setattr(self, n_driverNames, driverNames);
    Ref lowerNames = Ref::steal(PyTuple_New(PyTuple_GET_SIZE(driverNames.get())));
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(driverNames.get()); ++i)
        PyTuple_SET_ITEM(lowerNames.get(), i, call_method(PyTuple_GET_ITEM(driverNames.get(), i), n_lower).release());
    setattr(self, n_lowerNames, lowerNames);
    if (!args.rest().empty())
        call_method(self, n_setOptions, {}, args.rest());
    setattr(self, n_default, call_method(self, n_copy));
    return none();
}

// dict.copy would share the inner option dicts.
Ref copy(const Args& args) { return call_method(g_copy.get(), n_deepcopy, {args[0]}); }

Ref reset(const Args& args)
{
    call_method(args[0], n_setOptions, {getattr(args[0], n_default)});
    return none();
}

Ref get_valid_names(const Args& args) { return getattr(args[0], n_driverNames); }

Ref check_options(const Args& args)
{
    if (!is_instance(args[0], reinterpret_cast<PyObject*>(&PyDict_Type)))
        raise(PyExc_TypeError, "Invalid type. Driver options have to be dictionaries");
    return none();
}

Ref get_name(const Args& args)
{
    PyObject* self = args[0];
    PyObject* name = args[1];
    Ref lname = call_method(name, n_lower);
    Ref lowerNames = getattr(self, n_lowerNames);
    if (!contains(lowerNames, lname)) {
        Ref mname = call_method(lname, n_replace, {n_underscore, n_minus});
        if (!contains(lowerNames, mname)) {
            Ref names = getattr(self, n_driverNames);
            Ref message = percent(text("Invalid driver options name: '%s'. Valid names are: %s"), tuple({name, names}));
            raise_object(call(PyExc_ValueError, {message}));
        }
        lname = mname;
    }
    Ref idx = call_method(lowerNames, n_index, {lname});
    return item(getattr(self, n_driverNames), idx);
}

// The driver's own spelling of `key`; a key spelt so already is taken as it is.
Ref canonical(PyObject* self, PyObject* key)
{
    if (contains(getattr(self, n_driverNames), key))
        return Ref::borrow(key);
    return call_method(self, n_getName, {key});
}

// The dict underneath `self`, reached as super() reaches it: an object that
// is no dict, handed to these methods through the class, has none.
PyObject* store_of(PyObject* self)
{
    if (!PyDict_Check(self))
        raise(PyExc_TypeError, "super(type, obj): obj must be an instance or subtype of type");
    return self;
}

// Reading a valid name that was never set files an empty dict under it, and
// hands out the stored dict itself so that changes to it reach the store.
Ref get_item(const Args& args)
{
    PyObject* self = args[0];
    Ref key = canonical(self, args[1]);
    if (!contains(self, key))
        set_item(self, key, dict());
    return Ref::steal(PyDict_Type.tp_as_mapping->mp_subscript(store_of(self), key));
}

Ref set_item_checked(const Args& args)
{
    PyObject* self = args[0];
    Ref key = canonical(self, args[1]);
    call_method(self, n_checkOptions, {args[2]});
    check(PyDict_SetItem(store_of(self), key, args[2]));
    return none();
}

// Everything is checked before the store is cleared, so a refusal leaves it
// as it was.  Values are stored by reference.
Ref set_options(const Args& args)
{
    PyObject* self = args[0];
    PyObject* value = args[1];
    call_method(self, n_checkOptions, {value});
    Ref names = list();
    Ref keys = Ref::steal(PyObject_GetIter(value));
    while (Ref key = iterate_next(keys))
        check(PyList_Append(names, call_method(self, n_getName, {key})));
    Ref options = Ref::steal(PyObject_GetIter(call_method(value, n_values)));
    while (Ref each = iterate_next(options))
        call_method(self, n_checkOptions, {each});
    call_method(self, n_clear);
    options = Ref::steal(PyObject_GetIter(call_method(value, n_values)));
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(names.get()); ++i) {
        Ref each = iterate_next(options);
        if (!each)
            break;
        set_item(self, PyList_GET_ITEM(names.get(), i), each);
    }
    return none();
}

const FunctionDef init_def{
    .name = "__init__", .params = {{"self"}, {"driverList"}}, .implementation = init, .star = star_args};
const FunctionDef methods[] = {
    {.name = "copy", .params = {{"self"}}, .implementation = copy},
    {.name = "reset", .params = {{"self"}}, .implementation = reset},
    {.name = "getValidNames", .params = {{"self"}}, .implementation = get_valid_names},
    {.name = "_setOptions", .params = {{"self"}, {"value"}}, .implementation = set_options},
    {.name = "_getName", .params = {{"self"}, {"name"}}, .implementation = get_name},
    {.name = "__getitem__", .params = {{"self"}, {"key"}}, .implementation = get_item},
    {.name = "__setitem__", .params = {{"self"}, {"key"}, {"value"}}, .implementation = set_item_checked},
};
const FunctionDef check_options_def{
    .name = "_checkOptions", .params = {{"options"}}, .implementation = check_options};

}  // namespace

void define_driver_options()
{
    ClassBuilder options("DriverOptions", {reinterpret_cast<PyObject*>(&PyDict_Type)}, nullptr);
    options.method(init_def).static_method(check_options_def);
    options.methods(methods);
    options.build();
}

}  // namespace tess::body
