// The JSON texts of the module's reports.
#pragma once

#include "reference.hpp"

namespace tess {

// json.dumps(report, indent=4, ensure_ascii=False), with `json` looked up in
// the module's namespace at each call.
Ref json_text(Borrowed report);

}  // namespace tess
