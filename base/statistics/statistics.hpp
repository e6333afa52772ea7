// What the statistics classes share: the names of the figures in the orders
// the tree, the views and the reports use, and the few steps all of them take.
#pragma once

#include "../Tessarine.hpp"

#include <source_location>
#include <span>

namespace tess::body::stats {

inline Name n_discoveryAllDuration("discoveryAllDuration"), n_discoveryAddrDuration("discoveryAddrDuration"),
    n_discoveryAllRepeats("discoveryAllRepeats"), n_discoveryAddrRepeats("discoveryAddrRepeats"),
    n_masterConnectDuration("masterConnectDuration"), n_receiveRepeats("receiveRepeats"),
    n_sendRepeats("sendRepeats"), n_receiveDuration("receiveDuration"), n_sendReceiveDuration("sendReceiveDuration"),
    n_drvConnectDuration("drvConnectDuration"), n_devConnectDuration("devConnectDuration"), n_repeats("repeats"),
    n_duration("duration");
inline Name n_statNames("_statNames"), n_cache("_cache"), n_addrPorts("_addrPorts"), n_drvName("_drvName"),
    n_addr("_addr"), n_port_attr("_port"), n_addrStats("_addrStats"), n_driver("driver"), n_address("address"),
    n_port("port"), n_ports("ports"), n_getStat("getStat"), n_getStatistic("getStatistic"), n_clear("clear"),
    n_stat("stat"), n_mergestat("mergestat"), n_clearStat("_clearStat"), n_getMasterSel("getMasterSel"),
    n_getDeviceSel("getDeviceSel"), n_checkMaster("checkMaster"), n_checkDev("checkDev"), n_append("append"), n_keys("keys"),
    n_values("values"), n_items("items"), n_ports_attr("_ports");
inline Global g_Stat("Stat"), g_StatMs("StatMs"), g_StatSec("StatSec"), g_BaseStatistics("BaseStatistics"),
    g_Statistics("Statistics");

// A figure by name, with the class of the Stat objects it holds.
struct Figure {
    const Name& name;
    const Global& kind;
};
using Figures = std::span<const Figure>;

// The figures that belong to a master as a whole, in the tree's order.
inline const Figure master_figures[] = {
    {n_discoveryAllDuration, g_StatMs}, {n_discoveryAddrDuration, g_StatMs}, {n_discoveryAllRepeats, g_Stat},
    {n_discoveryAddrRepeats, g_Stat},   {n_masterConnectDuration, g_StatSec},
};
// The figures kept per port, in the order the tree creates them.
inline const Figure port_figures[] = {
    {n_receiveRepeats, g_Stat},      {n_sendRepeats, g_Stat},           {n_receiveDuration, g_StatMs},
    {n_sendReceiveDuration, g_StatMs}, {n_drvConnectDuration, g_StatSec},
};
// The same figures in the order the reports show them.
inline const Figure port_report[] = {
    {n_drvConnectDuration, g_StatSec}, {n_receiveRepeats, g_Stat},        {n_sendRepeats, g_Stat},
    {n_receiveDuration, g_StatMs},     {n_sendReceiveDuration, g_StatMs},
};

// Statistics.<name>, looked up at each use like any module name.
inline Ref statistics_member(const Name& name) { return getattr(g_Statistics.get(), name); }

// for element in iterable: visit(element)
template <typename Visit>
void for_each(Borrowed iterable, Visit&& visit)
{
    Ref iterator = Ref::steal(PyObject_GetIter(iterable));
    while (Ref element = iterate_next(iterator))
        visit(element.get());
}

// [self.<name> for each figure], appended to `into`.
void append_attributes(Borrowed into, Borrowed self, Figures figures);

// Statistics.<which>(figure()): Statistics.stat or Statistics.mergestat,
// looked up at each use like any module name, before its argument.
template <typename Figure>
Ref leaf(const Name& which, Figure&& figure)
{
    Ref operation = statistics_member(which);
    return call(operation, {figure()});
}

// report[name] = Statistics.<which>(self.<name>) for each figure.
void put_leaves(Borrowed report, Borrowed self, Figures figures, const Name& which);

// The five leaves of one port: Statistics.stat(table_of(name).get(port)).
template <typename TableOf>
Ref port_leaves(Borrowed port, TableOf&& table_of)
{
    Ref report = dict();
    for (const Figure& figure : port_report)
        set_item(report, figure.name, leaf(n_stat, [&] { return mapping_get(table_of(figure.name), port); }));
    return report;
}

// `value` itself, or [value] when it is a non-empty str.
Ref listed_if_text(Borrowed value);

// For each figure named in `values` (one name, several, or all of
// self._statNames when none), visit(self.getStatistic(name)).
template <typename Visit>
void for_each_named_figure(Borrowed self, Borrowed values, Visit&& visit)
{
    Ref names = listed_if_text(values);
    if (!truthy(names))
        names = getattr(self, n_statNames);
    for_each(names, [&](PyObject* name) { visit(call_method(self, n_getStatistic, {name})); });
}

// The BaseStatistics constructor, which every statistics class runs last.
void collect_stat_names(Borrowed self);

// __repr__ that shows self.getStat() as JSON, bare or under one outer key.
Ref plain_repr(const Args& args);
template <const Name& Key>
Ref keyed_repr(const Args& args)
{
    Ref report = dict();
    set_item(report, Key, call_method(args[0], n_getStat));
    return json_text(report);
}
// The definition of such a __repr__; function objects keep a pointer to their
// definition, so the result must live at namespace scope.
inline FunctionDef repr_def(Implementation implementation,
                            std::source_location where = std::source_location::current())
{
    return {.name = "__repr__",
            .params = {{"self"}},
            .implementation = implementation,
            .doc = "Returns the object data in JSON format",
            .where = where};
}

// The cached views of Statistics, made by the classes they return.
Ref get_master_statistics(const Args& args);
Ref get_dev_statistics(const Args& args);
// The view filed under `selector` in `cache`, or an empty Ref.
Ref cached_view(Borrowed cache, Borrowed selector);
// The list of ports filed under `address`, made empty on first use.
Ref address_ports(Borrowed self, Borrowed address);

}  // namespace tess::body::stats
