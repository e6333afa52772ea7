// CommonDriverManager: the registry through which the communication layer
// finds every open base driver, master, port and connected device.
#include "../Tessarine.hpp"

namespace tess::body {
namespace {

Name n_drivers("_drivers"), n_addresses("_addresses"), n_masters("_masters"), n_openAddresses("_openAddresses"),
    n_openMasters("_openMasters"), n_ports("_ports"), n_ioddmasters("_ioddmasters"), n_openDevs("_openDevs");

// The eight stores, in the order the package expects to find them.
const Name* const stores[] = {&n_drivers,     &n_addresses, &n_masters,     &n_openAddresses,
                              &n_openMasters, &n_ports,     &n_ioddmasters, &n_openDevs};

Ref init(const Args& args)
{
    for (const Name* store : stores)
        setattr(args[0], *store, dict());
    return none();
}

const FunctionDef init_def{.name = "__init__", .params = {{"self"}}, .implementation = init};

}  // namespace

void define_driver_manager()
{
    ClassBuilder manager("CommonDriverManager", {b_object}, "Manager for commonly used drivers.");
    manager.attribute("iodd", Py_None).method(init_def).build();
}

}  // namespace tess::body
