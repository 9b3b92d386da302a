#pragma once

#include "KelvaneSDK/Node.h"

namespace KelvaneSDK {

/// The base of the input streams, where the application's values enter a diagram: no inputs, and an output of
/// a fixed type that always holds a value.
class InputStreamNode : public Node {
public:
    void initialize() override;
    void setTypeString() override;
    /// Besides the properties of every node: "Forwarding", true for exactly the text "true".
    void setProperty(std::string_view propertyString, std::string_view valueString) override;
    std::vector<Property> getProperties() const override;

    /// Takes one update of the stream, produced at `timestamp` (seconds), and forwards it. A value of another
    /// type than the stream's prints "ERROR: trying to set input stream '<label>' with wrong type!" and is
    /// dropped. In either case the connected slots are marked checked.
    void setValue(const Value& value, double timestamp);
    /// The same without the marks.
    void take(const Value& value, double timestamp);

    /// A variable output has the stream's label. Maintained while a diagram is built.
    bool linked = false;
    /// The stream's values are part of the results, under its label.
    bool forwarding() const { return isForwarding; }
    void setForwarding(bool forwarding);

private:
    bool isForwarding = true;
};

}  // namespace KelvaneSDK
