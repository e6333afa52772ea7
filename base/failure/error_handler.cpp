#include "../Tessarine.hpp"

namespace tess::body {

void define_error_handler() {}

}  // namespace tess::body
