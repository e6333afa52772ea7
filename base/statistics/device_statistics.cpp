#include "../Tessarine.hpp"

namespace tess::body {

void define_device_statistics() {}

}  // namespace tess::body
