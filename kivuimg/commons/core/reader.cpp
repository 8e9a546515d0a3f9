#include "kivuimg/commons/core/reader.h"

#include <cstring>

#include "kivuimg/commons/core/buffer.h"

namespace kivu {

TReader::TReader(TBuffer* owner)
    : owner_(owner), data_(owner ? owner->ptr() : nullptr), size_(owner ? owner->size() : 0) {}

void TReader::done() {
    owner_ = nullptr;
    data_ = nullptr;
    pos_ = 0;
    size_ = 0;
}

std::unique_ptr<TReader> TReader::copy() const {
    auto r = std::make_unique<TReader>(owner_);
    r->set_seek(pos_);
    return r;
}

bool TReader::dec(uint64_t n) {
    if (n > pos_) return false;
    pos_ -= n;
    return true;
}

bool TReader::inc(uint64_t n) {
    if (n == 0 || n >= size_ - pos_ || pos_ >= size_) return false;
    pos_ += n;
    return true;
}

std::string TReader::read_line(int64_t maxLength) {
    std::string out;
    for (;;) {
        if (pos_ >= size_) {
            out += '\0';
            return out;
        }
        const char c = static_cast<char>(data_[pos_++]);
        if (c == '\n') return out;
        if (c == '\r') {
            if (pos_ < size_ && data_[pos_] == '\n') ++pos_;
            return out;
        }
        out += c;
        if (maxLength > 0 && static_cast<int64_t>(out.size()) >= maxLength) return out;
    }
}

std::string_view TReader::read_string(uint64_t n) {
    const uint64_t k = n < left() ? n : left();
    std::string_view v(reinterpret_cast<const char*>(data_) + pos_, k);
    pos_ += k;
    return v;
}

std::vector<uint8_t> TReader::read_bytes(uint64_t n) {
    const uint64_t k = n < left() ? n : left();
    std::vector<uint8_t> out(data_ + pos_, data_ + pos_ + k);
    pos_ += k;
    return out;
}

std::unique_ptr<TBuffer> TReader::read_buffer(int64_t n) {
    const uint64_t k = (n < 0 || static_cast<uint64_t>(n) > left()) ? left() : static_cast<uint64_t>(n);
    auto buf = std::make_unique<TBuffer>(k ? k : 48, 8192);
    if (k) buf->addBytes(std::span<const uint8_t>(data_ + pos_, k));
    pos_ += k;
    return buf;
}

int64_t TReader::match_pos(std::string_view s) const {
    if (s.empty() || pos_ >= size_) return -1;
    std::string_view hay(reinterpret_cast<const char*>(data_) + pos_, size_ - pos_);
    const size_t at = hay.find(s);
    return at == std::string_view::npos ? -1 : static_cast<int64_t>(pos_ + at);
}

uint64_t TReader::span_chars(std::string_view set) {
    uint64_t reads = 0;
    for (;;) {
        ++reads;
        if (pos_ >= size_) return reads;
        const char c = static_cast<char>(data_[pos_++]);
        if (!set.empty() && set.find(c) != std::string_view::npos) return reads;
    }
}

bool TReader::leap_whitespaces() {
    if (pos_ >= size_) return false;
    while (pos_ < size_) {
        const uint8_t c = data_[pos_];
        if (c != 0 && c != 9 && c != 10 && c != 12 && c != 13 && c != 32) return true;
        ++pos_;
    }
    return false;
}

int TReader::read_truecolor() {
    if (left() < 3) return -1;
    const int v = (data_[pos_] << 16) + (data_[pos_ + 1] << 8) + data_[pos_ + 2];
    pos_ += 3;
    return v;
}

}  // namespace kivu
