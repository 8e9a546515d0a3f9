// Enumerations shared by the engine and the library, with their spellings.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kivu {

enum ColorSpace : int32_t { csAuto = 0, csRGB = 1, csCMYK = 2, csGray = 3, csSpot = 4, csNone = 5 };

enum ConvertImages : int32_t { ciNo = 0, ciTransform = 1, ciByProfile = 2 };

}  // namespace kivu
