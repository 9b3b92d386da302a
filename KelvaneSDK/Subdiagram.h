#pragma once

#include <string>
#include <vector>

namespace KelvaneSDK {

class Node;

/// A named group of nodes, without behaviour of its own. The engine owns the nodes; `description` is the
/// application's to change.
class Subdiagram {
public:
    explicit Subdiagram(std::string name, std::vector<Node*> members = {})
        : description(std::move(name)), nodes(std::move(members)) {}

    std::string description;
    std::vector<Node*> nodes;
};

}  // namespace KelvaneSDK
