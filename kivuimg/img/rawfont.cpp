#include "kivuimg/img/rawfont.h"

namespace kivu {

size_t SRawFont::hash() const {
    size_t h = 0;
    auto mix = [&h](size_t v) { h ^= v + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2); };
    mix(std::hash<std::string>{}(family));
    mix(std::hash<std::string>{}(weight));
    mix(std::hash<std::string>{}(style));
    mix(std::hash<std::string>{}(text));
    mix(std::hash<int32_t>{}(fontId));
    mix(std::hash<uint8_t>{}(encoding));
    return h;
}

}  // namespace kivu
