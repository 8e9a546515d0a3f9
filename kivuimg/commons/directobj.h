// Objects whose body the caller has already rendered.
#pragma once

#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/objects.h"

namespace kivu {

class KIVU_API TDirectObject : public TBaseObject {
public:
    TDirectObject(uint64_t num, const std::string& comment, const std::string& text = "")
        : TBaseObject(num, comment), text_(text) {}
    std::string hash() const override;
    std::unique_ptr<TBaseObject> copy(uint64_t num) const override;
    std::unique_ptr<TMemory> toPDF() override;
    const std::string& text() const { return text_; }
    void text(const std::string& t) { text_ = t; }

private:
    std::string text_;
};

}  // namespace kivu
