#include "kivuimg/img/rawfont.h"

#include "kivuimg/commons/graphics/valueutil.h"

namespace kivu {

size_t SRawFont::hash() const {
    size_t h = 0;
    hashValue(h, family);
    hashValue(h, weight);
    hashValue(h, style);
    hashValue(h, text);
    hashValue(h, fontId);
    hashValue(h, encoding);
    return h;
}

}  // namespace kivu
