// TBuffer: a byte block with files, Base64, URLs, derived selections and
// PDF string escapes.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/core/memory.h"

namespace kivu {

class TReader;

class KIVU_API TBuffer : public TMemory {
public:
    using TMemory::TMemory;
    ~TBuffer() override = default;

    static std::unique_ptr<TBuffer> create(std::string_view s);
    static std::unique_ptr<TBuffer> create(std::span<const uint8_t> bytes);
    static std::unique_ptr<TBuffer> createByBase64CodedString(std::string_view s);
    // Null when the file can't be opened.
    static std::unique_ptr<TBuffer> loadFromFile(const std::string& path);
    static std::unique_ptr<TBuffer> loadFromBase64DecodedFile(const std::string& path);
    // HTTP(S) GET.  Null for an empty reply; an HTTP status of 400 and up raises.
    static std::unique_ptr<TBuffer> loadFromURL(const std::string& url);

    // Standard CRC-32 with its byte order reversed.
    virtual uint32_t CRC32() const;
    virtual std::unique_ptr<TBuffer> getEvens() const;
    virtual std::unique_ptr<TBuffer> getOdds() const;
    // Keeps n bytes, drops one, keeps n ...
    virtual std::unique_ptr<TBuffer> getAllDropEvery(uint32_t n) const;
    // Every (n+1)th byte, then the incomplete last group.
    virtual std::unique_ptr<TBuffer> getEveryAndRest(uint32_t n) const;
    virtual std::unique_ptr<TBuffer> reverse() const;
    virtual std::unique_ptr<TReader> getReader();
    // 1 on success, -1 when the file can't be opened.
    virtual int save(const std::string& path, bool append) const;
    virtual bool load(const std::string& path);
    // All of standard input.
    virtual bool read();
    // All bytes to standard output.
    virtual void write() const;
    virtual bool addUshort(uint16_t v);
    virtual bool addUint(uint32_t v);
    virtual void doBase64DecodeForBufferData();
    virtual void addEscapedHexRaw(std::string_view s);
    virtual void addEscapedStringRaw(std::string_view s);
    virtual void addEscapedStringISORaw(std::string_view s);
    virtual void addEscapedIndexStringRaw(std::span<const uint8_t> bytes);
    virtual void addEscapedWStringRaw(std::u16string_view w, bool bom);
    virtual void addEscapedString(std::string_view s);
    // Overwrites 4 bytes, high byte first, when `at` is below size() - 4.
    virtual void spliceUint32(uint64_t at, uint32_t v);

    static bool isAscii(std::string_view s);
    static bool escapeChar(char c);
    static std::unique_ptr<TBuffer> escapedHexRaw(std::string_view s);
    static std::unique_ptr<TBuffer> escapedStringRaw(std::string_view s);
    static std::unique_ptr<TBuffer> escapedStringISORaw(std::string_view s);
    static std::unique_ptr<TBuffer> escapedIndexStringRaw(std::span<const uint8_t> bytes);
    static std::unique_ptr<TBuffer> escapedWStringRaw(std::u16string_view w, bool bom);
};

// A PDF string: plain when ASCII, otherwise UTF-16BE with a byte-order mark.
std::unique_ptr<TBuffer> escaped(const std::string& s);

// Base64 with "+" and "/" and "=" padding.  Invalid input raises.
std::vector<uint8_t> base64Decode(std::string_view text);
std::string base64Encode(std::span<const uint8_t> bytes);
// Whether Windows-1252 holds every character of the UTF-8 text (an invalid
// sequence counts as a character it doesn't hold).
bool fitsWindows1252(std::string_view s);
// UTF-8 to UTF-16 (invalid sequences become U+FFFD).
std::u16string utf8ToUtf16(std::string_view s);

}  // namespace kivu
