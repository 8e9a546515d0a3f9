// TStandardDrawing: an SVG image read and written by the standard rules,
// the part of TImageSVG that holds the document tree, the size, the fonts
// and pictures asked of the host and their answers, and writes the Form.
//
// The Form's box lies below the x axis as the engine's does ([0 0 w -h] in
// points), so that hosts place drawings of either rule set alike.  Its
// transparency group is made together with it (the object after it), so
// that the drawing's own objects (groups, masks) can follow.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/linksrcid.h"
#include "kivuimg/img/rawfont.h"
#include "kivuimg/img/svg/standard/painter.h"
#include "kivuimg/img/svg/standard/viewport.h"

namespace kivu {
class TImageSVG;
class TObjects;
}  // namespace kivu

namespace kivu::stdsvg {

class TSvgDocument;
class TSvgBudget;

class TStandardDrawing : public TDrawingHost {
public:
    explicit TStandardDrawing(TImageSVG& image);
    ~TStandardDrawing() override;

    // Reads the file; raises with the reason when it is no drawing.
    void read(std::span<const uint8_t> bytes, const std::string& folder);
    // A drawing over the same tree and answers, for another image.
    std::unique_ptr<TStandardDrawing> copyFor(TImageSVG& image) const;

    // CSS pixels.
    double width() const { return size_.width; }
    double height() const { return size_.height; }
    // The Form's box in points.
    SBox formBox() const;

    const std::vector<SRawFont>& fontRequests() const { return fonts_; }
    void setFont(const SRawFont& answer);
    const std::vector<std::string>& pictureSources() const { return sources_; }
    void setPictureObjects(const std::vector<SLinkSrcId>& ids) { objectsOf_ = ids; }
    void swapPicture(const std::string& name, const std::string& newName);

    // The Form and its group; answers the Form's number.
    uint64_t emit(TObjects* objects, std::vector<SGradient>* gradients, ColorSpace target);

    // ---- TDrawingHost ----
    TObjects* objects() override { return objects_; }
    std::vector<SGradient>* gradientRecords() override { return gradients_; }
    SColor targetColor(const SColor& color) override;
    void nameResource(const std::string& name, const char* category, ResourceSource source,
                      uint64_t index) override;
    void addResourceHolder(uint64_t number) override;
    void countContent(uint64_t bytes) override;
    void requestFont(const SRawFont& request) override;
    const SRawFont* fontAnswer(const SRawFont& request) override;
    std::string addPicture(const TSvgNode& element, std::unique_ptr<TBuffer> bytes, const std::string& ext) override;
    std::string pictureSource(const TSvgNode& element) override;
    TImageFormat* picture(const std::string& source) override;
    uint64_t pictureObject(const std::string& source) override;
    std::string drawingFolder() override { return folder_; }
    bool networkAllowed() override;
    void warnOnce(const std::string& message) override;
    void countVisit() override;

private:
    // By the request alone: family, weight, style and text, as SRawFont
    // compares (the answer's number and form take no part).
    struct SFontKey {
        size_t operator()(const SRawFont& f) const {
            const std::hash<std::string> h;
            return h(f.family) ^ (h(f.weight) << 1) ^ (h(f.style) << 2) ^ (h(f.text) << 3);
        }
    };

    TImageSVG& image_;
    std::shared_ptr<const TSvgDocument> doc_;
    SRootSize size_;
    std::string folder_;
    std::vector<SRawFont> fonts_;
    std::unordered_map<SRawFont, SRawFont, SFontKey> answers_;
    std::vector<std::string> sources_;
    std::shared_ptr<std::map<const TSvgNode*, std::string>> pictureOf_;
    std::vector<SLinkSrcId> objectsOf_;
    std::vector<std::string> warned_;
    // The current emission's.
    TObjects* objects_ = nullptr;
    std::vector<SGradient>* gradients_ = nullptr;
    ColorSpace target_ = csAuto;
    // The document's budget, shared with the drawings embedded in it; the
    // owner is the outermost drawing, whose emission restarts the count.
    std::shared_ptr<TSvgBudget> budget_;
    bool owner_ = true;
};

}  // namespace kivu::stdsvg
