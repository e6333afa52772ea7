#include "records.hpp"

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

Ref fields_equal(Borrowed self, Borrowed other, Names names)
{
    Ref result;
    for (const Name& name : names) {
        Ref mine = getattr(self, name);
        Ref theirs = getattr(other, name);
        result = equality(mine, theirs);
        if (!truthy(result))
            break;
    }
    return result;
}

}  // namespace tess::body
