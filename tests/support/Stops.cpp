#include "support/Stops.h"

#include <regex>

#include "KelvaneSDK/Operation.h"

namespace KelvaneSDK::testing_support {

testing::AssertionResult stopsWith(const std::function<void()>& step, const std::string& reason) {
    const auto stop = reasonOfStop(step);
    if (!stop) return testing::AssertionFailure() << "no stop";
    if (std::regex_search(stop->text, std::regex(reason, std::regex::extended))) return testing::AssertionSuccess();
    return testing::AssertionFailure() << stop->text << ", not " << reason;
}

}  // namespace KelvaneSDK::testing_support
