#include <KelvaneSDK/KelvaneSDK.h>

#include <iostream>

int main() {
    KelvaneSDK::Kelvane engine;
    if (!engine.read(R"({"nodes": [{"id": 1, "classString": "Input stream", "typeString": "Vector"},
                                   {"id": 2, "classString": "Function", "typeString": "Vector length"},
                                   {"id": 3, "classString": "Variable output", "typeString": "Float"}],
                         "properties": [{"id": 1, "propertyString": "Description", "valueString": "acceleration"},
                                        {"id": 3, "propertyString": "Description", "valueString": "magnitude"}],
                         "connections": [{"outputNodeId": 1, "inputNodeId": 2, "inputIndex": 0},
                                         {"outputNodeId": 2, "inputNodeId": 3, "inputIndex": 0}],
                         "positions": []})",
                     true))
        return 1;
    const auto result = engine.evaluate({0.01, {{"acceleration", KelvaneSDK::Vector{3, 0, 4}}}});
    std::cout << KelvaneSDK::getValueString(result.outputs.at("magnitude")) << "\n";  // 5.0
}
