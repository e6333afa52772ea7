#include "../Tessarine.hpp"

namespace tess::body {

void define_accessors() {}

}  // namespace tess::body
