// SLinkSrcId: a sub-image source and the object number the host gave it.
#pragma once

#include <cstdint>
#include <string>

#include "kivuimg/commons/core/export.h"

namespace kivu {

struct KIVU_API SLinkSrcId {
    uint64_t id = 0;
    std::string src;
    bool operator==(const SLinkSrcId&) const = default;
};

}  // namespace kivu
