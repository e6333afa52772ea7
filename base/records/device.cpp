// IoddDev: the record of one device seen on one master port.  Everything it
// shows is a constructor argument, a field of the decoded direct parameter
// page 1, or one question to its master.
#include "records.hpp"

namespace tess::body {
namespace {

Name n_recordFieldNaming("_recordFieldNaming"), n_master_attr("_master"), n_address_attr("_address"),
    n_port_attr("_port"), n_masterName_attr("_masterName"), n_masterProdCode("_masterProdCode"),
    n_devIdent("_devIdent"), n_page1_attr("_page1"), n_baseDrv("baseDrv"), n_portNumbering("portNumbering"),
    n_driverName("driverName"), n_portId("portId"), n_getPage("_getPage"), n_iodd("iodd"), n_logger("_logger"),
    n_deprecated("deprecated"), n_vendorId("vendorId"), n_deviceId("deviceId"), n_driver("driver"),
    n_master("master"), n_name("name"), n_productCode("productCode"), n_port("port"),
    n_deviceIdentifier("deviceIdentifier"), n_masterName("masterName"), n_masterProductCode("masterProductCode"),
    n_undefined("undefined"), n_IoddDevice("IoddDevice"), k_vendor_id("Vendor ID"), k_device_id("Device ID"),
    k_io_link_version_id("IO-Link Version ID"), k_frame_capability("Frame Capability"),
    k_isdu_support("IsduSupport"), m_name("name: use \"masterName\" instead."),
    m_productCode("productCode: use \"masterProductCode\" instead.");
Global g_IoddDev("IoddDev"), g_CommonDriverManager("CommonDriverManager"), g_isMatlabNaming("isMatlabNaming"),
    g_dictMatlabReplace("_dictMatlabReplace"), g_convertMatlabFieldName("_convertMatlabFieldName"),
    g_undefIfNone("undefIfNone");

Ref init(const Args& args)
{
    PyObject* self = args[0];
    Ref matlab = call(g_isMatlabNaming.get(), {args[8]});
    setattr(self, n_recordFieldNaming, matlab);
    Ref page1 = Ref::borrow(args[7]);
    if (truthy(page1) && truthy(matlab))
        page1 = call(g_dictMatlabReplace.get(), {page1});
    const Name* const kept[] = {&n_master_attr,     &n_address_attr, &n_port_attr, &n_masterName_attr,
                                &n_masterProdCode, &n_devIdent};
    for (std::size_t i = 0; i < std::size(kept); ++i)
        setattr(self, *kept[i], args[i + 1]);
    setattr(self, n_page1_attr, page1);
    return none();
}

// The name as given wins over its Matlab form, so a page stored in original
// naming still reads on a record in Matlab naming.
Ref page_entry(PyObject* self, PyObject* fld)
{
    Ref page = getattr(self, n_page1_attr);
    if (!truthy(page))
        return none();
    Ref field = Ref::borrow(fld);
    if (!contains(page, field) && truthy(getattr(self, n_recordFieldNaming)))
        field = call(g_convertMatlabFieldName.get(), {field});
    return item(page, field);
}

Ref get_page(const Args& args) { return page_entry(args[0], args[1]); }

// self._getPage(fld)
Ref page(PyObject* self, PyObject* fld) { return call_method(self, n_getPage, {fld}); }

Ref set_page1(const Args& args)
{
    setattr(args[0], n_page1_attr, args[1]);
    return none();
}

const FieldView f_address{n_address_attr}, f_page1{n_page1_attr};

template <const Name& Field>
Ref page_field(const Args& args)
{
    return page(args[0], Field);
}

template <const Name& Attribute>
Ref undefined_if_none(const Args& args)
{
    Ref function = g_undefIfNone.get();
    return call(function, {getattr(args[0], Attribute)});
}

// Old names log at every read, then answer as their successors do.
template <const Name& Message, const Name& Successor>
Ref deprecated_name(const Args& args)
{
    Ref owner = getattr(g_CommonDriverManager.get(), n_iodd);
    call_method(getattr(owner, n_logger), n_deprecated, {Message});
    return getattr(args[0], Successor);
}

Ref port_id(const Args& args)
{
    Ref port = getattr(args[0], n_port_attr);
    Ref master = getattr(args[0], n_master_attr);
    if (!truthy(master) || !truthy(getattr(getattr(master, n_baseDrv), n_portNumbering)))
        return port;
    return add(port, integer(1));
}

Ref port(const Args& args)
{
    PyObject* self = args[0];
    Ref address = getattr(self, n_address_attr);
    return tuple({address, getattr(self, n_portId)});
}

Ref driver(const Args& args)
{
    Ref master = getattr(args[0], n_master_attr);
    return truthy(master) ? call_method(master, n_driverName) : Ref::borrow(n_undefined);
}

Ref isdu_supported(const Args& args)
{
    Ref capability = page(args[0], k_frame_capability);
    return truthy(capability) ? item(capability, k_isdu_support) : none();
}

Ref device_identifier(const Args& args)
{
    Ref identifiers = getattr(args[0], n_devIdent);
    return truthy(identifiers) ? identifiers : none();
}

Ref get_type(const Args&) { return g_IoddDev.get(); }

Ref equal(const Args& args) { return fields_equal(args[0], args[1], {n_vendorId, n_deviceId, n_port}); }

Ref representation(const Args& args)
{
    PyObject* self = args[0];
    Ref report = dict();
    report_attributes(report, self, {n_vendorId, n_deviceId, n_driver});
    Ref master = dict();
    set_item(master, n_name, getattr(self, n_masterName));
    set_item(master, n_productCode, getattr(self, n_masterProductCode));
    set_item(report, n_master, master);
    report_attributes(report, self, {n_port, n_deviceIdentifier});
    return json_report(n_IoddDevice, report);
}

const FunctionDef init_def{
    .name = "__init__",
    .params = {{"self"}, {"master"}, {"address"}, {"port"}, {"masterName"}, {"masterProdCode"},
               {"devIdent", kNone}, {"page1", kNone}, {"recordFieldNaming", "original"}},
    .implementation = init,
};
const FunctionDef properties[] = {
    field<f_address>("address", "Master address."),
    {.name = "portId", .params = {{"self"}}, .implementation = port_id, .doc = "Port ID."},
    {.name = "port", .params = {{"self"}}, .implementation = port, .doc = "Port (tuple of address and port ID)."},
    {.name = "driver", .params = {{"self"}}, .implementation = driver, .doc = "Driver name"},
    {.name = "name", .params = {{"self"}}, .implementation = deprecated_name<m_name, n_masterName>},
    {.name = "masterName",
     .params = {{"self"}},
     .implementation = undefined_if_none<n_masterName_attr>,
     .doc = "Master name"},
    {.name = "vendorId", .params = {{"self"}}, .implementation = page_field<k_vendor_id>, .doc = "Vendor ID"},
    {.name = "deviceId", .params = {{"self"}}, .implementation = page_field<k_device_id>, .doc = "Device ID"},
    {.name = "ioLinkRevision",
     .params = {{"self"}},
     .implementation = page_field<k_io_link_version_id>,
     .doc = "IO-Link revision"},
    {.name = "isduSupported", .params = {{"self"}}, .implementation = isdu_supported, .doc = "ISDU support?"},
    field<f_page1>("page1", "Page 1 (direct parameter page 0)"),
    {.name = "productCode",
     .params = {{"self"}},
     .implementation = deprecated_name<m_productCode, n_masterProductCode>},
    {.name = "masterProductCode",
     .params = {{"self"}},
     .implementation = undefined_if_none<n_masterProdCode>,
     .doc = "Master product code."},
    {.name = "deviceIdentifier",
     .params = {{"self"}},
     .implementation = device_identifier,
     .doc = "Device identifiers (dict)."},
};
const FunctionDef methods[] = {
    {.name = "_getPage", .params = {{"self"}, {"fld"}}, .implementation = get_page},
    {.name = "_setPage1", .params = {{"self"}, {"page1"}}, .implementation = set_page1},
    {.name = "__eq__", .params = {{"self"}, {"obj"}}, .implementation = equal},
    {.name = "__repr__", .params = {{"self"}}, .implementation = representation,
     .doc = "Returns the object data in JSON-format."},
};
const FunctionDef get_type_def{.name = "_getType", .params = {}, .implementation = get_type};

}  // namespace

void define_device_record()
{
    ClassBuilder device("IoddDev", {b_object},
                        "IODD device returned by Orvane.getDevices, Orvane.getConnectedDevice and "
                        "IoddMaster.getDevices.\n\nOrvane.connect connects to that device.");
    device.method(init_def);
    device.properties(properties);
    device.methods(methods);
    device.static_method(get_type_def).build();
}

}  // namespace tess::body
