// CommonDriverManager: the registry through which the communication layer
// finds every open base driver, master, port and connected device.  It holds
// references only; the drivers themselves belong to the package.
#include "registry.hpp"

namespace tess::body {
namespace registry {

Name n_drivers("_drivers"), n_addresses("_addresses"), n_masters("_masters"), n_openAddresses("_openAddresses"),
    n_openMasters("_openMasters"), n_ports("_ports"), n_ioddmasters("_ioddmasters"), n_openDevs("_openDevs");
Name n_get("get"), n_pop("pop"), n_values("values"), n_append("append"), n_remove("remove"),
    n_driverName("driverName"), n_getBaseDriverType("getBaseDriverType"), n_connected("connected"),
    n_disconnect("disconnect");

namespace {
Name n_iodd("iodd"), n_logger("_logger"), n_debug("debug");
Global g_CommonDriverManager("CommonDriverManager"), g_DriverException("DriverException");
}  // namespace

Ref values_list(Borrowed mapping) { return Ref::steal(PySequence_List(call_method(mapping, n_values))); }

Ref inner_values(Borrowed outer)
{
    Ref result = list();
    Ref inner = Ref::steal(PyObject_GetIter(call_method(outer, n_values)));
    while (Ref mapping = iterate_next(inner))
        check(PyList_Extend(result, call_method(mapping, n_values)));
    return result;
}

Ref owner_debug()
{
    // Read through the class: every manager shares the one owner.
    Ref owner = getattr(g_CommonDriverManager.get(), n_iodd);
    if (!truthy(owner))
        return {};
    return getattr(getattr(owner, n_logger), n_debug);
}

void raise_driver_error(const char* format, Borrowed operand)
{
    raise_object(call(g_DriverException.get(), {percent(text(format), operand)}));
}

}  // namespace registry

namespace {
using namespace registry;

Name n_getIoddMaster("getIoddMaster"), n_master("_master"), n_address("address"), n_masterInfo("_masterInfo"),
    n_getMasterInfo("getMasterInfo"), n_product_name("Product Name"), n_product_code("Product Code"),
    n_serial_number("Serial Number"), n_serial_prefix(", S/N: "), n_empty(""),
    n_opened_line("Opened base driver \"%s\"."), n_connected_line("%s master connected to \"%s\": %s%s");

// The stores in the order the package expects to find them.
const Name* const stores[] = {&n_drivers,     &n_addresses, &n_masters,     &n_openAddresses,
                              &n_openMasters, &n_ports,     &n_ioddmasters, &n_openDevs};

Ref init(const Args& args)
{
    for (const Name* store : stores)
        setattr(args[0], *store, dict());
    return none();
}

// --- base drivers ----------------------------------------------------------

Ref check_base_driver_active(const Args& args) { return boolean(contains(getattr(args[0], n_drivers), args[1])); }

Ref get_base_drivers(const Args& args) { return call_method(getattr(args[0], n_drivers), n_values); }

Ref get_base_driver(const Args& args)
{
    PyObject* drvType = args[1];
    Ref drv = mapping_get(getattr(args[0], n_drivers), drvType);
    if (Py_IsNone(drv))
        raise_driver_error("No driver registered for %s.", call_method(drvType, n_driverName));
    return drv;
}

Ref add_base_driver(const Args& args)
{
    PyObject* self = args[0];
    PyObject* drv = args[1];
    PyObject* drvType = reinterpret_cast<PyObject*>(Py_TYPE(drv));
    Ref drivers = getattr(self, n_drivers);
    if (contains(drivers, drvType))
        raise_driver_error("Driver already registered: %s.", call_method(drv, n_driverName));
    set_item(drivers, drvType, drv);
    set_item(getattr(self, n_addresses), drvType, list());
    set_item(getattr(self, n_openAddresses), drvType, list());
    set_item(getattr(self, n_ioddmasters), drvType, dict());
    if (Ref debug = owner_debug())
        call(debug, {n_opened_line, call_method(drv, n_driverName)});
    return none();
}

// --- IoddMaster objects ------------------------------------------------------

Ref get_iodd_master(const Args& args)
{
    Ref masters = mapping_get(getattr(args[0], n_ioddmasters), args[1]);
    return truthy(masters) ? mapping_get(masters, args[2]) : none();
}

Ref get_iodd_masters(const Args& args) { return inner_values(getattr(args[0], n_ioddmasters)); }

// Where an IoddMaster is filed: the class of its master's base driver, and
// its address.
struct IoddMasterKey {
    Ref baseType;
    Ref address;
};

IoddMasterKey key_of(PyObject* master)
{
    Ref masterdrv = getattr(master, n_master);
    Ref baseType = call_method(masterdrv, n_getBaseDriverType);
    return {baseType, getattr(master, n_address)};
}

bool iodd_master_known(PyObject* self, const IoddMasterKey& key)
{
    return truthy(call_method(self, n_getIoddMaster, {key.baseType, key.address}));
}

Ref add_iodd_master(const Args& args)
{
    PyObject* self = args[0];
    IoddMasterKey key = key_of(args[1]);
    if (iodd_master_known(self, key))
        raise_driver_error("Master already registered for %s.", key.address);
    set_item(item(getattr(self, n_ioddmasters), key.baseType), key.address, args[1]);
    return none();
}

Ref remove_iodd_master(const Args& args)
{
    PyObject* self = args[0];
    IoddMasterKey key = key_of(args[1]);
    if (!iodd_master_known(self, key))
        raise_driver_error("No master registered for %s.", key.address);
    call_method(item(getattr(self, n_ioddmasters), key.baseType), n_pop, {key.address});
    return none();
}

// --- known and active masters ----------------------------------------------
// Both levels work alike on their own pair of stores: masters by address, and
// address lists per driver class.

struct MasterLevel {
    const Name& masters;
    const Name& addresses;
    const char* missing;
    const char* duplicate;
};

const MasterLevel known{n_masters, n_addresses, "No master registered for %s.", "Master already registered for %s."};
const MasterLevel active{n_openMasters, n_openAddresses, "No active master registered for %s.",
                         "Active master already registered for %s."};

template <const MasterLevel& Level>
Ref driver_addresses(const Args& args)
{
    return call_method(getattr(args[0], Level.addresses), n_get, {args[1], list()});
}

template <const MasterLevel& Level>
Ref master_addresses(const Args& args)
{
    return Ref::steal(PySequence_List(getattr(args[0], Level.masters)));
}

template <const MasterLevel& Level>
Ref master_drivers(const Args& args)
{
    return values_list(getattr(args[0], Level.masters));
}

template <const MasterLevel& Level>
Ref master_driver(const Args& args)
{
    Ref drv = mapping_get(getattr(args[0], Level.masters), args[1]);
    if (Py_IsNone(drv))
        raise_driver_error(Level.missing, args[1]);
    return drv;
}

template <const MasterLevel& Level>
Ref check_master_driver(const Args& args)
{
    return boolean(contains(getattr(args[0], Level.masters), args[1]));
}

template <const MasterLevel& Level>
void file_master(PyObject* self, PyObject* address, PyObject* drv)
{
    Ref masters = getattr(self, Level.masters);
    if (contains(masters, address))
        raise_driver_error(Level.duplicate, address);
    Ref drvType = call_method(drv, n_getBaseDriverType);
    call_method(item(getattr(self, Level.addresses), drvType), n_append, {address});
    set_item(masters, address, drv);
}

Ref add_master_driver(const Args& args)
{
    file_master<known>(args[0], args[1], args[2]);
    return none();
}

Ref inactive_master_addresses(const Args& args)
{
    Ref masters = Ref::steal(PyObject_GetIter(getattr(args[0], n_masters)));
    Ref open = getattr(args[0], n_openMasters);
    Ref result = list();
    while (Ref address = iterate_next(masters))
        if (!contains(open, address))
            check(PyList_Append(result, address));
    return result;
}

// The connection line names the product, and its serial number where the
// master reports one.
void log_connection(Borrowed debug, PyObject* address, PyObject* drv)
{
    Ref info = getattr(drv, n_masterInfo);
    if (!truthy(info))
        info = call_method(drv, n_getMasterInfo);
    Ref name = call_method(info, n_get, {n_product_name});
    if (!truthy(name))
        name = call_method(info, n_get, {n_product_code});
    Ref ser = call_method(info, n_get, {n_serial_number});
    Ref serialnr = truthy(ser) ? concat({n_serial_prefix, ser}) : Ref::borrow(n_empty);
    call(debug, {n_connected_line, call_method(drv, n_driverName), address, name, serialnr});
}

Ref add_active_master_driver(const Args& args)
{
    PyObject* self = args[0];
    PyObject* address = args[1];
    PyObject* drv = args[2];
    file_master<active>(self, address, drv);
    set_item(getattr(self, n_ports), address, dict());
    if (Ref debug = owner_debug())
        log_connection(debug, address, drv);
    return none();
}

const FunctionDef methods[] = {
    method("__init__", init),
    method("checkBaseDriverActive", check_base_driver_active, {{"drvType"}}),
    method("getBaseDrivers", get_base_drivers),
    method("getBaseDriver", get_base_driver, {{"drvType"}}),
    method("addBaseDriver", add_base_driver, {{"drv"}}),
    method("getIoddMaster", get_iodd_master, {{"baseType"}, {"address"}}),
    method("getIoddMasters", get_iodd_masters),
    method("addIoddMaster", add_iodd_master, {{"master"}}),
    method("removeIoddMaster", remove_iodd_master, {{"master"}}),
    method("getDriverAddresses", driver_addresses<known>, {{"drvType"}}),
    method("getMasterAddresses", master_addresses<known>),
    method("getMasterDrivers", master_drivers<known>),
    method("getMasterDriver", master_driver<known>, {{"address"}}),
    method("checkMasterDriver", check_master_driver<known>, {{"address"}}),
    method("addMasterDriver", add_master_driver, {{"address"}, {"drv"}}),
    method("getActiveDriverAddresses", driver_addresses<active>, {{"drvType"}}),
    method("getActiveMasterAddresses", master_addresses<active>),
    method("getInactiveMasterAddresses", inactive_master_addresses),
    method("getActiveMasterDrivers", master_drivers<active>),
    method("getActiveMasterDriver", master_driver<active>, {{"address"}}),
    method("checkActiveMasterDriver", check_master_driver<active>, {{"address"}}),
    method("addActiveMasterDriver", add_active_master_driver, {{"address"}, {"drv"}}),
};

}  // namespace

void define_driver_manager()
{
    ClassBuilder manager("CommonDriverManager", {b_object}, "Manager for commonly used drivers.");
    manager.attribute("iodd", Py_None);
    manager.methods(methods);
    add_port_methods(manager);
    add_rename_methods(manager);
    add_removal_methods(manager);
    manager.build();
}

}  // namespace tess::body
