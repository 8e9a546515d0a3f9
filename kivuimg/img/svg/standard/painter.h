// TPainter: draws a document under the standard rules.  It walks the tree
// from the root with the computed style and the transformation of every
// element: containers, nested viewports and the instances `use` makes
// (cycles cut, depth bounded), shapes, text and pictures.  The same walk
// runs twice: once while the image is read, to learn the fonts and
// pictures the drawing asks for (no canvas then), and once to write it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/img/rawfont.h"
#include "kivuimg/img/svg/standard/canvas.h"
#include "kivuimg/img/svg/standard/gradient.h"
#include "kivuimg/img/svg/standard/properties.h"
#include "kivuimg/img/svg/standard/viewport.h"

namespace kivu {
class TImageFormat;
}

namespace kivu::stdsvg {

class TSvgDocument;
class TSvgNode;

// What the painter needs of the image beyond its canvas.
class TDrawingHost : public TCanvasHost {
public:
    // Fonts: a run's request while collecting; the host's answer while
    // writing (null when it gave none).
    virtual void requestFont(const SRawFont& request) = 0;
    virtual const SRawFont* fontAnswer(const SRawFont& request) = 0;
    // Pictures: registers the bytes of an "image" element's picture while
    // collecting; "" when they are no picture this library reads.
    virtual std::string addPicture(const TSvgNode& element, std::unique_ptr<TBuffer> bytes,
                                   const std::string& ext) = 0;
    // The source name registered for an element, or "".
    virtual std::string pictureSource(const TSvgNode& element) = 0;
    virtual TImageFormat* picture(const std::string& source) = 0;
    // The host's object for a source; 0 when it gave none.
    virtual uint64_t pictureObject(const std::string& source) = 0;
    // Where a picture named by a relative path may be read: the drawing's
    // own folder ("" when the drawing came from bytes).
    virtual std::string drawingFolder() = 0;
    virtual bool networkAllowed() = 0;
    // A warning for the log, once per drawing and text.
    virtual void warnOnce(const std::string& message) = 0;
    // Counts one element drawn (instances of `use` each time); raises past
    // the drawing's budget, so that references that multiply end.
    virtual void countVisit() = 0;
};

// Where an element is drawn.
struct SState {
    SMatrix ctm;  // user space into the Form's space
    SStyle style;
    SViewport vp;
    int depth = 0;  // instances and viewports nested
};

class TPainter {
public:
    TPainter(const TSvgDocument& doc, TDrawingHost& host);
    ~TPainter();

    // The walk that asks for fonts and pictures.
    void collect(const SMatrix& root, const SViewport& vp);
    // The walk that writes.
    void paint(TCanvas& canvas, const SMatrix& root, const SViewport& vp);

    // ---- for the units that draw leaves (text, pictures) ----
    const TSvgDocument& document() const { return doc_; }
    TDrawingHost& host() { return host_; }
    // Null while collecting.
    TCanvas* canvas() { return canvas_; }
    // The computed style of an element where it stands in the document
    // (gradients, stops, clip paths: elements used outside the walk).
    SStyle styleInDocument(const TSvgNode& node);
    // Fill and stroke of a path in user space, with the element's style.
    void fillAndStroke(const TPath& path, const SState& state, bool stroke = true);
    // The operators of the fill or stroke paint alone, for text: colour and
    // alpha, or false when the paint is a gradient or paints nothing.
    bool solidPaint(const SPaint& paint, float opacity, const SState& state, bool stroke);
    // An element's own state under its parent's (style, transformation);
    // false when it is not drawn (display, conditions, an element that is
    // never drawn where it stands).
    bool enter(const TSvgNode& node, const SState& parent, SState& state);
    void drawElement(const TSvgNode& node, const SState& parent);
    void drawChildren(const TSvgNode& node, const SState& state);
    // The geometry of a basic shape or path in its user space.
    TPath geometry(const TSvgNode& node, const SState& state);
    // Draws as a group with that opacity: composited as a whole.
    void withOpacity(float opacity, const std::function<void()>& draw);
    // Patterns being drawn, innermost last, and those made, by what they draw.
    std::vector<const TSvgNode*>& activePatterns() { return activePatterns_; }
    // Markers being drawn: a marker inside itself is not drawn.
    std::vector<const TSvgNode*>& activeMarkers() { return activeMarkers_; }
    std::map<std::string, uint64_t>& patternCache() { return patternCache_; }

private:
    void _walk(const SState& root);
    void _collectDefinitions(const TSvgNode& node, bool referenced);
    void _draw(const TSvgNode& node, const SState& state);
    void _filtered(const TSvgNode& node, const SState& state);
    void _drawEntered(const TSvgNode& node, const SState& state);
    void _use(const TSvgNode& node, const SState& state);
    void _instance(const TSvgNode& target, const TSvgNode& use, const SState& state);
    void _viewport(const TSvgNode& node, const SState& state, double w, double h, bool hasW, bool hasH);
    void _shape(const TSvgNode& node, const SState& state);

    // Fill and stroke pieces.
    struct SResolvedPaint;
    SResolvedPaint _resolve(const SPaint& paint, const SState& state, const SBox& bbox, const SBox& cover);
    void _strokeParameters(const SState& state, double scale);
    double _strokeWidth(const SState& state) const;
    void _gradientFill(const TPath& path, const SState& state, const SPlacement& pl, const SResolvedPaint& p,
                       float alpha, bool evenOdd);
    void _gradientStroke(const TPath& path, const SState& state, const SPlacement& pl, const SResolvedPaint& p,
                         float alpha);

    const TSvgDocument& doc_;
    TDrawingHost& host_;
    TCanvas* canvas_ = nullptr;
    // The `use` elements being drawn, innermost last: cycles are cut.
    std::vector<const TSvgNode*> uses_;
    std::unordered_map<const TSvgNode*, SStyle> documentStyles_;
    std::unordered_map<const TSvgNode*, std::shared_ptr<SGradientDef>> gradients_;
    std::vector<const TSvgNode*> activePatterns_;
    std::vector<const TSvgNode*> activeMarkers_;
    std::map<std::string, uint64_t> patternCache_;
};

// Whether an element's requiredFeatures, requiredExtensions and
// systemLanguage let it be drawn.
bool conditionsPass(const TSvgNode& node);

}  // namespace kivu::stdsvg
