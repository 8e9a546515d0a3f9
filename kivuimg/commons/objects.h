// TObjects: the PDF object store of one document, and TBaseObject, the
// abstract base of the object kinds.  The host owns the store, hands it to
// the images, serialises every object by toPDF() and writes xref().
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/core/memory.h"

namespace kivu {

class TPEXObject;
class TDirectObject;
class TIndirectObject;

enum class ObjectType : int32_t { extGState = 1, colorSpace = 2 };

// Where TBaseObject::writePDF sends an object's text, piece by piece, in order.
class KIVU_API TObjectSink {
public:
    virtual ~TObjectSink() = default;
    virtual void write(std::span<const uint8_t> bytes) = 0;
};

// A sink that appends every piece to a block.
class KIVU_API TMemorySink : public TObjectSink {
public:
    explicit TMemorySink(TMemory& out) : out_(out) {}
    void write(std::span<const uint8_t> bytes) override { out_ += bytes; }

private:
    TMemory& out_;
};

// One dictionary entry.  `value` may hold the control words "&nobr;" and "&br;".
struct KIVU_API SArgs {
    std::string name;
    std::string value;
    std::string rawValue;
    bool operator==(const SArgs&) const = default;
};

class KIVU_API TBaseObject {
public:
    TBaseObject(uint64_t num, const std::string& comment);
    virtual ~TBaseObject() = default;

    virtual uint64_t num() const { return num_; }
    // Sets the number unless n is 0.
    virtual void num(uint64_t n) {
        if (n) num_ = n;
    }
    virtual void comment(const std::string& c) { comment_ = c; }
    virtual const std::string& comment() const { return comment_; }
    virtual uint64_t offset() const { return offset_; }
    virtual void offset(uint64_t o) { offset_ = o; }
    // Equal for objects of equal kind and entries.
    virtual std::string hash() const = 0;
    virtual std::unique_ptr<TBaseObject> copy(uint64_t num) const = 0;
    // The entry of that name, added empty at the end if missing.  The
    // reference is valid until the next entry is added.
    virtual SArgs& args(const std::string& name);
    // Removes the entry of that name, if there is one.
    void erase(const std::string& name);
    // PDF names, printed as one line: {"Type", "XObject"} gives "/Type /XObject".
    virtual void args(const std::vector<std::string>& list);
    void args(std::initializer_list<std::string> list) { args(std::vector<std::string>(list)); }
    // A private copy of the bytes, with the filter name ("" = compress on output).
    virtual void setStream(const TMemory* data, const std::string& filter);
    // The block itself, shared with its owner instead of copied: neither may
    // change it from now on.  Null: nothing.  The owner may let its share go
    // at once; the object frees the block when it releases or compresses it.
    void shareStream(std::shared_ptr<const TMemory> data, const std::string& filter);
    virtual std::unique_ptr<TMemory> toPDF() = 0;
    // Sends the text that toPDF() gives to `sink`.  Kinds with a stream send
    // it from the object's own block, without building the whole text first.
    // Answers the number of bytes sent.
    virtual uint64_t writePDF(TObjectSink& sink);
    // Frees the stream's bytes once the host has written the object; number,
    // entries and offset stay (for xref).  Writing the object again raises.
    virtual void releaseStream();

    // Sets an entry's value in one step.
    void set(const std::string& name, const std::string& value) { args(name).value = value; }
    const std::vector<SArgs>& entries() const { return args_; }
    std::span<const uint8_t> stream() const { return stream_ ? stream_->bytes() : std::span<const uint8_t>(); }
    const std::string& filter() const { return filter_; }
    bool hasStream() const { return hasStream_; }
    bool streamReleased() const { return released_; }

protected:
    // "name=value;" for every entry, behind `word`.
    std::string hashOf(const std::string& word) const;
    void copyEntriesTo(TBaseObject& target) const;

    uint64_t num_;
    uint64_t offset_ = 0;
    std::string comment_;
    std::vector<SArgs> args_;
    // The stream's block: the object's own, or one it shares; never changed
    // in place, so that copies of the object may share it too.
    std::shared_ptr<const TMemory> stream_;
    bool hasStream_ = false;
    bool released_ = false;
    std::string filter_;
};

class KIVU_API TObjects {
public:
    TObjects() = default;
    virtual ~TObjects();
    TObjects(const TObjects&) = delete;
    TObjects& operator=(const TObjects&) = delete;

    virtual void showComments(bool on) { showComments_ = on; }
    virtual bool showComments() const { return showComments_; }
    // The numbered objects; blanks every comment first when comments are off.
    virtual const std::map<uint64_t, std::shared_ptr<TBaseObject>>& items();
    virtual std::vector<TBaseObject*> getListByObjectType(ObjectType type) const;
    virtual const std::vector<uint64_t>& order() const { return numbers_; }
    // Highest number in the store plus 1, or `minimum` if larger.
    virtual uint64_t nextObjectNum(uint64_t minimum) const;
    virtual TPEXObject* addPEX(uint64_t num);
    // A new, unstored graphics state (type 1) or colour space (type 2).
    virtual std::unique_ptr<TBaseObject> createCustom(ObjectType type) const;
    // Shares equal custom objects: answers the 1-based index in the kind's
    // list.  When an equal one exists (and !force) `object` stays with the
    // caller; otherwise the store takes it.
    virtual uint64_t addCustom(std::unique_ptr<TBaseObject>& object, bool force);
    virtual TDirectObject* addDirect(const std::string& text);
    // num 0: the next number.  An explicit number that exists raises.
    virtual TIndirectObject* add(uint64_t num);
    // Gives an object made elsewhere (a custom one, say) the next number.
    virtual uint64_t add(std::shared_ptr<TBaseObject> object);
    virtual TBaseObject* get(uint64_t num) const;
    virtual TPEXObject* getPEX(uint64_t num) const;
    virtual std::string xref();
    virtual TBaseObject* cur() const { return get(current_); }

    // The custom objects of a kind, shared, for a host that numbers them.
    const std::vector<std::shared_ptr<TBaseObject>>& customList(ObjectType type);

private:
    uint64_t take(uint64_t num);

    std::map<uint64_t, std::shared_ptr<TBaseObject>> items_;
    std::map<ObjectType, std::vector<std::shared_ptr<TBaseObject>>> custom_;
    std::vector<uint64_t> numbers_;
    uint64_t current_ = 0;
    bool showComments_ = true;
};

}  // namespace kivu
