#include "../Tessarine.hpp"

namespace tess::body {

void define_device_record() {}

}  // namespace tess::body
