#include "../Tessarine.hpp"

namespace tess::body {

void define_master_statistics() {}

}  // namespace tess::body
