#include "trx/denoise/inner_product.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace ferrow::denoise {
namespace {

TEST(InnerProduct, EqualsThePlainFormForAnyCountAndAlignment) {
    std::mt19937 random(1);
    std::normal_distribution<float> normal;
    std::vector<float> a(600), b(600);
    for (auto* v : {&a, &b})
        for (float& x : *v)
            x = normal(random);
    for (int offset = 0; offset < 9; ++offset)
        for (int n = 0; n <= 520; n += n < 70 ? 1 : 37) {
            const float plain = innerProduct_ref(a.data() + offset, b.data() + 2 * offset, n);
            EXPECT_NEAR(innerProduct(a.data() + offset, b.data() + 2 * offset, n), plain, 2e-5 * (1 + n))
                << n;
        }
}

TEST(InnerProduct, TakesZeroesDenormalsAndNoNumbers) {
    std::vector<float> a(40, 0.0f), b(40, 1.0f);
    EXPECT_EQ(innerProduct(a.data(), b.data(), 40), 0.0f);
    a.assign(40, std::numeric_limits<float>::denorm_min());
    EXPECT_NEAR(innerProduct(a.data(), b.data(), 40), 40 * a[0], 1e-44);
    for (const std::size_t at : {0u, 35u, 39u}) {
        a.assign(40, 1.0f);
        a[at] = std::numeric_limits<float>::quiet_NaN();
        EXPECT_TRUE(std::isnan(innerProduct(a.data(), b.data(), 40))) << at;
    }
}

TEST(AddWeighted, EqualsThePlainFormForAnyShape) {
    std::mt19937 random(2);
    std::normal_distribution<float> normal;
    for (const std::size_t columns : {1u, 5u, 7u, 8u, 22u, 23u, 24u, 25u, 31u, 48u, 72u, 77u, 144u, 288u})
        for (const std::size_t inputs : {0u, 1u, 24u, 42u, 90u, 114u}) {
            std::vector<std::int8_t> weights(inputs * columns);
            for (auto& w : weights)
                w = static_cast<std::int8_t>(static_cast<int>(random() % 255) - 127);
            std::vector<float> in(inputs), out(columns);
            for (auto* v : {&in, &out})
                for (float& x : *v)
                    x = normal(random);
            std::vector<float> plain = out;
            addWeighted(weights, in, 0.01f, out);
            addWeighted_ref(weights, in, 0.01f, plain);
            for (std::size_t o = 0; o < columns; ++o)
                EXPECT_NEAR(out[o], plain[o], 1e-4) << columns << ' ' << inputs << ' ' << o;
        }
}

// The last row ends with the table: a load beyond it would be seen by the address sanitizer.
TEST(AddWeighted, ReadsNothingBehindTheTable) {
    for (const std::size_t columns : {1u, 22u, 24u, 49u}) {
        const auto table = std::make_unique<std::int8_t[]>(columns);
        std::fill_n(table.get(), columns, std::int8_t{-128});
        const float one = 1;
        std::vector<float> out(columns, 0.0f);
        addWeighted({table.get(), columns}, {&one, 1}, 1, out);
        for (const float v : out)
            EXPECT_EQ(v, -128);
    }
}

} // namespace
} // namespace ferrow::denoise
