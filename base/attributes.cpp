#include "attributes.hpp"

#include "function.hpp"
#include "interpreter.hpp"
#include "operations.hpp"
#include "property.hpp"
#include "small_vector.hpp"

#include <cstdint>

namespace tess {
namespace {

using namespace interpreter;

bool layout_confirmed = false;

enum class Road : std::uint8_t { general, instance_value, own_getter };

// What the general road finds for one name on instances of one class, as
// long as the class keeps its version tag.
struct Site {
    PyTypeObject* type = nullptr;
    PyObject* name = nullptr;
    unsigned int tag = 0;
    Road road = Road::general;
    // instance_value: the name's position among the shared keys, -1 while
    // they lack it (they only grow, so `known_keys` tells when to look again)
    Py_ssize_t index = -1;
    Py_ssize_t known_keys = 0;
    DictKeys* keys = nullptr;
    // own_getter: the getter; instance_value: the class's own method of that
    // name, called when the instance has no attribute of its own that hides it
    PyObject* function = nullptr;
};

constexpr unsigned kSiteBits = 9;
Site sites[1u << kSiteBits];

void judge(Site& site, PyTypeObject* type, PyObject* name)
{
    site = Site{.type = type, .name = name};
    if (!layout_confirmed || !PyUnstable_Type_AssignVersionTag(type))
        return;  // tag 0: judged again at the next use
    site.tag = type->tp_version_tag;
    if (type->tp_getattro != PyObject_GenericGetAttr)
        return;
    PyObject* found = _PyType_Lookup(type, name);
    if (found) {
        if (PyObject* getter = own_getter(found)) {
            site.road = Road::own_getter;
            site.function = getter;
            return;
        }
        if (Py_TYPE(found)->tp_descr_set)
            return;
    }
    if (!keeps_inline_values(type))
        return;
    site.road = Road::instance_value;
    site.keys = shared_keys(type);
    site.known_keys = site.keys->dk_nentries;
    site.index = key_index(site.keys, name);
    site.function = found && is_function(found) ? found : nullptr;
}

Site& site_for(PyTypeObject* type, const Name& name)
{
    const auto key = (reinterpret_cast<std::uintptr_t>(type) >> 4) ^ reinterpret_cast<std::uintptr_t>(name.get());
    Site& site = sites[static_cast<std::uint64_t>(key) * 0x9E3779B97F4A7C15ull >> (64 - kSiteBits)];
    if (site.type != type || site.name != name.get() || site.tag != type->tp_version_tag || site.tag == 0)
        judge(site, type, name);
    return site;
}

enum class Held { unknown, absent, present };

// Whether the instance holds a value under the site's name, and where:
// `absent` when no instance of the class can, `unknown` when only the
// general road can tell.
Held find_value(Site& site, PyObject* object, PyObject**& slot)
{
    if (site.keys != shared_keys(Py_TYPE(object)))
        return Held::unknown;
    DictValues* values = inline_values(object);
    if (!values->valid)
        return Held::unknown;
    if (site.index < 0 && site.keys->dk_nentries != site.known_keys) {
        site.known_keys = site.keys->dk_nentries;
        site.index = key_index(site.keys, site.name);
    }
    if (site.index < 0)
        return Held::absent;
    if (site.index >= values->capacity)
        return Held::unknown;
    slot = &values->values[site.index];
    return *slot ? Held::present : Held::absent;
}

}  // namespace

Ref getattr(Borrowed object, const Name& name)
{
    Site& site = site_for(Py_TYPE(object.get()), name);
    if (site.road == Road::own_getter) {
        Ref getter = Ref::borrow(site.function);  // the class may drop it while it runs
        PyObject* self = object.get();
        return Ref::steal(call_function(getter, &self, 1));
    }
    PyObject** slot;
    if (site.road == Road::instance_value && find_value(site, object, slot) == Held::present)
        return Ref::borrow(*slot);
    return Ref::steal(PyObject_GetAttr(object, name));
}

void setattr(Borrowed object, const Name& name, Borrowed value)
{
    PyTypeObject* type = Py_TYPE(object.get());
    Site& site = site_for(type, name);
    // Only an attribute the instance already has, and only while no dict
    // object stands for its values, may change in place.
    if (site.road == Road::instance_value && type->tp_setattro == PyObject_GenericSetAttr && !managed_dict(object)) {
        PyObject** slot;
        if (find_value(site, object, slot) == Held::present) {
            PyObject* old = *slot;
            *slot = Py_NewRef(value.get());
            Py_DECREF(old);
            return;
        }
    }
    check(PyObject_SetAttr(object, name, value));
}

Ref call_method(Borrowed self, const Name& name, std::initializer_list<Borrowed> leading,
                std::span<PyObject* const> rest)
{
    Site& site = site_for(Py_TYPE(self.get()), name);
    PyObject** slot;
    // The class's own method, unless an attribute of the instance hides it.
    if (site.road != Road::instance_value || !site.function || find_value(site, self, slot) != Held::absent)
        return call_method(self, Borrowed(name), leading, rest);
    SmallVector<PyObject*, 8> stack(1 + leading.size() + rest.size());
    std::size_t index = 0;
    stack[index++] = self.get();
    for (Borrowed arg : leading)
        stack[index++] = arg.get();
    for (PyObject* arg : rest)
        stack[index++] = arg;
    Ref method = Ref::borrow(site.function);  // the class may drop it while it runs
    return Ref::steal(call_function(method, stack.data(), stack.size()));
}

namespace {
Name n_probe_first("first"), n_probe_second("second");
}

void check_instance_layout()
{
    PyObject* metaclass = reinterpret_cast<PyObject*>(&PyType_Type);
    Ref cls = call(metaclass, {text("probe"), tuple({b_object}), dict()});
    Ref probe = call(cls);
    Ref first = list(), second = list();
    check(PyObject_SetAttr(probe, n_probe_first, first));
    check(PyObject_SetAttr(probe, n_probe_second, second));
    auto* type = reinterpret_cast<PyTypeObject*>(cls.get());
    if (!keeps_inline_values(type) || type->tp_basicsize != sizeof(PyObject) || !shared_keys(type) ||
        managed_dict(probe))
        return;
    DictKeys* keys = shared_keys(type);
    DictValues* values = inline_values(probe);
    layout_confirmed = values->valid && key_index(keys, n_probe_first) == 0 && key_index(keys, n_probe_second) == 1 &&
                       values->values[0] == first.get() && values->values[1] == second.get();
}

}  // namespace tess
