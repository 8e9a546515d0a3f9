/* The plain C interface of LibKivuImg's document writer, for C and for any
   language that calls C: a document is an opaque handle, text is UTF-8
   `const char*`, bytes are a pointer and a size, and every call answers
   KIVU_OK or an error code, with the reason of the last failure (of the
   calling thread) in kivu_last_error().

       kivu_doc* doc = kivu_doc_open("out.pdf");
       kivu_doc_add_page(doc, 595, 842);
       kivu_doc_place_image_file(doc, "photo.jpg", 36, 36, 523, 770, KIVU_FIT_INTO, 0);
       if (kivu_doc_close(doc) != KIVU_OK) fprintf(stderr, "%s\n", kivu_last_error());

   The library starts by itself with its built-in configuration; a host that
   wants a package folder calls libimg_init (libmain.h) first.  Lengths are
   in points (1/72 inch) from the page's lower left corner. */
#ifndef KIVUIMG_KIVUIMG_H
#define KIVUIMG_KIVUIMG_H

#include <stddef.h>

#include "kivuimg/commons/core/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct kivu_doc kivu_doc;

enum kivu_status {
    KIVU_OK = 0,
    KIVU_ERROR_ARGUMENT = 1, /* a null handle or text, a size or box that is no size */
    KIVU_ERROR_STATE = 2,    /* no page yet, or the document is closed */
    KIVU_ERROR_FAILED = 3    /* the library could not do it: see kivu_last_error */
};

/* How a picture fills its box (see TPdfDocument). */
enum kivu_fit { KIVU_FIT_INTO = 0, KIVU_FIT_FILL = 1, KIVU_FIT_EXACT = 2, KIVU_FIT_SHRINK = 3, KIVU_FIT_ENLARGE = 4 };

/* A new document written to `path` (under a temporary name until it is
   closed); NULL on failure. */
KIVU_API kivu_doc* kivu_doc_open(const char* path);
/* An Info entry: "Title", "Author", "Subject", "Keywords" or "Creator". */
KIVU_API int kivu_doc_set_info(kivu_doc* doc, const char* key, const char* value);
/* Starts a page of width x height points. */
KIVU_API int kivu_doc_add_page(kivu_doc* doc, double width, double height);
/* Places an image file (JPEG, PNG, GIF, BMP, WMF, SVG) in the box x, y, w, h
   of the current page, turned clockwise by `rotation` degrees (0, 90, 180,
   270).  A file that can't be read shows the library's fallback picture. */
KIVU_API int kivu_doc_place_image_file(kivu_doc* doc, const char* path, double x, double y, double w, double h,
                                       enum kivu_fit fit, int rotation);
/* The same for `size` bytes of an image; `format` is "jpg", "png", "gif",
   "bmp", "wmf" or "svg", or NULL to tell it by the first bytes. */
KIVU_API int kivu_doc_place_image_bytes(kivu_doc* doc, const void* bytes, size_t size, const char* format, double x,
                                        double y, double w, double h, enum kivu_fit fit, int rotation);
/* Writes the document and frees the handle, whatever the answer; on failure
   no file is left. */
KIVU_API int kivu_doc_close(kivu_doc* doc);
/* Frees the handle without writing; the temporary file goes. */
KIVU_API void kivu_doc_abandon(kivu_doc* doc);
/* The reason of the calling thread's last failure, "" when none. */
KIVU_API const char* kivu_last_error(void);

#ifdef __cplusplus
}
#endif

#endif /* KIVUIMG_KIVUIMG_H */
