#include "KelvaneSDK/Values/SequenceValue.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/Slots.h"

namespace KelvaneSDK::testing_support {

TEST(SequenceInterpolator, AnswersTheSameWhateverTheOrderOfTimes) {
    std::mt19937_64 random(1);
    int present = 0;
    for (int round = 0; round < 3000; ++round) {
        // Few distinct times, so that some repeat; half of the sequences are in order.
        const auto time = [&] { return static_cast<double>(random() % 12) / 2 - 2; };
        std::vector<Sample> samples(random() % 7);
        for (auto& sample : samples) sample = {time(), static_cast<double>(random() % 100) / 7};
        if (round % 2 == 0) std::stable_sort(samples.begin(), samples.end(), [](const auto& a, const auto& b) { return a.t < b.t; });
        SequenceInterpolator interpolator(samples);
        for (double t = -3, i = 0; i < 12; ++i) {
            t = round % 3 == 0 ? time() : t + 0.5;
            const auto found = interpolator.at(t);
            ASSERT_EQ(describe(found), describe(SequenceInterpolator(samples).at(t))) << "round " << round;
            present += found.has_value();
        }
    }
    EXPECT_GT(present, 3000);
}

}  // namespace KelvaneSDK::testing_support
