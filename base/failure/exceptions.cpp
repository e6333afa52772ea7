#include "../Tessarine.hpp"

namespace tess::body {

void define_exceptions() {}

}  // namespace tess::body
