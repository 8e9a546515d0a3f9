// Test host: writes every frame of a GIF, as TImageGIF::frame gives it, as
// a document of one page: PREFIX-0.pdf, PREFIX-1.pdf and so on.  Prints the
// number of frames; a frame that can't be read ends it with status 1.  The
// page has the frame's size at 96 dpi.
#include <cstdio>
#include <exception>
#include <string>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/gif.h"

namespace {

std::string ref(uint64_t num) { return std::to_string(num) + " 0 R"; }

void writePage(kivu::TImageFormat& img, const std::string& path) {
    kivu::TObjects objects;
    objects.add(1);
    objects.add(2);
    std::vector<kivu::SGradient> gradients;
    const uint64_t num = img.addObjectSpecs(&objects, "Im1", &gradients, kivu::csAuto, kivu::ciNo);
    if (img.hasMask()) img.addObjectMask(&objects);
    if (img.isIndexed()) img.addObjectPalette(&objects);
    // A pixel a point at 96 dpi, as the tool lays images out.
    const std::string w = std::to_string(img.width() * 0.75), h = std::to_string(img.height() * 0.75);
    const std::string ops = "q " + w + " 0 0 " + h + " 0 0 cm /Im1 Do Q\n";
    kivu::TMemory text(std::span(reinterpret_cast<const uint8_t*>(ops.data()), ops.size()));
    kivu::TIndirectObject* content = objects.add(0);
    content->setStream(&text, "");
    kivu::TIndirectObject* page = objects.add(0);
    page->args({"Type", "Page"});
    page->set("Parent", ref(2));
    page->set("MediaBox", "[0 0 " + w + " " + h + "]");
    page->set("Resources", "<< /XObject << /Im1 " + ref(num) + " >> >>");
    page->set("Contents", ref(content->num()));
    objects.get(2)->args({"Type", "Pages"});
    objects.get(2)->set("Kids", "[" + ref(page->num()) + "]");
    objects.get(2)->set("Count", "1");
    objects.get(1)->args({"Type", "Catalog"});
    objects.get(1)->set("Pages", ref(2));
    std::string out = "%PDF-1.4\n";
    for (uint64_t n : objects.order()) {
        objects.get(n)->offset(out.size());
        out += objects.get(n)->toPDF()->to_string();
    }
    const uint64_t xref = out.size();
    out += objects.xref() + "trailer\n<< /Size " + std::to_string(objects.order().size() + 1) +
           " /Root 1 0 R >>\nstartxref\n" + std::to_string(xref) + "\n%%EOF\n";
    FILE* f = std::fopen(path.c_str(), "wb");
    std::fwrite(out.data(), 1, out.size(), f);
    std::fclose(f);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    try {
        kivu::TImageGIF gif(kivu::TBuffer::loadFromFile(argv[1]));
        gif.readSpecs();
        std::printf("%d\n", gif.frameCount());
        for (int i = 0; i < gif.frameCount(); ++i) writePage(*gif.frame(i), std::string(argv[2]) + "-" + std::to_string(i) + ".pdf");
    } catch (const std::exception& e) {
        std::printf("%s\n", e.what());
        return 1;
    }
    return 0;
}
