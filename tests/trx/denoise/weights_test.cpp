// The tables are of the stated shape, and they are trained ones.
#include "trx/denoise/network.hpp"
#include "trx/denoise/weights.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace ferrow::denoise {
namespace {

struct Shape {
    const Layer& layer;
    std::size_t inputs, neurons;
    bool recurrent;
};

const Shape kShapes[] = {{kInputDense, 42, 24, false},    {kVadGru, 24, 24, true},
                         {kNoiseGru, 90, 48, true},       {kDenoiseGru, 114, 96, true},
                         {kDenoiseOutput, 96, 22, false}, {kVadOutput, 24, 1, false}};

TEST(Weights, HaveTheStatedShape) {
    std::size_t bytes = 0;
    for (const Shape& shape : kShapes) {
        const std::size_t columns = shape.neurons * (shape.recurrent ? 3 : 1);
        EXPECT_EQ(shape.layer.input.size(), shape.inputs * columns);
        EXPECT_EQ(shape.layer.bias.size(), columns);
        EXPECT_EQ(shape.layer.recurrent.size(), shape.recurrent ? shape.neurons * columns : 0);
        EXPECT_GT(shape.layer.inputStep, 0);
        EXPECT_GT(shape.layer.biasStep, 0);
        bytes += shape.layer.input.size() + shape.layer.recurrent.size() + shape.layer.bias.size();
    }
    EXPECT_EQ(bytes, 87503u);
}

TEST(Weights, UseTheRangeOfABytesAndNoTableIsEmpty) {
    for (const Shape& shape : kShapes)
        for (const auto& table : {shape.layer.input, shape.layer.recurrent}) {
            if (table.empty())
                continue;
            int largest = 0;
            for (const int w : table)
                largest = std::max(largest, std::abs(w));
            EXPECT_EQ(largest, 127);
        }
}

TEST(Network, AnswersWithinZeroAndOneAndRemembers) {
    RNNState state;
    Features features{};
    Bands first{}, second{};
    for (std::size_t i = 0; i < kFeatures; ++i)
        features[i] = 30.0f * (i % 2 == 0 ? 1.0f : -1.0f);
    const float voice = runNetwork(state, features, first);
    runNetwork(state, features, second);
    EXPECT_NE(first, second) << "the state has no effect";
    EXPECT_GE(voice, 0);
    EXPECT_LE(voice, 1);
    for (const float gain : first) {
        EXPECT_GE(gain, 0);
        EXPECT_LE(gain, 1);
    }
}

} // namespace
} // namespace ferrow::denoise
