#include "../Tessarine.hpp"

namespace tess::body {

void define_driver_manager() {}

}  // namespace tess::body
