// Moving a master to a new address: its entries in every store, and the
// devices reached through its ports, so the package keeps finding them.
#include "registry.hpp"

namespace tess::body {
namespace {
using namespace registry;

Name n_renameKey("_renameKey"), n_connectediodd("_connectediodd"), n_port("_port"), n_device("_device"),
    n_address("_address");

// Static: works on `adict` alone.  The moved entry goes to the end of the
// insertion order, replacing whatever stood under `new`.
Ref rename_key(const Args& args)
{
    PyObject* adict = args[0];
    PyObject* old = args[1];
    if (!contains(adict, old))
        return none();
    set_item(adict, args[2], item(adict, old));
    check(PyObject_DelItem(adict, old));
    return none();
}

void rename_key_in(PyObject* self, Borrowed adict, Borrowed old, Borrowed renamed)
{
    call_method(self, n_renameKey, {adict, old, renamed});
}

void readdress_devices(Borrowed portLst, PyObject* newAddr)
{
    Ref ports = Ref::steal(PyObject_GetIter(portLst));
    while (Ref port = iterate_next(ports)) {
        Ref dev = getattr(item(portLst, port), n_connectediodd);
        if (!truthy(dev))
            continue;
        setattr(dev, n_port, tuple({newAddr, item_at(getattr(dev, n_port), 1)}));
        setattr(getattr(dev, n_device), n_address, newAddr);
    }
}

// Every connected device is filed under the new address, whichever master it
// was on: selectors carry no master identity beyond the address the package
// asked to move.
void rename_device_keys(PyObject* self, PyObject* newAddr)
{
    Ref devices = getattr(self, n_openDevs);
    Ref snapshot = Ref::steal(PySequence_List(devices));
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(snapshot.get()); ++i) {
        PyObject* oldPort = PyList_GET_ITEM(snapshot.get(), i);
        rename_key_in(self, devices, oldPort, tuple({newAddr, item_at(oldPort, 1)}));
    }
}

// The new address goes to the end of each list that named the old one, once.
void rename_in_lists(Borrowed per_class, PyObject* oldAddr, PyObject* newAddr)
{
    Ref lists = Ref::steal(PyObject_GetIter(call_method(per_class, n_values)));
    while (Ref addresses = iterate_next(lists)) {
        if (!contains(addresses, oldAddr))
            continue;
        call_method(addresses, n_remove, {oldAddr});
        if (!contains(addresses, newAddr))
            call_method(addresses, n_append, {newAddr});
    }
}

Ref rename_address(const Args& args)
{
    PyObject* self = args[0];
    PyObject* oldAddr = args[1];
    PyObject* newAddr = args[2];
    // Only an active master can be renamed: its port table must exist.
    readdress_devices(item(getattr(self, n_ports), oldAddr), newAddr);
    for (const Name* store : {&n_masters, &n_openMasters, &n_ports})
        rename_key_in(self, getattr(self, *store), oldAddr, newAddr);
    Ref per_class = Ref::steal(PyObject_GetIter(call_method(getattr(self, n_ioddmasters), n_values)));
    while (Ref masters = iterate_next(per_class))
        rename_key_in(self, masters, oldAddr, newAddr);
    rename_device_keys(self, newAddr);
    for (const Name* store : {&n_addresses, &n_openAddresses})
        rename_in_lists(getattr(self, *store), oldAddr, newAddr);
    return none();
}

const FunctionDef rename_address_def{
    .name = "renameAddress",
    .params = {{"self"}, {"oldAddr"}, {"newAddr"}},
    .implementation = rename_address,
    .doc = "Rename master address",
};
const FunctionDef rename_key_def{
    .name = "_renameKey", .params = {{"adict"}, {"old"}, {"new"}}, .implementation = rename_key};

}  // namespace

void registry::add_rename_methods(ClassBuilder& manager)
{
    manager.method(rename_address_def).static_method(rename_key_def);
}

}  // namespace tess::body
