#include "../Tessarine.hpp"

namespace tess::body {

void define_repeat_timer() {}

}  // namespace tess::body
