#include "../Tessarine.hpp"

namespace tess::body {

void define_event_record() {}

}  // namespace tess::body
