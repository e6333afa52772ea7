#include "../Tessarine.hpp"

namespace tess::body {

void define_file_helpers() {}

}  // namespace tess::body
