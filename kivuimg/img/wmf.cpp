#include "kivuimg/img/wmf.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "kivuimg/commons/content.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/funcs.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/commons/unit.h"

namespace kivu {

namespace {

// Offset of the records behind the standard header, and the length of the
// placeable header in front of it.
constexpr uint64_t kStandardHeader = 18;
constexpr uint64_t kPlaceableHeader = 22;
// Size and function number of a record.
constexpr uint64_t kRecordHead = 6;

// Pen widths are stored in millimetres; the record holds them in the
// metafile's units at 56.692913 a millimetre (1440 a inch).
constexpr float kPenUnitsPerMm = 56.692913f;
constexpr float kPtPerMm = 2.8346457f;
// Millimetres of the window's extent: one unit is 1/46 mm.
constexpr float kWindowUnitsPerMm = 46.0f;

constexpr uint16_t kPenNull = 5;
constexpr uint16_t kBrushNull = 1;
constexpr uint16_t kAlternate = 1;  // META_SETPOLYFILLMODE: even-odd

// Dash arrays by pen style, in millimetres; an empty array is a solid line.
const std::vector<float>& dashArray(uint16_t style) {
    static const std::vector<float> kSolid;
    static const std::vector<float> kDash = {3, 1};
    static const std::vector<float> kDot = {0.5f, 0.5f};
    static const std::vector<float> kDashDot = {2, 1, 0.5f, 1};
    static const std::vector<float> kDashDotDot = {2, 1, 0.5f, 1, 0.5f, 1};
    switch (style) {
        case 1: return kDash;
        case 2: return kDot;
        case 3: return kDashDot;
        case 4: return kDashDotDot;
        default: return kSolid;
    }
}

}  // namespace

bool SGDIObject::operator==(const SGDIObject& o) const {
    return red == o.red && green == o.green && blue == o.blue && extra == o.extra && sameFloat(width, o.width) &&
           style == o.style && hatch == o.hatch && widthY == o.widthY && type == o.type;
}

// One record: its function number and the bytes of its parameter block that
// the file holds.  The block never reaches beyond the record's claimed size
// nor beyond the end of the file; what lies past it reads as 0.
struct TImageWMF::SRecord {
    uint16_t function = 0;
    std::string_view params;

    // The 16-bit number at index i of the block, little-endian; 0 past its end.
    uint16_t word(uint64_t i) const {
        if (i >= params.size() / 2) return 0;
        const auto* p = reinterpret_cast<const uint8_t*>(params.data()) + 2 * i;
        return static_cast<uint16_t>(p[0] | (p[1] << 8));
    }
    int16_t number(uint64_t i) const { return static_cast<int16_t>(word(i)); }
    uint8_t byte(uint64_t i) const {
        return i < params.size() ? static_cast<uint8_t>(params[static_cast<size_t>(i)]) : 0;
    }
    // How many whole 16-bit numbers the block holds.
    uint64_t numbers() const { return params.size() / 2; }
    // How many x, y pairs start in the block at number index `first` (a pair
    // cut by the end has its y read as 0).
    uint64_t pairsFrom(uint64_t first) const {
        const uint64_t n = numbers();
        return first < n ? (n - first + 1) / 2 : 0;
    }
};

TImageWMF::~TImageWMF() = default;

template <typename Act>
void TImageWMF::walkRecords(Act&& act) {
    reset();
    const uint32_t mark = readLe<uint32_t>();
    uint64_t start = kStandardHeader;
    if (mark == kPlaceableMark) start += kPlaceableHeader;
    set_seek(start < size() ? start : size());
    // Every turn but the last moves on by at least two bytes.  A value that
    // doesn't fit in what is left reads 0 without moving: two or three stray
    // bytes at the end have size 0 and name a function of their own, four or
    // five give function 0, which ends the walk.
    while (!eof()) {
        SRecord record;
        const uint32_t words = readLe<uint32_t>();
        record.function = readLe<uint16_t>();
        if (words >= 4) {
            // The claim may exceed the file: read_string stops at its end.
            const uint64_t claimed = static_cast<uint64_t>(words) * 2 - kRecordHead;
            record.params = read_string(claimed);
        }
        if (record.function == kEOF) break;
        act(record);
    }
}

void TImageWMF::readSpecs() {
    originX_ = originY_ = extentX_ = extentY_ = 0;
    width_ = height_ = 0;
    bool drawing = false;
    walkRecords([&](const SRecord& r) {
        switch (r.function) {
            case kSelectObject:
            case kPolygon:
            case kPolyline:
            case kPolyPolygon: drawing = true; break;
            case kSetWindowExt:
                if (drawing) break;
                extentY_ = r.number(0);
                extentX_ = r.number(1);
                width_ = SUnit(sformat("%.2fmm", std::fabs(static_cast<float>(extentX_) / kWindowUnitsPerMm))).px();
                height_ = SUnit(sformat("%.2fmm", std::fabs(static_cast<float>(extentY_) / kWindowUnitsPerMm))).px();
                break;
            case kSetWindowOrg:
                if (drawing) break;
                originY_ = r.number(0);
                originX_ = r.number(1);
                break;
            default: break;
        }
    });
}

int32_t TImageWMF::_addGDIObject(const SGDIObject& object) {
    int32_t index;
    if (!freeSlots_.empty()) {
        index = *freeSlots_.begin();
        freeSlots_.erase(freeSlots_.begin());
    } else {
        if (freeEnd_ >= std::numeric_limits<int32_t>::max()) throw KivuException("GDI object table is full");
        index = static_cast<int32_t>(freeEnd_++);
    }
    gdiObjects_[index] = object;
    return index;
}

void TImageWMF::_delGDIObject(const int32_t index) {
    auto it = gdiObjects_.find(index);
    if (it == gdiObjects_.end()) return;
    gdiObjects_.erase(it);
    if (gdiObjects_.empty()) {
        freeSlots_.clear();
        freeEnd_ = 0;
    } else {
        freeSlots_.insert(index);
    }
}

void TImageWMF::_moveTo(const int16_t x, const int16_t y) { writer_->moveTo(x, y); }

void TImageWMF::_lineTo(const int16_t x, const int16_t y) { writer_->lineTo(x, y); }

std::string TImageWMF::_getOperation(const bool nullBrush, const bool nullPen, const uint16_t polyFillMode) {
    std::string op;
    if (!nullPen) op = nullBrush ? "s" : "b";
    else op = nullBrush ? "n" : "f";
    if (polyFillMode == kAlternate && (op == "b" || op == "f")) op += "*";
    return op;
}

std::unique_ptr<TSpace> TImageWMF::_getColorSpace(const float r, const float g, const float b) const {
    auto rgb = std::make_unique<TRGBA>(sformat("rgb(%.3f, %.3f, %.3f)", r, g, b));
    if (space_ >= csCMYK && convert_ != ciNo) return rgb->convert(space_);
    return rgb;
}

void TImageWMF::_selectObject(const int32_t index) {
    auto it = gdiObjects_.find(index);
    if (it == gdiObjects_.end()) throwf("GDI object at index %d not found", index);
    const SGDIObject& o = it->second;
    if (o.type == "P") {
        if (o.style == kPenNull) {
            nullPen_ = true;
            return;
        }
        const auto color = _getColorSpace(o.red / 255.0f, o.green / 255.0f, o.blue / 255.0f);
        writer_->raw(toUpper(color->toPDF())).raw("\n");
        writer_->num(o.width * kPtPerMm).op("w");
        nullPen_ = false;
        const auto& dashes = dashArray(o.style);
        if (!dashes.empty()) {
            writer_->raw("[");
            for (const float d : dashes) writer_->num(d * kPtPerMm);
            writer_->raw("] 0 d\n");
        }
    } else if (o.type == "B") {
        if (o.style == kBrushNull) {
            nullBrush_ = true;
            return;
        }
        const auto color = _getColorSpace(o.red / 255.0f, o.green / 255.0f, o.blue / 255.0f);
        writer_->raw(color->toPDF()).raw("\n");
        nullBrush_ = false;
    }
    // A placeholder ("D") selects nothing that this writer draws with.
}

void TImageWMF::_writePointsReversed(const SRecord& r, const uint64_t first, const uint64_t count) {
    for (uint64_t k = count; k-- > 0;) {
        const int16_t x = r.number(first + 2 * k);
        const int16_t y = r.number(first + 2 * k + 1);
        if (k == count - 1) _moveTo(x, y);
        else _lineTo(x, y);
    }
}

void TImageWMF::_drawPoly(const SRecord& r, const bool polyline) {
    const int16_t n = r.number(0);
    if (n > 0) {
        // A count beyond the record draws only the points the record holds.
        const uint64_t count = std::min<uint64_t>(static_cast<uint64_t>(n), r.pairsFrom(1));
        _writePointsReversed(r, 1, count);
    }
    writer_->op(polyline ? "s" : _getOperation(nullBrush_, nullPen_, polyFillMode_));
}

void TImageWMF::_drawPolyPolygon(const SRecord& r) {
    const int16_t polygons = r.number(0);
    // Point counts stand behind the number of polygons, the points behind them.
    const uint64_t p = polygons > 0 ? std::min<uint64_t>(static_cast<uint64_t>(polygons), r.numbers() - 1) : 0;
    const uint64_t pointsAt = 1 + p;
    uint64_t done = 0;  // points of the polygons before this one
    for (uint64_t i = 0; i < p; ++i) {
        const int16_t n = r.number(1 + i);
        if (n <= 0) continue;
        const uint64_t first = pointsAt + 2 * done;
        const uint64_t count = std::min<uint64_t>(static_cast<uint64_t>(n), r.pairsFrom(first));
        _writePointsReversed(r, first, count);
        done += static_cast<uint64_t>(n);
    }
    writer_->op(_getOperation(nullBrush_, nullPen_, polyFillMode_));
}

void TImageWMF::_genData() {
    content_ = std::make_unique<TBuffer>(8192, 4096);
    writer_ = std::make_unique<TContent>(*content_, '\n');
    nullPen_ = false;
    nullBrush_ = false;
    polyFillMode_ = 0;
    walkRecords([&](const SRecord& r) {
        switch (r.function) {
            case kCreatePalette:
            case kCreateBrush:
            case kDibCreatePatternBrush:
            case kCreatePatternBrush:
            case kCreateFontIndirect:
            case kCreateBitmapIndirect:
            case kCreateBitmap:
            case kCreateRegion: {
                SGDIObject placeholder;
                placeholder.type = "D";
                _addGDIObject(placeholder);
                break;
            }
            case kCreatePenIndirect: {
                SGDIObject pen;
                pen.style = r.word(0);
                pen.width = static_cast<float>(r.word(1)) / kPenUnitsPerMm;
                pen.widthY = r.word(2);
                pen.red = r.byte(6);
                pen.green = r.byte(7);
                pen.blue = r.byte(8);
                pen.extra = r.byte(9);
                pen.type = "P";
                _addGDIObject(pen);
                break;
            }
            case kCreateBrushIndirect: {
                SGDIObject brush;
                brush.style = r.word(0);
                brush.red = r.byte(2);
                brush.green = r.byte(3);
                brush.blue = r.byte(4);
                brush.extra = r.byte(5);
                brush.hatch = r.word(3);
                brush.type = "B";
                _addGDIObject(brush);
                break;
            }
            case kDeleteObject: _delGDIObject(r.number(0)); break;
            case kSetPolyFillMode: polyFillMode_ = r.word(0); break;
            case kSelectObject: _selectObject(r.number(0)); break;
            case kPolygon: _drawPoly(r, false); break;
            case kPolyline: _drawPoly(r, true); break;
            case kPolyPolygon: _drawPolyPolygon(r); break;
            default: break;  // window records were read by readSpecs; the rest is not drawn
        }
    });
}

uint64_t TImageWMF::addObjectSpecs(TObjects* objects, const std::string& name, std::vector<SGradient>*,
                                   const ColorSpace space, const ConvertImages convert) {
    name_ = name;
    space_ = space;
    convert_ = convert;
    TIndirectObject* obj = objects->add(0);
    obj->comment("Image/WMF");
    const uint64_t num = obj->num();
    obj->args({"Type", "XObject"});
    obj->args({"Subtype", "Form"});
    obj->set("Group", sformat("%llu 0 R", static_cast<unsigned long long>(num + 1)));
    obj->set("BBox", sformat("[%d %d %d %d]", originX_, originY_, originX_ + extentX_, originY_ + extentY_));
    _genData();
    obj->setStream(content_.get(), "");
    return num;
}

void TImageWMF::addObjectMask(TObjects* objects) {
    TIndirectObject* obj = objects->add(0);
    obj->args({"Type", "Group"});
    obj->args({"S", "Transparency"});
}

std::unique_ptr<TImageFormat> TImageWMF::getCopy() { return copyAs<TImageWMF>(); }

bool TImageWMF::unitMatrix(std::array<double, 6>& m) {
    const double ox = originX_, oy = originY_, ex = extentX_, ey = extentY_;
    if (ex == 0 || ey == 0) return false;
    m = {1 / ex, 0, 0, -1 / ey, -ox / ex, 1 + oy / ey};
    return true;
}

}  // namespace kivu
