#pragma once

namespace KelvaneSDK::testing_support {

/// How many blocks the program has allocated so far. Linking this replaces the global operator new.
long allocations();

/// While it lives, an allocation of this thread fails: the one with this index (from 0), or all from it on.
class AllocationFault {
public:
    enum class Extent { one, allFollowing };

    explicit AllocationFault(long index, Extent extent = Extent::one);
    ~AllocationFault();
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;
    bool hasHappened() const;
};

}  // namespace KelvaneSDK::testing_support
