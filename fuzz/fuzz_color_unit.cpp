// Colours and measures from arbitrary text: every notation, conversion and
// text form must either answer or raise KivuException, never crash.
#include <cstddef>
#include <cstdint>
#include <string>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/graphics/color.h"
#include "kivuimg/commons/unit.h"

using namespace kivu;

namespace {

void exerciseColor(const std::string& text) {
    try {
        SColor c(text);
        (void)c.toStr();
        (void)c.toPDF();
        (void)c.toOUT();
        (void)c.enabled();
        (void)c.toHash();
        for (ColorSpace cs : {csRGB, csCMYK, csGray, csSpot, csNone, csAuto}) {
            const SColor k = c.convert(cs);
            (void)k.toPDF();
            (void)k.toStr();
            (void)(k == c);
        }
        (void)c.dimmer(0.5f).toStr();
        c.alpha(0.25f);
        (void)c.alpha();
        c.transform(csGray);
        (void)c.toPDF();
    } catch (const KivuException&) {
    }
    // The spaces straight from the text, whatever its first character.
    try {
        (void)TRGBA(text).convert(csCMYK)->toPDF();
    } catch (const KivuException&) {
    }
    try {
        (void)TCMYK(text).convert(csRGB)->toPDF();
    } catch (const KivuException&) {
    }
    try {
        (void)TGray(text).convert(csCMYK)->toPDF();
    } catch (const KivuException&) {
    }
}

void exerciseUnit(const std::string& text) {
    const SUnit u(text);
    (void)u.unit();
    (void)u.isStaticDimension();
    (void)u.isRelative();
    try {
        (void)u.pt();
        (void)u.pc();
        (void)u.mm();
        (void)u.cm();
        (void)u.inc();
        (void)u.px();
        (void)u.rad();
        (void)u.deg();
        (void)u.any();
        (void)u.dpiPixel2Pt(0.75f);
        (void)u.isPercent(100.0f).text;
    } catch (const KivuException&) {
    }
    try {
        (void)SUnit::realNumber(text);
    } catch (const KivuException&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    exerciseColor(text);
    exerciseUnit(text);
    return 0;
}
