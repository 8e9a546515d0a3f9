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
    }
    return obj;
}

std::unique_ptr<TMemory> TIndirectObject::toPDF() { return dictionaryToPDF(); }

std::unique_ptr<TMemory> TIndirectObject::dictionaryToPDF() {
    auto out = std::make_unique<TMemory>(1024, 8192);
    out->addFormat("%llu 0 obj\n", static_cast<unsigned long long>(num_));
    std::string prefix = "<<";
    bool prevNobr = false;
    for (const auto& entry : args_) {
        printEntry(*out, prefix, entry, prevNobr);
        prevNobr = entry.value == "&nobr;";
        prefix = "  ";  // every entry after the first, and the stream lines
    }
    if (hasStream_) {
        if (filter_.empty()) {
            // Unfiltered streams are compressed here, once: the object keeps the result.
            out->addFormat("%s /Length1 %llu\n", prefix.c_str(), static_cast<unsigned long long>(stream_.size()));
            TMemory raw(stream_);
            raw.comp();
            setStream(&raw, "FlateDecode");
            out->addFormat("   /Length %llu\n", static_cast<unsigned long long>(stream_.size()));
        } else {
            out->addFormat("%s /Length %llu\n", prefix.c_str(), static_cast<unsigned long long>(stream_.size()));
        }
        out->addFormat("   /Filter /%s\n", filter_.c_str());
        *out += ">>\n";
        *out += "stream\n";
        *out += std::span<const uint8_t>(stream_);
        if (stream_.empty() || stream_.back() != '\n') *out += "\n";
        *out += "endstream\n";
    } else {
        *out += ">>\n";
    }
    *out += "endobj\n";
    return out;
}

}  // namespace kivu
