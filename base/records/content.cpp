#include "../Tessarine.hpp"

namespace tess::body {

void define_device_content() {}

}  // namespace tess::body
