#include <gtest/gtest.h>

#include "tests/builders.h"

#include <filesystem>
#include <string>

#include "kivuimg/img/bmp.h"
#include "kivuimg/img/exif.h"
#include "kivuimg/img/gif.h"
#include "kivuimg/img/jpg.h"
#include "kivuimg/img/png.h"

namespace fs = std::filesystem;
using namespace kivu;
using kivutest::Bytes;

namespace {

Bytes fileBytes(const std::string& path) {
    auto buffer = TBuffer::loadFromFile(path);
    const auto s = buffer->pointChunk(0, 0);
    return Bytes(s.begin(), s.end());
}

std::unique_ptr<TImageFormat> load(const fs::path& path, const Bytes& bytes) {
    auto buffer = TBuffer::create(std::span<const uint8_t>(bytes));
    const std::string ext = path.extension().string();
    std::unique_ptr<TImageFormat> img;
    if (ext == ".png") img = std::make_unique<TImagePNG>(std::move(buffer));
    else if (ext == ".bmp") img = std::make_unique<TImageBMP>(std::move(buffer));
    else if (ext == ".gif") img = std::make_unique<TImageGIF>(std::move(buffer));
    else img = std::make_unique<TImageJPG>(std::move(buffer));
    img->readSpecs();
    return img;
}

// An APP1 segment behind SOI: big-endian EXIF with XResolution 100/1,
// YResolution 50/2 and ResolutionUnit 3 (centimetre).
Bytes withExif(Bytes jpeg) {
    Bytes tiff{'M', 'M', 0, 42, 0, 0, 0, 8, 0, 3};
    auto entry = [&](int tag, int type, uint32_t value) {
        tiff.insert(tiff.end(), {uint8_t(tag >> 8), uint8_t(tag), 0, uint8_t(type), 0, 0, 0, 1});
        kivutest::be32(tiff, value);
    };
    entry(0x011A, 5, 50);
    entry(0x011B, 5, 58);
    entry(0x0128, 3, 3u << 16);
    kivutest::be32(tiff, 0);
    for (uint32_t v : {100u, 1u, 50u, 2u}) kivutest::be32(tiff, v);
    Bytes app1{0xFF, 0xE1, 0, uint8_t(tiff.size() + 8), 'E', 'x', 'i', 'f', 0, 0};
    app1.insert(app1.end(), tiff.begin(), tiff.end());
    jpeg.insert(jpeg.begin() + 2, app1.begin(), app1.end());
    return jpeg;
}

}  // namespace

// Dots per inch as Pillow 9.4 reads them, but where the "why" says otherwise.
TEST(ImageResolution, AsTheFileStatesIt) {
    const fs::path corpus = fs::path(KIVU_SOURCE_DIR) / ".." / "shared" / "corpus";
    if (!fs::is_directory(corpus)) GTEST_SKIP() << "corpus not found at " << corpus;
    struct Case {
        const char* file;
        double x, y;
        int orientation;
        const char* why;
    } cases[] = {
        {"jpeg/pillow/pil_sample_rgb.jpg", 72, 72, 1, "JFIF in inches"},
        {"jpeg/jpeg-decoder/non-interleaved-mcu.jpg", 300, 300, 1, "JFIF in inches"},
        {"jpeg/pillow/jfif_unit_cm.jpg", 2.54, 5.08, 1, "JFIF in centimetres (Pillow takes its default 72)"},
        {"jpeg/pillow/pil_sample_cmyk.jpg", 72, 72, 1, "no JFIF: EXIF in inches"},
        {"jpeg/pillow/exif-200dpcm.jpg", 508, 508, 1, "no JFIF: EXIF in centimetres"},
        {"jpeg/pillow/hopper_orientation_6.jpg", 0, 0, 6, "JFIF aspect only, EXIF without resolution (Pillow: 72)"},
        {"jpeg/pillow/exif_gps.jpg", 0, 0, 1, "EXIF unit 65535 is none (Pillow: 4294967295)"},
        {"jpeg/wuffs/peacock.default.jpeg", 0, 0, 1, "JFIF aspect only"},
        {"png/pngsuite/cdun2c08.png", 25.4, 25.4, 1, "pHYs in metres"},
        {"png/pngsuite/cdfn2c08.png", 0, 0, 1, "pHYs aspect only"},
        {"png/pngsuite/basn0g08.png", 0, 0, 1, "no pHYs"},
        {"bmp/g/pal8nonsquare.bmp", 72.009, 35.9918, 1, "pixels per metre"},
        {"bmp/g/pal8-0.bmp", 0, 0, 1, "0 pixels per metre"},
        {"gif/wuffs/hat.gif", 0, 0, 1, "GIF states an aspect ratio at most"},
    };
    for (const Case& c : cases) {
        const fs::path path = corpus / c.file;
        const Bytes bytes = fileBytes(path.string());
        auto img = load(path, bytes);
        EXPECT_NEAR(img->resolutionX(), c.x, 1e-3) << c.file << ": " << c.why;
        EXPECT_NEAR(img->resolutionY(), c.y, 1e-3) << c.file << ": " << c.why;
        EXPECT_EQ(exifOrientation(bytes), c.orientation) << c.file;
    }
    // JFIF that states only the aspect ratio gives way to EXIF.
    auto img = load("x.jpg", withExif(fileBytes((corpus / "jpeg/wuffs/hat.jpeg").string())));
    EXPECT_NEAR(img->resolutionX(), 254, 1e-9);
    EXPECT_NEAR(img->resolutionY(), 63.5, 1e-9);
}
