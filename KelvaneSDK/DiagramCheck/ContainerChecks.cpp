#include <unordered_set>

#include "KelvaneSDK/DiagramCheck/RecordChecks.h"

namespace KelvaneSDK {

namespace {

struct OpenContainer {
    const ContainerInfo* record;
    /// The outermost container that holds it.
    std::size_t top;
    /// From there on, as a pointer.
    std::string below;
};

class ContainerCheck {
public:
    ContainerCheck(const NodeTable& table, const Wiring& wires, FindingList& list)
        : nodes(table), wiring(wires), findings(list) {}

    void check(const OpenContainer& container) {
        const ContainerInfo& record = *container.record;
        std::vector<NodeIndex> members;
        for (const auto id : record.nodeIds) {
            if (const auto node = nodes.find(id)) members.push_back(*node);
        }
        if (record.color && !bodyColorNamed(*record.color)) {
            warnOfColor(findings, Section::containers, container.top, *record.color)
                .below(container.below)
                .subject("color");
        }
        if (members.empty()) {
            findings
                .error("container-empty", Section::containers, container.top,
                       name(record) + " holds no node; it needs one that provides its output")
                .below(container.below)
                .subject("nodeIds")
                .fatal();
        } else if (!hasProvider(members)) {
            findings
                .error("container-without-output", Section::containers, container.top,
                       "the nodes of " + name(record) +
                           " feed only one another; one of them must feed nothing, or a node outside")
                .below(container.below)
                .subject("nodeIds")
                .fatal();
        }
        for (std::size_t k = 0; k < record.nodeIds.size(); ++k) {
            if (nodes.find(record.nodeIds[k])) continue;
            findings
                .error("container-unknown-id", Section::containers, container.top,
                       name(record) + " names node " + std::to_string(record.nodeIds[k]) +
                           ", which does not exist")
                .below(container.below + "/nodeIds/" + std::to_string(k))
                .subject("nodeIds");
        }
    }

private:
    static std::string name(const ContainerInfo& record) {
        return "the container " + quoted(record.description);
    }

    bool hasProvider(const std::vector<NodeIndex>& members) const {
        const std::unordered_set<NodeIndex> inside(members.begin(), members.end());
        for (const auto member : members) {
            const auto fed = wiring.wiresFrom(member);
            if (fed.empty()) return true;
            for (const auto wire : fed) {
                if (!inside.contains(wiring.all()[wire].to)) return true;
            }
        }
        return false;
    }

    const NodeTable& nodes;
    const Wiring& wiring;
    FindingList& findings;
};

}  // namespace

void checkContainers(const DiagramInfo& document, const NodeTable& nodes, const Wiring& wiring,
                     FindingList& findings) {
    if (!document.containers) return;
    ContainerCheck check(nodes, wiring, findings);
    std::vector<OpenContainer> open;
    for (std::size_t top = document.containers->size(); top-- > 0;)
        open.push_back({&(*document.containers)[top], top, {}});
    while (!open.empty()) {
        const OpenContainer container = std::move(open.back());
        open.pop_back();
        check.check(container);
        if (!container.record->containers) continue;
        for (std::size_t k = container.record->containers->size(); k-- > 0;) {
            open.push_back({&(*container.record->containers)[k], container.top,
                            container.below + "/containers/" + std::to_string(k)});
        }
    }
}

}  // namespace KelvaneSDK
