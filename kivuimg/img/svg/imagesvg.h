// TImageSVG: the SVG image.  readSpecs parses the file with libxml2, settles
// the size and the view box, and reads the drawing into a tree of plain
// element objects; the parsed XML is freed before it returns.
// addObjectSpecs writes the whole tree as one Form XObject whose stream names
// the shared resources it uses ("/GS%u", "/TGS%d", "/Sh%d", "/I%u", "/F%d");
// the host resolves those names.
//
// The document is also the tree's service object: elements reach it to
// convert values, resolve and write styles, write transformations and look
// up references.
//
// Coordinates are written with y negated and multiplied by documentScale, so
// the Form's box lies below the x axis.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/graphics/point.h"
#include "kivuimg/commons/unit.h"
#include "kivuimg/img/imgformat.h"
#include "kivuimg/img/svg/element.h"
#include "kivuimg/img/svg/style.h"

namespace kivu {

class TSvgSubImage;
namespace stdsvg {
class TStandardDrawing;
}

// How many elements one document may hold, clones made for `use` counted;
// past it reading fails.  Nested `use` references can multiply a few bytes
// into any number of elements, so the budget bounds memory and time.
uint64_t maxSvgElements();
void maxSvgElements(uint64_t limit);
// How deep elements may nest; deeper documents fail to read.
inline constexpr int kMaxSvgDepth = 200;
// How many drawings may stand one inside the other through "image"
// elements; a drawing read deeper than that stays empty.
inline constexpr int kMaxSvgNesting = 8;
// How many rounds a reflected or repeated gradient is unrolled in each
// direction at most.  A short or degenerate axis would otherwise need rounds
// without end; past the cap the shading's extension paints the rest.
inline constexpr int kMaxGradientRounds = 256;

class TImageSVG : public TImageFormat {
public:
    explicit TImageSVG(std::unique_ptr<TBuffer> buffer);
    ~TImageSVG() override;

    // ---- the image contract ----
    // The rules an image is read by are those of the settings when
    // readSpecs runs; the image keeps them.
    std::string ext() const override { return "SVG"; }
    // True when the drawing asks the host for fonts or sub-images first.
    bool has2Pass() override;
    std::vector<SRawFont> getRawFonts() override;
    void setFont(const SRawFont& font) override;
    void addSubImageSource(const std::string& name) override;
    void swapSubImage(const std::string& name, const std::string& newName) override;
    std::vector<std::string> getSubImageSources() override;
    void setSubImageIds(const std::vector<SLinkSrcId>& ids) override;
    bool hasMask() override { return true; }
    bool isFormObject() override { return true; }
    // The form's box (below the x axis, top edge at y0) onto the unit square.
    bool unitMatrix(std::array<double, 6>& m) override;
    // Engine rules: reports by log only; raises nothing but the element
    // budget.  Standard rules: raises with the reason when the bytes are no
    // drawing.
    void readSpecs() override;
    // The Form XObject of the whole tree; its Group names the object that
    // addObjectMask adds next.  Consumes the tree: a second call gives an
    // empty stream (take getCopy first).  Raises what the elements raise.
    uint64_t addObjectSpecs(TObjects* objects, const std::string& name, std::vector<SGradient>* gradients,
                            ColorSpace space, ConvertImages convert) override;
    // The Form's transparency group; call right after addObjectSpecs.
    // Under the standard rules addObjectSpecs makes the group itself, and
    // this adds nothing.
    void addObjectMask(TObjects* objects) override;
    double exactWidth() override;
    double exactHeight() override;
    int origWidth() override;
    int origHeight() override;
    int positionX() override;
    int positionY() override;
    // A new image from the tree, without parsing: it emits the same content.
    std::unique_ptr<TImageFormat> getCopy() override;

    // ---- services of the element tree ----
    virtual std::string docName() const { return docName_; }
    // Reads a linearGradient (gtLinear) or radialGradient node.
    virtual void addGradient(_xmlNode* node, GradientType type);
    // The first top-level element with that id, searching groups ("g") too;
    // clones are passed over.  Null when none.
    virtual TSvgElement* findElementById(const std::string& id);
    virtual TSvgSubImage* getSubImageBySourceName(const std::string& name);
    virtual void setViewbox(float positionX, float positionY, float origWidth, float origHeight, float scaleX,
                            float scaleY);
    // A number, or a percentage of the width (height) in pixels; 0 for
    // anything else.  Never raises.
    virtual float convertValueX(const std::string& text);
    virtual float convertValueY(const std::string& text);
    virtual void setGradientsInfo(const std::shared_ptr<std::map<std::string, SGradientInfo>>& info);
    // The store of the current emission.
    virtual TObjects* objects() { return objects_; }
    virtual void addRawFont(const SRawFont& font);
    // The host's object number for a sub-image source; 0 when none was given.
    virtual uint64_t getSubImageIDBySourceName(const std::string& name);
    // The point, pulled inside the root's box when the root says overflow="hidden".
    virtual SPoint overFlow(const SPoint& point);
    // Smallest x, smallest y, largest x, largest y of a cubic segment.
    virtual std::array<float, 4> calcBeizerBBox(const SPoint& start, const SCurve& curve);
    // An elliptic arc as cubic segments; every control and end point goes
    // into extents[0] (x) and extents[1] (y).
    virtual std::string arcTo(const SPoint& start, const SPoint& end, const SPoint& radii, float rotation,
                              float largeArc, float sweep, std::map<int, std::vector<float>>& extents);
    // The resolved style of an element.  `attributes` may change: class
    // rules are appended to its "style" entry.
    virtual SSVGStyle defineSvgStyle(Attributes& attributes, const SSVGStyle* parentStyle, bool isText);
    // The operators that go before an element's path and those that go after it.
    virtual std::array<std::string, 2> svgStyle(TSvgElement* element);
    // An SVG transform list as cm operators, at documentScale.
    virtual std::string transformationsToPDF(const std::string& text);
    // The colour in the emission's target space, when it converts.
    virtual SColor getColorSpace(const SColor& color);
    virtual std::vector<std::string> regSplit(const std::string& pattern, const std::string& subject,
                                              const std::string& flags);

    // The rules this image was read by.
    Rules rules() const { return standard_ ? rulesStandard : rulesEngine; }
    // Marks an object of this emission as taking the drawing's Resources.
    void holdResources(uint64_t number) { addResourceHolder(number); }

    // Records a name the content being written uses (see resourceNames).
    void nameResource(const std::string& name, const char* category, ResourceSource source, uint64_t index) {
        useResource(name, category, source, index);
    }

    // True the first time it is asked in this document: text that loses
    // characters warns once.
    bool firstIndexedWarning();

    void addElement(std::unique_ptr<TSvgElement> element);
    const std::vector<std::unique_ptr<TSvgElement>>& elements() const { return elements_; }
    // Counts a new element against the budget; raises past it.  Gradient
    // stops count too: those read, those a reference copies, and those
    // written into records, so that no gradient multiplies without bound.
    void countElement();

    // The letter of the path command written last, and the mirrored second
    // control point of the last curve (end minus control, y down).  Both
    // carry over from one path to the next.
    const std::string& lastCommand() const { return lastCommand_; }
    void lastCommand(const std::string& letter) { lastCommand_ = letter; }
    SPoint lastControl() const { return lastControl_; }
    void lastControl(const SPoint& offset) { lastControl_ = offset; }

    // ---- read-back for hosts and tests ----
    float documentScale() const { return documentScale_; }
    float documentScaleY() const { return documentScaleY_; }
    Unit unit() const { return unit_; }
    const std::string& version() const { return version_; }
    const Attributes& rootAttributes() const { return attributes_; }
    const std::map<std::string, std::string>& classes() const { return classes_; }
    const std::map<std::string, SGradientInfo>& gradientsInfo() const { return *gradientsInfo_; }
    float viewPositionX() const { return positionX_; }
    float viewPositionY() const { return positionY_; }
    float viewWidth() const { return origWidth_; }
    float viewHeight() const { return origHeight_; }
    ColorSpace targetSpace() const { return colorSpace_; }

private:
    void _readStandard();
    std::string rebuiltText();
    void parseDocument(const std::string& text);
    void _setSvgViewBox(const Attributes& attributes);
    void _readElements(_xmlNode* root);
    float _convertValue(const std::string& text, bool& isPercent);
    void _linkGradientXRefs();
    // Style resolution (style.cpp).
    void _defineStyleString(const std::string& text, SSVGStyle& style);
    void _defineRestStyles(const Attributes& attributes, SSVGStyle& style);
    void _defineTextStyle(SSVGStyle* style, const Attributes& attributes);
    float _checkStrokeWidth(const std::string& text);
    void _parseCSS(const std::string& text);
    std::string _fillOperators(TSvgElement* element, SSVGStyle& style, std::string& paint, std::string& clip,
                               std::string& gradient);
    std::string _strokeOperators(SSVGStyle& style, std::string& paint);
    std::string _dashOperators(const SSVGStyle& style);
    std::string _opacityState(const char* key, float opacity);
    // Gradients (gradients.cpp).
    void _addStopToGradient(SGradientInfo& info, _xmlNode* node);
    std::string _svgGradient(SGradientInfo info, TSvgElement* element);
    std::string _svgGradientLinear(SGradientInfo* info, float w, float h, const SPoint& origin,
                                   const std::string& transformText, char spreadLetter);
    std::string _svgGradientRadial(SGradientInfo* info, float w, float h, const SPoint& origin,
                                   const std::string& transformText, char spreadLetter);
    std::string _gradientRecord(const SGradientInfo& info, int32_t shadingType, const SPoint& from,
                                const SPoint& to, float firstRadius, float lastRadius);

    Unit unit_ = uNone;
    std::string version_ = "1.0";
    Attributes attributes_;
    std::map<std::string, std::string> classes_;
    std::vector<std::unique_ptr<TSvgElement>> elements_;
    TObjects* objects_ = nullptr;
    std::vector<SGradient>* gradients_ = nullptr;
    ColorSpace colorSpace_ = csAuto;
    ConvertImages convertImages_ = ciNo;
    std::string docName_;
    // Shared with copies: a copy reads the same definitions.
    std::shared_ptr<std::map<std::string, SGradientInfo>> gradientsInfo_;
    std::map<std::string, SGradientInfo> gradientsForOutput_;
    float positionX_ = 0, positionY_ = 0, origWidth_ = 0, origHeight_ = 0;
    float documentScale_ = 0.75f;
    float documentScaleY_ = 1.0f;
    std::vector<SRawFont> rawFonts_;
    std::vector<std::string> subImageSources_;
    std::vector<SLinkSrcId> subImageIds_;
    // The drawing under the standard rules; null under the engine's.
    std::unique_ptr<stdsvg::TStandardDrawing> standard_;
    uint64_t elementCount_ = 0;
    bool overBudget_ = false;
    bool indexedWarned_ = false;
    std::string lastCommand_;
    SPoint lastControl_{0, 0};
};

}  // namespace kivu
