#include "KelvaneSDK/SequenceValue.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/Slots.h"

namespace KelvaneSDK::testing_support {

TEST(SequenceValue, OperatesAndReadsText) {
    const Sequence flat{{0, 1}, {1, 1}, {2, 1}, {3, 1}}, rise{{1, 10}, {2, 20}}, jump{{0, 1}, {1, 2}, {1, 4}};
    expectOperations({
        {"add", flat, rise, "Sequence [(t: 1.0, f: 11.0), (t: 2.0, f: 21.0)]"},
        {"subtract", Sequence{{1.25, 1}}, rise, "Sequence [(t: 1.25, f: -11.5)]"},
        {"multiply", Sequence{{1.5, 2}}, rise, "Sequence [(t: 1.5, f: 30.0)]"},
        {"divide", Sequence{{0, 4}, {1, 4}}, Sequence{{0, 0}, {1, 2}}, "Sequence [(t: 1.0, f: 2.0)]"},
        {"add", Sequence{{0, 5}}, Sequence{{0, 7}}, "Sequence []"},
        {"add", Sequence{{1, 0}}, jump, "Sequence [(t: 1.0, f: 2.0)]"},
        {"add", Sequence{{1, 0}}, Sequence{{1, 3}, {1, 4}}, "Sequence [(t: 1.0, f: nan)]"},
        {"add", Sequence{{2, 1}, {1, 1}}, rise, "Sequence [(t: 2.0, f: 21.0), (t: 1.0, f: 11.0)]"},
        {"scale", Sequence{{0, 1}, {5, -3}}, 2.0, "Sequence [(t: 0.0, f: 2.0), (t: 5.0, f: -6.0)]"},
        {"negate", Sequence{{0, 1}, {5, -3}}, 0.0, "Sequence [(t: 0.0, f: -1.0), (t: 5.0, f: 3.0)]"},
        {"isEqual", rise, jump, "absent"},
        {"isEqual", rise, Sequence{{1, 10}, {2.5, 20}}, "false"},
        {"stringValue", Sequence{{0, 1}, {0.5, 2}}, 0.0, "(0.0, 1.0),(0.5, 2.0)"},
    });
    expectParses({{rise, "(0.0, 1.0),(0.5, 2.0)", "Sequence [(t: 0.0, f: 1.0), (t: 0.5, f: 2.0)]"},
                  {rise, "", "Sequence []"},
                  {Sequence(), "1,2,3", "Sequence []", true}});
}

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
