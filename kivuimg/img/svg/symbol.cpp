#include "kivuimg/img/svg/symbol.h"

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/img/svg/imagesvg.h"

namespace kivu {

void TSvgSymbol::read(_xmlNode* node) {
    readAttributesAndStyle(node, false);
    readChildren(node, inSymbol, false);
}

void TSvgSymbol::writeData(TContent& out, float scale) {
    const float x = hasAttribute("x") ? toFloat(attribute("x")) : 0.0f;
    const float y = hasAttribute("y") ? toFloat(attribute("y")) : 0.0f;
    std::string transform;
    if (hasAttribute("transform")) transform = attribute("transform") + ";";
    transform += sformat("translate(%.3f, %.3f)", x, y);
    TImageSVG* doc = ptrSvgBase();
    out.save("q ").raw(doc ? doc->transformationsToPDF(transform) : std::string());
    for (const auto& element : elements_) element->writeData(out, scale);
    out.restore("Q\n");
}

}  // namespace kivu
