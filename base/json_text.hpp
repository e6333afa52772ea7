// The JSON texts of the module's reports.
#pragma once

#include "reference.hpp"

namespace tess {

// json.dumps(report, indent=4, ensure_ascii=False), `json` looked up in the
// module.  While json and what its dumps relies on are still what the module
// body found, a report of plain values is written here, character for
// character as the host would; anything else goes to the host's dumps.
Ref json_text(Borrowed report);

// Notes the json module that the module body imported and what its dumps
// reads on each call, for json_text to recognise later.  A json module that
// is not the standard library's as it ships leaves every text to the host.
void keep_host_encoder();

}  // namespace tess
