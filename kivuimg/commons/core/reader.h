// TReader: a cursor over a TBuffer.  Every image class is one, so the
// decoders of all formats read through these operations.  Reads past the
// end never fail: value readers answer 0 and leave the cursor where it is.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "kivuimg/commons/core/export.h"

namespace kivu {

class TBuffer;

class KIVU_API TReader {
public:
    explicit TReader(TBuffer* owner);
    virtual ~TReader() = default;

    virtual void done();
    virtual void reset() { pos_ = 0; }
    virtual std::unique_ptr<TReader> copy() const;
    virtual TBuffer* owner() const { return owner_; }
    virtual uint64_t size() const { return size_; }
    virtual uint64_t left() const { return pos_ < size_ ? size_ - pos_ : 0; }
    virtual uint64_t tell() const { return pos_; }
    // Moves to p when p is not beyond the end; otherwise nothing happens.
    virtual void set_seek(uint64_t p) {
        if (p <= size_) pos_ = p;
    }
    virtual bool dec(uint64_t n);
    // Moves on by n if the new position is still inside the data.
    virtual bool inc(uint64_t n);
    virtual bool eof() const { return pos_ >= size_; }
    // One line without its LF, CR or CRLF; at the end of data a 0 byte is appended.
    virtual std::string read_line(int64_t maxLength);
    // Up to n bytes as a view (no copy).
    virtual std::string_view read_string(uint64_t n);
    virtual std::vector<uint8_t> read_bytes(uint64_t n);
    // Up to n bytes as a new buffer; n < 0 means all that is left.
    virtual std::unique_ptr<TBuffer> read_buffer(int64_t n);
    // Absolute position of the first `s` at or behind the cursor, or -1.
    virtual int64_t match_pos(std::string_view s) const;
    virtual uint64_t span_chars(std::string_view set);
    virtual bool leap_whitespaces();
    // Three bytes as 0xRRGGBB; -1 when fewer remain.
    virtual int read_truecolor();

    // Big-endian value of T's width; 0 without moving when it doesn't fit.
    template <typename T>
    T read() {
        static_assert(std::is_integral_v<T>);
        if (size_ - pos_ < sizeof(T) || pos_ > size_) return 0;
        std::make_unsigned_t<T> v = 0;
        for (size_t i = 0; i < sizeof(T); ++i) v = static_cast<std::make_unsigned_t<T>>((v << 8) | data_[pos_ + i]);
        pos_ += sizeof(T);
        return static_cast<T>(v);
    }
    // Little-endian value of T's width; 0 without moving when it doesn't fit.
    template <typename T>
    T readLe() {
        static_assert(std::is_integral_v<T>);
        if (size_ - pos_ < sizeof(T) || pos_ > size_) return 0;
        std::make_unsigned_t<T> v = 0;
        for (size_t i = sizeof(T); i-- > 0;) v = static_cast<std::make_unsigned_t<T>>((v << 8) | data_[pos_ + i]);
        pos_ += sizeof(T);
        return static_cast<T>(v);
    }
    // One byte, the cheap path of the decoders.
    uint8_t readByte() { return pos_ < size_ ? data_[pos_++] : 0; }
    // One byte; `eof` tells whether the data had ended.
    uint8_t readByte(bool& eof) {
        eof = pos_ >= size_;
        return eof ? 0 : data_[pos_++];
    }
    // The byte at the cursor without moving.
    uint8_t get() const { return pos_ < size_ ? data_[pos_] : 0; }

protected:
    TBuffer* owner_;
    const uint8_t* data_;
    uint64_t pos_ = 0;
    uint64_t size_ = 0;
};

}  // namespace kivu
