#include "support/Stops.h"

#include <regex>

#include "KelvaneSDK/Diagnostics.h"

namespace KelvaneSDK::testing_support {

namespace {

struct Stopped {
    std::string reason;
};

}  // namespace

testing::AssertionResult stopsWith(const std::function<void()>& step, const std::string& reason) {
    auto previous = setStopHandler([](std::string_view told) { throw Stopped{std::string(told)}; });
    auto result = testing::AssertionFailure() << "no stop";
    try {
        step();
    } catch (const Stopped& stopped) {
        const bool fits = std::regex_search(stopped.reason, std::regex(reason, std::regex::extended));
        result = fits ? testing::AssertionSuccess() : testing::AssertionFailure() << stopped.reason << ", not " << reason;
    }
    setStopHandler(std::move(previous));
    return result;
}

}  // namespace KelvaneSDK::testing_support
