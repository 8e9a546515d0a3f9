// TCanvas: where a drawing under the standard rules writes its operators.
// It holds the Form being written (and the forms nested in it: groups with
// opacity, masks, patterns), writes paths under their full transformation,
// and turns colours, opacities and gradients into operators and the named
// resources the host resolves, recording every name through the image.
//
// Every element is written inside its own "q <matrix> cm ... Q", the matrix
// mapping its user space to the Form's space (points, y up), so that any
// piece of content can move into a nested form unchanged.  Coordinates are
// written at the transformation's mean scale: three decimals then mean
// about a thousandth of a point whatever the view box.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kivuimg/commons/content.h"
#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/graphics/color.h"
#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/graphics/matrix.h"
#include "kivuimg/img/imgformat.h"
#include "kivuimg/img/svg/standard/filter.h"
#include "kivuimg/img/svg/standard/path.h"
#include "kivuimg/img/svg/standard/values.h"

namespace kivu {
class TObjects;
}

namespace kivu::stdsvg {

// What the canvas needs of the image it writes for.
class TCanvasHost {
public:
    virtual ~TCanvasHost() = default;
    virtual TObjects* objects() = 0;
    virtual std::vector<SGradient>* gradientRecords() = 0;
    // The colour in the emission's target space.
    virtual SColor targetColor(const SColor& color) = 0;
    virtual void nameResource(const std::string& name, const char* category, ResourceSource source,
                              uint64_t index) = 0;
    virtual void addResourceHolder(uint64_t number) = 0;
    // Counts bytes written into content against the document's budget.
    virtual void countContent(uint64_t bytes) = 0;
};

// A path's placement: the matrix written by cm and the scale its
// coordinates are written at.
struct SPlacement {
    SMatrix cm;
    double scale = 1;
};

class TCanvas {
public:
    TCanvas(TCanvasHost& host, TMemory& stream, const SBox& formBox);
    ~TCanvas();

    TContent& out() { return *out_; }
    TCanvasHost& host() { return host_; }
    // The placement of user space under `ctm`; false when it draws nothing
    // (a transformation that squashes the plane or is no finite number).
    static bool placement(const SMatrix& ctm, SPlacement& out);

    // "q <cm> cm" and the matching "Q".
    void begin(const SPlacement& p);
    void end();
    // The path's operators at the placement's scale.
    void path(const TPath& path, double scale);
    // "re" of a rectangle in user units.
    void rect(double x, double y, double w, double h, double scale);

    // Colour operators: "rg" (fill) or "RG" (stroke) in the target space,
    // through the colour filters in force.
    void color(const SRgba& rgba, bool stroke);
    // Colour filters of the elements being drawn, innermost last.
    void pushColourFilters(const std::vector<SColorMatrix>& filters);
    void popColourFilters(size_t count);
    SRgba filtered(const SRgba& rgba) const;
    // A shared graphics state with the fill and stroke alphas ("ca", "CA");
    // nothing when both are 1.
    void alpha(float fill, float stroke);
    // A shared graphics state with these entries: "/GS<k> gs".
    void state(const std::vector<std::pair<std::string, std::string>>& entries);

    // A gradient record for the host: appended, or an equal one reused.
    // Answers its number k (the names "/Sh<k>", "/TGS<k>").
    int gradientRecord(const SGradient& record);
    // " /Sh<k> sh", after " /TGS<k> gs" when the record has alpha.
    void shade(int k);
    // Strokes or fills with the record as a shading pattern.
    void patternPaint(int k, bool stroke);

    // A nested Form of the drawing's own (a group, a mask's content): the
    // operators written between beginForm and endForm go into it.  endForm
    // makes the object and answers its number; it takes the drawing's
    // Resources.  `group` adds a transparency group ("/S /Transparency",
    // with a colour space such as "/DeviceRGB" for the group of a
    // luminosity soft mask).
    void beginForm();
    uint64_t endForm(const std::string& comment, bool group, const char* groupSpace = nullptr);
    // The same for a form drawn where the space is not the Form's: its box
    // in that space.
    uint64_t endForm(const std::string& comment, const SBox& box);
    // The same for a tiling pattern whose cell is [0 0 w h] in its space,
    // `matrix` mapping that space to the Form's.
    uint64_t endPattern(const SMatrix& matrix, double w, double h);
    // Fills or strokes with a tiling pattern of the drawing: "/P<n> scn".
    void tilingPaint(uint64_t number, bool stroke);
    // "/X<n> Do" of a Form of the drawing.
    void drawForm(uint64_t number);
    // A shared graphics state with a soft mask from a Form of the drawing:
    // "/S /Luminosity" or "/S /Alpha".
    void softMask(uint64_t form, bool luminosity);
    // Form depth: 0 while the main Form is written.
    size_t formDepth() const { return stack_.size(); }
    const SBox& formBox() const { return formBox_; }

private:
    struct SLevel {
        std::unique_ptr<TBuffer> buffer;
        std::unique_ptr<TContent> content;
    };

    SLevel _popForm();
    uint64_t _endForm(const std::string& comment, bool group, const char* groupSpace, const SBox& box);

    TCanvasHost& host_;
    TContent main_;
    TContent* out_;
    std::vector<SLevel> stack_;
    SBox formBox_;
    // Records already handed to the host in this emission, by content.
    std::vector<std::pair<size_t, int>> recordHashes_;
    std::vector<SColorMatrix> filters_;
};

// A PDF number as a Form's dictionary writes it ("[0 0 240 -80]").
std::string boxText(const SBox& box);

}  // namespace kivu::stdsvg
