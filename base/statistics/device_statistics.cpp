// DevStatistics, the view of one port of one master on the statistics tree,
// and ConnStatistics, a self-contained record of one connection.
#include "statistics.hpp"

namespace tess::body {

namespace stats {

Global g_DevStatistics("DevStatistics");

Ref get_dev_statistics(const Args& args)
{
    PyObject* self = args[0];
    Ref sel = call(statistics_member(n_getDeviceSel), {args[1], args[2], args[3]});
    Ref cache = getattr(self, n_cache);
    if (Ref view = cached_view(cache, sel))
        return view;
    Ref ports = address_ports(self, item_at(sel, 1));
    Ref port = item_at(sel, 2);
    if (!contains(ports, port))
        call_method(ports, n_append, {port});
    // The view resolves its selector again from the arguments as passed.
    Ref view = call(g_DevStatistics.get(), {self, args[1], args[2], args[3]});
    set_item(cache, sel, view);
    return view;
}

}  // namespace stats

namespace {
using namespace stats;

Name n_stats("_stats"), n_errors("errors"), n_DeviceStatistics("DeviceStatistics");

// Here sendRepeats comes before receiveRepeats.
const Figure device_report[] = {
    {n_drvConnectDuration, g_StatSec}, {n_devConnectDuration, g_StatSec}, {n_sendRepeats, g_Stat},
    {n_receiveRepeats, g_Stat},        {n_receiveDuration, g_StatMs},     {n_sendReceiveDuration, g_StatMs},
};
const Figure connection_figures[] = {{n_repeats, g_Stat}, {n_duration, g_StatSec}};
const Figure connection_report[] = {{n_duration, g_StatSec}, {n_repeats, g_Stat}};

Ref device_init(const Args& args)
{
    PyObject* self = args[0];
    PyObject* stat = args[1];
    auto [drv_name, addr, port] = unpack<3>(call(statistics_member(n_getDeviceSel), {args[2], args[3], args[4]}));
    call_method(stat, n_checkDev, {drv_name, addr, port});
    Ref sel = tuple({drv_name, addr});
    Ref selcom = tuple({addr, port});
    setattr(self, n_drvName, drv_name);
    setattr(self, n_addr, addr);
    setattr(self, n_port_attr, port);
    for (const Figure& figure : port_figures)
        setattr(self, figure.name, item(item(getattr(stat, figure.name), sel), port));
    // Kept per connection point: drivers reaching the same port share it.
    setattr(self, n_devConnectDuration, item(getattr(stat, n_devConnectDuration), selcom));
    Ref figures = list();
    append_attributes(figures, self, port_figures);
    check(PyList_Append(figures, getattr(self, n_devConnectDuration)));
    setattr(self, n_stats, figures);
    collect_stat_names(self);
    return none();
}

Ref device_clear(const Args& args)
{
    for_each_named_figure(args[0], args[1], [](Ref figure) { call_method(figure, n_clear); });
    return none();
}

Ref device_get_stat(const Args& args)
{
    PyObject* self = args[0];
    Ref report = dict();
    set_item(report, n_driver, getattr(self, n_drvName));
    set_item(report, n_address, getattr(self, n_addr));
    set_item(report, n_port, getattr(self, n_port_attr));
    put_leaves(report, self, device_report, n_stat);
    return report;
}

Ref connection_init(const Args& args)
{
    PyObject* self = args[0];
    setattr(self, n_repeats, call(g_Stat.get()));
    setattr(self, n_duration, call(g_StatSec.get(), {integer(0)}));
    setattr(self, n_errors, integer(0));
    Ref figures = list();
    append_attributes(figures, self, connection_figures);
    setattr(self, n_stats, figures);
    collect_stat_names(self);
    return none();
}

Ref connection_clear(const Args& args)
{
    PyObject* self = args[0];
    for (const Figure& figure : connection_figures)
        call_method(getattr(self, figure.name), n_clear);
    setattr(self, n_errors, integer(0));
    return none();
}

Ref connection_get_stat(const Args& args)
{
    PyObject* self = args[0];
    Ref report = dict();
    put_leaves(report, self, connection_report, n_stat);
    set_item(report, n_errors, getattr(self, n_errors));
    return report;
}

const FunctionDef device_init_def{
    .name = "__init__",
    .params = {{"self"}, {"stat"}, {"drv"}, {"port", kNone}, {"address", kNone}},
    .implementation = device_init,
};
const FunctionDef device_clear_def{
    .name = "clear",
    .params = {{"self"}, {"values", kNone}},
    .implementation = device_clear,
    .doc = "Clear some or all statistics.",
};
const FunctionDef device_get_stat_def{
    .name = "getStat", .params = {{"self"}}, .implementation = device_get_stat, .doc = "Get device statistics (dict)"};
const FunctionDef connection_init_def{.name = "__init__", .params = {{"self"}}, .implementation = connection_init};
const FunctionDef connection_clear_def{
    .name = "clear", .params = {{"self"}}, .implementation = connection_clear, .doc = "Clear statistics"};
const FunctionDef connection_get_stat_def{
    .name = "getStat",
    .params = {{"self"}},
    .implementation = connection_get_stat,
    .doc = "Get connection statistics (dict)",
};

const FunctionDef device_repr_def = repr_def(keyed_repr<n_DeviceStatistics>);
const FunctionDef connection_repr_def = repr_def(plain_repr);

}  // namespace

void define_device_statistics()
{
    Ref base = g_BaseStatistics.get();
    ClassBuilder("DevStatistics", {base}, "Device statistics")
        .method(device_init_def)
        .method(device_clear_def)
        .method(device_get_stat_def)
        .method(device_repr_def)
        .build();
    ClassBuilder("ConnStatistics", {base}, "Connection statistics")
        .method(connection_init_def)
        .method(connection_clear_def)
        .method(connection_get_stat_def)
        .method(connection_repr_def)
        .build();
}

}  // namespace tess::body
