// Helpers shared by the tests of the image formats.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "kivuimg/commons/core/buffer.h"

namespace kivutest {

using Bytes = std::vector<uint8_t>;

// An image of class Image over the bytes, specs read.
template <typename Image>
std::unique_ptr<Image> readImage(const Bytes& bytes) {
    auto img = std::make_unique<Image>(kivu::TBuffer::create(std::span<const uint8_t>(bytes)));
    img->readSpecs();
    return img;
}

// The message readSpecs raises, or "(no failure)".
template <typename Image>
std::string readFailure(const Bytes& bytes) {
    try {
        readImage<Image>(bytes);
    } catch (const std::exception& e) {
        return e.what();
    }
    return "(no failure)";
}

}  // namespace kivutest
