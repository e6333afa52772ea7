// Statistics: the one store of communication figures, grown on demand as
// masters and devices appear, and the overall report made from it.  The views
// of the other files share its Stat objects and port dictionaries.
#include "statistics.hpp"

namespace tess::body {

namespace stats {

Name n_underscore("_"), n_GlobalStatistics("GlobalStatistics");

void append_attributes(Borrowed into, Borrowed self, Figures figures)
{
    for (const Figure& figure : figures)
        check(PyList_Append(into, getattr(self, figure.name)));
}

void put_leaves(Borrowed report, Borrowed self, Figures figures, const Name& which)
{
    for (const Figure& figure : figures)
        set_item(report, figure.name, leaf(which, [&] { return getattr(self, figure.name); }));
}

Ref listed_if_text(Borrowed value)
{
    if (truthy(value) && isinstance_by(value, is_str_type))
        return list({value});
    return value.ref();
}

void collect_stat_names(Borrowed self)
{
    Ref names = list();
    setattr(self, n_statNames, names);
    // Methods, flags and plain numbers drop out: a figure is a dict or a Stat.
    Ref stat_class = g_Stat.get();
    for_each(Ref::steal(PyObject_Dir(self)), [&](PyObject* name) {
        if (check(PyUnicode_Tailmatch(name, n_underscore, 0, PY_SSIZE_T_MAX, -1)))
            return;
        Ref value = getattr(self, name);
        if (isinstance_by(value, is_dict_type) || is_instance(value, stat_class))
            check(PyList_Append(names, name));
    });
}

Ref plain_repr(const Args& args) { return json_text(call_method(args[0], n_getStat)); }

Ref cached_view(Borrowed cache, Borrowed selector)
{
    Ref view = mapping_get(cache, selector);
    return truthy(view) ? view : Ref();
}

Ref address_ports(Borrowed self, Borrowed address)
{
    Ref addr_ports = getattr(self, n_addrPorts);
    if (!contains(addr_ports, address))
        set_item(addr_ports, address, list());
    return item(addr_ports, address);
}

}  // namespace stats

namespace {
using namespace stats;

Name n_active("active"), n_driverStats("_driverStats"), n_driverNames("_driverNames"), n_driverName("driverName"),
    n_masters("masters"), n_sim("sim"), n_Sim("Sim"), n_baseDrv("baseDrv"), n_master("master");
Global g_StatMerge("StatMerge");

// The top level of the overall report: every figure merged over everything.
const Figure overall_report[] = {
    {n_discoveryAllDuration, g_StatMs}, {n_discoveryAddrDuration, g_StatMs}, {n_discoveryAllRepeats, g_Stat},
    {n_discoveryAddrRepeats, g_Stat},   {n_masterConnectDuration, g_StatSec}, {n_drvConnectDuration, g_StatSec},
    {n_devConnectDuration, g_StatSec},  {n_receiveRepeats, g_Stat},           {n_sendRepeats, g_Stat},
    {n_receiveDuration, g_StatMs},      {n_sendReceiveDuration, g_StatMs},
};

Ref base_init(const Args& args)
{
    collect_stat_names(args[0]);
    return none();
}

// KeyError(format % name), the name formatted as the caller gave it.
[[noreturn]] void raise_not_found(const char* format, Borrowed name)
{
    raise_object(call(PyExc_KeyError, {percent(text(format), name)}));
}

Ref get_statistic(const Args& args)
{
    Ref value = getattr_optional(args[0], args[1]);
    if (!value)
        raise_not_found("Statistic not found: %s", args[1]);
    return value;
}

Ref init(const Args& args)
{
    PyObject* self = args[0];
    setattr(self, n_active, Py_True);
    for (const Figure& figure : master_figures)
        setattr(self, figure.name, dict());
    for (const Figure& figure : port_figures)
        setattr(self, figure.name, dict());
    setattr(self, n_devConnectDuration, dict());
    setattr(self, n_cache, dict());
    Ref addr_ports = dict();
    set_item(addr_ports, n_sim, list());
    setattr(self, n_addrPorts, addr_ports);
    Ref driver_stats = list();
    append_attributes(driver_stats, self, master_figures);
    append_attributes(driver_stats, self, port_report);
    setattr(self, n_driverStats, driver_stats);
    setattr(self, n_addrStats, list({getattr(self, n_devConnectDuration)}));
    Ref driver_names = list();
    for_each(args[1], [&](PyObject* driver) { check(PyList_Append(driver_names, call_method(driver, n_driverName))); });
    setattr(self, n_driverNames, driver_names);
    collect_stat_names(self);
    return none();
}

Ref check_master(const Args& args)
{
    PyObject* self = args[0];
    PyObject* sel = args[1];
    if (!contains(getattr(self, n_discoveryAllDuration), sel))
        for (const Figure& figure : master_figures)
            set_item(getattr(self, figure.name), sel, call(figure.kind.get()));
    if (!contains(getattr(self, n_receiveRepeats), sel))
        for (const Figure& figure : port_figures)
            set_item(getattr(self, figure.name), sel, dict());
    return none();
}

Ref check_dev(const Args& args)
{
    PyObject* self = args[0];
    PyObject* port = args[3];
    Ref sel = tuple({args[1], args[2]});
    Ref selcom = tuple({args[2], port});
    call_method(self, n_checkMaster, {sel});
    if (!contains(item(getattr(self, n_receiveRepeats), sel), port))
        for (const Figure& figure : port_figures)
            set_item(item(getattr(self, figure.name), sel), port, call(figure.kind.get()));
    Ref connections = getattr(self, n_devConnectDuration);
    if (!contains(connections, selcom))
        set_item(connections, selcom, call(g_StatSec.get()));
    return none();
}

// Every name of `names` must be in `known`, before anything is cleared.
void require_known(Borrowed names, Borrowed known, const char* message)
{
    for_each(names, [&](PyObject* name) {
        if (!contains(known, name))
            raise_not_found(message, name);
    });
}

Ref clear(const Args& args)
{
    PyObject* self = args[0];
    Ref addr = listed_if_text(args[1]);
    Ref driver = listed_if_text(args[3]);
    const bool by_driver = truthy(driver);
    const bool by_addr = truthy(addr);
    if (by_driver)
        require_known(driver, getattr(self, n_driverNames), "Driver not found: %s");
    if (by_addr)
        require_known(addr, getattr(self, n_addrPorts), "Address not found: %s");
    for_each_named_figure(self, args[2], [&](Ref figure) {
        // devConnectDuration has no driver in its keys, so filters leave it
        // whole and it is emptied in full.
        if ((!by_addr && !by_driver) || !contains(getattr(self, n_driverStats), figure)) {
            call(statistics_member(n_clearStat), {figure});
            return;
        }
        Ref drivers = driver;
        if (!by_driver) {
            drivers = list();
            for_each(figure, [&](PyObject* key) { check(PyList_Append(drivers, item_at(key, 0))); });
        }
        for_each(call_method(figure, n_items), [&](PyObject* entry) {
            std::array<Ref, 2> key_and_stat = unpack<2>(entry);
            std::array<Ref, 2> driver_and_addr = unpack<2>(key_and_stat[0]);
            for_each(drivers, [&](PyObject* wanted) {
                if (equal(wanted, driver_and_addr[0]) && (!by_addr || contains(addr, driver_and_addr[1])))
                    call(statistics_member(n_clearStat), {key_and_stat[1]});
            });
        });
    });
    return none();
}

// Walks dictionaries to any depth; a dict that holds itself ends in
// RecursionError rather than in a crash.
void clear_figure(PyObject* figure)
{
    if (!isinstance_by(figure, is_dict_type)) {
        call_method(figure, n_clear);
        return;
    }
    RecursionGuard depth;
    for_each(call_method(figure, n_values), clear_figure);
}

Ref clear_stat(const Args& args)
{
    clear_figure(args[0]);
    return none();
}

Ref get_stat(const Args& args)
{
    PyObject* self = args[0];
    Ref report = dict();
    put_leaves(report, self, overall_report, n_mergestat);
    Ref masters = dict();
    set_item(report, n_masters, masters);
    Ref receive = getattr(self, n_receiveRepeats);
    for_each(receive, [&](PyObject* sel) {
        Ref master_read = mapping_get(receive, sel);
        Ref entry = dict();
        set_item(entry, n_driver, item_at(sel, 0));
        for (const Figure& figure : master_figures)
            set_item(entry, figure.name, leaf(n_stat, [&] { return mapping_get(getattr(self, figure.name), sel); }));
        for (const Figure& figure : port_report)
            set_item(entry, figure.name,
                     leaf(n_mergestat, [&] { return mapping_get(getattr(self, figure.name), sel); }));
        if (truthy(args[1]) && truthy(master_read)) {
            Ref ports = dict();
            for_each(master_read, [&](PyObject* port) {
                set_item(ports, port,
                         port_leaves(port, [&](const Name& name) { return item(getattr(self, name), sel); }));
            });
            set_item(entry, n_ports, ports);
        }
        set_item(masters, item_at(sel, 1), entry);
    });
    return report;
}

Ref get_master_sel(const Args& args)
{
    PyObject* drv = args[0];
    Ref name = call_method(drv, n_driverName);
    // The simulator has one master, whatever address it is asked for.
    if (equal(name, n_Sim))
        return tuple({name, n_sim});
    if (truthy(args[1]))
        return tuple({name, args[1]});
    return tuple({call_method(getattr(drv, n_baseDrv), n_driverName), getattr(drv, n_address)});
}

// Unlike getMasterSel, port and address count as missing only when None.
Ref get_device_sel(const Args& args)
{
    PyObject* drv = args[0];
    PyObject* port = args[1];
    PyObject* address = args[2];
    Ref name = call_method(drv, n_driverName);
    if (equal(name, n_Sim))
        return tuple({name, n_sim, integer(0)});
    if (port == Py_None && hasattr(drv, n_master)) {
        Ref base_name = call_method(getattr(drv, n_baseDrv), n_driverName);
        return tuple({base_name, getattr(getattr(drv, n_master), n_address), getattr(drv, n_port)});
    }
    if (address == Py_None)
        return tuple({call_method(getattr(drv, n_baseDrv), n_driverName), getattr(drv, n_address), port});
    return tuple({name, address, port});
}

Ref stat_call(const Args& args) { return truthy(args[0]) ? call_method(args[0], n_getStat) : none(); }

// Merged anew for each report: no total is kept anywhere.
Ref merged_call(const Args& args)
{
    if (!truthy(args[0]))
        return none();
    Ref figures = Ref::steal(PySequence_List(call_method(args[0], n_values)));
    return call_method(call(g_StatMerge.get(), {figures}), n_getStat);
}

const FunctionDef base_init_def{.name = "__init__", .params = {{"self"}}, .implementation = base_init};
const FunctionDef get_statistic_def{
    .name = "getStatistic",
    .params = {{"self"}, {"name"}},
    .implementation = get_statistic,
    .doc = "Get statistic by name",
};
const FunctionDef init_def{.name = "__init__", .params = {{"self"}, {"drivers"}}, .implementation = init};
const FunctionDef check_master_def{
    .name = "checkMaster",
    .params = {{"self"}, {"sel"}},
    .implementation = check_master,
    .doc = "Check master stat and add missing",
};
const FunctionDef check_dev_def{
    .name = "checkDev",
    .params = {{"self"}, {"drvName"}, {"addr"}, {"port"}},
    .implementation = check_dev,
    .doc = "Check device stat and add missing",
};
const FunctionDef clear_def{
    .name = "clear",
    .params = {{"self"}, {"addr", kNone}, {"values", kNone}, {"driver", kNone}},
    .implementation = clear,
    .doc = "Clear all statistics",
};
const FunctionDef clear_stat_def{.name = "_clearStat", .params = {{"astat"}}, .implementation = clear_stat};
const FunctionDef get_stat_def{
    .name = "getStat",
    .params = {{"self"}, {"getPorts", false}},
    .implementation = get_stat,
    .doc = "Get overall statistics (dict)",
};
const FunctionDef get_master_sel_def{
    .name = "getMasterSel",
    .params = {{"drv"}, {"addr", kNone}},
    .implementation = get_master_sel,
    .doc = "Get master selector",
};
const FunctionDef get_device_sel_def{
    .name = "getDeviceSel",
    .params = {{"drv"}, {"port", kNone}, {"address", kNone}},
    .implementation = get_device_sel,
    .doc = "Get device selector",
};
const FunctionDef stat_def{.name = "stat", .params = {{"stat"}}, .implementation = stat_call, .doc = "Get statistics"};
const FunctionDef mergestat_def{
    .name = "mergestat", .params = {{"stats"}}, .implementation = merged_call, .doc = "Get collected statistics"};
const FunctionDef get_master_statistics_def{
    .name = "getMasterStatistics",
    .params = {{"self"}, {"drv"}, {"addr", kNone}},
    .implementation = get_master_statistics,
    .doc = "Get cached master stat.",
};
const FunctionDef get_dev_statistics_def{
    .name = "getDevStatistics",
    .params = {{"self"}, {"drv"}, {"port", kNone}, {"address", kNone}},
    .implementation = get_dev_statistics,
    .doc = "Get cached dev stat.",
};

const FunctionDef statistics_repr_def = repr_def(keyed_repr<n_GlobalStatistics>);

}  // namespace

void define_statistics()
{
    ClassBuilder("BaseStatistics", {b_object}, "Base Statistics").method(base_init_def).method(get_statistic_def).build();
    ClassBuilder("Statistics", {g_BaseStatistics.get()}, "Statisticts")
        .method(init_def)
        .method(check_master_def)
        .method(check_dev_def)
        .method(clear_def)
        .static_method(clear_stat_def)
        .method(get_stat_def)
        .method(statistics_repr_def)
        .static_method(get_master_sel_def)
        .static_method(get_device_sel_def)
        .static_method(stat_def)
        .static_method(mergestat_def)
        .method(get_master_statistics_def)
        .method(get_dev_statistics_def)
        .build();
}

}  // namespace tess::body
