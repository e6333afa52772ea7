// DeviceStatus: the connection status of one device, asked afresh of its
// communication object at every read.
#include "records.hpp"

namespace tess::body {
namespace {

Name n_iodd("_iodd"), n_connected("connected"), n_notConnText("_notConnText"), n_checkLostDev("_checkLostDev"),
    n_hasConnectionError("_hasConnectionError"), n_checkInspectionLevelWrongDev("_checkInspectionLevelWrongDev"),
    n_hasIolink("_hasIolink"), n_diag("diag"), n_master("_master"), n_isWrongDevice("isWrongDevice"), n_dev("_dev"),
    n_getStatusPdInvalid("getStatusPdInvalid"), n_lost("lost"), n_preoperate("preoperate"),
    n_wrongDevice("wrongDevice"), n_pdValid("pdValid"), n_connectionError("connectionError"),
    n_DeviceStatus("DeviceStatus");
Global g_DeviceStatus("DeviceStatus"), g_NotSupportedError("NotSupportedError");

constexpr long kPreoperate = 1;

Ref init(const Args& args)
{
    setattr(args[0], n_iodd, args[1]);
    return none();
}

Ref connected(const Args& args) { return getattr(getattr(args[0], n_iodd), n_connected); }

// A device that is not connected answers with the text, and its communication
// object is asked nothing further.
template <Ref (*Answer)(PyObject* iodd)>
Ref when_connected(const Args& args)
{
    PyObject* self = args[0];
    if (!truthy(getattr(self, n_connected)))
        return getattr(g_DeviceStatus.get(), n_notConnText);
    return Answer(getattr(self, n_iodd));
}

// The three checks chained as `or`: the first true answer, or the last one.
Ref lost(PyObject* iodd)
{
    Ref answer;
    for (const Name* question : {&n_checkLostDev, &n_hasConnectionError, &n_checkInspectionLevelWrongDev}) {
        answer = call_method(iodd, *question);
        if (truthy(answer))
            break;
    }
    return answer;
}

Ref preoperate(PyObject* iodd)
{
    Ref level = call(getattr(iodd, n_hasIolink), {}, {{n_diag, Py_True}});
    return Ref::steal(PyObject_RichCompare(level, integer(kPreoperate), Py_EQ));
}

Ref wrong_device(PyObject* iodd) { return call_method(getattr(iodd, n_master), n_isWrongDevice, {iodd}); }

Ref pd_valid(PyObject* iodd) { return boolean(!truthy(call_method(getattr(iodd, n_dev), n_getStatusPdInvalid))); }

Ref connection_error(PyObject* iodd) { return call_method(iodd, n_hasConnectionError); }

// self.<name>, or the text of a NotSupportedError where the device or master
// cannot tell, so that printing the status never fails for that reason.
Ref read_or_unsupported(PyObject* self, Borrowed name)
{
    Ref value;
    try_except(
        g_NotSupportedError.get(), [&] { value = getattr(self, name); },
        [&](PyObject* error) { value = str(error); });
    return value;
}

Ref representation(const Args& args)
{
    PyObject* self = args[0];
    Ref pd_valid_value = read_or_unsupported(self, n_pdValid);
    Ref wrong_device_value = read_or_unsupported(self, n_wrongDevice);
    Ref report = dict();
    report_attributes(report, self, {n_connected, n_lost, n_preoperate});
    set_item(report, n_wrongDevice, wrong_device_value);
    set_item(report, n_pdValid, pd_valid_value);
    report_attributes(report, self, {n_connectionError});
    return json_report(n_DeviceStatus, report);
}

const FunctionDef init_def{
    .name = "__init__",
    .params = {{"self"}, {"iodd"}},
    .implementation = init,
};
const FunctionDef properties[] = {
    {.name = "connected", .params = {{"self"}}, .implementation = connected, .doc = "Device connected?"},
    {.name = "lost",
     .params = {{"self"}},
     .implementation = when_connected<lost>,
     .doc = "Device or master connection lost, wrong device or wrong data storage?"},
    {.name = "preoperate",
     .params = {{"self"}},
     .implementation = when_connected<preoperate>,
     .doc = "Device is in preoperate mode?"},
    {.name = "wrongDevice",
     .params = {{"self"}},
     .implementation = when_connected<wrong_device>,
     .doc = "Wrong device?"},
    {.name = "pdValid",
     .params = {{"self"}},
     .implementation = when_connected<pd_valid>,
     .doc = "Process data in valid?"},
    {.name = "connectionError",
     .params = {{"self"}},
     .implementation = when_connected<connection_error>,
     .doc = "Connection error to master?"},
};
const FunctionDef repr_def{
    .name = "__repr__", .params = {{"self"}}, .implementation = representation,
    .doc = "Returns the object data in JSON-format."};

}  // namespace

void define_device_status()
{
    ClassBuilder status("DeviceStatus", {b_object}, "Device connection status returned by Orvane.status.");
    status.attribute("_notConnText", text("not connected")).method(init_def);
    status.properties(properties);
    status.method(repr_def).build();
}

}  // namespace tess::body
