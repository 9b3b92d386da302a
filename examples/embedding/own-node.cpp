// An engine with three functions of the application's own; docs/node-classes.md explains them.
#include <KelvaneSDK/KelvaneSDK.h>

#include <algorithm>
#include <iostream>
#include <limits>

using namespace KelvaneSDK;

// State is an object: one per node, called for every step and made anew by a reset.
struct Highest {
    double operator()(double x) { return highest = std::max(highest, x); }
    double highest = -std::numeric_limits<double>::infinity();
};

// What has several outcomes is a class.
class HysteresisFunction final : public FunctionNode {
public:
    static Declaration declaration() {
        return {.name = "Hysteresis",
                .inputs = {{"x", ValueClass::FloatValue},
                           {"on", ValueClass::FloatValue, "switches on at this or above"},
                           {"off", ValueClass::FloatValue, "switches off below this"}},
                .output = ValueClass::BooleanValue,
                .description = "true from when x reaches `on` until it falls below `off`",
                .silentWhen = "until x has been outside the band from `off` to `on`",
                .keywords = "threshold debounce",
                .keepsState = true,
                .demands = {{"off is at most on", {1, 2}, offAboveOn}}};
    }
    void process() override {
        stopOnViolation();
        if (real(0) >= real(1)) isOn = true;
        if (real(0) < real(2)) isOn = false;
        if (!isOn) return endWithoutOutput("x has stayed in the band so far");
        finish(*isOn);
    }
    void reset() override {
        isOn.reset();
        FunctionNode::reset();
    }

private:
    static std::optional<std::string> offAboveOn(std::span<const Value* const> values,
                                                 std::span<const ValueClass>) {
        if (values[2]->as<double>() <= values[1]->as<double>()) return std::nullopt;
        return "off is above on: " + getValueString(*values[2]) + " > " + getValueString(*values[1]);
    }

    std::optional<bool> isOn;
};

NodeFamily greenhouseFunctions() {
    return functionFamily(
        "Greenhouse",
        {pure(
             "Fahrenheit", {{"celsius"}}, [](double celsius) { return celsius * 9 / 5 + 32; },
             "a temperature in degrees Fahrenheit"),
         stateful<Highest>("Highest", {{"x"}}, "the highest value so far"), entry<HysteresisFunction>()});
}

constexpr auto diagram = R"(temperature: Float
                            on = 25
                            off = 20
                            fan: Boolean = Hysteresis(temperature, on, off))";

int main() {
    Kelvane engine;
    engine.setStopBehavior(StopBehavior::failCall);
    engine.registerNodes(greenhouseFunctions());
    const auto loaded = engine.load(diagram, true, Severity::error);
    for (const auto& finding : loaded.findings) std::cerr << findingText(finding) << "\n";
    if (!loaded.isBuilt) return 1;

    double time = 0;
    for (const double temperature : {22.0, 26.0, 22.0, 19.0}) {
        const auto result = engine.evaluate({++time, {{"temperature", temperature}}});
        const auto fan = result.outputs.find("fan");
        std::cout << temperature << ": "
                  << (fan == result.outputs.end() ? "no output" : getValueString(fan->second)) << "\n";
    }
    engine.setConstant("off", 30.0);
    engine.evaluate({++time, {{"temperature", 31.0}}});
    if (engine.failure()) std::cout << engine.failure()->text << "\n";
}
