#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "KelvaneSDK/KelvaneSDK.h"

namespace kelvane {

/// Edits the records of a diagram by the names that people use: a node's label or #id, an input's name or
/// number. What does not fit the diagram is refused with a `Failure`; what an edit does beside what was asked
/// is reported.
class DiagramEditor {
public:
    /// `fileName` as messages have it; `nestedNodes` are removed together with those that they stand in.
    DiagramEditor(std::string fileName, KelvaneSDK::DiagramInfo diagram,
                  std::vector<KelvaneSDK::NestedNode> nestedNodes);

    /// "LABEL=TEXT": gives the constants of this label another value.
    void set(const std::string& setting);
    /// Gives a node another label; by a label, the streams and outputs that bear it together.
    void rename(const std::string& name, const std::string& label);
    /// "FROM", and "TO.INPUT", or "TO" where there is one input only.
    void connect(const std::string& from, const std::string& input);
    /// Without `from`, whatever feeds the input.
    void disconnect(const std::optional<std::string>& from, const std::string& input);
    /// Adds a node of a class, "Moving averager" or "Input stream Float", for each of the labels, or one
    /// without a label.
    void add(const std::string& className, const std::vector<std::string>& labels);
    /// Removes a node and all that names it.
    void remove(const std::string& name);

    const KelvaneSDK::DiagramInfo& edited() const { return info; }

private:
    struct Node {
        std::int64_t id = 0;
        std::optional<KelvaneSDK::NodeCategory> category;
        /// Null for an unknown type.
        const KelvaneSDK::NodeClass* nodeClass = nullptr;
        std::string label;
    };
    struct Input {
        const Node* node = nullptr;
        std::int64_t index = 0;
    };
    using Condition = std::function<bool(const Node&)>;

    void readNodes();
    void removeRecords(std::int64_t id);
    [[noreturn]] void refuse(const std::string& reason, const std::string& hint = {}) const;
    void note(const std::string& what) const;
    /// All nodes that a label or #id names and that meet a condition.
    std::vector<const Node*> bearers(const std::string& name, const Condition& fits) const;
    /// Refuses a name that none of the nodes has, or several.
    const Node& only(const std::string& name, const std::string& role, const Condition& fits) const;
    [[noreturn]] void refuseUnknown(const std::string& name, const std::string& role,
                                    const Condition& fits) const;
    Input inputNamed(const std::string& name) const;
    std::optional<std::int64_t> indexOf(const Node& node, const std::string& input) const;
    const std::string& typeOf(const Node& node) const;
    std::string shown(const Node& node) const;
    std::string shown(const Input& input) const;
    void setProperty(std::int64_t id, const std::string& property, const std::string& value);
    void noteFeedback(const Node& node, const std::string& label, const std::string& relation) const;

    std::string file;
    KelvaneSDK::DiagramInfo info;
    std::vector<KelvaneSDK::NestedNode> nested;
    std::vector<Node> nodes;
};

}  // namespace kelvane
