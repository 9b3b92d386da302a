#include "KelvaneSDK/FileProcessing/QuickDocumentReader.h"

#include "KelvaneSDK/FileProcessing/QuickCursor.h"

namespace KelvaneSDK {

namespace {

template <std::size_t count>
using Keys = std::array<std::string_view, count>;

// Required keys come first.
constexpr Keys<7> documentKeys{"nodes",      "properties",  "connections", "positions",
                               "containers", "manualLines", "subdiagrams"};
constexpr Keys<4> nodeKeys{"id", "classString", "typeString", "outputType"};
constexpr Keys<3> propertyKeys{"id", "propertyString", "valueString"};
constexpr Keys<3> connectionKeys{"outputNodeId", "inputNodeId", "inputIndex"};
constexpr Keys<3> positionKeys{"id", "x", "y"};
constexpr Keys<6> containerKeys{"x", "y", "description", "nodeIds", "color", "containers"};
constexpr Keys<2> subdiagramKeys{"description", "nodeIds"};

class QuickDocumentReader {
public:
    explicit QuickDocumentReader(std::string_view document) : text(document), cursor(document) {}

    bool readAll(DiagramInfo& info) {
        if (!read(info)) return false;
        cursor.skipBlanks();
        return cursor.placeIn(text) == text.size();
    }

private:
    bool read(DiagramInfo& info) {
        return readObject<documentKeys, 4>(info.nodes, info.properties, info.connections, info.positions,
                                           info.containers, info.manualLines, info.subdiagrams);
    }
    bool read(NodeInfo& node) {
        return readObject<nodeKeys, 3>(node.id, node.classString, node.typeString, node.outputType);
    }
    bool read(PropertyInfo& property) {
        return readObject<propertyKeys, 3>(property.id, property.propertyString, property.valueString);
    }
    bool read(ConnectionInfo& connection) {
        return readObject<connectionKeys, 3>(connection.outputNodeId, connection.inputNodeId,
                                             connection.inputIndex);
    }
    bool read(PositionInfo& position) {
        return readObject<positionKeys, 3>(position.id, position.x, position.y);
    }
    bool read(ContainerInfo& container) {
        constexpr int deepest = 16;
        if (depth == deepest) return false;
        ++depth;
        const bool isRead =
            readObject<containerKeys, 4>(container.x, container.y, container.description, container.nodeIds,
                                         container.color, container.containers);
        --depth;
        return isRead;
    }
    bool read(SubdiagramInfo& subdiagram) {
        return readObject<subdiagramKeys, 2>(subdiagram.description, subdiagram.nodeIds);
    }
    bool read(std::int64_t& integer) { return cursor.read(integer); }
    bool read(double& number) { return cursor.read(number); }
    bool read(std::string& string) {
        std::string_view view;
        if (!cursor.read(view)) return false;
        string = view;
        return true;
    }
    template <class T>
    bool read(std::optional<T>& content) {
        return read(content.emplace());
    }
    template <class T>
    bool read(std::vector<T>& list) {
        if (!cursor.take('[')) return false;
        if (cursor.take(']')) return true;
        do {
            if (!read(list.emplace_back())) return false;
        } while (cursor.take(','));
        return cursor.take(']');
    }

    /// An object whose fields stand under the keys; the first `required` of them must be there.
    template <const auto& keys, std::size_t required, class... Fields>
    bool readObject(Fields&... fields) {
        static_assert(sizeof...(fields) == keys.size());
        if (!cursor.take('{')) return false;
        unsigned missing = (1U << keys.size()) - 1;
        do {
            const std::size_t key = cursor.template takeKey<keys>();
            if ((missing >> key & 1U) == 0) return false;
            missing ^= 1U << key;
            std::size_t index = 0;
            if (!((index++ == key && read(fields)) || ...)) return false;
        } while (cursor.take(','));
        constexpr unsigned mustBeThere = (1U << required) - 1;
        return (missing & mustBeThere) == 0 && cursor.take('}');
    }

    std::string_view text;
    QuickCursor<true> cursor;
    int depth = 0;
};

}  // namespace

std::optional<DiagramInfo> readDocumentQuickly(std::string_view text) {
    // The exact reader refuses texts beyond this size.
    constexpr std::size_t longest = 0xFFFFFFFF;
    DiagramInfo info;
    const bool isRead = text.size() <= longest && QuickDocumentReader(text).readAll(info);
    return isRead ? std::optional(std::move(info)) : std::nullopt;
}

}  // namespace KelvaneSDK
