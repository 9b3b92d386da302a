#include "KelvaneSDK/ContainerNode/ContainerNode.h"

#include <algorithm>
#include <map>
#include <new>
#include <unordered_set>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Nodes/NodeState.h"

namespace KelvaneSDK {

void Container::initialize() {
    stopProgram("KelvaneSDK/ContainerNode: init() has not been implemented for Container class");
}

Container::~Container() {
    // Taken apart level by level, so that the nesting of a document never becomes a depth of calls.
    std::vector<std::unique_ptr<Container>> open = std::move(containers);
    try {
        while (!open.empty()) {
            const auto inner = std::move(open.back());
            open.pop_back();
            std::move(inner->containers.begin(), inner->containers.end(), std::back_inserter(open));
            inner->containers.clear();
        }
    } catch (const std::bad_alloc&) {
        // The levels that are left go by calls; documents limit how many there are.
    }
}

void Container::updatePorts() {
    std::vector<Container*> open{this};
    while (!open.empty()) {
        Container& container = *open.back();
        open.pop_back();
        container.updateInputPorts();
        container.updateOutputPort();
        for (auto nested = container.containers.rbegin(); nested != container.containers.rend(); ++nested) {
            open.push_back(nested->get());
        }
    }
}

void Container::refreshPorts() {
    const Node& provider = updateOutputPort();
    updateInputPorts();
    NodeState::of(*this).connectedSlots.assign(provider.connectedInputValues());
}

void Container::updateInputPorts() {
    std::unordered_set<const TimestampedVariable*> fed;
    for (const auto* node : nodes) {
        fed.insert(node->connectedInputValues().begin(), node->connectedInputValues().end());
    }
    // Those that stand higher come first.
    std::multimap<double, TimestampedVariable*> byHeight;
    for (const auto* node : nodes) {
        for (auto* slot : node->inputValues()) {
            if (!fed.contains(slot)) byHeight.emplace(slot->owner->position.y, slot);
        }
    }
    std::vector<TimestampedVariable*> ports;
    for (const auto& [height, slot] : byHeight) {
        slot->pinned = true;
        ports.push_back(slot);
    }
    NodeState::of(*this).presentInputs(ports);
}

Node& Container::updateOutputPort() {
    const std::unordered_set<const Node*> members(nodes.begin(), nodes.end());
    for (auto* node : nodes) {
        const auto fed = node->connectedInputValues();
        const bool feedsOutside = std::any_of(fed.begin(), fed.end(), [&](const auto* slot) {
            if (slot->owner == nullptr) node->stop("feeds a slot without an owner");
            return !members.contains(slot->owner);
        });
        if (!fed.empty() && !feedsOutside) continue;
        if (node->outputValue() != nullptr) node->outputValue()->pinned = true;
        NodeState::of(*this).presentOutput(node->outputValue());
        return *node;
    }
    stopProgram(
        "the container \"" + std::string(descriptionString().value_or("")) +
        "\" holds no node that could provide its output: it is empty, or its nodes feed only one another");
}

Node& Container::outputProvider() const {
    if (outputValue() == nullptr) stop("the container presents no output");
    return *outputValue()->owner;
}

void Container::connectOutput(TimestampedVariable& input) {
    outputProvider().connectOutput(input);
    refreshPorts();
}

void Container::disconnect(TimestampedVariable& input) {
    outputProvider().disconnect(input);
    refreshPorts();
}

std::vector<Property> Container::getProperties() const {
    std::vector<Property> properties{{"Description", std::string(label())}};
    for (auto& property : Node::getProperties()) properties.push_back(std::move(property));
    return properties;
}

ContainerInfo Container::ownInfo() const {
    ContainerInfo info;
    info.x = position.x;
    info.y = position.y;
    info.description = label();
    for (const auto* node : nodes) {
        if (!node->id) node->stop("a node in a container needs an id");
        info.nodeIds.push_back(*node->id);
    }
    if (color) info.color = std::string(bodyColorName(*color));
    info.containers.emplace(containers.size());
    return info;
}

ContainerInfo Container::getContainerInfo() const {
    struct Pair {
        const Container* container;
        ContainerInfo* info;
    };
    ContainerInfo root;
    std::vector<Pair> open{{this, &root}};
    while (!open.empty()) {
        const auto [container, info] = open.back();
        open.pop_back();
        *info = container->ownInfo();
        for (std::size_t i = 0; i < container->containers.size(); ++i) {
            open.push_back({container->containers[i].get(), &(*info->containers)[i]});
        }
    }
    return root;
}

}  // namespace KelvaneSDK
