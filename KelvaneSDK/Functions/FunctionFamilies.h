#pragma once

#include "KelvaneSDK/FunctionNode.h"

namespace KelvaneSDK {

// The library's function families. Each is defined at the end of the file that holds its classes.

NodeFamily basicFunctions();
NodeFamily flowFunctions();
NodeFamily floatFunctions();
NodeFamily sequenceFunctions();
NodeFamily quaternionFunctions();
NodeFamily vectorFunctions();
NodeFamily arrayFunctions();
NodeFamily logicFunctions();
NodeFamily trigonometryFunctions();
NodeFamily jsonOutputFunctions();

// The other node classes, one per type of value.
NodeFamily constantNodes();
NodeFamily inputStreamNodes();
NodeFamily variableOutputNodes();

}  // namespace KelvaneSDK
