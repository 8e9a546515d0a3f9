#include "kivuimg/kivuimg.h"

#include <exception>
#include <string>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/img/pdfdocument.h"

struct kivu_doc {
    kivu::TPdfDocument document;
    kivu::SDocumentInfo info;
};

namespace {

thread_local std::string t_lastError;

int fail(int status, const std::string& reason) {
    t_lastError = reason;
    return status;
}

// Runs `work` for a handle; every failure of the library stops here.
template <typename Work>
int guarded(kivu_doc* doc, Work&& work) {
    if (!doc) return fail(KIVU_ERROR_ARGUMENT, "no document");
    try {
        work(*doc);
        return KIVU_OK;
    } catch (const std::exception& e) {
        return fail(KIVU_ERROR_FAILED, e.what());
    }
}

bool isBox(double w, double h) { return w > 0 && h > 0; }

kivu::Fit fitOf(enum kivu_fit fit) {
    switch (fit) {
        case KIVU_FIT_FILL: return kivu::Fit::fill;
        case KIVU_FIT_EXACT: return kivu::Fit::exact;
        case KIVU_FIT_SHRINK: return kivu::Fit::shrink;
        case KIVU_FIT_ENLARGE: return kivu::Fit::enlarge;
        default: return kivu::Fit::into;
    }
}

// The entry of SDocumentInfo for an Info key; null for another key.
std::string* infoEntry(kivu::SDocumentInfo& info, const std::string& key) {
    if (key == "Title") return &info.title;
    if (key == "Author") return &info.author;
    if (key == "Subject") return &info.subject;
    if (key == "Keywords") return &info.keywords;
    if (key == "Creator") return &info.creator;
    return nullptr;
}

}  // namespace

extern "C" {

kivu_doc* kivu_doc_open(const char* path) {
    if (!path || !*path) {
        fail(KIVU_ERROR_ARGUMENT, "no path");
        return nullptr;
    }
    kivu_doc* doc = nullptr;
    try {
        doc = new kivu_doc();
        doc->document.open(path);
        return doc;
    } catch (const std::exception& e) {
        delete doc;
        fail(KIVU_ERROR_FAILED, e.what());
        return nullptr;
    }
}

int kivu_doc_set_info(kivu_doc* doc, const char* key, const char* value) {
    if (!key || !value) return fail(KIVU_ERROR_ARGUMENT, "no key or value");
    return guarded(doc, [&](kivu_doc& d) {
        std::string* entry = infoEntry(d.info, key);
        if (!entry) kivu::throwf("no Info entry '%s'", key);
        *entry = value;
        d.document.info(d.info);
    });
}

int kivu_doc_add_page(kivu_doc* doc, double width, double height) {
    if (!isBox(width, height)) return fail(KIVU_ERROR_ARGUMENT, "a page needs a positive width and height");
    return guarded(doc, [&](kivu_doc& d) { d.document.addPage(width, height); });
}

int kivu_doc_place_image_file(kivu_doc* doc, const char* path, double x, double y, double w, double h,
                              enum kivu_fit fit, int rotation) {
    if (!path || !isBox(w, h)) return fail(KIVU_ERROR_ARGUMENT, "no path, or a box without area");
    if (doc && doc->document.pages() == 0) return fail(KIVU_ERROR_STATE, "no page: add a page first");
    return guarded(doc, [&](kivu_doc& d) {
        d.document.placeImage(std::string(path), kivu::SPageBox{x, y, w, h}, fitOf(fit),
                              kivu::TPdfDocument::orientationOf(rotation));
    });
}

int kivu_doc_place_image_bytes(kivu_doc* doc, const void* bytes, size_t size, const char* format, double x,
                               double y, double w, double h, enum kivu_fit fit, int rotation) {
    if (!bytes || !size || !isBox(w, h)) return fail(KIVU_ERROR_ARGUMENT, "no bytes, or a box without area");
    if (doc && doc->document.pages() == 0) return fail(KIVU_ERROR_STATE, "no page: add a page first");
    return guarded(doc, [&](kivu_doc& d) {
        const std::span<const uint8_t> data(static_cast<const uint8_t*>(bytes), size);
        d.document.placeImageBytes(data, format ? format : "", kivu::SPageBox{x, y, w, h}, fitOf(fit),
                                   kivu::TPdfDocument::orientationOf(rotation));
    });
}

int kivu_doc_close(kivu_doc* doc) {
    const int status = guarded(doc, [](kivu_doc& d) { d.document.close(); });
    delete doc;
    return status;
}

void kivu_doc_abandon(kivu_doc* doc) { delete doc; }

const char* kivu_last_error(void) { return t_lastError.c_str(); }

}  // extern "C"
