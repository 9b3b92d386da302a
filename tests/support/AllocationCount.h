#pragma once

namespace KelvaneSDK::testing_support {

/// How many blocks the program has allocated so far. Linking this replaces the global operator new.
long allocations();

}  // namespace KelvaneSDK::testing_support
