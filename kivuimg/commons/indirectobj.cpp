#include "kivuimg/commons/indirectobj.h"

#include "kivuimg/commons/core/cstr.h"

namespace kivu {

void printEntry(TMemory& out, const std::string& prefix, const SArgs& e, bool prevNobr) {
    const bool nobr = e.value == "&nobr;";
    if (nobr || e.value == "&br;") {
        if (prefix.find_first_not_of(' ') != std::string::npos) {
            out += prefix;
            out += " ";
        } else if (!prevNobr) {
            out += "   ";
        }
        out += "/";
        out += e.name;
        out += nobr ? " " : "\n";
        return;
    }
    if (e.rawValue.empty()) {
        if (e.value.empty()) out.addFormat("%s /%s\n", prefix.c_str(), e.name.c_str());
        else out.addFormat("%s /%s %s\n", prefix.c_str(), e.name.c_str(), e.value.c_str());
        return;
    }
    out.addFormat("%s /%s ", prefix.c_str(), e.name.c_str());
    out += e.rawValue;
    out += "\n";
}

std::unique_ptr<TBaseObject> TIndirectObject::copy(uint64_t num) const {
    auto obj = std::make_unique<TIndirectObject>(num, comment_);
    copyEntriesTo(*obj);
    if (hasStream_) {
        obj->stream_ = stream_;
        obj->hasStream_ = true;
        obj->released_ = released_;
    }
    return obj;
}

std::unique_ptr<TMemory> TIndirectObject::toPDF() {
    auto out = std::make_unique<TMemory>(1024, 8192);
    TMemorySink sink(*out);
    writePDF(sink);
    return out;
}

void TIndirectObject::streamHead(TMemory& out, const std::string& prefix) {
    if (filter_.empty()) {
        // Unfiltered streams are compressed here, once: the object keeps the result.
        // The raw block is let go as soon as its stream is made: shared with
        // an image that is gone, it is freed here.
        const std::span<const uint8_t> raw = stream();
        out.addFormat("%s /Length1 %llu\n", prefix.c_str(), static_cast<unsigned long long>(raw.size()));
        auto z = std::make_shared<TMemory>(1024, 8192);
        z->compFrom(raw, -1);
        stream_ = std::move(z);
        filter_ = "FlateDecode";
        out.addFormat("   /Length %llu\n", static_cast<unsigned long long>(stream_->size()));
    } else {
        out.addFormat("%s /Length %llu\n", prefix.c_str(), static_cast<unsigned long long>(stream().size()));
    }
    out.addFormat("   /Filter /%s\n", filter_.c_str());
    out += ">>\n";
    out += "stream\n";
}

uint64_t TIndirectObject::writePDF(TObjectSink& sink) {
    if (released_)
        throwf("The stream of object %llu was released when it was written", static_cast<unsigned long long>(num_));
    TMemory head(1024, 8192);
    head.addFormat("%llu 0 obj\n", static_cast<unsigned long long>(num_));
    std::string prefix = "<<";
    bool prevNobr = false;
    for (const auto& entry : args_) {
        printEntry(head, prefix, entry, prevNobr);
        prevNobr = entry.value == "&nobr;";
        prefix = "  ";  // every entry after the first, and the stream lines
    }
    if (!hasStream_) {
        head += ">>\nendobj\n";
        sink.write(head.bytes());
        return head.size();
    }
    streamHead(head, prefix);
    sink.write(head.bytes());
    const std::span<const uint8_t> data = stream();
    sink.write(data);
    const std::string_view tail =
        data.empty() || data.back() != '\n' ? "\nendstream\nendobj\n" : "endstream\nendobj\n";
    sink.write(std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(tail.data()), tail.size()));
    return head.size() + data.size() + tail.size();
}

}  // namespace kivu
