#include "kivuimg/img/pdf/truetype.h"

#include <fontconfig/fontconfig.h>
#include <hb-ot.h>
#include <hb-subset.h>
#include <hb.h>

#include <algorithm>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/indirectobj.h"


namespace kivu::pdf {

std::u32string codePoints(const std::string& utf8) {
    std::u32string out;
    const std::u16string units = utf8ToUtf16(utf8);
    for (size_t i = 0; i < units.size(); ++i) {
        const char16_t u = units[i];
        if (u >= 0xD800 && u <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
            out += static_cast<char32_t>(0x10000 + ((u - 0xD800) << 10) + (units[i + 1] - 0xDC00));
            ++i;
        } else {
            out += u;
        }
    }
    return out;
}

// ---- finding ---------------------------------------------------------------------

struct FontFinder::Candidates {
    FcFontSet* set = nullptr;
    ~Candidates() {
        if (set) FcFontSetDestroy(set);
    }
};

namespace {

// The weight and slant asked for, and fontconfig's substitutions.
void prepareFace(FcPattern* pattern, bool bold, bool italic) {
    FcPatternAddInteger(pattern, FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddInteger(pattern, FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
}

}  // namespace

FontFinder::FontFinder() = default;

FontFinder::~FontFinder() {
    if (!used_) return;
    cache_.clear();
    FcFini();
}

const FontFinder::Candidates& FontFinder::candidates(const std::string& families, const std::string& generic,
                                                     bool bold, bool italic) {
    used_ = true;
    const std::string key = families + "|" + generic + (bold ? "|b" : "|") + (italic ? "i" : "");
    auto& slot = cache_[key];
    if (slot) return *slot;
    slot = std::make_unique<Candidates>();
    FcPattern* pattern = FcPatternCreate();
    size_t start = 0;
    while (start <= families.size()) {
        size_t comma = families.find(',', start);
        if (comma == std::string::npos) comma = families.size();
        std::string name = strip(families.substr(start, comma - start));
        std::erase(name, '"');
        std::erase(name, '\'');
        if (!name.empty()) FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(name.c_str()));
        start = comma + 1;
    }
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(generic.c_str()));
    prepareFace(pattern, bold, italic);
    FcResult result;
    slot->set = FcFontSort(nullptr, pattern, FcFalse, nullptr, &result);
    FcPatternDestroy(pattern);
    return *slot;
}

bool FontFinder::find(const std::string& families, const std::string& generic, bool bold, bool italic,
                      const std::u32string& chars, FontFace& face) {
    const Candidates& list = candidates(families, generic, bold, italic);
    if (!list.set) return false;
    size_t best = 0;
    for (int i = 0; i < list.set->nfont; ++i) {
        FcPattern* font = list.set->fonts[i];
        FcChar8 *format = nullptr, *file = nullptr;
        FcCharSet* charset = nullptr;
        int index = 0;
        if (FcPatternGetString(font, FC_FONTFORMAT, 0, &format) != FcResultMatch ||
            std::string(reinterpret_cast<const char*>(format)) != "TrueType" ||
            FcPatternGetString(font, FC_FILE, 0, &file) != FcResultMatch ||
            FcPatternGetCharSet(font, FC_CHARSET, 0, &charset) != FcResultMatch)
            continue;
        FcPatternGetInteger(font, FC_INDEX, 0, &index);
        const size_t held = static_cast<size_t>(
            std::count_if(chars.begin(), chars.end(), [&](char32_t c) { return FcCharSetHasChar(charset, c); }));
        if (held <= best) continue;
        best = held;
        face = FontFace{reinterpret_cast<const char*>(file), index};
        if (held == chars.size()) break;
    }
    return best > 0;
}

bool FontFinder::findFamily(const std::string& family, bool bold, bool italic, FontFace& face) {
    used_ = true;
    FcPattern* pattern = FcPatternCreate();
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
    prepareFace(pattern, bold, italic);
    FcResult result;
    FcPattern* match = FcFontMatch(nullptr, pattern, &result);
    FcPatternDestroy(pattern);
    if (!match) return false;
    FcChar8 *name = nullptr, *file = nullptr;
    int index = 0;
    const bool found = FcPatternGetString(match, FC_FAMILY, 0, &name) == FcResultMatch &&
                       family == reinterpret_cast<const char*>(name) &&
                       FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch;
    FcPatternGetInteger(match, FC_INDEX, 0, &index);
    if (found) face = FontFace{reinterpret_cast<const char*>(file), index};
    FcPatternDestroy(match);
    return found;
}

// ---- embedding ----------------------------------------------------------------------

namespace {

// Owns one HarfBuzz object.
template <typename T, void (*Destroy)(T*)>
struct HbRef {
    T* p;
    explicit HbRef(T* v) : p(v) {}
    ~HbRef() {
        if (p) Destroy(p);
    }
    HbRef(const HbRef&) = delete;
    HbRef& operator=(const HbRef&) = delete;
};
using Blob = HbRef<hb_blob_t, hb_blob_destroy>;
using Face = HbRef<hb_face_t, hb_face_destroy>;
using Font = HbRef<hb_font_t, hb_font_destroy>;

bool isSurrogate(char16_t u) { return u >= 0xD800 && u <= 0xDFFF; }

}  // namespace

struct FontMetrics::Loaded {
    Blob blob;
    Face face;
    Font font;
    double upem;
    explicit Loaded(const FontFace& f)
        : blob(hb_blob_create_from_file_or_fail(f.file.c_str())),
          face(hb_face_create(blob.p ? blob.p : hb_blob_get_empty(), static_cast<unsigned>(f.index))),
          font(hb_font_create(face.p)),
          upem(hb_face_get_upem(face.p)) {}
};

FontMetrics::FontMetrics() = default;
FontMetrics::~FontMetrics() = default;

double FontMetrics::advanceEm(const FontFace& face, const std::u32string& chars) {
    auto& slot = fonts_[face];
    if (!slot) slot = std::make_unique<Loaded>(face);
    if (!slot->blob.p || slot->upem <= 0) return 0;
    double units = 0;
    for (char32_t c : chars) {
        hb_codepoint_t gid = 0;
        // A character the font lacks shows its .notdef glyph (0).
        hb_font_get_nominal_glyph(slot->font.p, c, &gid);
        units += hb_font_get_glyph_h_advance(slot->font.p, gid);
    }
    return units / slot->upem;
}

namespace {

// The subset's program: the glyphs of `codes`, hinting dropped.
std::vector<uint8_t> subsetProgram(hb_face_t* face, const std::set<char16_t>& codes) {
    hb_subset_input_t* input = hb_subset_input_create_or_fail();
    if (!input) throw KivuException("font subset: out of memory");
    hb_set_t* unicodes = hb_subset_input_unicode_set(input);
    for (char16_t u : codes)
        if (!isSurrogate(u)) hb_set_add(unicodes, u);
    hb_subset_input_set_flags(input, HB_SUBSET_FLAGS_NO_HINTING);
    Face subset(hb_subset_or_fail(face, input));
    hb_subset_input_destroy(input);
    if (!subset.p) throw KivuException("font subset failed");
    Blob blob(hb_face_reference_blob(subset.p));
    unsigned int length = 0;
    const char* data = hb_blob_get_data(blob.p, &length);
    return std::vector<uint8_t>(data, data + length);
}

// A PDF name from the font's PostScript name, behind a subset tag made
// from the codes (six capitals), as subset fonts are named.
std::string subsetName(hb_face_t* face, const std::set<char16_t>& codes) {
    char buffer[128] = {0};
    unsigned int size = sizeof buffer;
    hb_ot_name_get_utf8(face, HB_OT_NAME_ID_POSTSCRIPT_NAME, HB_LANGUAGE_INVALID, &size, buffer);
    std::string name;
    for (const char* c = buffer; *c; ++c)
        if ((*c >= 'A' && *c <= 'Z') || (*c >= 'a' && *c <= 'z') || (*c >= '0' && *c <= '9') || *c == '-') name += *c;
    if (name.empty()) name = "Font";
    uint32_t h = 2166136261u;
    for (char16_t u : codes) h = (h ^ u) * 16777619u;
    std::string tag;
    for (int i = 0; i < 6; ++i, h /= 26) tag += static_cast<char>('A' + h % 26);
    return tag + "+" + name;
}

// One glyph per code in the subset, and its advance in thousandths of the em.
struct SGlyphs {
    std::map<char16_t, uint32_t> gid;
    std::map<char16_t, int> width;
};

SGlyphs glyphsOf(const std::vector<uint8_t>& program, const std::set<char16_t>& codes) {
    Blob blob(hb_blob_create(reinterpret_cast<const char*>(program.data()), static_cast<unsigned>(program.size()),
                             HB_MEMORY_MODE_READONLY, nullptr, nullptr));
    Face face(hb_face_create(blob.p, 0));
    Font font(hb_font_create(face.p));
    const double upem = hb_face_get_upem(face.p);
    SGlyphs out;
    for (char16_t u : codes) {
        hb_codepoint_t gid = 0;
        if (isSurrogate(u) || !hb_font_get_nominal_glyph(font.p, u, &gid)) continue;
        out.gid[u] = gid;
        out.width[u] = static_cast<int>(hb_font_get_glyph_h_advance(font.p, gid) * 1000.0 / upem + 0.5);
    }
    return out;
}

uint64_t addStream(TObjects& objects, const std::vector<uint8_t>& bytes, const char* comment) {
    TIndirectObject* obj = objects.add(0);
    obj->comment(comment);
    TMemory data{std::span<const uint8_t>(bytes)};
    obj->setStream(&data, "");
    return obj->num();
}

std::vector<uint8_t> cidToGidMap(const SGlyphs& glyphs) {
    const size_t last = glyphs.gid.empty() ? 0 : glyphs.gid.rbegin()->first;
    std::vector<uint8_t> map((last + 1) * 2, 0);
    for (const auto& [code, gid] : glyphs.gid) {
        map[code * 2] = static_cast<uint8_t>(gid >> 8);
        map[code * 2 + 1] = static_cast<uint8_t>(gid);
    }
    return map;
}

std::string toUnicodeCMap(const std::set<char16_t>& codes) {
    std::vector<char16_t> mapped;
    for (char16_t u : codes)
        if (!isSurrogate(u)) mapped.push_back(u);
    std::string cmap =
        "/CIDInit /ProcSet findresource begin\n12 dict begin\nbegincmap\n"
        "/CIDSystemInfo << /Registry (Adobe) /Ordering (UCS) /Supplement 0 >> def\n"
        "/CMapName /Adobe-Identity-UCS def\n/CMapType 2 def\n"
        "1 begincodespacerange\n<0000> <FFFF>\nendcodespacerange\n";
    for (size_t i = 0; i < mapped.size(); i += 100) {
        const size_t n = std::min<size_t>(100, mapped.size() - i);
        cmap += sformat("%zu beginbfchar\n", n);
        for (size_t k = i; k < i + n; ++k) cmap += sformat("<%04X> <%04X>\n", mapped[k], mapped[k]);
        cmap += "endbfchar\n";
    }
    cmap += "endcmap\nCMapName currentdict /defineresource get exec\nend\nend\n";
    return cmap;
}

std::string widthArray(const SGlyphs& glyphs) {
    std::string w = "[";
    for (const auto& [code, width] : glyphs.width) w += sformat(" %d [%d]", code, width);
    return w + " ]";
}

// The descriptor's metrics, read from the whole font, in thousandths of the em.
void setMetrics(TBaseObject& descriptor, hb_face_t* face) {
    Font font(hb_font_create(face));
    const double k = 1000.0 / hb_face_get_upem(face);
    hb_position_t ascender = 0, descender = 0, cap = 0;
    hb_ot_metrics_get_position(font.p, HB_OT_METRICS_TAG_HORIZONTAL_ASCENDER, &ascender);
    hb_ot_metrics_get_position(font.p, HB_OT_METRICS_TAG_HORIZONTAL_DESCENDER, &descender);
    if (!hb_ot_metrics_get_position(font.p, HB_OT_METRICS_TAG_CAP_HEIGHT, &cap)) cap = ascender;
    int box[4] = {0, static_cast<int>(descender * k), 1000, static_cast<int>(ascender * k)};
    Blob head(hb_face_reference_table(face, HB_TAG('h', 'e', 'a', 'd')));
    unsigned int length = 0;
    const auto* d = reinterpret_cast<const uint8_t*>(hb_blob_get_data(head.p, &length));
    if (length >= 44)
        for (int i = 0; i < 4; ++i) box[i] = static_cast<int>(static_cast<int16_t>(d[36 + 2 * i] << 8 | d[37 + 2 * i]) * k);
    descriptor.set("FontBBox", sformat("[%d %d %d %d]", box[0], box[1], box[2], box[3]));
    descriptor.set("ItalicAngle", sformat("%.1f", static_cast<double>(hb_style_get_value(font.p, HB_STYLE_TAG_SLANT_ANGLE))));
    descriptor.set("Ascent", sformat("%d", static_cast<int>(ascender * k)));
    descriptor.set("Descent", sformat("%d", static_cast<int>(descender * k)));
    descriptor.set("CapHeight", sformat("%d", static_cast<int>(cap * k)));
    descriptor.set("StemV", "80");
}

}  // namespace

void EmbeddedFont::write(TObjects& objects, TBaseObject& type0) {
    Blob blob(hb_blob_create_from_file_or_fail(face_.file.c_str()));
    if (!blob.p) throwf("font '%s' can't be read", face_.file.c_str());
    Face face(hb_face_create(blob.p, static_cast<unsigned>(face_.index)));
    const std::vector<uint8_t> program = subsetProgram(face.p, codes_);
    const SGlyphs glyphs = glyphsOf(program, codes_);
    const std::string name = subsetName(face.p, codes_);

    const uint64_t file = addStream(objects, program, "FontFile2");
    TIndirectObject* descriptor = objects.add(0);
    descriptor->set("Type", "/FontDescriptor");
    descriptor->set("FontName", "/" + name);
    descriptor->set("Flags", "4");
    setMetrics(*descriptor, face.p);
    descriptor->set("FontFile2", sformat("%llu 0 R", static_cast<unsigned long long>(file)));
    const uint64_t map = addStream(objects, cidToGidMap(glyphs), "CIDToGIDMap");
    const std::string cmap = toUnicodeCMap(codes_);
    const uint64_t unicode =
        addStream(objects, std::vector<uint8_t>(cmap.begin(), cmap.end()), "ToUnicode");

    TIndirectObject* cidFont = objects.add(0);
    cidFont->set("Type", "/Font");
    cidFont->set("Subtype", "/CIDFontType2");
    cidFont->set("BaseFont", "/" + name);
    cidFont->set("CIDSystemInfo", "<< /Registry (Adobe) /Ordering (Identity) /Supplement 0 >>");
    cidFont->set("FontDescriptor", sformat("%llu 0 R", static_cast<unsigned long long>(descriptor->num())));
    cidFont->set("DW", "1000");
    cidFont->set("W", widthArray(glyphs));
    cidFont->set("CIDToGIDMap", sformat("%llu 0 R", static_cast<unsigned long long>(map)));

    type0.set("Type", "/Font");
    type0.set("Subtype", "/Type0");
    type0.set("BaseFont", "/" + name);
    type0.set("Encoding", "/Identity-H");
    type0.set("DescendantFonts", sformat("[%llu 0 R]", static_cast<unsigned long long>(cidFont->num())));
    type0.set("ToUnicode", sformat("%llu 0 R", static_cast<unsigned long long>(unicode)));
}

}  // namespace kivu::pdf
