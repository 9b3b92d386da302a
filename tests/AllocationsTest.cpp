#include <gtest/gtest.h>

#include "KelvaneSDK/KelvaneSDK.h"
#include "support/AllocationCount.h"
#include "support/DiagramDocument.h"

namespace KelvaneSDK::testing_support {

TEST(Allocations, AForwardedListKeepsItsBlock) {
    const long before = allocations();
    const Value list(Sequence(List<Sample>(std::vector<Sample>(100000))));
    EXPECT_EQ(allocations() - before, 2) << "the vector and the list";
    auto document = DiagramDocument();
    const auto pass = document.function("Pass-through");
    document.connect(document.stream("Sequence", "in"), pass);
    document.connect(pass, document.output("Sequence", "out"));
    Kelvane engine;
    ASSERT_TRUE(engine.read(document.text(), true));
    const auto outputs = engine.evaluate({1, {{"in", list}}}).outputs;
    EXPECT_EQ(outputs.at("out").items<Sample>().data(), list.items<Sample>().data());
}

TEST(Allocations, ABatchOfScalarsTakesNone) {
    Kelvane engine;
    engine.read(DiagramDocument::chain("Update counter", "Integer").text(), true);
    const auto x = engine.inputStream("x").value();
    KelvaneInput input{0, {{"x", 1.0}}};
    KelvaneOutput output;
    long before = 0;
    for (int batch = 0; batch < 100; ++batch) {
        if (batch == 3) before = allocations();
        engine.evaluateInto(input, output);
        engine.set(x, input.timestamp++);
        engine.evaluateSet(input.timestamp++);
    }
    EXPECT_EQ(allocations(), before);
    EXPECT_EQ(output.outputs, (LabelledValues{{"y", 199}}));
}

}  // namespace KelvaneSDK::testing_support
