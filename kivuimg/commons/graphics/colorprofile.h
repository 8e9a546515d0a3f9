// A colour profile: its name and the profile's data.
#pragma once

#include <memory>
#include <string>

#include "kivuimg/commons/core/export.h"

namespace kivu {

struct KIVU_API SColorProfile {
    std::string name;
    // The bytes of the ICC profile; shared, never changed, absent when not loaded.
    std::shared_ptr<const std::string> data;

    // Equal names, and equal data or both absent.
    bool operator==(const SColorProfile& other) const {
        if (name != other.name) return false;
        if (!data || !other.data) return !data && !other.data;
        return *data == *other.data;
    }
};

}  // namespace kivu
