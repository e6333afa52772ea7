#include "../Tessarine.hpp"

namespace tess::body {

void define_mseq_capability() {}

}  // namespace tess::body
