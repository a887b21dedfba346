#include "radios/soapy/soapy_radio.hpp"
#include "tests/radios/hpsdr/radio_bench.hpp"

#include <gtest/gtest.h>

namespace ferrow {
namespace {

TEST(SoapyRadio, NeverDeliversSamples) {
    test::startRuntime();
    const auto radio = std::make_shared<SoapyRadio>(rootSyncTask);
    test::onContext(radio, [&] {
        radio->addVtrx(7100000, -1, 0);
        radio->start();
        ASSERT_EQ(radio->vtrxs.size(), 1u);
    });
    EXPECT_TRUE(radio->hwReceivers.empty());
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(radio->vtrxs[0]->signalStrength.value(), 0) << "no block came";
    EXPECT_TRUE(radio->SampleRates.items().empty());
}

TEST(SoapyRadio, StopAfterStartLeavesStartedTrue) {
    test::startRuntime();
    const auto radio = std::make_shared<SoapyRadio>(rootSyncTask);
    EXPECT_FALSE(radio->started());
    test::onContext(radio, [&] { radio->start(); });
    EXPECT_TRUE(radio->started());
    test::onContext(radio, [&] { radio->stop(); });
    EXPECT_TRUE(radio->started());
}

TEST(SoapyController, DiscoverDoesNothing) {
    test::startRuntime();
    const auto controller = std::make_shared<SoapyController>(rootSyncTask);
    test::onContext(controller, [&] { controller->Discover(); });
    EXPECT_FALSE(controller->Enable.value());
    EXPECT_EQ(controller->Found.value(), "");
}

} // namespace
} // namespace ferrow
