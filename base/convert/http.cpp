// The one road to masters' and devices' web interfaces: every request goes
// through the shared pool `_http`, looked up at each call so that it can be
// replaced from outside.  Also the text of the exception being handled.
#include "../Tessarine.hpp"

namespace tess::body {
namespace {

Name n_request("request"), n_POST("POST"), n_status("status"), n_reason("reason"), n_blank(" "), n_empty(""),
    n_exc_info("exc_info"), n_format_stack("format_stack"), n_format_tb("format_tb"),
    n_format_exception_only("format_exception_only"), n_extend("extend"),
    n_traceback_head("Traceback (most recent call last):\n");
Global g_http("_http"), g_readUrl("readUrl"), g_readUrlNoException("readUrlNoException"),
    g_RequestException("RequestException"), g_sys("sys"), g_traceback("traceback");

// callable(first, second, **kwargs), the keywords passed on as they came.
Ref forward(Borrowed callable, Borrowed first, Borrowed second, const Args& args)
{
    return call_with(callable, tuple({first, second}), args.kwargs());
}

Ref read_url_no_exception(const Args& args)
{
    return forward(getattr(g_http.get(), n_request), args[1], args[0], args);
}

Ref post_url_no_exception(const Args& args) { return forward(g_readUrlNoException.get(), args[0], n_POST, args); }
Ref post_url(const Args& args) { return forward(g_readUrl.get(), args[0], n_POST, args); }

Ref read_url(const Args& args)
{
    Ref response = forward(g_readUrlNoException.get(), args[0], args[1], args);
    Ref status = getattr(response, n_status);
    if (compare(status, integer(200), Py_NE)) {
        Ref message = concat({str(status), n_blank, str(getattr(response, n_reason))});
        raise_object(call(g_RequestException.get(), {message, status}));
    }
    return response;
}

// The stack that led here, then where the handled exception was raised, then
// the exception itself: a complete traceback text without its last line end.
Ref format_exception(const Args&)
{
    Ref traceback = g_traceback.get();
    // This function has no frame of its own, so the stack ends at the caller,
    // whose line the handled exception's own entries already show.
    Ref entries = call_method(traceback, n_format_stack);
    Py_ssize_t shown = length(entries);
    entries = Ref::steal(PySequence_GetSlice(entries, 0, shown > 0 ? shown - 1 : 0));
    Ref info = call_method(g_sys.get(), n_exc_info);
    Ref type = item(info, integer(0)), value = item(info, integer(1)), where = item(info, integer(2));
    call_method(entries, n_extend, {call_method(traceback, n_format_tb, {where})});
    call_method(entries, n_extend, {call_method(traceback, n_format_exception_only, {type, value})});
    Ref whole = concat({n_traceback_head, Ref::steal(PyUnicode_Join(n_empty, entries))});
    return Ref::steal(PyUnicode_Substring(whole, 0, PyUnicode_GET_LENGTH(whole.get()) - 1));
}

const FunctionDef post_url_def{.name = "postUrl",
                               .params = {{"url"}},
                               .implementation = post_url,
                               .star = star_kwargs,
                               .doc = "Read URL with Post data\n\n"
                                      "Raises:\n    RequestException: if the response status is not 200"};
const FunctionDef read_url_def{.name = "readUrl",
                               .params = {{"url"}, {"method", "GET"}},
                               .implementation = read_url,
                               .star = star_kwargs,
                               .doc = "Read URL\n\n"
                                      "Raises:\n    RequestException: if the response status is not 200"};
const FunctionDef post_url_no_exception_def{.name = "postUrlNoException",
                                            .params = {{"url"}},
                                            .implementation = post_url_no_exception,
                                            .star = star_kwargs,
                                            .doc = "Read URL with Post data without exception"};
const FunctionDef read_url_no_exception_def{.name = "readUrlNoException",
                                            .params = {{"url"}, {"method", "GET"}},
                                            .implementation = read_url_no_exception,
                                            .star = star_kwargs,
                                            .doc = "Read URL without exception"};
const FunctionDef format_exception_def{.name = "format_exception", .params = {{"e"}}, .implementation = format_exception};

}  // namespace

void define_url_functions()
{
    for (const FunctionDef* def :
         {&post_url_def, &read_url_def, &post_url_no_exception_def, &read_url_no_exception_def, &format_exception_def})
        define_function(*def);
}

}  // namespace tess::body
