// The module body: what `import vantrel.base.Tessarine` runs, once.
#include "module_body.hpp"

#include "Tessarine.hpp"

namespace tess {
namespace {

// `import dotted.name`: binds the top-level package under its own name.
void import_module(const char* dotted, const char* bound_as)
{
    Ref name = text(dotted);
    Ref top = Ref::steal(PyImport_ImportModuleLevelObject(name, module_dict(), nullptr, nullptr, 0));
    define_value(bound_as, top);
}

void import_standard_library()
{
    Ref collections = Ref::steal(PyImport_ImportModule("collections"));
    define_value("deque", getattr(collections, text("deque")));
    for (const char* name : {"time", "datetime", "re", "hashlib", "threading", "array", "traceback", "sys", "json",
                             "types", "os", "copy", "warnings"})
        import_module(name, name);
    import_module("importlib.metadata", "importlib");
}

// numpy is optional: without it, `np` is None.
void import_numpy()
{
    PyObject* numpy = PyImport_ImportModule("numpy");
    if (!numpy) {
        if (!PyErr_ExceptionMatches(PyExc_ImportError))
            throw_python_error();
        PyErr_Clear();
    }
    define_value("np", numpy ? numpy : Py_None);
    Py_XDECREF(numpy);
}

Global g_urllib3("urllib3");
Name n_util("util"), n_Retry("Retry"), n_PoolManager("PoolManager"), n_connect("connect"), n_read("read"),
    n_status("status"), n_redirect("redirect"), n_timeout("timeout"), n_retries("retries");

// The one HTTP pool of the process: 10 s time-out, no retries, three redirects.
void make_http_pool()
{
    Ref urllib3 = g_urllib3.get();
    Ref zero = integer(0);
    Ref retry = call(getattr(getattr(urllib3, n_util), n_Retry), {},
                     {{n_connect, zero}, {n_read, zero}, {n_status, zero}, {n_redirect, integer(3)}});
    define_value("_http", call(getattr(urllib3, n_PoolManager), {}, {{n_timeout, floating(10.0)}, {n_retries, retry}}));
}

}  // namespace

void run_module_body()
{
    import_standard_library();
    import_numpy();
    import_module("prettytable", "prettytable");
    import_module("urllib3.util", "urllib3");
    make_http_pool();

    body::define_value_helpers();
    body::define_url_functions();
    body::define_list_tests();
    body::define_matlab_naming();
    body::define_file_helpers();
    body::define_mseq_capability();
    body::define_dict_renaming();
    body::define_field_name_helpers();
    body::define_device_status();
    body::define_device_record();
    body::define_event_record();
    body::define_accessors();
    body::define_device_content();
    body::define_repeat_timer();
    body::define_stream_table();
    body::define_stat_values();
    body::define_statistics();
    body::define_master_statistics();
    body::define_device_statistics();
    body::define_driver_options();
    body::define_driver_manager();
    body::define_logger();
    body::define_error_handler();
    body::define_exceptions();
}

}  // namespace tess
