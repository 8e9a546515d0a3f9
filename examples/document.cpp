// A whole PDF document in ten lines: each image on an A4 page of its own,
// within 1 cm margins.  Any format the library reads: a photo, or an SVG
// drawing with its text (in any script), gradients and pictures.
//     document OUT.pdf IMAGE...
#include <cstdio>
#include <kivuimg/img/pdfdocument.h>

int main(int argc, char** argv) {
    try {
        kivu::TPdfDocument doc;                                     // no home folder, no set-up
        doc.open(argc > 1 ? argv[1] : "out.pdf");                   // written as out.pdf.partXXXXXX until close
        for (int i = 2; i < argc; ++i) {
            doc.addPage(595.28, 841.89);                            // A4 in points
            doc.placeImage(argv[i], {28.35, 28.35, 538.58, 785.19}, kivu::Fit::into);
        }
        doc.close();                                                // fonts, xref, trailer; the file takes its name
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
