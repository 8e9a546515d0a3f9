// Colours in five spaces.  SColor is the value the program passes around; it
// refers to an immutable TSpace (TRGBA, TCMYK, TGray, TSpot or TNone).
// Operations that seem to change a colour (dimmer, copyWithAlpha, convert)
// make a new space.  Components are fractions 0..1; NaN means "not stated".
//
// Conversions between spaces go through the text notations: the new
// components are formatted to three decimals and parsed again, so the
// rounding to three decimals is part of every converted colour.
//
// Defined results beyond the notations:
//  - An SColor that holds no space (default, or made from a text shorter
//    than two characters) answers toStr/toPDF/toOUT "", alpha 1, enabled
//    false, cs csAuto, hash of "".  alpha(v) and transform leave it without a
//    space; it equals only another SColor without a space.
//  - TSpot: a filled spot comes from TSpot(index, tint).  copy and convert
//    give the same spot (this library knows no alternate colour to convert
//    to), copyWithAlpha gives the same spot (a spot has no alpha of its own),
//    dimmer multiplies the tint by the limited factor, and two spots are
//    equal when index and tint are (both tints NaN counts as equal).
//  - A notation with more values than its working array holds (four for
//    rgb/rgba, five for cmyk, two for gray): the values beyond the array are
//    ignored.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kivuimg/commons/consts.h"
#include "kivuimg/commons/core/export.h"

namespace kivu {

class KIVU_API TSpace {
public:
    virtual ~TSpace() = default;

    // A complete PDF colour operator.
    virtual std::string toPDF() const = 0;
    // The bare operands.
    virtual std::string toOUT() const = 0;
    // The canonical text, also the source of the hash.
    virtual std::string toStr() const = 0;
    virtual float alpha() const { return 1.0f; }
    virtual bool enabled() const = 0;
    virtual std::unique_ptr<TSpace> copy() const = 0;
    virtual std::unique_ptr<TSpace> dimmer(float factor) const = 0;
    virtual std::unique_ptr<TSpace> copyWithAlpha(float alpha) const = 0;
    virtual bool equals(const TSpace& other) const = 0;
    virtual std::unique_ptr<TSpace> convert(ColorSpace target) const = 0;

    ColorSpace cs() const { return cs_; }
    // The notation this colour was made from; empty when computed.
    const std::string& text() const { return text_; }

protected:
    TSpace(ColorSpace cs, std::string text) : text_(std::move(text)), cs_(cs) {}

    std::string text_;
    ColorSpace cs_;
};

class KIVU_API TRGBA : public TSpace {
public:
    // "#RGB", "#RRGGBB", "#RRGGBBAA", "rgb(...)", "rgba(...)" or a colour
    // name; "none" and "" leave every field NaN.  A bad hexadecimal digit is
    // logged and leaves the fields NaN.
    explicit TRGBA(const std::string& text);
    TRGBA(const TRGBA& other);
    TRGBA(const TRGBA& other, float alpha);
    // Components as given: no clamping, empty text.
    TRGBA(float red, float green, float blue, float alpha);

    std::string toPDF() const override;
    std::string toOUT() const override;
    std::string toStr() const override;
    float alpha() const override { return alpha_; }
    bool enabled() const override;
    std::unique_ptr<TSpace> copy() const override;
    std::unique_ptr<TSpace> dimmer(float factor) const override;
    std::unique_ptr<TSpace> copyWithAlpha(float alpha) const override;
    bool equals(const TSpace& other) const override;
    std::unique_ptr<TSpace> convert(ColorSpace target) const override;

    float red() const { return red_; }
    float green() const { return green_; }
    float blue() const { return blue_; }

private:
    float red_, green_, blue_, alpha_;
};

class KIVU_API TCMYK : public TSpace {
public:
    // "@CMYK", "@CCMMYYKK" or "cmyk(...)"; a bad digit in an "@" form throws.
    explicit TCMYK(const std::string& text);
    TCMYK(const TCMYK& other);
    TCMYK(const TCMYK& other, float alpha);
    TCMYK(float cyan, float magneta, float yellow, float key, float alpha);

    std::string toPDF() const override;
    std::string toOUT() const override;
    std::string toStr() const override;
    float alpha() const override { return alpha_; }
    bool enabled() const override;
    std::unique_ptr<TSpace> copy() const override;
    std::unique_ptr<TSpace> dimmer(float factor) const override;
    std::unique_ptr<TSpace> copyWithAlpha(float alpha) const override;
    bool equals(const TSpace& other) const override;
    std::unique_ptr<TSpace> convert(ColorSpace target) const override;

    float cyan() const { return cyan_; }
    float magneta() const { return magneta_; }
    float yellow() const { return yellow_; }
    float key() const { return key_; }

private:
    float cyan_, magneta_, yellow_, key_, alpha_;
};

class KIVU_API TGray : public TSpace {
public:
    // "gray(...)" or a percentage ("50%"); any other text is gray 0.
    explicit TGray(const std::string& text);
    TGray(const TGray& other);
    TGray(const TGray& other, float alpha);
    TGray(float gray, float alpha);

    std::string toPDF() const override;
    std::string toOUT() const override;
    std::string toStr() const override;
    float alpha() const override { return alpha_; }
    bool enabled() const override;
    std::unique_ptr<TSpace> copy() const override;
    std::unique_ptr<TSpace> dimmer(float factor) const override;
    std::unique_ptr<TSpace> copyWithAlpha(float alpha) const override;
    bool equals(const TSpace& other) const override;
    std::unique_ptr<TSpace> convert(ColorSpace target) const override;

    float gray() const { return gray_; }

private:
    float gray_, alpha_;
};

class KIVU_API TSpot : public TSpace {
public:
    // The text is kept but not parsed: index 0, tint NaN.
    explicit TSpot(const std::string& text);
    TSpot(const TSpot& other);
    // A filled spot: the colour space resource "/CS<index>" at that tint.
    TSpot(int32_t index, float tint);

    std::string toPDF() const override;
    std::string toOUT() const override;
    std::string toStr() const override;
    bool enabled() const override;
    std::unique_ptr<TSpace> copy() const override;
    std::unique_ptr<TSpace> dimmer(float factor) const override;
    std::unique_ptr<TSpace> copyWithAlpha(float alpha) const override;
    bool equals(const TSpace& other) const override;
    std::unique_ptr<TSpace> convert(ColorSpace target) const override;

    int32_t index() const { return index_; }
    float tint() const { return tint_; }

private:
    int32_t index_;
    float tint_;
};

class KIVU_API TNone : public TSpace {
public:
    explicit TNone(const std::string& text);
    TNone(const TNone& other);

    std::string toPDF() const override { return ""; }
    std::string toOUT() const override { return ""; }
    std::string toStr() const override { return ""; }
    bool enabled() const override { return false; }
    std::unique_ptr<TSpace> copy() const override;
    std::unique_ptr<TSpace> dimmer(float factor) const override;
    std::unique_ptr<TSpace> copyWithAlpha(float alpha) const override;
    bool equals(const TSpace& other) const override;
    std::unique_ptr<TSpace> convert(ColorSpace target) const override;
};

struct KIVU_API SColor {
    // Never changed once made: sharing it between colours is safe.
    std::shared_ptr<const TSpace> space;

    SColor() = default;
    // Chooses the space by the notation; a text shorter than two characters
    // gives no space, an unrecognised one TNone.
    explicit SColor(const std::string& text);
    explicit SColor(const char* text) : SColor(std::string(text)) {}
    explicit SColor(std::unique_ptr<TSpace> s) : space(std::move(s)) {}

    bool hasSpace() const { return space != nullptr; }
    ColorSpace cs() const { return space ? space->cs() : csAuto; }
    std::string toStr() const { return space ? space->toStr() : std::string(); }
    std::string toPDF() const { return space ? space->toPDF() : std::string(); }
    std::string toOUT() const { return space ? space->toOUT() : std::string(); }
    float alpha() const { return space ? space->alpha() : 1.0f; }
    // Replaces the space by one with that alpha.
    void alpha(float value);
    bool enabled() const { return space && space->enabled(); }
    size_t toHash() const;
    bool operator==(const SColor& other) const;
    // Replaces the space by its conversion when the space differs from `target`.
    void transform(ColorSpace target);

    SColor dimmer(float factor) const;
    SColor copyWithAlpha(float value) const;
    SColor convert(ColorSpace target) const;
};

// The colour of a CSS colour name as 0xRRGGBB; -1 for an unknown name.
// Matches exactly, lower case only.
KIVU_API int32_t getColorByName(const std::string& name);

}  // namespace kivu
