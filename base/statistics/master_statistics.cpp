// MasterStatistics: the view of one master on the statistics tree.  It holds
// the tree's own Stat objects and port dictionaries, so what is added through
// it shows in the tree at once, and ports filed later show up here too.
#include "statistics.hpp"

namespace tess::body {

namespace stats {

Global g_MasterStatistics("MasterStatistics");

Ref get_master_statistics(const Args& args)
{
    PyObject* self = args[0];
    PyObject* addr = args[2];
    Ref sel = call(statistics_member(n_getMasterSel), {args[1], addr});
    Ref cache = getattr(self, n_cache);
    if (Ref view = cached_view(cache, sel))
        return view;
    // Filed under the address as given, even where the selector differs.
    address_ports(self, addr);
    Ref view = call(g_MasterStatistics.get(), {self, args[1], addr});
    set_item(cache, sel, view);
    return view;
}

}  // namespace stats

namespace {
using namespace stats;

Name n_portStats("_portStats"), n_getPortStat("getPortStat"), n_MasterStatistics("MasterStatistics");

// Each discovery duration is followed by its repeats here.
const Figure master_report[] = {
    {n_discoveryAllDuration, g_StatMs}, {n_discoveryAllRepeats, g_Stat}, {n_discoveryAddrDuration, g_StatMs},
    {n_discoveryAddrRepeats, g_Stat},   {n_masterConnectDuration, g_StatSec},
};

Ref init(const Args& args)
{
    PyObject* self = args[0];
    PyObject* stat = args[1];
    Ref sel = call(statistics_member(n_getMasterSel), {args[2], args[3]});
    call_method(stat, n_checkMaster, {sel});
    setattr(self, n_drvName, item_at(sel, 0));
    setattr(self, n_addr, item_at(sel, 1));
    for (const Figure& figure : master_figures)
        setattr(self, figure.name, item(getattr(stat, figure.name), sel));
    for (const Figure& figure : port_report)
        setattr(self, figure.name, item(getattr(stat, figure.name), sel));
    setattr(self, n_ports_attr, item(getattr(stat, n_addrPorts), args[3]));
    Ref addr_stats = list();
    append_attributes(addr_stats, self, master_figures);
    setattr(self, n_addrStats, addr_stats);
    Ref port_stats = list();
    append_attributes(port_stats, self, port_report);
    setattr(self, n_portStats, port_stats);
    collect_stat_names(self);
    return none();
}

Ref clear(const Args& args)
{
    PyObject* self = args[0];
    // By type, not truth: port 0 is a real port.
    Ref ports = isinstance_by(args[1], is_int_type) ? list({args[1]}) : Ref::borrow(args[1]);
    for_each_named_figure(self, args[2], [&](Ref figure) {
        // A figure of the whole master has no ports to choose from.
        if (contains(getattr(self, n_addrStats), figure)) {
            call(statistics_member(n_clearStat), {figure});
            return;
        }
        Ref chosen = truthy(ports) ? ports : Ref::steal(PySequence_List(call_method(figure, n_keys)));
        for_each(chosen, [&](PyObject* port) {
            if (contains(figure, port))
                call_method(item(figure, port), n_clear);
        });
    });
    return none();
}

Ref get_port_stat(const Args& args)
{
    PyObject* self = args[0];
    return port_leaves(args[1], [self](const Name& name) { return getattr(self, name); });
}

Ref get_stat(const Args& args)
{
    PyObject* self = args[0];
    if (args[1] != Py_None)
        return call_method(self, n_getPortStat, {args[1]});
    Ref report = dict();
    set_item(report, n_driver, getattr(self, n_drvName));
    set_item(report, n_address, getattr(self, n_addr));
    put_leaves(report, self, master_report, n_stat);
    put_leaves(report, self, port_report, n_mergestat);
    Ref ports = dict();
    for_each(getattr(self, n_receiveRepeats),
             [&](PyObject* port) { set_item(ports, port, call_method(self, n_getPortStat, {port})); });
    set_item(report, n_ports, ports);
    return report;
}

const FunctionDef init_def{
    .name = "__init__", .params = {{"self"}, {"stat"}, {"drv"}, {"addr", kNone}}, .implementation = init};
const FunctionDef clear_def{
    .name = "clear",
    .params = {{"self"}, {"ports", kNone}, {"values", kNone}},
    .implementation = clear,
    .doc = "Clear some or all statistics.",
};
const FunctionDef get_port_stat_def{
    .name = "getPortStat",
    .params = {{"self"}, {"port"}},
    .implementation = get_port_stat,
    .doc = "Get master port statistics (dict or None)",
};
const FunctionDef get_stat_def{
    .name = "getStat",
    .params = {{"self"}, {"port", kNone}},
    .implementation = get_stat,
    .doc = "Get master statistics (dict)",
};

const FunctionDef master_repr_def = repr_def(keyed_repr<n_MasterStatistics>);

}  // namespace

void define_master_statistics()
{
    ClassBuilder("MasterStatistics", {g_BaseStatistics.get()}, "Master driver statisticts")
        .method(init_def)
        .method(clear_def)
        .method(get_port_stat_def)
        .method(get_stat_def)
        .method(master_repr_def)
        .build();
}

}  // namespace tess::body
