/* The same document from C: each image's bytes on an A4 page of its own,
   within 1 cm margins, the first one turned a quarter when asked.
       document_c OUT.pdf IMAGE... */
#include <stdio.h>
#include <stdlib.h>

#include <kivuimg/kivuimg.h>

/* The whole file in memory (the caller frees it); NULL when unreadable. */
static unsigned char* readFile(const char* path, size_t* size) {
    FILE* f = fopen(path, "rb");
    unsigned char* bytes = NULL;
    long n = -1;
    if (f && fseek(f, 0, SEEK_END) == 0) n = ftell(f);
    if (n > 0 && fseek(f, 0, SEEK_SET) == 0 && (bytes = malloc((size_t)n)) != NULL &&
        fread(bytes, 1, (size_t)n, f) != (size_t)n) {
        free(bytes);
        bytes = NULL;
    }
    if (f) fclose(f);
    *size = n > 0 ? (size_t)n : 0;
    return bytes;
}

int main(int argc, char** argv) {
    kivu_doc* doc = kivu_doc_open(argc > 1 ? argv[1] : "out.pdf");
    int status = doc ? kivu_doc_set_info(doc, "Title", "Pictures from C") : KIVU_ERROR_FAILED;
    for (int i = 2; i < argc && status == KIVU_OK; ++i) {
        size_t size = 0;
        unsigned char* bytes = readFile(argv[i], &size);
        status = kivu_doc_add_page(doc, 595.28, 841.89);
        if (status == KIVU_OK)
            status = kivu_doc_place_image_bytes(doc, bytes, size, NULL, 28.35, 28.35, 538.58, 785.19, KIVU_FIT_INTO, 0);
        free(bytes);
    }
    if (doc && status != KIVU_OK) kivu_doc_abandon(doc);
    else if (doc) status = kivu_doc_close(doc);
    if (status != KIVU_OK) fprintf(stderr, "document_c: %s\n", kivu_last_error());
    return status == KIVU_OK ? 0 : 1;
}
