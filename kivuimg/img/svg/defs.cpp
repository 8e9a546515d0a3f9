#include "kivuimg/img/svg/defs.h"

namespace kivu {

void TSvgDefs::read(_xmlNode* node) { readChildren(node, inDefs, false); }

}  // namespace kivu
