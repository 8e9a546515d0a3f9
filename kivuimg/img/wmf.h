// TImageWMF: a Windows metafile read as a stream of drawing records and
// written as a PDF Form XObject.
//
// Two walks over the records: readSpecs() finds the window (origin and
// extent) and from it the size of the drawing; _genData() keeps the table of
// GDI objects the way GDI hands out its slots and turns pens, brushes,
// polygons and polylines into content operators.  Text, bitmaps, arcs,
// rectangles and ellipses are skipped; their object records only keep the
// table's numbering in step with the file.
//
// Metafile coordinates go into the content as they stand, y pointing the way
// the window's y points; the form's BBox is the window, and the host's
// placing matrix turns it upright.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "kivuimg/commons/content.h"
#include "kivuimg/commons/graphics/color.h"
#include "kivuimg/img/imgformat.h"

namespace kivu {

// One entry of the GDI object table: a pen ("P"), a brush ("B") or a
// placeholder ("D") that only holds its slot.
struct SGDIObject {
    uint8_t red = 0;
    uint8_t green = 0;
    uint8_t blue = 0;
    uint8_t extra = 0;
    // Pen width in millimetres (the record's width / 56.692913); NaN for a
    // brush and a placeholder.
    float width = std::numeric_limits<float>::quiet_NaN();
    uint16_t style = 0;
    uint16_t hatch = 0;
    // The pen record's second width word: kept, not used.
    uint16_t widthY = 0;
    std::string type;

    // All fields equal; two NaN widths count as equal.
    bool operator==(const SGDIObject& other) const;
};

class TImageWMF : public TImageFormat {
public:
    // Function numbers of the records this class acts on.
    enum : uint16_t {
        kEOF = 0x0000,
        kCreatePalette = 0x00F7,
        kCreateBrush = 0x00F8,
        kSetPolyFillMode = 0x0106,
        kSelectObject = 0x012D,
        kDibCreatePatternBrush = 0x0142,
        kDeleteObject = 0x01F0,
        kCreatePatternBrush = 0x01F9,
        kSetWindowOrg = 0x020B,
        kSetWindowExt = 0x020C,
        kCreatePenIndirect = 0x02FA,
        kCreateFontIndirect = 0x02FB,
        kCreateBrushIndirect = 0x02FC,
        kCreateBitmapIndirect = 0x02FD,
        kPolygon = 0x0324,
        kPolyline = 0x0325,
        kPolyPolygon = 0x0538,
        kCreateBitmap = 0x06FE,
        kCreateRegion = 0x06FF,
    };
    // The first 32 bits of a placeable metafile.
    static constexpr uint32_t kPlaceableMark = 0x9AC6CDD7;

    using TImageFormat::TImageFormat;
    ~TImageWMF() override;

    std::string ext() const override { return "WMF"; }
    bool hasMask() override { return true; }
    bool isFormObject() override { return true; }
    // The window onto the unit square, y turned over: metafile axes run down.
    bool unitMatrix(std::array<double, 6>& m) override;
    // First walk: the window origin and extent seen before drawing begins,
    // and from the extent the size in pixels.  Never fails.
    void readSpecs() override;
    // The Form XObject; its Group entry names the object that addObjectMask
    // adds next.  Raises "GDI object at index %d not found".
    uint64_t addObjectSpecs(TObjects* objects, const std::string& name, std::vector<SGradient>* gradients,
                            ColorSpace space, ConvertImages convert) override;
    // The form's transparency group dictionary; call right after addObjectSpecs.
    void addObjectMask(TObjects* objects) override;
    int origWidth() override { return extentX_; }
    int origHeight() override { return extentY_; }
    int positionX() override { return originX_; }
    int positionY() override { return originY_; }
    std::unique_ptr<TImageFormat> getCopy() override;

    // The content of the last emission (null before the first).
    const TBuffer* data() const { return content_.get(); }
    const std::map<int32_t, SGDIObject>& gdiObjects() const { return gdiObjects_; }
    ColorSpace space() const { return space_; }
    ConvertImages convert() const { return convert_; }
    const std::string& name() const { return name_; }

private:
    // Adds at the lowest index not in the table and answers that index.
    int32_t _addGDIObject(const SGDIObject& object);
    // Removes the entry; an index that isn't in the table is ignored.
    void _delGDIObject(int32_t index);
    // Second walk: writes the content stream into a new `data`.
    void _genData();
    void _moveTo(int16_t x, int16_t y);
    void _lineTo(int16_t x, int16_t y);
    // The painting operator for the current pen, brush and fill mode.
    static std::string _getOperation(bool nullBrush, bool nullPen, uint16_t polyFillMode);
    // An RGB colour from fractions, converted to `space` when the emission asks for it.
    std::unique_ptr<TSpace> _getColorSpace(float r, float g, float b) const;
    struct SRecord;
    // Calls `act` for each record up to META_EOF or the end of the file.
    template <typename Act>
    void walkRecords(Act&& act);
    void _selectObject(int32_t index);
    void _drawPoly(const SRecord& record, bool polyline);
    void _drawPolyPolygon(const SRecord& record);
    // Writes the points first..first+count-1 of `record`, last to first.
    void _writePointsReversed(const SRecord& record, uint64_t first, uint64_t count);

    // The generated content stream (`data`).
    std::unique_ptr<TBuffer> content_;
    std::unique_ptr<TContent> writer_;  // writes into content_
    std::map<int32_t, SGDIObject> gdiObjects_;
    // Indices below freeEnd_ that are not in the table; with them the lowest
    // free index is found without a scan of the table.
    std::set<int32_t> freeSlots_;
    int64_t freeEnd_ = 0;
    int32_t originX_ = 0;
    int32_t originY_ = 0;
    int32_t extentX_ = 0;
    int32_t extentY_ = 0;
    ColorSpace space_ = csAuto;
    ConvertImages convert_ = ciNo;
    std::string name_;
    // State of one generation.
    bool nullPen_ = false;
    bool nullBrush_ = false;
    uint16_t polyFillMode_ = 0;
};

}  // namespace kivu
