// Test host: writes every frame of a GIF, as TImageGIF::frame gives it, as
// a document of one page of the frame's size at 96 dpi: PREFIX-0.pdf,
// PREFIX-1.pdf and so on.  Prints the number of frames, or the failure.
#include <cstdio>
#include <exception>
#include <string>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/gif.h"

using namespace kivu;

static void writePage(TImageFormat& img, const std::string& path) {
    TObjects objects;
    objects.add(1)->set("Pages", "2 0 R");
    objects.get(1)->args({"Type", "Catalog"});
    objects.add(2);
    const uint64_t num = img.addObjectSpecs(&objects, "Im1", nullptr, csAuto, ciNo);
    if (img.hasMask()) img.addObjectMask(&objects);
    if (img.isIndexed()) img.addObjectPalette(&objects);
    const double w = img.width() * 0.75, h = img.height() * 0.75;
    const std::string ops = sformat("q %g 0 0 %g 0 0 cm /Im1 Do Q", w, h);
    TMemory text(std::span(reinterpret_cast<const uint8_t*>(ops.data()), ops.size()));
    TIndirectObject* content = objects.add(0);
    content->setStream(&text, "");
    TIndirectObject* page = objects.add(0);
    page->args({"Type", "Page"});
    page->set("Parent", "2 0 R");
    page->set("MediaBox", sformat("[0 0 %g %g]", w, h));
    page->set("Resources", sformat("<< /XObject << /Im1 %llu 0 R >> >>", static_cast<unsigned long long>(num)));
    page->set("Contents", sformat("%llu 0 R", static_cast<unsigned long long>(content->num())));
    objects.get(2)->args({"Type", "Pages"});
    objects.get(2)->set("Kids", sformat("[%llu 0 R]", static_cast<unsigned long long>(page->num())));
    objects.get(2)->set("Count", "1");
    std::string out = "%PDF-1.4\n";
    for (uint64_t n : objects.order()) {
        objects.get(n)->offset(out.size());
        out += objects.get(n)->toPDF()->to_string();
    }
    out += objects.xref() + sformat("trailer\n<< /Size %zu /Root 1 0 R >>\nstartxref\n%zu\n%%%%EOF\n",
                                    objects.order().size() + 1, out.size());
    TBuffer::create(std::string_view(out))->save(path, false);
}

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    try {
        TImageGIF gif(TBuffer::loadFromFile(argv[1]));
        gif.readSpecs();
        std::printf("%d\n", gif.frameCount());
        for (int i = 0; i < gif.frameCount(); ++i) writePage(*gif.frame(i), sformat("%s-%d.pdf", argv[2], i));
    } catch (const std::exception& e) {
        std::printf("%s\n", e.what());
        return 1;
    }
    return 0;
}
