#include "../Tessarine.hpp"

namespace tess::body {

void define_stat_values() {}

}  // namespace tess::body
