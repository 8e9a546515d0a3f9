#include "kivuimg/img/svg/subimage.h"

#include <array>
#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/unit.h"
#include "kivuimg/img/libmain.h"
#include "kivuimg/img/svg/imagesvg.h"

namespace kivu {

namespace {

// The extension of a data URI's type, searched in its head in a fixed
// order; "" when none of the seven known types stands there.
std::string imageTypeAsExt(const std::string& head) {
    const std::string lower = toLower(head);
    for (const char* type : {"jpg", "jpeg", "png", "gif", "bmp", "svg", "wmf"})
        if (lower.find(type) != std::string::npos) return std::string(".") + type;
    return "";
}

// The picture's size and place in the element's box.
struct SFit {
    float w = 0, h = 0, px = 0, py = 0;
    bool slice = false;
};

// Scales the picture (iw x ih) to the box (W x H): whole inside it
// ("meet"), or covering it ("slice").  A box or picture of no size makes
// the comparison of shapes decide with what the divisions give.
void fitSize(SFit& fit, float W, float H, float iw, float ih) {
    const float a = ih / iw, b = H / W;
    if (a > b) {
        fit.w = fit.slice ? W : iw * H / ih;
        fit.h = fit.slice ? ih * W / iw : H;
    } else if (b > a) {
        fit.w = fit.slice ? iw * H / ih : W;
        fit.h = fit.slice ? H : ih * W / iw;
    } else {
        fit.w = W, fit.h = H;
    }
}

// Aligns the scaled picture in the box by the first word of
// "preserveAspectRatio", compared in lower case as it stands.
void fitPlace(SFit& fit, const std::string& align, float X, float Y, float W, float H) {
    const float left = X, centre = W * 0.5f - fit.w * 0.5f + X, right = W - fit.w + X;
    const float top = Y, middle = H * 0.5f - fit.h * 0.5f + Y, bottom = H - fit.h + Y;
    static const struct {
        const char* align;
        int x, y;  // 0 min, 1 mid, 2 max
    } kPlaces[] = {{"xmidymin", 1, 0}, {"xmaxymin", 2, 0}, {"xminymid", 0, 1}, {"xmaxymid", 2, 1},
                   {"xminymax", 0, 2}, {"xmidymax", 1, 2}, {"xmaxymax", 2, 2}};
    int x = 1, y = 1;
    for (const auto& place : kPlaces)
        if (align == place.align) x = place.x, y = place.y;
    fit.px = x == 0 ? left : x == 1 ? centre : right;
    fit.py = y == 0 ? top : y == 1 ? middle : bottom;
}

// The clip to the box that "slice" needs, at `s`.
void writeSliceClip(TContent& out, float X, float Y, float W, float H, float s) {
    out.save(" q ").raw("0 w ");
    out.moveTo(X * s, -(Y + H) * s);
    out.lineTo(X * s, -Y * s).lineTo((X + W) * s, -Y * s).lineTo((X + W) * s, -(Y + H) * s);
    out.lineTo(X * s, -(Y + H) * s).raw(" W n ");
}

}  // namespace

void TSvgSubImage::read(_xmlNode* node) {
    _getAttributes(node);
    const std::string link = attribute("href");
    // Only data URIs are read: a link to a file is not followed.
    if (link.size() <= 32 || !startsWith(toLower(link.substr(0, 5)), "data:")) return;
    std::unique_ptr<TBuffer> picture = TBuffer::createByBase64CodedString(link);
    const std::string ext = imageTypeAsExt(link.substr(0, 32));
    if (ext.empty()) return;
    href_ = "subimage-" + picture->MD5() + ext;
    if (!libimg_getImage(href_.c_str())) loadImage(href_, std::move(picture));
    if (TImageSVG* doc = ptrSvgBase()) doc->addSubImageSource(href_);
}

void TSvgSubImage::copyValuesTo(TSvgElement& clone) { static_cast<TSvgSubImage&>(clone).sourceName(href_); }

void TSvgSubImage::writeData(TContent& out, float scale) {
    TImageSVG* doc = ptrSvgBase();
    TImageFormat* image = libimg_getImage(href_.c_str());
    if (!image || !doc) throwf("No image found by iD '%s'", href_.c_str());
    const uint64_t id = doc->getSubImageIDBySourceName(href_);
    const std::array<std::string, 2> style = doc->svgStyle(this);
    out.save(" q ").raw(style[0]);

    const float W = hasAttribute("width") ? static_cast<float>(SUnit(attribute("width")).px()) : 0.0f;
    const float H = hasAttribute("height") ? static_cast<float>(SUnit(attribute("height")).px()) : 0.0f;
    const float X = hasAttribute("x") ? toFloat(attribute("x")) : 0.0f;
    const float Y = hasAttribute("y") ? toFloat(attribute("y")) : 0.0f;
    const std::string aspect = hasAttribute("preserveAspectRatio") ? attribute("preserveAspectRatio") : "xMidYMid meet";
    const std::string transform = attribute("transform");
    const std::vector<std::string> pieces = doc->regSplit("\\s+", aspect, "");
    const std::string align = pieces.empty() ? std::string() : pieces[0];

    SFit fit;
    if (align == "none") {
        fit.w = W, fit.h = H, fit.px = X, fit.py = Y;
    } else {
        fit.slice = pieces.size() > 1 && pieces[1] == "slice";
        fitSize(fit, W, H, static_cast<float>(image->width()), static_cast<float>(image->height()));
        fitPlace(fit, align, X, Y, W, H);
        if (fit.slice) writeSliceClip(out, X, Y, W, H, scale);
    }
    out.raw("\n");
    if (!transform.empty()) out.save("q ").raw(doc->transformationsToPDF(transform));
    out.save(" q ").num(fit.w * scale).raw("0 0 ").num(fit.h * scale);
    out.num(fit.px * scale).num(-(fit.py + fit.h) * scale).raw("cm ");
    out.raw(sformat("/I%llu Do", static_cast<unsigned long long>(id))).restore(" Q");
    doc->nameResource(sformat("I%llu", static_cast<unsigned long long>(id)), "XObject", ResourceSource::object, id);
    out.raw("\n");
    if (!transform.empty()) out.restore("Q\n");
    if (fit.slice) out.restore("Q");
    out.raw(style[1]).restore(" Q\n");
}

}  // namespace kivu
