#include "kivuimg/img/pdf/imagespace.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/memory.h"
#include "kivuimg/commons/graphics/color.h"
#include "kivuimg/commons/indirectobj.h"

namespace kivu::pdf {

namespace {

struct SDevice {
    const char* name;      // "/DeviceRGB"
    ColorSpace space;
    const char* colorants;  // for the DeviceN that stands for it
    const char* domain;
};

const SDevice kDevices[] = {
    {"/DeviceRGB", csRGB, "[/R /G /B]", "[0 1 0 1 0 1]"},
    {"/DeviceGray", csGray, "[/W]", "[0 1]"},
    {"/DeviceCMYK", csCMYK, "[/C /M /Y /K]", "[0 1 0 1 0 1 0 1]"},
};

const SDevice* deviceOf(ColorSpace space) {
    for (const SDevice& d : kDevices)
        if (d.space == space) return &d;
    return nullptr;
}

const SDevice* deviceNamed(const std::string& name) {
    for (const SDevice& d : kDevices)
        if (name == d.name) return &d;
    return nullptr;
}

// The conversion of TSpace::convert as PostScript calculator code: the
// source's components on the stack in, the target's out.
const char* const kCmykToRgb = "1 exch sub 4 1 roll 1 exch sub 3 index mul 3 1 roll 1 exch sub 3 index mul 3 1 roll "
                               "1 exch sub 3 index mul 4 -1 roll pop 3 1 roll";
const char* const kRgbToCmyk = "1 exch sub 3 1 roll 1 exch sub 3 1 roll 1 exch sub 3 1 roll "
                               "3 copy 2 copy gt {exch} if pop 2 copy gt {exch} if pop "
                               "dup 1 ge {pop pop pop pop 1 1 1 1} {1 1 index sub "
                               "5 -1 roll 2 index sub 1 index div 5 1 roll "
                               "4 -1 roll 2 index sub 1 index div 4 1 roll "
                               "3 -1 roll 2 index sub 1 index div 3 1 roll pop} ifelse";

std::string tintTransform(ColorSpace from, ColorSpace to) {
    if (from == csRGB && to == csGray) return "add add 3 div";
    if (from == csRGB && to == csCMYK) return kRgbToCmyk;
    if (from == csGray && to == csRGB) return "dup dup";
    if (from == csGray && to == csCMYK) return "1 exch sub dup 1 ge {pop 1 1 1 1} {0 0 0 4 -1 roll} ifelse";
    if (from == csCMYK && to == csRGB) return kCmykToRgb;
    if (from == csCMYK && to == csGray) return std::string(kCmykToRgb) + " add add 3 div";
    return "";
}

// The image's colour space as written: a value, or the bare name that
// follows a ColorSpace entry written as two names.
std::string spaceOf(const TBaseObject& image) {
    const auto& entries = image.entries();
    for (size_t i = 0; i < entries.size(); ++i)
        if (entries[i].name == "ColorSpace") {
            if (entries[i].value != "&nobr;") return entries[i].value;
            return i + 1 < entries.size() ? "/" + entries[i + 1].name : "";
        }
    return "";
}

void replaceSpace(TBaseObject& image, const std::string& space) {
    const std::string old = spaceOf(image);
    SArgs& entry = image.args("ColorSpace");
    const bool twoNames = entry.value == "&nobr;";
    entry.value = space;
    if (twoNames) image.erase(old.substr(1));
}

}  // namespace

std::string TImageSpaces::deviceN(TObjects& objects, const std::string& source) {
    const SDevice* from = deviceNamed(source);
    const SDevice* to = deviceOf(target_);
    if (!from || !to) return "";
    const std::string code = tintTransform(from->space, to->space);
    if (code.empty()) return "";
    uint64_t& number = functions_[source];
    if (!number) {
        TIndirectObject* f = objects.add(0);
        f->comment("Image/TintTransform");
        f->set("FunctionType", "4");
        f->set("Domain", from->domain);
        f->set("Range", to->domain);
        const std::string text = "{" + code + "}";
        TMemory body(std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
        f->setStream(&body, "");
        number = f->num();
    }
    return sformat("[/DeviceN %s %s %llu 0 R]", from->colorants, to->name, static_cast<unsigned long long>(number));
}

bool TImageSpaces::convertPalette(TBaseObject& palette) const {
    const std::span<const uint8_t> rgb = palette.stream();
    if (rgb.empty() || rgb.size() % 3) return false;
    TMemory out(rgb.size() / 3 * 4, 0);
    for (size_t i = 0; i < rgb.size(); i += 3) {
        const TRGBA color(rgb[i] / 255.0f, rgb[i + 1] / 255.0f, rgb[i + 2] / 255.0f, 1.0f);
        const std::string operands = color.convert(target_)->toOUT();
        const char* p = operands.c_str();
        for (char* end = nullptr;; p = end) {
            const double v = std::strtod(p, &end);
            if (end == p) break;
            out.addByte(static_cast<uint8_t>(std::lround(std::fmin(std::fmax(v, 0.0), 1.0) * 255)));
        }
    }
    palette.setStream(&out, "");
    return true;
}

std::string TImageSpaces::convert(TObjects& objects, TBaseObject& image) {
    const std::string space = spaceOf(image);
    const SDevice* to = deviceOf(target_);
    if (space.empty() || !to || space == to->name) return "";
    if (deviceNamed(space)) {
        replaceSpace(image, deviceN(objects, space));
        return "";
    }
    unsigned hival = 0;
    unsigned long long paletteNum = 0;
    TBaseObject* palette = nullptr;
    if (std::sscanf(space.c_str(), "[/Indexed /DeviceRGB %u %llu 0 R]", &hival, &paletteNum) == 2)
        palette = objects.get(paletteNum);
    if (!palette || !convertPalette(*palette)) return space;
    replaceSpace(image, sformat("[/Indexed %s %u %llu 0 R]", to->name, hival, paletteNum));
    return "";
}

}  // namespace kivu::pdf
