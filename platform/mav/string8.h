#pragma once
// A string of 8-bit units without an encoding. Its strep is quoted, with escapes (strep.h).

#include <string>

namespace Mav {

using String8 = std::string;

}  // namespace Mav
