#include "../Tessarine.hpp"

namespace tess::body {

void define_driver_options() {}

}  // namespace tess::body
