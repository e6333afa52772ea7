#include "records.hpp"

namespace tess::body {
namespace {

Name n_dumps("dumps"), n_indent("indent"), n_ensure_ascii("ensure_ascii");
Global g_json("json");

}  // namespace

Ref json_report(Borrowed key, Borrowed report)
{
    Ref wrapped = dict();
    set_item(wrapped, key, report);
    return call(getattr(g_json.get(), n_dumps), {wrapped}, {{n_indent, integer(4)}, {n_ensure_ascii, Py_False}});
}

void report_attributes(Borrowed report, Borrowed self, std::initializer_list<Borrowed> names)
{
    for (Borrowed name : names)
        set_item(report, name, getattr(self, name));
}

Ref fields_equal(Borrowed self, Borrowed other, std::initializer_list<Borrowed> names)
{
    Ref result;
    for (Borrowed name : names) {
        Ref mine = getattr(self, name);
        Ref theirs = getattr(other, name);
        result = Ref::steal(PyObject_RichCompare(mine, theirs, Py_EQ));
        if (!truthy(result))
            break;
    }
    return result;
}

}  // namespace tess::body
