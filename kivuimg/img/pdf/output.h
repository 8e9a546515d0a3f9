// Where a document's bytes go: a file, written under a temporary name beside
// it until close() gives it its own, or a host's sink.  Counts the bytes and
// remembers a failed write; the version digit of the header can be patched
// in a file, not in a sink.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

#include "kivuimg/commons/objects.h"

namespace kivu::pdf {

class TOutput : public TObjectSink {
public:
    ~TOutput() override;

    // Raises when the temporary file can't be made.
    void openFile(const std::string& path);
    void openSink(TObjectSink& sink);
    bool isOpen() const { return file_ || sink_; }

    void write(std::span<const uint8_t> bytes) override;
    void write(const std::string& text);
    uint64_t offset() const { return offset_; }
    // Whether bytes already written can be changed (a file).
    bool seekable() const { return file_ != nullptr; }
    // Changes the byte at `at` of a file.
    void patch(uint64_t at, char byte);

    // Flushes; a file takes its own name.  Raises when anything failed to
    // be written, and leaves no file then.
    void close();
    // Stops and removes the temporary file.
    void abandon();
    const char* partialPath() const { return partial_.c_str(); }

private:
    FILE* file_ = nullptr;
    TObjectSink* sink_ = nullptr;
    std::string path_, partial_;
    uint64_t offset_ = 0;
    bool failed_ = false;
};

}  // namespace kivu::pdf
