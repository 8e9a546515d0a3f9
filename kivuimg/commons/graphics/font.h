// A font reference as the engine passes it: the font's key and a size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "kivuimg/commons/core/export.h"

namespace kivu {

class KIVU_API SFont {
public:
    SFont() = default;
    static SFont create(int32_t fontKey, float size) {
        SFont f;
        f.fontKey_ = fontKey;
        f.size_ = size;
        return f;
    }

    float size() const { return size_; }
    void size(float value) { size_ = value; }
    int32_t fontKey() const { return fontKey_; }
    void fontKey(int32_t value) { fontKey_ = value; }

    bool operator==(const SFont& other) const = default;

private:
    int32_t fontKey_ = 0;
    float size_ = 0.0f;
};

// A run of text in one font, as the text layout shares it.
struct KIVU_API STextSequence {
    std::string text;
    SFont font;

    bool operator==(const STextSequence& other) const = default;
    size_t toHash() const {
        size_t h = std::hash<std::string>{}(text);
        h ^= std::hash<int32_t>{}(font.fontKey()) + 0x9e3779b97f4a7c15ull + (h << 6) + (h >> 2);
        h ^= std::hash<float>{}(font.size()) + 0x9e3779b97f4a7c15ull + (h << 6) + (h >> 2);
        return h;
    }
};

}  // namespace kivu
