#include "../Tessarine.hpp"

namespace tess::body {

void define_stream_table() {}

}  // namespace tess::body
