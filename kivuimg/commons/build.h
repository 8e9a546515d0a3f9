// Build identification of the library.
#pragma once

namespace kivu {

inline constexpr const char* KIVU_BUILD = "10208";
inline constexpr const char* KIVU_BUILD_DATE = "2026-09-08";
inline constexpr const char* KIVU_BUILD_TIME = "17:26";

}  // namespace kivu
