// What the records of a device share: the JSON text of `repr`, reports read
// through the public attributes, and comparison field by field.
#pragma once

#include "../Tessarine.hpp"

namespace tess::body {

// json.dumps({key: report}, indent=4, ensure_ascii=False)
Ref json_report(Borrowed key, Borrowed report);

// report[name] = self.<name> for each name, read in the order given, so a
// record's report shows exactly what its attributes answer.
void report_attributes(Borrowed report, Borrowed self, Names names);

// self.<field> == other.<field> for each field in turn, as a chain of `and`:
// it stops at the first comparison that does not hold, and the answer is the
// result of the last comparison made, whatever its type.
Ref fields_equal(Borrowed self, Borrowed other, Names names);

}  // namespace tess::body
