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

// The search from the start for every time, which the interpolator must match to the last bit.
static std::optional<double> interpolated(std::span<const Sample> b, double t) {
    if (b.size() < 2 || t < b.front().t || t > b.back().t) return std::nullopt;
    for (std::size_t k = 1; k < b.size(); ++k) {
        if (t > b[k].t) continue;
        return b[k - 1].f + (b[k].f - b[k - 1].f) * ((t - b[k - 1].t) / (b[k].t - b[k - 1].t));
    }
    return std::nullopt;
}

TEST(SequenceInterpolator, AnswersAsASearchFromTheStartWhateverTheOrderOfTimes) {
    std::mt19937_64 random(1);
    int present = 0;
    for (int round = 0; round < 3000; ++round) {
        // Few distinct times, so that some repeat.
        const auto time = [&] { return static_cast<double>(random() % 12) / 2 - 2; };
        std::vector<Sample> samples(random() % 7);
        for (auto& sample : samples) sample = {time(), static_cast<double>(random() % 100) / 7};
        const auto earlier = [](const Sample& a, const Sample& b) { return a.t < b.t; };
        if (round % 2 == 0) std::stable_sort(samples.begin(), samples.end(), earlier);
        SequenceInterpolator interpolator(samples);
        double t = -3;
        for (int i = 0; i < 12; ++i) {
            t = round % 3 == 0 ? time() : t + 0.5;
            const auto found = interpolator.at(t), expected = interpolated(samples, t);
            ASSERT_EQ(describe(found), describe(expected)) << "round " << round;
            present += found.has_value();
        }
    }
    EXPECT_GT(present, 3000);
}

}  // namespace KelvaneSDK::testing_support
