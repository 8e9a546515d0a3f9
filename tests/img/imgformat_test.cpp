#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/img/exif.h"
#include "kivuimg/img/libmain.h"

namespace fs = std::filesystem;
using namespace kivu;

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
        {"jpeg/jpeg-decoder/non-interleaved-mcu.jpg", 300, 300, 1, "JFIF in inches"},
        {"jpeg/pillow/jfif_unit_cm.jpg", 2.54, 5.08, 1, "JFIF in centimetres (Pillow takes its default 72)"},
        {"jpeg/pillow/pil_sample_cmyk.jpg", 72, 72, 1, "no JFIF: EXIF in inches"},
        {"jpeg/pillow/exif-200dpcm.jpg", 508, 508, 1, "no JFIF: EXIF in centimetres"},
        {"jpeg/pillow/hopper_orientation_6.jpg", 0, 0, 6, "JFIF aspect only, EXIF without resolution (Pillow: 72)"},
        {"jpeg/pillow/exif_gps.jpg", 0, 0, 1, "EXIF unit 65535 is none (Pillow: 4294967295)"},
        {"png/pngsuite/cdun2c08.png", 25.4, 25.4, 1, "pHYs in metres"},
        {"png/pngsuite/cdfn2c08.png", 0, 0, 1, "pHYs aspect only"},
        {"bmp/g/pal8nonsquare.bmp", 72.009, 35.9918, 1, "pixels per metre"},
        {"bmp/g/pal8-0.bmp", 0, 0, 1, "0 pixels per metre"},
        {"gif/wuffs/hat.gif", 0, 0, 1, "GIF states an aspect ratio at most"},
    };
    for (const Case& c : cases) {
        const std::string path = (corpus / c.file).string();
        std::string name = path;
        auto img = readImage(name, nullptr);
        ASSERT_EQ(name, path) << "fell back";
        EXPECT_NEAR(img->resolutionX(), c.x, 1e-3) << c.file << ": " << c.why;
        EXPECT_NEAR(img->resolutionY(), c.y, 1e-3) << c.file << ": " << c.why;
        EXPECT_EQ(exifOrientation(img->buffer()->bytes()), c.orientation) << c.file;
    }
}
