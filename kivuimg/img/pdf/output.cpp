#include "kivuimg/img/pdf/output.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "kivuimg/commons/core/cstr.h"

namespace kivu::pdf {

namespace {

// The process's file-creation mask, for a file made by mkstemp (mode 0600)
// that should get the mode a plain fopen would give it.
mode_t currentUmask() {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

}  // namespace

TOutput::~TOutput() { abandon(); }

void TOutput::openFile(const std::string& path) {
    if (isOpen()) throwf("the document is open already");
    std::string partial = path + ".partXXXXXX";
    const int fd = mkstemp(partial.data());
    FILE* file = fd < 0 ? nullptr : fdopen(fd, "wb");
    if (!file) {
        const int error = errno;
        if (fd >= 0) {
            ::close(fd);
            std::remove(partial.c_str());
        }
        throwf("can't write '%s': %s", path.c_str(), std::strerror(error));
    }
    fchmod(fd, 0666 & ~currentUmask());
    file_ = file, path_ = path, partial_ = partial;
    offset_ = 0, failed_ = false;
}

void TOutput::openSink(TObjectSink& sink) {
    if (isOpen()) throwf("the document is open already");
    sink_ = &sink;
    offset_ = 0, failed_ = false;
}

void TOutput::write(std::span<const uint8_t> bytes) {
    if (bytes.empty()) return;
    if (sink_) sink_->write(bytes);
    else if (!file_ || std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) failed_ = true;
    offset_ += bytes.size();
}

void TOutput::write(const std::string& text) {
    write(std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
}

void TOutput::patch(uint64_t at, char byte) {
    if (!file_ || std::fseek(file_, static_cast<long>(at), SEEK_SET) != 0 || std::fputc(byte, file_) == EOF)
        failed_ = true;
}

void TOutput::close() {
    if (sink_) {
        sink_ = nullptr;
        return;
    }
    if (!file_) throwf("the document is not open");
    const bool wrote = !failed_ && std::fflush(file_) == 0 && !std::ferror(file_);
    const bool closed = std::fclose(file_) == 0;
    file_ = nullptr;
    const int error = errno;
    const bool renamed = wrote && closed && std::rename(partial_.c_str(), path_.c_str()) == 0;
    if (!renamed) std::remove(partial_.c_str());
    partial_.clear();
    if (!renamed) throwf("can't write '%s': %s", path_.c_str(), std::strerror(error ? error : EIO));
}

void TOutput::abandon() {
    if (file_) std::fclose(file_);
    file_ = nullptr;
    sink_ = nullptr;
    if (!partial_.empty()) std::remove(partial_.c_str());
    partial_.clear();
}

}  // namespace kivu::pdf
