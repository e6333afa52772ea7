// Taking entries out of the registry from the top down: a base driver with
// its masters, a master with its ports, a single port.  These are the only
// operations of the registry that end a driver's work, and `force` decides
// how far they may go.
#include "registry.hpp"

namespace tess::body {
namespace {
using namespace registry;

Name n_getBaseDriver("getBaseDriver"), n_getDriverAddresses("getDriverAddresses"),
    n_getActiveDriverAddresses("getActiveDriverAddresses"), n_getMasterDriver("getMasterDriver"),
    n_getActiveMasterDriver("getActiveMasterDriver"), n_removeMasterDriver("removeMasterDriver"),
    n_removeActiveMasterDriver("removeActiveMasterDriver"), n_removePort("removePort"), n_getPort("_getPort"),
    n_active("_active"), n_close("close"), n_removeDriverOrigin("removeDriverOrigin"),
    n_closed_line("Closed base driver \"%s\"."), n_removed_line("%s master \"%s\" removed"),
    n_disconnected_line("%s master \"%s\" disconnected");

const char* const active_master_in_use = "Cannot remove active master %s.";

Ref remove_base_driver(const Args& args)
{
    PyObject* self = args[0];
    PyObject* drvType = args[1];
    PyObject* force = args[2];
    Ref drv = call_method(self, n_getBaseDriver, {drvType});
    Ref addresses = call_method(self, n_getDriverAddresses, {drvType});
    Ref activeAddresses = call_method(self, n_getActiveDriverAddresses, {drvType});
    if (truthy(activeAddresses) && !truthy(force))
        raise_driver_error("Cannot remove active driver %s.", call_method(drv, n_driverName));
    // A copy: each removal takes its address out of the live list.
    Ref snapshot = Ref::steal(PySequence_List(addresses));
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(snapshot.get()); ++i)
        call_method(self, n_removeMasterDriver, {PyList_GET_ITEM(snapshot.get(), i), force});
    for (const Name* store : {&n_addresses, &n_openAddresses, &n_ioddmasters})
        call_method(getattr(self, *store), n_pop, {drvType});
    drv = call_method(getattr(self, n_drivers), n_pop, {drvType});
    const bool was_active = truthy(getattr(drv, n_active));
    if (was_active)
        call_method(drv, n_close);
    if (Ref debug = owner_debug()) {
        // A closed driver is not named in the log: callers with an owner have
        // always received this error for it, after a complete clean-up.
        if (was_active)
            raise(PyExc_UnboundLocalError, "local variable 'drv' referenced before assignment");
        call(debug, {n_closed_line, call_method(drv, n_driverName)});
    }
    return none();
}

// The common end of both master removals: out of the level's store by
// address, out of its class's address list, and a debug line.
void drop_master(PyObject* self, PyObject* address, const Name& masters, const Name& addresses, const Name& line)
{
    Ref drv = call_method(getattr(self, masters), n_pop, {address});
    Ref drvType = call_method(drv, n_getBaseDriverType);
    call_method(item(getattr(self, addresses), drvType), n_remove, {address});
    if (Ref debug = owner_debug())
        call(debug, {line, call_method(drv, n_driverName), address});
}

// A master that says it is not connected leaves its active entries behind.
Ref remove_master_driver(const Args& args)
{
    PyObject* self = args[0];
    PyObject* address = args[1];
    Ref drv = call_method(self, n_getMasterDriver, {address});
    if (truthy(call_method(drv, n_connected)))
        call_method(self, n_removeActiveMasterDriver, {address, args[2]});
    drop_master(self, address, n_masters, n_addresses, n_removed_line);
    return none();
}

Ref remove_active_master_driver(const Args& args)
{
    PyObject* self = args[0];
    PyObject* address = args[1];
    PyObject* force = args[2];
    Ref drv = call_method(self, n_getActiveMasterDriver, {address});
    Ref ports = mapping_get(getattr(self, n_ports), address);
    if (truthy(ports)) {
        if (!truthy(force))
            raise_driver_error(active_master_in_use, address);
        Ref snapshot = Ref::steal(PySequence_List(ports));
        for (Py_ssize_t i = 0; i < PyList_GET_SIZE(snapshot.get()); ++i)
            call_method(self, n_removePort, {address, PyList_GET_ITEM(snapshot.get(), i), force});
    }
    if (truthy(call_method(drv, n_connected))) {
        if (!truthy(force))
            raise_driver_error(active_master_in_use, address);
        call(getattr(drv, n_disconnect), {Py_None, force}, {{n_removeDriverOrigin, Py_True}});
    }
    call_method(getattr(self, n_ports), n_pop, {address});
    drop_master(self, address, n_openMasters, n_openAddresses, n_disconnected_line);
    return none();
}

// `force` None removes a port without asking it anything; False refuses a
// port in use; True disconnects it first.
Ref remove_port(const Args& args)
{
    PyObject* address = args[1];
    PyObject* port = args[2];
    PyObject* force = args[3];
    Ref found = call_method(args[0], n_getPort, {address, port});
    Ref ports = item_at(found, 0);
    Ref drv = item_at(found, 1);
    if (!Py_IsNone(force) && truthy(call_method(drv, n_connected))) {
        if (!truthy(force))
            raise_driver_error(active_master_in_use, address);
        call_method(drv, n_disconnect);
    }
    call_method(ports, n_pop, {port});
    return none();
}

const FunctionDef methods[] = {
    method("removeBaseDriver", remove_base_driver, {{"drvType"}, {"force", false}}),
    method("removeMasterDriver", remove_master_driver, {{"address"}, {"force", false}}),
    method("removeActiveMasterDriver", remove_active_master_driver, {{"address"}, {"force", false}}),
    method("removePort", remove_port, {{"address"}, {"port"}, {"force", false}}),
};

}  // namespace

void registry::add_removal_methods(ClassBuilder& manager)
{
    manager.methods(methods);
}

}  // namespace tess::body
