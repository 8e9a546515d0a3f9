// The smallest complete host: one image on a page of its own size, written
// as a PDF document.  Build it against an installed LibKivuImg with
//     g++ -std=c++20 host_example.cpp $(pkg-config --cflags --libs kivuimg)
// or link KivuImg::kivuimg after find_package(KivuImg) in CMake; run it as
//     host_example HOME IMAGE OUT.pdf
// HOME is the package folder (made when missing), IMAGE a JPEG, PNG, GIF or
// BMP file.  A drawing (SVG, WMF) names graphics states, shadings and fonts
// that its host must add to the page's resources: see kivuimg's own writer.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "kivuimg/commons/core/settings.h"
#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/img/libmain.h"

// Where serialised objects go, piece by piece (kivu::TMemorySink fills a TMemory).
struct FileSink : kivu::TObjectSink {
    FILE* f;
    explicit FileSink(FILE* file) : f(file) {}
    void write(std::span<const uint8_t> b) override { std::fwrite(b.data(), 1, b.size(), f); }
};

static std::string ref(uint64_t num) { return std::to_string(num) + " 0 R"; }

// Page, content, pages and catalog around image object `num`.
static void addPage(kivu::TObjects& objects, uint64_t num, int width, int height) {
    const std::string w = std::to_string(width), h = std::to_string(height);
    const std::string ops = "q " + w + " 0 0 " + h + " 0 0 cm /Im1 Do Q\n";
    kivu::TMemory text(std::span(reinterpret_cast<const uint8_t*>(ops.data()), ops.size()));
    kivu::TIndirectObject* content = objects.add(0);
    content->setStream(&text, "");                          // no filter: deflated when written
    kivu::TIndirectObject* page = objects.add(0);
    page->args({"Type", "Page"});
    page->set("Parent", ref(2));
    page->set("MediaBox", "[0 0 " + w + " " + h + "]");
    page->set("Resources", "<< /XObject << /Im1 " + ref(num) + " >> >>");
    page->set("Contents", ref(content->num()));
    kivu::TBaseObject* pages = objects.get(2);
    pages->args({"Type", "Pages"});
    pages->set("Kids", "[" + ref(page->num()) + "]");
    pages->set("Count", "1");
    kivu::TBaseObject* catalog = objects.get(1);
    catalog->args({"Type", "Catalog"});
    catalog->set("Pages", ref(2));
}

// Serialises every object, recording offsets, then the table and trailer.
static bool writeDocument(kivu::TObjects& objects, const char* path) {
    FILE* f = std::fopen(path, "wb");
    if (!f) return false;
    FileSink sink(f);
    const std::string head = "%PDF-1.4\n";
    std::fwrite(head.data(), 1, head.size(), f);
    uint64_t pos = head.size();
    for (uint64_t n : objects.order()) {
        kivu::TBaseObject* obj = objects.get(n);
        obj->offset(pos);
        pos += obj->writePDF(sink);                          // the same bytes as obj->toPDF()
        obj->releaseStream();                                // number, entries, offset stay for xref
    }
    const std::string tail = objects.xref() + "trailer\n<< /Size " + std::to_string(objects.order().size() + 1) +
                             " /Root 1 0 R >>\nstartxref\n" + std::to_string(pos) + "\n%%EOF\n";
    std::fwrite(tail.data(), 1, tail.size(), f);
    return std::fclose(f) == 0;
}

// The image as object "Im1" on the one page of a new document at `path`.
static bool convert(kivu::TImageFormat* img, const char* path) {
    kivu::TObjects objects;                                  // the host's store: 1 and 2 are the host's
    objects.add(1);                                          // catalog
    objects.add(2);                                          // pages
    std::vector<kivu::SGradient> gradients;                  // drawings may add shadings here
    uint64_t num = img->addObjectSpecs(&objects, "Im1", &gradients, kivu::csAuto, kivu::ciNo);
    if (img->hasMask()) img->addObjectMask(&objects);       // directly after: it takes num + 1
    if (img->isIndexed()) img->addObjectPalette(&objects);
    addPage(objects, num, img->width(), img->height());
    return writeDocument(objects, path);
}

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: host_example HOME IMAGE OUT.pdf\n");
        return 2;
    }
    const std::filesystem::path home = argv[1];
    for (const char* dir : {"logs", "output", "resources"}) std::filesystem::create_directories(home / dir);
    if (!std::filesystem::exists(home / ".conf.json")) kivu::TSettings::createDefaultConfigFile(home.string());
    if (!libimg_init(home.c_str(), 3)) return 1;             // log: 1 file, 2 stdout, 3 quiet

    char* name = libimg_loadImage(argv[2], nullptr);         // or url(...), or a TBuffer it takes over
    kivu::TImageFormat* img = libimg_getImage(name);         // null for "exception-image.jpg"
    bool ok = false;
    if (img) {
        try {
            ok = convert(img, argv[3]);
        } catch (const std::exception& e) {                  // addObjectSpecs raises to the host
            std::fprintf(stderr, "%s\n", e.what());
        }
    }
    libimg_resetResources();                                 // between documents
    lib_uninit();
    std::fprintf(stderr, "%s: %s\n", argv[2], ok ? "written" : "not converted");
    return ok ? 0 : 1;
}
