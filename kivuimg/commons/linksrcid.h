// SLinkSrcId: a sub-image source and the object number the host gave it.
#pragma once

#include <cstdint>
#include <string>

namespace kivu {

struct SLinkSrcId {
    uint64_t id = 0;
    std::string src;
    bool operator==(const SLinkSrcId&) const = default;
};

}  // namespace kivu
