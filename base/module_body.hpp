#pragma once

namespace tess {

// Imports, the HTTP pool, then every public name in its order.
void run_module_body();

}  // namespace tess
