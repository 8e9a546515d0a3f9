#include "kivuimg/img/svg/standard/canvas.h"

#include <algorithm>
#include <cmath>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/graphics/valueutil.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"

namespace kivu::stdsvg {

namespace {

// Matrix entries with six decimals: they multiply every coordinate.
constexpr int kMatrixDecimals = 6;

}  // namespace

std::string boxText(const SBox& b) {
    return "[" + pdfNumber(b.x0) + " " + pdfNumber(b.y0) + " " + pdfNumber(b.x1) + " " +
           pdfNumber(b.y1) + "]";
}

TCanvas::TCanvas(TCanvasHost& host, TMemory& stream, const SBox& formBox)
    : host_(host), main_(stream, '\n'), out_(&main_), formBox_(formBox) {}

TCanvas::~TCanvas() = default;

bool TCanvas::placement(const SMatrix& ctm, SPlacement& out) {
    const double s = ctm.meanScale();
    if (!ctm.finite() || !std::isfinite(s) || s < 1e-9) return false;
    out.scale = s;
    out.cm = ctm * SMatrix::scale(1 / s, 1 / s);
    return true;
}

void TCanvas::begin(const SPlacement& p) {
    out_->save("q\n");
    out_->num(p.cm.a, kMatrixDecimals).num(p.cm.b, kMatrixDecimals);
    out_->num(p.cm.c, kMatrixDecimals).num(p.cm.d, kMatrixDecimals);
    out_->num(p.cm.e).num(p.cm.f).op("cm");
}

void TCanvas::end() { out_->restore("Q\n"); }

void TCanvas::path(const TPath& path, double s) {
    const size_t before = out_->out().size();
    for (const SPathSeg& g : path.segments()) {
        switch (g.op) {
            case SPathSeg::move: out_->moveTo(g.x * s, g.y * s); break;
            case SPathSeg::line: out_->lineTo(g.x * s, g.y * s); break;
            case SPathSeg::cubic: out_->curveTo(g.x1 * s, g.y1 * s, g.x2 * s, g.y2 * s, g.x * s, g.y * s); break;
            case SPathSeg::close: out_->closePath(); break;
        }
    }
    host_.countContent(out_->out().size() - before);
}

void TCanvas::rect(double x, double y, double w, double h, double s) {
    out_->num(x * s).num(y * s).num(w * s).num(h * s).op("re");
}

void TCanvas::pushColourFilters(const std::vector<SColorMatrix>& filters) {
    filters_.insert(filters_.end(), filters.begin(), filters.end());
}

void TCanvas::popColourFilters(size_t count) { filters_.resize(filters_.size() - std::min(count, filters_.size())); }

SRgba TCanvas::filtered(const SRgba& rgba) const {
    SRgba c = rgba;
    for (auto it = filters_.rbegin(); it != filters_.rend(); ++it) c = it->apply(c);
    return c;
}

void TCanvas::color(const SRgba& rgba, bool stroke) {
    const SRgba c = filtered(rgba);
    const SColor target = host_.targetColor(SColor(std::make_unique<TRGBA>(c.r, c.g, c.b, 1.0f)));
    std::string ops = target.toPDF();
    if (stroke) {
        // The operator is the last word: rg, k or g become RG, K or G.
        const size_t blank = ops.rfind(' ');
        for (size_t i = blank == std::string::npos ? 0 : blank + 1; i < ops.size(); ++i)
            ops[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(ops[i])));
    }
    out_->raw(ops).raw("\n");
}

void TCanvas::alpha(float fill, float stroke) {
    if (fill >= 1 && stroke >= 1) return;
    state({{"ca", pdfNumber(zeon(fill), 4)}, {"CA", pdfNumber(zeon(stroke), 4)}});
}

void TCanvas::state(const std::vector<std::pair<std::string, std::string>>& entries) {
    TObjects* objects = host_.objects();
    if (!objects) throw KivuException("SVG: drawings are written only while the image is emitted");
    std::unique_ptr<TBaseObject> state = objects->createCustom(ObjectType::extGState);
    for (const auto& [key, value] : entries) state->set(key, value);
    state->set("BM", "/Normal");
    const uint64_t k = objects->addCustom(state, false);
    const std::string name = sformat("GS%llu", static_cast<unsigned long long>(k));
    host_.nameResource(name, "ExtGState", ResourceSource::sharedState, k);
    out_->raw("/" + name).raw(" gs\n");
}

int TCanvas::gradientRecord(const SGradient& record) {
    std::vector<SGradient>* records = host_.gradientRecords();
    if (!records) throw KivuException("SVG: drawings are written only while the image is emitted");
    const size_t hash = record.toHash();
    for (const auto& [h, k] : recordHashes_)
        if (h == hash && (*records)[static_cast<size_t>(k - 1)] == record) return k;
    records->push_back(record);
    const int k = static_cast<int>(records->size());
    recordHashes_.emplace_back(hash, k);
    host_.countContent(record.colors.size() * 64);
    return k;
}

void TCanvas::shade(int k) {
    const std::vector<SGradient>* records = host_.gradientRecords();
    if (records && (*records)[static_cast<size_t>(k - 1)].hasAlpha) {
        const std::string mask = sformat("TGS%d", k);
        host_.nameResource(mask, "ExtGState", ResourceSource::gradientMask, static_cast<uint64_t>(k));
        out_->raw("/" + mask + " gs\n");
    }
    const std::string name = sformat("Sh%d", k);
    host_.nameResource(name, "Shading", ResourceSource::gradientShading, static_cast<uint64_t>(k));
    out_->raw("/" + name + " sh\n");
}

void TCanvas::patternPaint(int k, bool stroke) {
    const std::string name = sformat("GP%d", k);
    host_.nameResource(name, "Pattern", ResourceSource::gradientPattern, static_cast<uint64_t>(k));
    out_->raw(stroke ? "/Pattern CS /" : "/Pattern cs /").raw(name).raw(stroke ? " SCN\n" : " scn\n");
}

void TCanvas::beginForm() {
    SLevel level;
    level.buffer = std::make_unique<TBuffer>(4096, 0);
    level.content = std::make_unique<TContent>(*level.buffer, '\n');
    out_ = level.content.get();
    stack_.push_back(std::move(level));
}

uint64_t TCanvas::endForm(const std::string& comment, bool group, const char* groupSpace) {
    return _endForm(comment, group, groupSpace, formBox_);
}

uint64_t TCanvas::endForm(const std::string& comment, const SBox& box) { return _endForm(comment, true, nullptr, box); }

TCanvas::SLevel TCanvas::_popForm() {
    SLevel level = std::move(stack_.back());
    stack_.pop_back();
    out_ = stack_.empty() ? &main_ : stack_.back().content.get();
    return level;
}

uint64_t TCanvas::endPattern(const SMatrix& m, double w, double h) {
    SLevel level = _popForm();
    TObjects* objects = host_.objects();
    if (!objects) throw KivuException("SVG: drawings are written only while the image is emitted");
    TIndirectObject* pattern = objects->add(0);
    pattern->comment("SVG/Pattern");
    pattern->args({"Type", "Pattern"});
    pattern->set("PatternType", "1");
    pattern->set("PaintType", "1");
    pattern->set("TilingType", "1");
    pattern->set("BBox", boxText(SBox{0, 0, w, h}));
    pattern->set("XStep", pdfNumber(w));
    pattern->set("YStep", pdfNumber(h));
    pattern->set("Matrix", "[" + pdfNumber(m.a, kMatrixDecimals) + " " + pdfNumber(m.b, kMatrixDecimals) + " " +
                               pdfNumber(m.c, kMatrixDecimals) + " " + pdfNumber(m.d, kMatrixDecimals) + " " +
                               pdfNumber(m.e) + " " + pdfNumber(m.f) + "]");
    pattern->shareStream(std::shared_ptr<const TMemory>(std::move(level.buffer)), "");
    host_.addResourceHolder(pattern->num());
    return pattern->num();
}

void TCanvas::tilingPaint(uint64_t number, bool stroke) {
    const std::string name = sformat("P%llu", static_cast<unsigned long long>(number));
    host_.nameResource(name, "Pattern", ResourceSource::object, number);
    out_->raw(stroke ? "/Pattern CS /" : "/Pattern cs /").raw(name).raw(stroke ? " SCN\n" : " scn\n");
}

uint64_t TCanvas::_endForm(const std::string& comment, bool group, const char* groupSpace, const SBox& box) {
    SLevel level = _popForm();
    TObjects* objects = host_.objects();
    if (!objects) throw KivuException("SVG: drawings are written only while the image is emitted");
    TIndirectObject* form = objects->add(0);
    form->comment(comment);
    form->args({"Type", "XObject"});
    form->args({"Subtype", "Form"});
    form->set("BBox", boxText(box));
    if (group)
        form->set("Group", std::string("<< /Type /Group /S /Transparency") +
                               (groupSpace ? std::string(" /CS ") + groupSpace : std::string()) + " >>");
    form->shareStream(std::shared_ptr<const TMemory>(std::move(level.buffer)), "");
    host_.addResourceHolder(form->num());
    return form->num();
}

void TCanvas::softMask(uint64_t form, bool luminosity) {
    state({{"SMask", sformat("<< /Type /Mask /S /%s /G %llu 0 R >>", luminosity ? "Luminosity" : "Alpha",
                             static_cast<unsigned long long>(form))}});
}

void TCanvas::drawForm(uint64_t number) {
    const std::string name = sformat("X%llu", static_cast<unsigned long long>(number));
    host_.nameResource(name, "XObject", ResourceSource::object, number);
    out_->raw("/" + name + " Do\n");
}

}  // namespace kivu::stdsvg
