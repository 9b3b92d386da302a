// What must hold of every placed diagram, whatever it is: boxes apart, wires clear of them, frames around their
// members and nobody else.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>

#include "KelvaneSDK/TextForm/TextForm.h"
#include "Pictures/DrawnDiagram.h"
#include "Pictures/Markup.h"
#include "Pictures/ShortValue.h"
#include "Pictures/TextLines.h"

namespace kelvane {
namespace {

using namespace KelvaneSDK;

// Points on a path of M, L and C.
std::vector<Point> sampled(std::string path) {
    for (const char command : {'M', 'L', 'C'})
        for (std::size_t at = 0; (at = path.find(command, at)) != std::string::npos; at += 3) path.replace(at, 1, std::string(" ") + command + " ");
    std::istringstream words(path);
    std::vector<Point> points;
    for (char command = 0; words >> command;) {
        Point a, b, c;
        words >> a.x >> a.y;
        if (command == 'M') points.push_back(a);
        if (command == 'M') continue;
        const auto from = points.back();
        if (command == 'C') {
            words >> b.x >> b.y >> c.x >> c.y;
        } else {
            b = a = {(from.x + a.x) / 2, (from.y + a.y) / 2};
            c = {2 * a.x - from.x, 2 * a.y - from.y};
        }
        for (int i = 1; i <= 40; ++i) {
            const double t = i / 40.0, u = 1 - t;
            const auto mix = [&](double p, double q, double r, double s) {
                return u * u * u * p + 3 * u * u * t * q + 3 * u * t * t * r + t * t * t * s;
            };
            points.push_back({mix(from.x, a.x, b.x, c.x), mix(from.y, a.y, b.y, c.y)});
        }
    }
    return points;
}

std::string boxText(const DrawnNode& node) { return node.name + " at " + pictureNumber(node.box.x) + " " + pictureNumber(node.box.y); }

std::vector<std::string> faultsOf(const DrawnDiagram& diagram) {
    std::vector<std::string> faults;
    const auto& nodes = diagram.nodes;
    for (std::size_t i = 0; i < nodes.size(); ++i)
        for (std::size_t k = i + 1; k < nodes.size(); ++k)
            if (nodes[i].box.grown(2).overlaps(nodes[k].box)) faults.push_back(boxText(nodes[i]) + " is too near to " + boxText(nodes[k]));
    for (const auto& wire : diagram.wires) {
        const auto points = sampled(wire.path);
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            if (nodes[i].reader != nothing && i == wire.from) continue;
            const bool isHit = std::any_of(points.begin(), points.end(), [&](const Point& point) {
                return nodes[i].box.grown(-0.5).overlaps({point.x, point.y, 0.01, 0.01});
            });
            if (isHit)
                faults.push_back("the wire from " + boxText(nodes[wire.from]) + " to " + boxText(nodes[wire.to]) + " crosses " + boxText(nodes[i]));
        }
    }
    for (std::size_t frame = 0; frame < diagram.frames.size(); ++frame) {
        const auto& box = diagram.frames[frame].box;
        for (const auto& node : nodes) {
            auto around = node.frame;
            while (around != nothing && around != frame) around = diagram.frames[around].parent;
            const bool isInside = node.box.x > box.x && node.box.y > box.y && node.box.right() < box.right() && node.box.bottom() < box.bottom();
            if (around == frame ? !isInside : node.box.overlaps(box))
                faults.push_back(boxText(node) + " and the frame " + diagram.frames[frame].title);
        }
    }
    return faults;
}

DrawnDiagram placed(const DiagramData& document) {
    auto diagram = drawnDiagram(document);
    placeDiagram(diagram, 0);
    return diagram;
}

DiagramData randomDocument(int count, int reach, double ringShare, int boxes) {
    std::mt19937 random(7);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    DiagramData data;
    for (int i = 0; i < count; ++i) {
        const bool isStream = i <= count / 20;
        data.info.nodes.push_back({i, isStream ? "Input stream" : "Function", isStream ? "Float" : "Add", {}});
        for (int input = 0; input < 2 && !isStream; ++input) {
            const bool isBack = below(1000) < ringShare * 1000;
            const int from = isBack ? below(count) : i - 1 - below(std::min(i, reach));
            data.info.connections.push_back({from, i, input});
        }
    }
    data.info.containers.emplace();
    for (int i = 0; i < boxes; ++i) {
        ContainerInfo box, inner;
        box.description = "box " + std::to_string(i);
        inner.description = "inner " + std::to_string(i);
        for (int k = i; k < count; k += 3 * boxes) (k % 2 == 0 ? box : inner).nodeIds.push_back(k);
        box.containers = {inner};
        data.info.containers->push_back(box);
    }
    return data;
}

struct PictureCase {
    const char* name;
    DiagramData document;
};

DiagramData fromText(std::string_view text) { return readDiagram(text).value(); }

class DiagramPictureTest : public testing::TestWithParam<PictureCase> {};

TEST_P(DiagramPictureTest, KeepsBoxesWiresAndFramesApart) { EXPECT_EQ(faultsOf(placed(GetParam().document)), std::vector<std::string>()); }

TEST_P(DiagramPictureTest, IsTheSameEveryTime) { EXPECT_EQ(svgPicture(GetParam().document, {}), svgPicture(GetParam().document, {})); }

INSTANTIATE_TEST_SUITE_P(
    , DiagramPictureTest,
    testing::Values(PictureCase{"Empty", {}}, PictureCase{"Feedback", fromText("x: Float\nlast: Float\nlast: Float = Add(Multiply(x, 2.0), last)")},
                    PictureCase{"Ring", fromText("a = Add(b, 1)\nb = Add(a, 2)\nc = Add(c, a)")},
                    PictureCase{"SameFeederTwice", fromText("x: Float\ny: Float = Multiply(x, x)\nz: Float = x | x")},
                    PictureCase{"LongLabels", fromText("`" + std::string(3000, 'w') + "`: Float\ny: Float = Sine(`" + std::string(3000, 'w') + "`)")},
                    PictureCase{"FramesThatCrossLayers", fromText("x: Float\na = Sine(x)\nb = Sine(a)\nc = Sine(b)\nd = Sine(c)\ne = Add(a, d)\n"
                                                                  "f = Add(b, e)\nbox One { a, d }\nbox Two { b, box Three { c, f } }\n")},
                    PictureCase{"GivenPlaces", fromText("x: Float [at (0, 0)]\na = Sine(x) [at (30, 0)]\n"
                                                        "b = Add(x, a) [at (60, 0)]\ny: Float = b [at (0, 20)]\n"
                                                        "z: Float = x [at (60, 20)]")},
                    PictureCase{"CoincidingPlaces", fromText("x: Float [at (5, 5)]\ny: Float = x [at (5, 5)]")},
                    PictureCase{"Random300", randomDocument(300, 40, 0, 0)}, PictureCase{"Random300WithRings", randomDocument(300, 40, 0.02, 0)},
                    PictureCase{"Random300WithFrames", randomDocument(300, 40, 0, 12)}, PictureCase{"Random1000", randomDocument(1000, 1000, 0, 0)}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(DiagramPlacementTest, LeadsFromLeftToRightAndFeedbackBack) {
    const auto diagram = placed(fromText("x: Float\nlast: Float\nlast: Float = Add(Sine(x), last)"));
    for (const auto& wire : diagram.wires) {
        const auto points = sampled(wire.path);
        const auto& from = diagram.nodes[wire.from].box;
        const auto& to = diagram.nodes[wire.to].box;
        EXPECT_EQ(wire.isFeedback, to.x < from.x);
        EXPECT_NEAR(points.front().x, from.right(), 0.01);
        EXPECT_NEAR(points.back().x, to.x, 0.01);
    }
    EXPECT_EQ(std::count_if(diagram.wires.begin(), diagram.wires.end(), [](const auto& wire) { return wire.isFeedback; }), 1);
}

TEST(DiagramPlacementTest, UsesTheDocumentsPlacesInTheirOrder) {
    const auto diagram = placed(fromText("x: Float [at (40, 0)]\ny: Float = x [at (0, 9)]"));
    EXPECT_GT(diagram.nodes[0].box.x, diagram.nodes[1].box.right());
    EXPECT_LT(diagram.nodes[0].box.y, diagram.nodes[1].box.y);
}

TEST(DrawnDiagramTest, FollowsTypesAlongWires) {
    const auto diagram =
        drawnDiagram(fromText("v: Vector array\nheld = Pass-through(v)\nfirst = Get element(0, held)\nlength = Vector length(first)\n"
                              "open = Buffer(_, _)"));
    std::vector<std::string> styles;
    for (const auto& node : diagram.nodes)
        if (node.kind != NodeKind::constant) styles.emplace_back(node.style);
    EXPECT_EQ(styles, (std::vector<std::string>{"vector array", "vector array", "vector", "float", "any"}));
}

TEST(DrawnDiagramTest, LeavesOutWhatIsNotThere) {
    DiagramData data;
    data.info.nodes = {{1, "Input stream", "Float", {}}, {1, "Function", "Sine", {}}, {2, "Function", "No such", {}}};
    data.info.connections = {{1, 2, 3}, {1, 2, -1}, {1, 2, 1000000}, {1, 7, 0}, {7, 2, 0}};
    data.info.properties = {{9, "Description", "x"}};
    data.info.positions = {{1, 0.0 / 0.0, 0}, {2, 1e300, 1}};
    const auto diagram = placed(data);
    ASSERT_EQ(diagram.wires.size(), 1u);
    EXPECT_EQ(diagram.nodes[2].inputs.size(), 4u);
    EXPECT_EQ(faultsOf(diagram), std::vector<std::string>());
}

TEST(PictureTextsTest, AreShort) {
    const std::pair<Value, const char*> values[] = {
        {0.1 + 0.2, "0.3"},
        {1234567.891, "1.23457e+06"},
        {std::int64_t{1} << 62, "4.61169e+18"},
        {Vector{1, -0.123456, 1e9}, "(1, -0.123, 1e+09)"},
        {std::string(1000, 'm'), "\"mmmmmm…\""},
        {List<double>{1, 2}, "2 values"},
        {Sequence{{0, 1}}, "1 sample"},
    };
    for (const auto& [value, text] : values) EXPECT_EQ(shortValue(value), text);
    EXPECT_EQ(textLines("one two  three\nfour", 10, 50, 9), (std::vector<std::string>{"one two", "three four"}));
    EXPECT_EQ(textLines("one two three four", 10, 30, 2), (std::vector<std::string>{"one", "two …"}));
}

}  // namespace
}  // namespace kelvane
