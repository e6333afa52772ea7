// What the files of the registry share: the names of the manager's stores and
// of what it calls on drivers, the owner's debug line, and its one exception.
#pragma once

#include "../Tessarine.hpp"

namespace tess::body::registry {

extern Name n_drivers, n_addresses, n_masters, n_openAddresses, n_openMasters, n_ports, n_ioddmasters,
    n_openDevs;
extern Name n_get, n_pop, n_values, n_append, n_remove, n_driverName, n_getBaseDriverType, n_connected,
    n_disconnect;

// `list(mapping.values())`
Ref values_list(Borrowed mapping);
// The values of every inner mapping of `outer`, in order, in one new list.
Ref inner_values(Borrowed outer);

// CommonDriverManager.iodd._logger.debug, or an empty Ref while the class has
// no owner: debug lines are written only for an owner, and their values are
// worked out only then.
Ref owner_debug();

// DriverException(format % operand): one value as the caller gave it (a
// tuple among them formats as its items), or a tuple made for several.
[[noreturn]] void raise_driver_error(const char* format, Borrowed operand);

// A method of the manager: `self` followed by `params`.
inline FunctionDef method(const char* name, Implementation implementation, std::initializer_list<Param> params = {},
                          std::source_location where = std::source_location::current())
{
    FunctionDef def{.name = name, .params = {{"self"}}, .implementation = implementation, .where = where};
    def.params.insert(def.params.end(), params);
    return def;
}

void add_port_methods(ClassBuilder& manager);
void add_rename_methods(ClassBuilder& manager);
void add_removal_methods(ClassBuilder& manager);

}  // namespace tess::body::registry
