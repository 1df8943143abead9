#pragma once
#include "kelbase/model/links.h"

namespace Kelbase {
using LinkNames = Links;
}
