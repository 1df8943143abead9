#pragma once
// A string of 8-bit units that claims no encoding. Its strep is quoted, with escapes (strep.h).

#include <string>

namespace Mav {

using String8 = std::string;

}  // namespace Mav
