#pragma once

// Internal: the keys of a document's records with the fields that they fill, which readers, writer and
// checker go by.

#include <array>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "KelvaneSDK/DiagramData.h"

namespace KelvaneSDK {

template <class Record, class T>
struct DocumentField {
    std::string_view key;
    T Record::*member;

    constexpr DocumentField(std::string_view name, T Record::*field) : key(name), member(field) {}
};

/// The fields of a record, in the order in which they are written; none for what is no record. A key may be
/// missing where its field is optional.
template <class Record>
inline constexpr auto documentFields = std::tuple();
template <>
inline constexpr auto documentFields<NodeInfo> = std::tuple(
    DocumentField("id", &NodeInfo::id), DocumentField("classString", &NodeInfo::classString),
    DocumentField("typeString", &NodeInfo::typeString), DocumentField("outputType", &NodeInfo::outputType));
template <>
inline constexpr auto documentFields<PropertyInfo> = std::tuple(
    DocumentField("id", &PropertyInfo::id), DocumentField("propertyString", &PropertyInfo::propertyString),
    DocumentField("valueString", &PropertyInfo::valueString));
template <>
inline constexpr auto documentFields<ConnectionInfo> =
    std::tuple(DocumentField("outputNodeId", &ConnectionInfo::outputNodeId),
               DocumentField("inputNodeId", &ConnectionInfo::inputNodeId),
               DocumentField("inputIndex", &ConnectionInfo::inputIndex));
template <>
inline constexpr auto documentFields<PositionInfo> = std::tuple(DocumentField("id", &PositionInfo::id),
                                                                DocumentField("x", &PositionInfo::x),
                                                                DocumentField("y", &PositionInfo::y));
template <>
inline constexpr auto documentFields<ContainerInfo> = std::tuple(
    DocumentField("x", &ContainerInfo::x), DocumentField("y", &ContainerInfo::y),
    DocumentField("description", &ContainerInfo::description),
    DocumentField("nodeIds", &ContainerInfo::nodeIds), DocumentField("color", &ContainerInfo::color),
    DocumentField("containers", &ContainerInfo::containers));
template <>
inline constexpr auto documentFields<SubdiagramInfo> =
    std::tuple(DocumentField("description", &SubdiagramInfo::description),
               DocumentField("nodeIds", &SubdiagramInfo::nodeIds));
template <>
inline constexpr auto documentFields<DiagramInfo> = std::tuple(
    DocumentField("nodes", &DiagramInfo::nodes), DocumentField("properties", &DiagramInfo::properties),
    DocumentField("connections", &DiagramInfo::connections),
    DocumentField("positions", &DiagramInfo::positions),
    DocumentField("containers", &DiagramInfo::containers),
    DocumentField("manualLines", &DiagramInfo::manualLines),
    DocumentField("subdiagrams", &DiagramInfo::subdiagrams));

template <class T>
concept DocumentRecord = std::tuple_size_v<decltype(documentFields<T>)> >
0;

/// The keys alone.
template <DocumentRecord Record>
inline constexpr auto documentKeys = std::apply(
    [](const auto&... field) { return std::array<std::string_view, sizeof...(field)>{field.key...}; },
    documentFields<Record>);

/// Calls visit(key, field) for every field of a record, until a call returns false; true when none does.
template <class Record, class Visit>
bool eachField(Record& record, Visit visit) {
    return std::apply([&](const auto&... field) { return (visit(field.key, record.*field.member) && ...); },
                      documentFields<std::remove_const_t<Record>>);
}

}  // namespace KelvaneSDK
