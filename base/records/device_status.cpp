#include "../Tessarine.hpp"

namespace tess::body {

void define_device_status() {}

}  // namespace tess::body
