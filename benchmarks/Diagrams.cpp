#include "Diagrams.h"

#include "KelvaneSDK/DiagramData.h"

namespace KelvaneBenchmarks {

namespace {

class Document {
public:
    std::int64_t add(const char* classString, const char* typeString, const std::string& label) {
        const auto id = static_cast<std::int64_t>(info.nodes.size());
        info.nodes.push_back({id, classString, typeString, std::nullopt});
        info.positions.push_back({id, 0, 0});
        info.properties.push_back({id, "Description", label});
        return id;
    }
    std::int64_t stream() {
        const auto id = add("Input stream", "Float", "in");
        info.properties.push_back({id, "Forwarding", "false"});
        return id;
    }
    std::int64_t constant(const char* value) {
        const auto id = add("Constant", "Float", "constant");
        info.properties.push_back({id, "OutputValue", value});
        return id;
    }
    void connect(std::int64_t from, std::int64_t to, std::int64_t index = 0) {
        info.connections.push_back({from, to, index});
    }
    std::string text() { return KelvaneSDK::DiagramData{std::move(info)}.encode(); }

private:
    KelvaneSDK::DiagramInfo info;
};

const char* operation(std::size_t i) { return i % 2 == 0 ? "Add" : "Multiply"; }

}  // namespace

std::string chain(std::size_t length, bool reversed) {
    Document document;
    const auto in = document.stream();
    const std::int64_t constants[] = {document.constant("1.25"), document.constant("0.5")};
    std::vector<std::int64_t> functions(length);
    for (std::size_t k = 0; k < length; ++k) {
        const std::size_t i = reversed ? length - 1 - k : k;
        functions[i] = document.add("Function", operation(i), "step");
    }
    auto last = in;
    for (std::size_t i = 0; i < length; ++i) {
        document.connect(last, functions[i], 0);
        document.connect(constants[i % 2], functions[i], 1);
        last = functions[i];
    }
    document.connect(last, document.add("Variable output", "Float", "out"));
    return document.text();
}

std::string fan(std::size_t width) {
    Document document;
    const auto in = document.stream();
    const std::int64_t constants[] = {document.constant("1.25"), document.constant("0.5")};
    for (std::size_t i = 0; i < width; ++i) {
        const auto function = document.add("Function", operation(i), "step");
        document.connect(in, function, 0);
        document.connect(constants[i % 2], function, 1);
        document.connect(function, document.add("Variable output", "Float", "out" + std::to_string(i)));
    }
    return document.text();
}

}  // namespace KelvaneBenchmarks
