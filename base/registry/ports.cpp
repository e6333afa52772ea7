// The ports of active masters and the devices connected to them.  The two
// stores are independent: a device is filed by its selector (address, port)
// whether or not that port is open.
#include "registry.hpp"

namespace tess::body {
namespace {
using namespace registry;

Name n_checkActivePorts("checkActivePorts"), n_getPorts("getPorts"), n_getPort("_getPort");

Ref add_port(const Args& args)
{
    PyObject* self = args[0];
    PyObject* address = args[1];
    PyObject* port = args[2];
    if (truthy(call_method(self, n_checkActivePorts, {address, port})))
        raise_driver_error("Master %s has already active port %s.", tuple({address, port}));
    // An inactive address passes the check above and fails here, by KeyError.
    set_item(item(getattr(self, n_ports), address), port, args[3]);
    return none();
}

Ref get_ports(const Args& args) { return call_method(getattr(args[0], n_ports), n_get, {args[1], dict()}); }

// Not normalised to a bool: an inactive address gives None, an active master
// without ports its empty table.
Ref check_active_ports(const Args& args)
{
    Ref ports = mapping_get(getattr(args[0], n_ports), args[1]);
    if (!truthy(ports))
        return ports;
    return boolean(contains(ports, args[2]));
}

Ref get_port(const Args& args)
{
    PyObject* address = args[1];
    PyObject* port = args[2];
    Ref ports = mapping_get(getattr(args[0], n_ports), address);
    if (!truthy(ports))
        raise_driver_error("Cannot access port for inactive %s.", address);
    if (!contains(ports, port))
        raise_driver_error("Port %s not available for %s.", tuple({port, address}));
    return tuple({ports, item(ports, port)});
}

Ref get_port_driver(const Args& args)
{
    return item_at(call_method(args[0], n_getPort, {args[1], args[2]}), 1);
}

Ref get_port_drivers(const Args& args)
{
    PyObject* self = args[0];
    PyObject* address = args[1];
    if (truthy(address))
        return values_list(call_method(self, n_getPorts, {address}));
    return inner_values(getattr(self, n_ports));
}

Ref add_connected_dev(const Args& args)
{
    set_item(getattr(args[0], n_openDevs), args[1], args[2]);
    return none();
}

Ref get_connected_dev(const Args& args) { return mapping_get(getattr(args[0], n_openDevs), args[1]); }

Ref get_connected_devs(const Args& args) { return values_list(getattr(args[0], n_openDevs)); }

// With an address: the bare ports of that master.  Without one: every whole
// selector, of all masters.
Ref get_connected_dev_ports(const Args& args)
{
    PyObject* address = args[1];
    Ref devices = getattr(args[0], n_openDevs);
    if (!truthy(address))
        return Ref::steal(PySequence_List(devices));
    Ref result = list();
    Ref selectors = Ref::steal(PyObject_GetIter(devices));
    while (Ref selector = iterate_next(selectors))
        if (equal(item_at(selector, 0), address))
            check(PyList_Append(result, item_at(selector, 1)));
    return result;
}

Ref remove_connected_dev(const Args& args) { return call_method(getattr(args[0], n_openDevs), n_pop, {args[1]}); }

const FunctionDef methods[] = {
    method("addPort", add_port, {{"address"}, {"port"}, {"drv"}}),
    method("getPorts", get_ports, {{"address"}}),
    method("checkActivePorts", check_active_ports, {{"address"}, {"port"}}),
    method("getPortDriver", get_port_driver, {{"address"}, {"port"}}),
    method("getPortDrivers", get_port_drivers, {{"address", kNone}}),
    method("_getPort", get_port, {{"address"}, {"port"}}),
    method("addConnectedDev", add_connected_dev, {{"aName"}, {"aDev"}}),
    method("getConnectedDev", get_connected_dev, {{"aName"}}),
    method("getConnectedDevs", get_connected_devs),
    method("getConnectedDevPorts", get_connected_dev_ports, {{"address", kNone}}),
    method("removeConnectedDev", remove_connected_dev, {{"aName"}}),
};

}  // namespace

void registry::add_port_methods(ClassBuilder& manager)
{
    manager.methods(methods);
}

}  // namespace tess::body
