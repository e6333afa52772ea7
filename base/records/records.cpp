#include "records.hpp"

#include "../numbers.hpp"

namespace tess::body {

Ref json_report(Borrowed key, Borrowed report)
{
    Ref wrapped = dict();
    set_item(wrapped, key, report);
    return json_text(wrapped);
}

void report_attributes(Borrowed report, Borrowed self, Names names)
{
    for (const Name& name : names)
        set_item(report, name, getattr(self, name));
}

Ref equality(Borrowed a, Borrowed b)
{
    // Two exact str, or two small exact ints, run no code of their own.
    if (PyUnicode_CheckExact(a.get()) && PyUnicode_CheckExact(b.get()))
        return boolean(equal(a, b));
    long long x, y;
    if (small_int(a, x) && small_int(b, y))
        return boolean(x == y);
    return Ref::steal(PyObject_RichCompare(a, b, Py_EQ));
}

Ref fields_equal(Borrowed self, Borrowed other, Names names)
{
    return fields_equal(self, other, names, [](Borrowed object, const Name& name) { return getattr(object, name); });
}

}  // namespace tess::body
