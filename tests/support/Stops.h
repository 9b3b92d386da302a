#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace KelvaneSDK::testing_support {

/// Whether the step stops the program with a reason in which this regular expression is found. The stop leaves the
/// step as an exception, so that it runs in this process; what it worked on may only be destroyed.
testing::AssertionResult stopsWith(const std::function<void()>& step, const std::string& reason);

}  // namespace KelvaneSDK::testing_support

#define EXPECT_STOP(statement, reason) EXPECT_TRUE(::KelvaneSDK::testing_support::stopsWith([&] { statement; }, reason))
