#include "kivuimg/commons/objects.h"

#include <algorithm>

#include "kivuimg/commons/colorspaceobj.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/directobj.h"
#include "kivuimg/commons/extgstateobj.h"
#include "kivuimg/commons/funcs.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/pexobj.h"

namespace kivu {

// ---- TBaseObject -------------------------------------------------------------

TBaseObject::TBaseObject(uint64_t num, const std::string& comment) : num_(num), comment_(comment) {}

SArgs& TBaseObject::args(const std::string& name) {
    for (auto& a : args_)
        if (a.name == name) return a;
    args_.push_back(SArgs{name, "", ""});
    return args_.back();
}

void TBaseObject::erase(const std::string& name) {
    std::erase_if(args_, [&](const SArgs& a) { return a.name == name; });
}

void TBaseObject::args(const std::vector<std::string>& list) {
    for (const auto& word : list)
        for (const auto& a : args_)
            if (a.name == word) throwf("Indirect object argument '%s' already exists", word.c_str());
    for (size_t i = 0; i < list.size(); ++i)
        args_.push_back(SArgs{list[i], i + 1 < list.size() ? "&nobr;" : "&br;", ""});
}

void TBaseObject::setStream(const TMemory* data, const std::string& filter) {
    if (data) shareStream(std::make_shared<const TMemory>(data->bytes()), filter);
}

void TBaseObject::shareStream(std::shared_ptr<const TMemory> data, const std::string& filter) {
    if (!data) return;
    stream_ = std::move(data);
    hasStream_ = true;
    released_ = false;
    filter_ = filter;
}

uint64_t TBaseObject::writePDF(TObjectSink& sink) {
    const std::unique_ptr<TMemory> text = toPDF();
    sink.write(text->bytes());
    return text->size();
}

void TBaseObject::releaseStream() {
    stream_.reset();
    if (hasStream_) released_ = true;
}

std::string TBaseObject::hashOf(const std::string& word) const {
    std::string text = word;
    for (const auto& a : args_) {
        text += a.name;
        text += '=';
        text += a.value;
        text += ';';
    }
    return md5(text);
}

void TBaseObject::copyEntriesTo(TBaseObject& target) const {
    target.args_.clear();
    for (const auto& a : args_) target.args_.push_back(SArgs{a.name, a.value, ""});
}

// ---- TObjects ----------------------------------------------------------------

TObjects::~TObjects() {
    items_.clear();
    custom_.clear();
    numbers_.clear();
}

const std::map<uint64_t, std::shared_ptr<TBaseObject>>& TObjects::items() {
    if (!showComments_)
        for (auto& [n, obj] : items_) obj->comment("");
    return items_;
}

std::vector<TBaseObject*> TObjects::getListByObjectType(ObjectType type) const {
    std::vector<TBaseObject*> out;
    auto it = custom_.find(type);
    if (it != custom_.end())
        for (const auto& o : it->second) out.push_back(o.get());
    return out;
}

const std::vector<std::shared_ptr<TBaseObject>>& TObjects::customList(ObjectType type) { return custom_[type]; }

uint64_t TObjects::nextObjectNum(uint64_t minimum) const {
    const uint64_t next = items_.empty() ? 1 : items_.rbegin()->first + 1;
    return next > minimum ? next : minimum;
}

uint64_t TObjects::take(uint64_t num) {
    if (num != 0) {
        if (items_.count(num)) throwf("Object number %llu already exists.", static_cast<unsigned long long>(num));
        current_ = num;
    } else {
        current_ = nextObjectNum(3);
    }
    numbers_.push_back(current_);
    return current_;
}

TPEXObject* TObjects::addPEX(uint64_t num) {
    const uint64_t n = take(num);
    auto obj = std::make_shared<TPEXObject>(n, "");
    TPEXObject* raw = obj.get();
    items_[n] = std::move(obj);
    return raw;
}

TIndirectObject* TObjects::add(uint64_t num) {
    const uint64_t n = take(num);
    auto obj = std::make_shared<TIndirectObject>(n, "");
    TIndirectObject* raw = obj.get();
    items_[n] = std::move(obj);
    return raw;
}

TDirectObject* TObjects::addDirect(const std::string& text) {
    const uint64_t n = take(0);
    auto obj = std::make_shared<TDirectObject>(n, "", text);
    TDirectObject* raw = obj.get();
    items_[n] = std::move(obj);
    return raw;
}

uint64_t TObjects::add(std::shared_ptr<TBaseObject> object) {
    if (!object) return 0;
    const uint64_t n = take(0);
    object->num(n);
    items_[n] = std::move(object);
    return n;
}

std::unique_ptr<TBaseObject> TObjects::createCustom(ObjectType type) const {
    switch (type) {
        case ObjectType::colorSpace: return std::make_unique<TColorSpaceObject>(0, "");
        case ObjectType::extGState: return std::make_unique<TExtGStateObject>(0, "ExtGState object");
    }
    throw KivuException("Can't create commons object here");
}

uint64_t TObjects::addCustom(std::unique_ptr<TBaseObject>& object, bool force) {
    ObjectType type;
    if (dynamic_cast<TExtGStateObject*>(object.get())) type = ObjectType::extGState;
    else if (dynamic_cast<TColorSpaceObject*>(object.get())) type = ObjectType::colorSpace;
    else throw KivuException("Can't add common object to custom objects");
    auto& list = custom_[type];
    if (!force) {
        const std::string h = object->hash();
        for (size_t i = 0; i < list.size(); ++i)
            if (list[i]->hash() == h) return i + 1;
    }
    list.push_back(std::shared_ptr<TBaseObject>(std::move(object)));
    return list.size();
}

TBaseObject* TObjects::get(uint64_t num) const {
    auto it = items_.find(num);
    return it == items_.end() ? nullptr : it->second.get();
}

TPEXObject* TObjects::getPEX(uint64_t num) const { return dynamic_cast<TPEXObject*>(get(num)); }

std::string TObjects::xref() {
    std::sort(numbers_.begin(), numbers_.end());
    std::string out = "xref\n";
    out += sformat("0 %llu\n", static_cast<unsigned long long>(current_ + 1));
    out += "0000000000 65535 f \n";
    for (uint64_t n : numbers_)
        if (const TBaseObject* obj = get(n))
            out += sformat("%010llu 00000 n \n", static_cast<unsigned long long>(obj->offset()));
    return out;
}

}  // namespace kivu
