// The library's entry: the C functions that load, find and copy images,
// start and stop the library, and the registry of loaded images.
#pragma once

#include <map>
#include <memory>
#include <span>
#include <string>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/export.h"
#include "kivuimg/img/imgformat.h"

namespace kivu {

class TImageJPG;
class TSettings;

// The registry: every loaded image by its registered name.
extern KIVU_API std::map<std::string, std::unique_ptr<TImageFormat>> g_imageList;

// The three fallback names; all show the same built-in picture.
inline constexpr const char* kNotFoundImage = "not-found.jpg";
inline constexpr const char* kUnsupportedImage = "unsuppored-image.jpg";
inline constexpr const char* kExceptionImage = "exception-image.jpg";

// A buffer decoded from "id:...;data:image/png;base64,..." text (or plain
// Base64); `ext` becomes the subtype when the text has that form.
KIVU_API std::unique_ptr<TBuffer> fromSource(const TMemory& source, std::string& ext);
// The class for `ext` over the buffer, not yet read; may change `name` to a
// fallback name.  Null never: unknown formats give the fallback picture.
KIVU_API std::unique_ptr<TImageFormat> createImage(std::unique_ptr<TBuffer> buffer, const std::string& ext, std::string& name);
// The built-in fallback picture, not yet read.
KIVU_API std::unique_ptr<TImageJPG> createUndefinedImage();
// The Base64 text of the fallback picture.
const char* undefinedImageBase64();

// Enters an image into the registry under `name`.  An image that held the
// name before stays alive (unlisted) until the next reset: a host may still
// use the pointer it was given.
KIVU_API void registerImage(const std::string& name, std::unique_ptr<TImageFormat> image);

// Reads an image as libimg_loadImage does, but for the caller alone: no
// registry.  `name` is a file name, url(...) or, with `source`, any name;
// it becomes the name libimg_loadImage would register: a fallback name when
// the image can't be read, with the fallback picture as the answer
// ("exception-image.jpg" when reading failed).  Null, with `name` empty,
// only when no class was made.  Raises nothing.
KIVU_API std::unique_ptr<TImageFormat> readImage(std::string& name, std::unique_ptr<TBuffer> source);
// The format of image bytes told by their first ones: "jpg", "png", "gif",
// "bmp", "wmf", "svg" (an SVG root or an XML declaration in the first
// kilobyte), or "".
KIVU_API std::string sniffImageFormat(std::span<const uint8_t> bytes);
// Loads (or finds) an image by name; C++ form of libimg_loadImage.
KIVU_API std::string loadImage(const std::string& name, std::unique_ptr<TBuffer> source);
// Why the last load of `name` (as the host named it) gave a fallback
// name; empty when it was read, or never asked for since the last reset.
KIVU_API std::string loadFailure(const std::string& name);

}  // namespace kivu

extern "C" {
// Loads an image and answers its registered name (or a fallback name; ""
// when nothing was registered).  The library takes ownership of `source`,
// which may be null.  The answer stays valid until the next reset.
KIVU_API char* libimg_loadImage(const char* name, kivu::TBuffer* source);
// The registered image, or null.
KIVU_API kivu::TImageFormat* libimg_getImage(const char* name);
// Why the last libimg_loadImage of `name` answered a fallback name, or null
// when it did not; valid until the next reset.
KIVU_API const char* libimg_getFailure(const char* name);
// A new copy of a registered image that the caller owns (delete it), or null.
KIVU_API kivu::TImageFormat* libimg_copyImage(const char* name);
KIVU_API char* libimg_makeColorSpaceModification();
// Starts the library with a package home and a log output (1 file, 2 stdout,
// 3 quiet).  A null or empty home starts it with the built-in configuration
// and writes nothing to disk; so does a home without ".conf.json".
KIVU_API bool libimg_init(const char* home, unsigned int logOut);
// Destroys all registered images; the settings and the log stay.
KIVU_API void libimg_resetResources();
// The same, and destroys the settings.
KIVU_API void lib_uninit();
}
