#include <KelvaneSDK/KelvaneSDK.h>

#include <iostream>

int main() {
    KelvaneSDK::Kelvane engine;
    if (!engine.read(R"(acceleration: Vector
                        magnitude: Float = Vector length(acceleration))",
                     true))
        return 1;
    const auto result = engine.evaluate({0.01, {{"acceleration", KelvaneSDK::Vector{3, 0, 4}}}});
    std::cout << KelvaneSDK::getValueString(result.outputs.at("magnitude")) << "\n";  // 5.0
}
