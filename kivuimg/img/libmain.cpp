#include "kivuimg/img/libmain.h"

#include <libxml/parser.h>
#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <vector>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/log.h"
#include "kivuimg/commons/core/regex.h"
#include "kivuimg/commons/core/settings.h"
#include "kivuimg/commons/funcs.h"
#include "kivuimg/img/bmp.h"
#include "kivuimg/img/gif.h"
#include "kivuimg/img/jpg.h"
#include "kivuimg/img/png.h"
#include "kivuimg/img/svg/imagesvg.h"
#include "kivuimg/img/wmf.h"

namespace kivu {

std::map<std::string, std::unique_ptr<TImageFormat>> g_imageList;

namespace {

// The fallback picture: a 57 x 57 progressive JPEG, 3 components, with an
// Adobe marker and an sRGB ICC profile.
const char* const kUndefinedImage =
    "/9j/7gAOQWRvYmUAZAAAAAAB/+AAEEpGSUYAAQEAAAEAAQAA/+ICXElDQ19QUk9GSUxFAAEBAAAC\n"
    "TGxjbXMEQAAAbW50clJHQiBYWVogB+oACwAWABMANAAMYWNzcEFQUEwAAAAAAAAAAAAAAAAAAAAA\n"
    "AAAAAAAAAAAAAPbWAAEAAAAA0y1sY21zAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA\n"
    "AAAAAAAAAAAAAAAAAAALZGVzYwAAAQgAAAA2Y3BydAAAAUAAAABMd3RwdAAAAYwAAAAUY2hhZAAA\n"
    "AaAAAAAsclhZWgAAAcwAAAAUYlhZWgAAAeAAAAAUZ1hZWgAAAfQAAAAUclRSQwAAAggAAAAgZ1RS\n"
    "QwAAAggAAAAgYlRSQwAAAggAAAAgY2hybQAAAigAAAAkbWx1YwAAAAAAAAABAAAADGVuVVMAAAAa\n"
    "AAAAHABzAFIARwBCACAAYgB1AGkAbAB0AC0AaQBuAABtbHVjAAAAAAAAAAEAAAAMZW5VUwAAADAA\n"
    "AAAcAE4AbwAgAGMAbwBwAHkAcgBpAGcAaAB0ACwAIAB1AHMAZQAgAGYAcgBlAGUAbAB5WFlaIAAA\n"
    "AAAAAPbWAAEAAAAA0y1zZjMyAAAAAAABDEIAAAXe///zJQAAB5MAAP2Q///7of///aIAAAPcAADA\n"
    "blhZWiAAAAAAAABvoAAAOPUAAAOQWFlaIAAAAAAAACSfAAAPhAAAtsNYWVogAAAAAAAAYpcAALeH\n"
    "AAAY2XBhcmEAAAAAAAMAAAACZmYAAPKnAAANWQAAE9AAAApbY2hybQAAAAAAAwAAAACj1wAAVHsA\n"
    "AEzNAACZmgAAJmYAAA9c/9sAQwADAgIDAgIDAwMDBAMDBAUIBQUEBAUKBwcGCAwKDAwLCgsLDQ4S\n"
    "EA0OEQ4LCxAWEBETFBUVFQwPFxgWFBgSFBUU/9sAQwEDBAQFBAUJBQUJFA0LDRQUFBQUFBQUFBQU\n"
    "FBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQU/8IAEQgAOQA5AwEiAAIRAQMR\n"
    "Af/EABoAAQADAQEBAAAAAAAAAAAAAAUABgcEAwj/xAAaAQACAwEBAAAAAAAAAAAAAAAAAgMEBQEG\n"
    "/9oADAMBAAIQAxAAAAHbPeFpOpFOloQo1S1n77QE69cJQt3ncY1ufNFH1N/1LmbsZQToTs+UE0KK\n"
    "lipaT0pR3cY16UhJrG6E7axKv1uwAo7ACjsCqWuQP//EACEQAAEEAQQDAQAAAAAAAAAAAAQAAgMF\n"
    "BhAUFTUBEyQw/9oACAEBAAEFAvPkog/aGraGraGraGraGqbdiPQnaX186kkGJjLgT3tjZV5Jy1pa\n"
    "6CdoSNGXB9OFHRGQzimmkZebX18NYLa6CdojIoZxZpvWqaAQeuVroJ2j3tjYaaRl5sFMIPXfThRw\n"
    "xMZcFroJ2mSVRtsq+vhrBUSNGXBR0ZdLY2unucJY8quVXKrlVyqJJcY/8f/EACsRAAIBAQYEBQUA\n"
    "AAAAAAAAAAEDAgQAERIxUbEQIkFhBRMgISRxotLh8P/aAAgBAwEBPwFKZ1E/LXnYgxNxsunY2Epx\n"
    "HtHPgCYm8WSkeNDFLlZHM9CPy32rKrF8dQwrj0636nvtwp1wawRnLCNbVVZiuVT8q45a36nvtZrV\n"
    "Vyixhwtj937/AL6en//EACARAAIBBAEFAAAAAAAAAAAAAAECEQADEDEiFCAhMrH/2gAIAQIBAT8B\n"
    "Zggk4LBSAcs3TeBqraRzbeGJUSBSW45PulVrTQPX53f/xAA1EAABAgMEBA4BBQAAAAAAAAABAgMA\n"
    "BBEQEjRhQXSx8AUTFCEiMUJRcYORk6PB4iMkMFLR/9oACAEBAAY/ApltuZ4lDd2guA9YjH/CIx/w\n"
    "iMf8IjH/AAiMf8IiXKpvjUrdSgp4sCyf8vZEt+2U4ws9NzuyGe/gh5lYcbWKhQsKlEJSBUk6IeZZ\n"
    "YUqVQOZ//fHfKT1hFk/5eyFsvIDjaxQpMdqY4MePp+W3YJlDqSwRev15qRyKSq3IINXHTpzP0Nwl\n"
    "hhN1A06Se8xJ6wiyf8vZY6iZCSwR07/VSH5eXfePBhdFTd9ObetIaElRTBFQv+2Zzsk9YRZP+Xsg\n"
    "qUQlIFSTojkUlVuQQauOnTmfobjkQaCmCOkFdrM5x2pjgx4+n5bdiHmVhxtYqFCJPWEWT/l7IYZZ\n"
    "eS3Kk/qjT45+G4Swwm6gadJPebFsvIDjaxQpMPpS+FcHEVAV1k/Rz3EnrCLJtRl3nEru0LaK6Iwc\n"
    "17cYOa9uMHNe3GDmvbjBzXtxLJTLTCLryVErRzU/i//EACUQAAECBQQCAwEAAAAAAAAAAAEAESEx\n"
    "QVHwEGFx4YGxIMHxMP/aAAgBAQABPyHyKSKV+Va1rW3gIc7+NMreiQWBGYB+iLAgclLmAiZbQg9x\n"
    "dgAmSVtThGMYgZCgThKaYXOmVvVzARMuu8UvQAeAGyUsSUATJeTVeTI8IEADX9G7MySfvJLlEqck\n"
    "sLnTK36FyJiMARd6NN6Mpn/2abi4B2BhCCSA0DzsaRJ18CNmaDNphc6ZW9EHuLsAEySjwgQANf0b\n"
    "szJDxuaIJ3OAjRgzMF3il6ADwA2S5gImWWFzplb1M+HCCoKyFkW5SfvJLlEqclpcwETLqfGVxkoU\n"
    "GjIQ0EwudKWE8Qj9rD3WHusPdYe6w91DcjqAfv8AL//aAAwDAQACAAMAAAAQez1orjgotgmowwwA\n"
    "/8QAIBEBAAEEAQUBAAAAAAAAAAAAAREAITFBURAgcYGRYf/aAAgBAwEBPxA+cuYJCYJ3unBwlkcj\n"
    "U24pVgPbt0ZddDDwlxMjWugDOFLHwUER6LLLB5Vx4HQW65WgJfLwbbUJOokbcoytehR9hXdHGsH4\n"
    "n53P/8QAIhEBAAAFBAIDAAAAAAAAAAAAAQARMUFRECFhsSDwcYHR/9oACAECAQE/ELY4ESZDxbtN\n"
    "EEkwiqOhcfzruuJu9pYOO9HM04jfbjriWDjuABzXr69+fH//xAAiEAEAAgIBBAMBAQAAAAAAAAAB\n"
    "ESEAMUEgYdHwEIHBMFH/2gAIAQEAAT8Q/wB01ntXB2PLvtnq8+erz56vPnq8+erz4dh2YKrSXSKj\n"
    "e/kJ7/wRAeb65hBVwSf6LQ0kNiIioREQRPg18lTUoUACq6yL+qGi6Bwi51g9CEKD/RaGxksRBBCI\n"
    "IiDn461PoR24RxaRcsGGRDUwgpDCOBpkGAUClJWhRRjswBRcFISwXoAAAB0BCWDcAMScjVsFBESc\n"
    "shx97AGsTcCTMhOgytNgWUAhwAB0BCNfJU1KFAAqusDTIMAoFKStCijFDlLZYksLJARwAD8dan0I\n"
    "7cI4yf6LQ0kNiIioREQROgIVD9VCDkq6B2pUx2YAouCkJYL0AAAAyD/RaGxksRBBCIIiDgFrF3YA\n"
    "EAgLur5hLzvm9VpDcKnT1GMYxpIxFsEVRY0bqB/l/9k=\n";

// Names handed across the C boundary; kept until the next reset.
std::vector<std::unique_ptr<char, decltype(&std::free)>>& exportedNames() {
    static std::vector<std::unique_ptr<char, decltype(&std::free)>> names;
    return names;
}

char* exportName(const std::string& s) {
    char* p = cStr(s);
    if (p) exportedNames().emplace_back(p, &std::free);
    return p;
}

std::unique_ptr<TSettings>& settingsOwner() {
    static std::unique_ptr<TSettings> owner;
    return owner;
}

// Images whose name a later load took over (a shared fallback name, a URL
// fetched again): the host may still hold them, so they live until the next
// reset like every registered image.
std::vector<std::unique_ptr<TImageFormat>>& replacedImages() {
    static std::vector<std::unique_ptr<TImageFormat>> images;
    return images;
}

// Why each name a host asked for fell back, by that name.
std::map<std::string, std::string>& failures() {
    static std::map<std::string, std::string> reasons;
    return reasons;
}

void clearRegistry() {
    g_imageList.clear();
    replacedImages().clear();
    failures().clear();
}

std::unique_ptr<TImageJPG> undefinedOver(std::string& name, const char* fallback, const std::string& reason) {
    name = fallback;
    auto image = createUndefinedImage();
    image->failure(reason);
    return image;
}

// Why a file gave no bytes to read.
std::string missingReason(const std::string& path, const TBuffer* buffer) {
    std::error_code ec;
    if (buffer) return buffer->size() == 0 ? "empty" : "too short to be an image";
    if (std::filesystem::is_directory(path, ec)) return "is a directory";
    if (std::filesystem::exists(path, ec)) return "can't be read";
    return "no such file";
}

}  // namespace

const char* undefinedImageBase64() { return kUndefinedImage; }

std::unique_ptr<TImageJPG> createUndefinedImage() {
    const std::string clean = TMemory::cleanBase64CodedData(kUndefinedImage);
    return std::make_unique<TImageJPG>(TBuffer::createByBase64CodedString(clean));
}

std::unique_ptr<TBuffer> fromSource(const TMemory& source, std::string& ext) {
    static const Regex kSource("id:(.*);data:(image|font)\\/(gif|jpeg|png|bmp|ttf|otf);base64,(.*)", Regex::DotAll);
    const std::string text = source.to_string();
    if (auto m = kSource.search(text)) ext = toLower(strip(m->group(3)));
    return TBuffer::createByBase64CodedString(text);
}

using ImageFactory = std::unique_ptr<TImageFormat> (*)(std::unique_ptr<TBuffer>);

template <typename T>
std::unique_ptr<TImageFormat> make(std::unique_ptr<TBuffer> buffer) {
    return std::make_unique<T>(std::move(buffer));
}

// The formats by lowercase extension: the extension alone decides.
const std::map<std::string, ImageFactory>& imageFactories() {
    static const std::map<std::string, ImageFactory> factories = {
        {".jpg", &make<TImageJPG>},
        {".jpeg", &make<TImageJPG>},
        {".png", &make<TImagePNG>},
        {".gif", &make<TImageGIF>},
        {".bmp", &make<TImageBMP>},
        {".wmf", &make<TImageWMF>},
        {".svg", &make<TImageSVG>},
    };
    return factories;
}

std::unique_ptr<TImageFormat> createImage(std::unique_ptr<TBuffer> buffer, const std::string& ext, std::string& name) {
    if (!buffer || buffer->size() < 2) return undefinedOver(name, kNotFoundImage, missingReason(name, buffer.get()));
    const auto& factories = imageFactories();
    // Compressed drawings are read under the standard rules only.
    if (ext == ".svgz" && currentRules() == rulesStandard) return std::make_unique<TImageSVG>(std::move(buffer));
    auto it = factories.find(ext);
    if (it == factories.end()) {
        g_logExclamation(g_log, "Image format '%s' is not supported", ext.c_str());
        return undefinedOver(name, kUnsupportedImage,
                             ext.empty() ? "no extension to tell the format by"
                                         : "the format '" + ext.substr(1) + "' is not supported");
    }
    return it->second(std::move(buffer));
}

void registerImage(const std::string& name, std::unique_ptr<TImageFormat> image) {
    std::unique_ptr<TImageFormat>& slot = g_imageList[name];
    if (slot) replacedImages().push_back(std::move(slot));
    slot = std::move(image);
}

std::unique_ptr<TImageFormat> readImage(std::string& name, std::unique_ptr<TBuffer> source) {
    try {
        std::string url;
        if (!source && startsWith(name, "url(") && endsWith(name, ")") && name.size() >= 5) {
            url = name.substr(4, name.size() - 5);
            const size_t slash = url.rfind('/');
            name = slash == std::string::npos ? url : url.substr(slash + 1);
            if (name.empty() && slash == std::string::npos) name = url;
        }
        const std::string ext = fileExtension(name);
        std::unique_ptr<TBuffer> buffer = std::move(source);
        if (!buffer) {
            if (fileExists(name)) buffer = TBuffer::loadFromFile(name);
            else if (!url.empty()) buffer = TBuffer::loadFromURL(url);
        }
        std::unique_ptr<TImageFormat> image = createImage(std::move(buffer), ext, name);
        if (!image) {
            g_logExclamation(g_log, "Unsupported image '%s'", name.c_str());
            name.clear();
            return nullptr;
        }
        image->src(name);
        image->readSpecs();
        return image;
    } catch (const std::exception& e) {
        // The log itself may fail (a log file that can't be written): nothing
        // of that may leave the library either.
        try {
            g_logExclamation(g_log, "%s -> %s", name.c_str(), e.what());
        } catch (const std::exception&) {
        }
        name = kExceptionImage;
        try {
            auto fallback = createUndefinedImage();
            fallback->readSpecs();
            fallback->failure(e.what());
            return fallback;
        } catch (const std::exception&) {
            return nullptr;
        }
    }
}

std::string sniffImageFormat(std::span<const uint8_t> b) {
    auto starts = [&](std::string_view magic) {
        return b.size() >= magic.size() && std::memcmp(b.data(), magic.data(), magic.size()) == 0;
    };
    if (starts("\xFF\xD8\xFF")) return "jpg";
    if (starts("\x89PNG")) return "png";
    if (starts("GIF8")) return "gif";
    if (starts("BM")) return "bmp";
    if (starts("\xD7\xCD\xC6\x9A") || starts(std::string_view("\x01\x00\x09\x00", 4)) ||
        starts(std::string_view("\x02\x00\x09\x00", 4)))
        return "wmf";
    const std::string_view head(reinterpret_cast<const char*>(b.data()), std::min<size_t>(b.size(), 1024));
    if (head.find("<svg") != std::string_view::npos || head.find("<?xml") != std::string_view::npos) return "svg";
    return "";
}

std::string loadImage(const std::string& name, std::unique_ptr<TBuffer> source) {
    std::string key = name;
    if (g_imageList.count(key)) return key;
    std::unique_ptr<TImageFormat> image = readImage(key, std::move(source));
    if (image && !image->failure().empty()) failures()[name] = image->failure();
    else failures().erase(name);
    // The picture of an exception is not registered: its name finds nothing.
    if (image && key != kExceptionImage) registerImage(key, std::move(image));
    return key;
}

std::string loadFailure(const std::string& name) {
    auto it = failures().find(name);
    return it == failures().end() ? std::string() : it->second;
}

}  // namespace kivu

using namespace kivu;

extern "C" {

char* libimg_loadImage(const char* name, TBuffer* source) {
    std::unique_ptr<TBuffer> owned(source);
    return exportName(loadImage(name ? name : "", std::move(owned)));
}

TImageFormat* libimg_getImage(const char* name) {
    if (!name) return nullptr;
    auto it = g_imageList.find(name);
    return it == g_imageList.end() ? nullptr : it->second.get();
}

const char* libimg_getFailure(const char* name) {
    if (!name) return nullptr;
    auto it = failures().find(name);
    return it == failures().end() ? nullptr : it->second.c_str();
}

TImageFormat* libimg_copyImage(const char* name) {
    TImageFormat* image = libimg_getImage(name);
    if (!image) return nullptr;
    try {
        return image->getCopy().release();
    } catch (const std::exception& e) {
        try {
            g_logExclamation(g_log, "%s -> %s", name, e.what());
        } catch (const std::exception&) {
        }
        return nullptr;
    }
}

char* libimg_makeColorSpaceModification() { return exportName(""); }

bool libimg_init(const char* home, unsigned int logOut) {
    xmlInitParser();
    try {
        // No home: the built-in configuration, and nothing written.
        std::string path = home ? home : "";
        if (!path.empty()) path = std::filesystem::absolute(path).string();
        settingsOwner() = std::make_unique<TSettings>(path, static_cast<LogOut>(logOut), -1);
        g_settings = settingsOwner().get();
        g_log = g_settings->log();
        clearRegistry();
        return true;
    } catch (const std::exception& e) {
        try {
            g_logExclamation(g_log, "%s libkivuimg.so / DLL", e.what());
        } catch (const std::exception&) {
        }
        return false;
    }
}

void libimg_resetResources() {
    clearRegistry();
    exportedNames().clear();
    malloc_trim(0);
}

void lib_uninit() {
    libimg_resetResources();
    g_log = nullptr;
    g_settings = nullptr;
    settingsOwner().reset();
}

// The shared object's load-time entry does nothing: start-up is libimg_init.

}  // extern "C"
