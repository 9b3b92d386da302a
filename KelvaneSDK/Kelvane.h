#pragma once

// The engine; `Kelvane/` beside this file holds its parts.
#include "KelvaneSDK/Kelvane/Kelvane.h"
