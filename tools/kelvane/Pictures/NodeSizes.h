#pragma once

namespace kelvane {

// How nodes are drawn: sizes of texts, and where they stand from the top of a box.

struct NodeSizes {
    static constexpr double name = 13, detail = 11, port = 11, margin = 11;
    static constexpr double nameBase = 18, detailBase = 32;
    /// Of a function's head, with and without a line for its class; then come its inputs.
    static constexpr double head = 25, tallHead = 38, row = 19;
    static constexpr double endHeight = 42, lowEndHeight = 30, constantHeight = 26, besideHeight = 17;
    /// Between a constant and the input that it stands beside.
    static constexpr double besideGap = 16;
    static constexpr double widestText = 230;
    /// How much wider bold texts are, and a little more than a text needs.
    static constexpr double bold = 1.09, slack = 1;
};

}  // namespace kelvane
