#include "../Tessarine.hpp"

namespace tess::body {

void define_value_helpers() {}
void define_list_tests() {}

}  // namespace tess::body
