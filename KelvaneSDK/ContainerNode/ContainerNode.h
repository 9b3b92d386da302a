#pragma once

#include <memory>
#include <vector>

#include "KelvaneSDK/DiagramData.h"
#include "KelvaneSDK/Node.h"

namespace KelvaneSDK {

/// A box that groups nodes of a diagram and presents them as if they were one node: its inputs are the inner
/// input slots that no inner node feeds, from top to bottom as drawn, and its output is the output of one
/// inner node. The engine owns the inner nodes, and the inner nodes own the slots. Containers nest.
class Container final : public Node {
public:
    /// Refused: a container cannot be made without its contents. Stops the program.
    void initialize() override;

    ~Container() override;

    /// Computes the inputs and the output from the inner nodes, then does the same for every nested
    /// container. A container without a node that could provide its output stops the program.
    void updatePorts();
    /// Recomputes the ports of this container alone, after a connection of it changed.
    void refreshPorts();

    /// Connects, or disconnects, the output of the inner node that provides this container's output.
    void connectOutput(TimestampedVariable& input) override;
    void disconnect(TimestampedVariable& input) override;

    std::vector<Property> getProperties() const override;
    /// The container as a document record, nested containers included.
    ContainerInfo getContainerInfo() const;

    std::vector<Node*> nodes;
    std::vector<std::unique_ptr<Container>> containers;

private:
    void updateInputPorts();
    Node& updateOutputPort();
    /// The inner node whose output the container presents.
    Node& outputProvider() const;
    ContainerInfo ownInfo() const;
};

}  // namespace KelvaneSDK
