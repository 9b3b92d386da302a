#pragma once

#include "KelvaneSDK/Node.h"

namespace KelvaneSDK {

/// The base of the variable outputs, where values leave a diagram: one input of a fixed type, whose value the
/// engine hands to the application under the node's label. The output cannot feed other nodes.
class VariableOutputNode : public Node {
public:
    void initialize() override;
    void setTypeString() override;
    /// Refuses with "ERROR: cannot connect to the output of a Variable Output node!".
    void connectOutput(TimestampedVariable& input) override;
    /// Besides the properties of every node: "Hidden", true for exactly the text "true".
    void setProperty(std::string_view propertyString, std::string_view valueString) override;
    std::vector<Property> getProperties() const override;

    /// How many input streams have this output as the first of their label. Maintained while a diagram is
    /// built.
    std::int64_t numLinks = 0;
    /// Another variable output has the same label. Maintained while a diagram is built.
    bool duplications = false;
    /// The output is evaluated but left out of the results.
    bool hidden() const { return isHidden; }
    void setHidden(bool hidden);
    /// The type that process() passes on, or absent for a class with an evaluation step of its own.
    virtual std::optional<ValueType> plainType() const { return std::nullopt; }

protected:
    /// The evaluation step: passes a value of exactly the admitted type on and anything else as absent. An
    /// input without a value stops the program.
    void passOn(ValueType admitted);

private:
    const TimestampedVariable& input() const;

    bool isHidden = false;
};

}  // namespace KelvaneSDK
