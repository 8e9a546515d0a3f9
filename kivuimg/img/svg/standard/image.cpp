#include "kivuimg/img/svg/standard/image.h"

#include <cstring>
#include <filesystem>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/img/imgformat.h"
#include "kivuimg/img/svg/standard/document.h"

namespace fs = std::filesystem;

namespace kivu::stdsvg {

namespace {

// Pictures larger than this are not read.
constexpr uint64_t kMaxPictureBytes = 256ull << 20;

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string percentDecoded(std::string_view t) {
    std::string out;
    out.reserve(t.size());
    for (size_t i = 0; i < t.size(); ++i) {
        if (t[i] == '%' && i + 2 < t.size() && hexDigit(t[i + 1]) >= 0 && hexDigit(t[i + 2]) >= 0) {
            out += static_cast<char>(hexDigit(t[i + 1]) * 16 + hexDigit(t[i + 2]));
            i += 2;
        } else {
            out += t[i];
        }
    }
    return out;
}

std::unique_ptr<TBuffer> dataUri(const std::string& href) {
    const size_t comma = href.find(',');
    if (comma == std::string::npos) return nullptr;
    const std::string head = lowerAscii(href.substr(0, comma));
    if (head.size() >= 7 && head.compare(head.size() - 7, 7, ";base64") == 0)
        return TBuffer::createByBase64CodedString(std::string_view(href).substr(comma + 1));
    return TBuffer::create(std::string_view(percentDecoded(std::string_view(href).substr(comma + 1))));
}

// A file named relative to the drawing's folder, or inside it.
std::unique_ptr<TBuffer> localFile(std::string name, const std::string& folder, std::string& why) {
    if (folder.empty()) return why = "the drawing has no folder", nullptr;
    if (name.rfind("file://", 0) == 0) name = name.substr(7);
    name = percentDecoded(name);
    std::error_code ec;
    const fs::path base = fs::weakly_canonical(fs::path(folder), ec);
    const fs::path path = fs::weakly_canonical(fs::path(name).is_absolute() ? fs::path(name) : base / name, ec);
    if (ec) return why = "no such file", nullptr;
    const std::string b = base.string() + "/", p = path.string();
    if (p.compare(0, b.size(), b) != 0) return why = "outside the drawing's folder", nullptr;
    if (!fs::is_regular_file(path, ec)) return why = "no such file", nullptr;
    if (fs::file_size(path, ec) > kMaxPictureBytes) return why = "too large", nullptr;
    std::unique_ptr<TBuffer> bytes = TBuffer::loadFromFile(p);
    if (!bytes) why = "can't be read";
    return bytes;
}

bool startsWith(std::span<const uint8_t> b, std::string_view magic) {
    return b.size() >= magic.size() && std::memcmp(b.data(), magic.data(), magic.size()) == 0;
}

}  // namespace

std::string sniffPicture(std::span<const uint8_t> b) {
    if (startsWith(b, "\x89PNG")) return "png";
    if (startsWith(b, "\xFF\xD8\xFF")) return "jpg";
    if (startsWith(b, "GIF8")) return "gif";
    if (startsWith(b, "\x1F\x8B")) return "svgz";
    if (startsWith(b, "BM")) return "bmp";
    if (startsWith(b, "\xD7\xCD\xC6\x9A") || startsWith(b, std::string_view("\x01\x00\x09\x00", 4)) ||
        startsWith(b, std::string_view("\x02\x00\x09\x00", 4)))
        return "wmf";
    const std::string_view head(reinterpret_cast<const char*>(b.data()), std::min<size_t>(b.size(), 4096));
    if (head.find("<svg") != std::string_view::npos) return "svg";
    return "";
}

std::unique_ptr<TBuffer> pictureBytes(const std::string& href, const std::string& folder, bool network,
                                      std::string& ext, std::string& why) {
    const std::string h(trimSpace(href));
    std::unique_ptr<TBuffer> bytes;
    const std::string lower = lowerAscii(h.substr(0, 8));
    if (lower.rfind("data:", 0) == 0) {
        bytes = dataUri(h);
        if (!bytes) why = "a data URI without data";
    } else if (lower.rfind("http://", 0) == 0 || lower.rfind("https://", 0) == 0) {
        if (!network) return why = "the network is not allowed", nullptr;
        bytes = TBuffer::loadFromURL(h);
        if (!bytes) why = "can't be fetched";
    } else {
        bytes = localFile(h, folder, why);
    }
    if (!bytes) return nullptr;
    ext = sniffPicture(bytes->bytes());
    if (ext.empty()) return why = "not a picture this library reads", nullptr;
    return bytes;
}

namespace {

void collectPicture(TPainter& painter, const TSvgNode& node) {
    const std::string* href = node.attribute("href");
    if (!href || href->empty()) return;
    std::string ext, why;
    std::unique_ptr<TBuffer> bytes = pictureBytes(*href, painter.host().drawingFolder(),
                                                  painter.host().networkAllowed(), ext, why);
    if (!bytes) {
        const std::string shown = href->size() > 64 ? href->substr(0, 64) + "..." : *href;
        painter.host().warnOnce(sformat("SVG: picture '%s' not drawn: %s", shown.c_str(), why.c_str()));
        return;
    }
    if (painter.host().addPicture(node, std::move(bytes), ext).empty())
        painter.host().warnOnce("SVG: a picture of the drawing could not be read");
}

}  // namespace

void drawImage(TPainter& painter, const TSvgNode& node, const SState& state) {
    TCanvas* canvas = painter.canvas();
    if (!canvas) return collectPicture(painter, node);
    if (state.style.visibility != Visibility::visible || state.style.opacity <= 0) return;
    const std::string source = painter.host().pictureSource(node);
    TImageFormat* picture = source.empty() ? nullptr : painter.host().picture(source);
    const uint64_t object = source.empty() ? 0 : painter.host().pictureObject(source);
    if (!picture || !object || picture->width() <= 0 || picture->height() <= 0) return;
    const double iw = picture->width(), ih = picture->height(), fs = state.style.fontSize;
    double w = 0, h = 0;
    const bool hasW = lengthAttribute(node, "width", Axis::x, fs, state.vp, w) && w >= 0;
    const bool hasH = lengthAttribute(node, "height", Axis::y, fs, state.vp, h) && h >= 0;
    if (!hasW) w = hasH ? h * iw / ih : iw;
    if (!hasH) h = hasW ? w * ih / iw : ih;
    if (!(w > 0) || !(h > 0)) return;
    const double x = lengthAttribute(node, "x", Axis::x, 0, fs, state.vp);
    const double y = lengthAttribute(node, "y", Axis::y, 0, fs, state.vp);
    SAspectRatio aspect;
    if (const std::string* par = node.attribute("preserveAspectRatio")) parseAspectRatio(*par, aspect);
    const SMatrix fit = viewBoxTransform(SViewBox{0, 0, iw, ih}, aspect, x, y, w, h);
    const SMatrix m = state.ctm * fit * SMatrix{iw, 0, 0, -ih, 0, ih};
    if (!m.finite()) return;
    TContent& out = canvas->out();
    out.save("q\n");
    if (aspect.slice) {
        canvas->path(rectPath(x, y, w, h, 0, 0).transformed(state.ctm), 1);
        out.op("W").op("n");
    }
    canvas->alpha(state.style.opacity, 1);
    out.num(m.a, 6).num(m.b, 6).num(m.c, 6).num(m.d, 6).num(m.e).num(m.f).op("cm");
    const std::string name = sformat("I%llu", static_cast<unsigned long long>(object));
    painter.host().nameResource(name, "XObject", ResourceSource::object, object);
    out.raw("/" + name + " Do\n");
    out.restore("Q\n");
}

}  // namespace kivu::stdsvg
