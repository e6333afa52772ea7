#include "../Tessarine.hpp"

namespace tess::body {

void define_statistics() {}

}  // namespace tess::body
