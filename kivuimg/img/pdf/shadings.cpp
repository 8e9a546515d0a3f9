#include "kivuimg/img/pdf/shadings.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "kivuimg/commons/content.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/funcs.h"
#include "kivuimg/commons/indirectobj.h"


namespace kivu::pdf {

namespace {

std::string numbers(const std::vector<double>& values) {
    std::string out = "[";
    for (size_t i = 0; i < values.size(); ++i) out += (i ? " " : "") + pdfNumber(values[i], 6);
    return out + "]";
}

// The device space of a record: its own, else that of its first colour
// with a device space, else RGB.
ColorSpace deviceSpace(const SGradient& record) {
    auto isDevice = [](ColorSpace cs) { return cs == csRGB || cs == csCMYK || cs == csGray; };
    if (isDevice(record.colorSpace)) return record.colorSpace;
    for (const SGradColor& stop : record.colors)
        if (isDevice(stop.color.cs())) return stop.color.cs();
    return csRGB;
}

const char* deviceName(ColorSpace cs) {
    return cs == csCMYK ? "/DeviceCMYK" : cs == csGray ? "/DeviceGray" : "/DeviceRGB";
}

// The components of a colour in `cs`, each in [0, 1].  A colour that has
// no components there (no colour, a spot, "none") is black.
std::vector<double> components(const SColor& color, ColorSpace cs) {
    const size_t count = cs == csCMYK ? 4 : cs == csGray ? 1 : 3;
    const std::string text = color.cs() == cs ? color.toOUT() : color.convert(cs).toOUT();
    std::vector<double> out;
    const char* p = text.c_str();
    for (char* end = nullptr;; p = end) {
        const double v = std::strtod(p, &end);
        if (end == p) break;
        out.push_back(std::isfinite(v) ? std::clamp(v, 0.0, 1.0) : 0.0);
    }
    if (out.size() == count && *p == '\0') return out;
    if (cs == csCMYK) return {0, 0, 0, 1};
    return std::vector<double>(count, 0.0);
}

std::vector<double> stopValues(const SGradColor& stop, ColorSpace cs, bool alphaAsGray) {
    if (alphaAsGray) return {static_cast<double>(zeon(stop.color.alpha()))};
    return components(stop.color, cs);
}

// The shading dictionary's entries, in the given space.
void fillShading(TBaseObject& shading, const SGradient& record, ColorSpace cs, bool alphaAsGray) {
    const auto& c = record.coords;
    const bool radial = record.shadingType == 3;
    shading.set("ShadingType", radial ? "3" : "2");
    shading.set("ColorSpace", alphaAsGray ? "/DeviceGray" : deviceName(cs));
    // Radii below 0 mean nothing to a PDF reader.
    auto radius = [](float r) { return std::max(0.0, static_cast<double>(r)); };
    shading.set("Coords", radial ? numbers({c[0], c[1], radius(c[4]), c[2], c[3], radius(c[5])})
                                 : numbers({c[0], c[1], c[2], c[3]}));
    shading.set("Function", stitchingFunction(record, alphaAsGray));
    shading.set("Extend", std::string("[") + (record.extend[0] ? "true" : "false") + " " +
                              (record.extend[1] ? "true" : "false") + "]");
}

}  // namespace

std::string stitchingFunction(const SGradient& record, bool alphaAsGray) {
    const ColorSpace cs = deviceSpace(record);
    const auto& stops = record.colors;
    if (stops.empty()) return "<< /FunctionType 2 /Domain [0 1] /C0 [0] /C1 [0] /N 1 >>";
    std::string functions;
    std::vector<double> bounds, encode;
    const size_t segments = std::max<size_t>(1, stops.size() - 1);
    double previous = 0;
    for (size_t i = 0; i < segments; ++i) {
        const SGradColor& from = stops[i];
        const SGradColor& to = stops[std::min(i + 1, stops.size() - 1)];
        functions += (i ? " " : "") + std::string("<< /FunctionType 2 /Domain [0 1] /C0 ") +
                     numbers(stopValues(from, cs, alphaAsGray)) + " /C1 " + numbers(stopValues(to, cs, alphaAsGray)) +
                     " /N 1 >>";
        encode.insert(encode.end(), {0, 1});
        if (i + 1 == segments) break;
        // Bounds lie inside the domain and never go back.
        const double at = std::isfinite(to.offset) ? std::clamp(static_cast<double>(to.offset), previous, 1.0) : previous;
        bounds.push_back(previous = at);
    }
    return "<< /FunctionType 3 /Domain [0 1] /Functions [" + functions + "] /Bounds " + numbers(bounds) +
           " /Encode " + numbers(encode) + " >>";
}

uint64_t gradientShading(TObjects& objects, SGradient& record) {
    if (record.shadingObject) return record.shadingObject;
    TIndirectObject* shading = objects.add(0);
    shading->comment("Gradient/Shading");
    fillShading(*shading, record, deviceSpace(record), false);
    record.shadingObject = shading->num();
    record.done = !record.hasAlpha || record.alphaObject;
    return record.shadingObject;
}

uint64_t gradientPattern(TObjects& objects, SGradient& record) {
    if (record.patternObject) return record.patternObject;
    const uint64_t shading = gradientShading(objects, record);
    TIndirectObject* pattern = objects.add(0);
    pattern->comment("Gradient/Pattern");
    pattern->args({"Type", "Pattern"});
    pattern->set("PatternType", "2");
    pattern->set("Shading", sformat("%llu 0 R", static_cast<unsigned long long>(shading)));
    const auto& m = record.matrix;
    pattern->set("Matrix", numbers({m[0], m[1], m[2], m[3], m[4], m[5]}));
    record.patternObject = pattern->num();
    return record.patternObject;
}

uint64_t gradientSoftMask(TObjects& objects, SGradient& record) {
    if (record.alphaObject) return record.alphaObject;
    TIndirectObject* gray = objects.add(0);
    gray->comment("Gradient/Alpha");
    fillShading(*gray, record, csGray, true);
    // The group is drawn in the space where the state is set: the same unit
    // box as the shading.  Its box is generous, since a transformation of
    // the gradient may move the painted area far from that box.
    TIndirectObject* group = objects.add(0);
    group->comment("Gradient/Mask");
    group->args({"Type", "XObject"});
    group->args({"Subtype", "Form"});
    group->set("BBox", "[-10000 -10000 10000 10000]");
    group->set("Group", "<< /Type /Group /S /Transparency /CS /DeviceGray >>");
    group->set("Resources", sformat("<< /Shading << /Sh0 %llu 0 R >> >>", static_cast<unsigned long long>(gray->num())));
    const std::string ops = "/Sh0 sh\n";
    TMemory stream(std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(ops.data()), ops.size()));
    group->setStream(&stream, "");
    TIndirectObject* state = objects.add(0);
    state->comment("Gradient/SoftMask");
    state->args({"Type", "ExtGState"});
    state->set("SMask", sformat("<< /Type /Mask /S /Luminosity /G %llu 0 R >>",
                                static_cast<unsigned long long>(group->num())));
    record.alphaObject = state->num();
    record.done = record.shadingObject != 0;
    return record.alphaObject;
}

}  // namespace kivu::pdf
