#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "KelvaneSDK/FunctionNode.h"
#include "support/DiagramDocument.h"

namespace KelvaneSDK::testing_support {

namespace {

using namespace std::chrono_literals;

class BackgroundRunsTest : public testing::Test {
protected:
    BackgroundRunsTest() {
        // The child of a death test starts anew, so that it has its own background thread.
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }

    std::unique_ptr<Kelvane> makeEngine() {
        auto engine = std::make_unique<Kelvane>(results, queue);
        engine->read(document.text(), true);
        return engine;
    }
    bool runNext() { return queue->runNext(std::chrono::steady_clock::now() + 20s); }

    static std::vector<KelvaneInput> batches(int count) {
        std::vector<KelvaneInput> inputs;
        // Equal timestamps, and labels of no stream among them.
        for (int i = 0; i < count; ++i) inputs.push_back({1e-9 * (i / 2), {{i % 3 == 2 ? "none" : "x", 1.0}}});
        return inputs;
    }

    DiagramDocument document = DiagramDocument::chain("Update counter", "Integer");
    std::shared_ptr<DrainedMainQueue> queue = std::make_shared<DrainedMainQueue>();
    std::shared_ptr<Results> results = std::make_shared<Results>();
};

}  // namespace

TEST_F(BackgroundRunsTest, DeliversEveryNonEmptyResultInOneCall) {
    const auto engine = makeEngine();
    engine->processAllUpdates(batches(100));
    ASSERT_TRUE(runNext());
    ASSERT_EQ(results->runs.size(), 1U);
    EXPECT_TRUE(results->outputs.empty());
    ASSERT_EQ(results->runs[0].size(), 67U) << "nothing is skipped but batches without a result";
    const KelvaneOutput last{1e-9 * 49, {{"y", 67}}};
    EXPECT_EQ(results->runs[0].back(), last);
    // The timing knows nothing of the run: its timestamps would be later.
    engine->updateInputStreams({1e-12, {{"x", 1.0}}});
    EXPECT_EQ(results->outputs.at(0).outputs, (LabelledValues{{"y", 68}}));
    engine->processAllUpdates({});
    ASSERT_TRUE(runNext());
    EXPECT_TRUE(results->runs.at(1).empty());
    EXPECT_FALSE(queue->runOnce());
}

TEST_F(BackgroundRunsTest, DestroyingAnEngineWaitsForItsRun) {
    auto engine = makeEngine();
    engine->processAllUpdates(batches(20000));
    engine.reset();
    EXPECT_EQ(queue->runUntilEmpty(), 1U) << "posted before the engine went";
    EXPECT_EQ(results->runs.at(0).back().outputs.at("y"), Value(13334));

    engine = makeEngine();
    engine->processAllUpdates(batches(3));
    engine.reset();
    results.reset();
    EXPECT_EQ(queue->runUntilEmpty(), 1U) << "nobody is there to be missed";
}

TEST_F(BackgroundRunsTest, AMissingReceiverStopsTheProgramWhileTheEngineLives) {
    const auto run = [&] {
        const auto engine = makeEngine();
        engine->processAllUpdates(batches(3));
        results.reset();
        runNext();
    };
    EXPECT_DEATH(run(), "FATAL: the receiver of a background run's results is gone");
}

TEST_F(BackgroundRunsTest, EnginesOfSeveralThreadsAreIndependent) {
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            const auto engine = makeEngine();
            engine->processAllUpdates(batches(200 + t));
            Kelvane live;
            live.read(document.text(), true);
            for (const auto& batch : batches(200)) live.evaluate(batch);
            right += live.evaluate({9, {{"x", 1.0}}}).outputs.at("y") == Value(135);
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(right, 4);
    EXPECT_EQ(queue->runUntilEmpty(), 4U);
    for (const auto& run : results->runs) EXPECT_EQ(run.back().outputs.at("y"), Value(std::int64_t(run.size())));
}

TEST_F(BackgroundRunsTest, DiagnosticsAndStopsOfARunAreSeen) {
    const auto engine = makeEngine();
    {
        CapturedDiagnostics captured;
        engine->processAllUpdates({{1, {{"x", 1}}}});
        ASSERT_TRUE(runNext());
        EXPECT_EQ(captured.lines.size(), 1U);
    }
    const auto failing = makeEngine(), other = makeEngine();
    failing->setStopBehavior(StopBehavior::failCall);
    failing->nodeList(NodeCategory::InputStream)[0]->setDescriptionString({});
    failing->processAllUpdates(batches(1));
    other->processAllUpdates(batches(3));
    ASSERT_TRUE(runNext() && runNext());
    EXPECT_EQ(failing->failure()->text, "node 1 (\"Float\"): the node has no label");
    EXPECT_FALSE(other->failure());
}

// Each call in a thread of its own, and an engine that goes on beside them.
TEST_F(BackgroundRunsTest, AStopFailsItsCallAndTheEngineGivesNothingUntilItIsReset) {
    document.constant("Integer array", "1", "list");
    auto broken = DiagramDocument::chain("Absolute");
    broken.connect(1, 2, 7);
    const auto counts = [](Kelvane& engine) { return engine.evaluate(batches(1)[0]).outputs == LabelledValues{{"y", 1}}; };
    const std::pair<std::string, std::function<bool(Kelvane&)>> calls[]{
        {"node 0 (\"Integer array\", \"list\"): an integer array has no text form unless it is empty (its elements are read as doubles)",
         [](Kelvane& engine) { return engine.createJSON().empty(); }},
        {"node 2 (\"Absolute\", \"Absolute\"): a connection names input 7; the node has 1 input(s)",
         [&](Kelvane& engine) { return !engine.read(broken.text(), false); }},
        {"node 1 (\"Float\"): the node has no label",
         [&](Kelvane& engine) {
             engine.nodeList(NodeCategory::InputStream)[0]->setDescriptionString({});
             return engine.evaluate({}).outputs.empty();
         }},
        {"", counts}};
    std::vector<std::thread> threads;
    for (const auto& call : calls) {
        threads.emplace_back([&] {
            const auto& [reason, isAsExpected] = call;
            for (int round = 0; round < 50; ++round) {
                const auto engine = makeEngine();
                engine->setStopBehavior(StopBehavior::failCall);
                EXPECT_TRUE(isAsExpected(*engine));
                EXPECT_EQ(engine->failure() ? engine->failure()->text : "", reason);
                EXPECT_EQ(engine->failure() && engine->failure()->nodeId, !reason.empty());
                EXPECT_FALSE(!reason.empty() && counts(*engine));
                engine->reset();
                EXPECT_TRUE(!engine->failure() && engine->read(document.text(), true) && counts(*engine));
            }
        });
    }
    for (auto& thread : threads) thread.join();
}

}  // namespace KelvaneSDK::testing_support
