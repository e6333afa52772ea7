#include "../Tessarine.hpp"

namespace tess::body {

void define_url_functions() {}

}  // namespace tess::body
