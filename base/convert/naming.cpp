#include "../Tessarine.hpp"

namespace tess::body {

void define_matlab_naming() {}
void define_dict_renaming() {}
void define_field_name_helpers() {}

}  // namespace tess::body
