#pragma once

#include <cstdint>

#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"

namespace KelvaneSDK {

/// The rows of findingCodes(), in its order.
enum class Code : std::uint8_t {
    outOfMemory,
    undecodable,
    nestedTooDeep,
    unknownKey,
    unknownClass,
    unknownType,
    duplicateId,
    idLeavesNoRoom,
    unknownOutputType,
    outputTypeOverridden,
    outputMissing,
    buildingStops,
    nodeInNoSubdiagram,
    constantWithoutValue,
    integerArrayConstant,
    duplicateLabel,
    labelTypesDiffer,
    typeUnresolved,
    typeUnsupported,
    constantStops,
    inputUnconnected,
    neverRuns,
    outputUnused,
    propertyUnknownId,
    unknownProperty,
    propertyRefused,
    booleanText,
    unknownColor,
    valueUnparsable,
    valueIgnored,
    valueCut,
    connectionUnknownId,
    inputOutOfRange,
    nodeWithoutInputs,
    outputRefused,
    selfConnectionStops,
    typeAdoptionStops,
    connectionLost,
    inputConnectedTwice,
    typeMismatch,
    cycle,
    endlessCycle,
    ringMayNotEnd,
    ring,
    positionUnknownId,
    containerUnknownId,
    containerEmpty,
    containerWithoutOutput,
    subdiagramUnknownId,
    streamNotRecorded,
    streamUnknown,
    streamType,
    moreFindings,
    count,
};

/// The row of a code.
const FindingCode& rowOf(Code code);

}  // namespace KelvaneSDK
