// A radio object on the stand-in for the API's library, in the radio's own copy of it.
#pragma once

#include "radios/sdrplay/sdrplay_radio.hpp"
#include "sim/sdrplay/control.hpp"
#include "tests/radios/hpsdr/radio_bench.hpp"
#include "tests/trx/trx_fixture.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace ferrow::test {

namespace rsp = ferrow::sim::rsp;

inline const rsp::Control* controlOf(const SdrplayLibrary& library) {
    auto* const symbol = static_cast<const rsp::Control* const*>(library.find("ferrow_standin_control"));
    return symbol != nullptr ? *symbol : nullptr;
}

// Serial numbers of the stand-in's devices.
inline std::string serialOf(const std::string& model) {
    return model == "RSP1"     ? "F0001"
           : model == "RSP1A"  ? "F0002"
           : model == "RSP2"   ? "F0003"
           : model == "RSPduo" ? "F0004"
                               : "F0005";
}

class Sdrplay : public testing::Test {
protected:
    Sdrplay() {
        setenv(SdrplayLibrary::kVariable, FERROW_STANDIN, 1);
        startRuntime();
        SDRPlayRadio::made = 1;
        radio = std::make_shared<SDRPlayRadio>(rootSyncTask);
        control = controlOf(radio->library());
    }
    void SetUp() override {
        ASSERT_NE(control, nullptr);
        control->setStepped(1);
        control->setGainControl(0);
    }
    void TearDown() override {
        if (radio)
            stop();
    }

    void on(std::function<void()> work) { onContext(radio, std::move(work)); }
    void choose(const std::string& model, int rate) {
        on([&] {
            radio->Model.setFromHost(model);
            radio->SerialNo.setFromHost(serialOf(model));
            radio->SampleRate.setFromHost(rate);
        });
    }
    // Runs, with the first retune sent.
    void start(const std::string& model, int rate = 768000) {
        choose(model, rate);
        on([&] { radio->start(); });
        ASSERT_TRUE(waitFor([&] { return !retunes().empty(); })) << model;
    }
    void stop() {
        on([&] { radio->stop(); });
    }

    std::vector<rsp::Call> calls() const {
        std::vector<rsp::Call> all(static_cast<std::size_t>(control->calls()));
        for (std::size_t i = 0; i < all.size(); ++i)
            control->call(static_cast<int>(i), &all[i]);
        return all;
    }
    std::vector<rsp::Call> callsOf(int function) const {
        std::vector<rsp::Call> some;
        for (const rsp::Call& call : calls())
            if (call.function == function)
                some.push_back(call);
        return some;
    }
    std::vector<rsp::Call> updatesFor(std::uint32_t reason, bool exactly = false) const {
        std::vector<rsp::Call> some;
        for (const rsp::Call& call : callsOf(rsp::Update))
            if (exactly ? call.reason == reason : (call.reason & reason) != 0)
                some.push_back(call);
        return some;
    }
    std::vector<rsp::Call> retunes() const { return updatesFor(0x20000); }
    // Updates that are neither retunes nor acknowledgements.
    std::vector<rsp::Call> settings() const {
        std::vector<rsp::Call> some;
        for (const rsp::Call& call : callsOf(rsp::Update))
            if ((call.reason & (0x20000 | 0x4000000)) == 0)
                some.push_back(call);
        return some;
    }
    std::vector<int> order() const {
        std::vector<int> functions;
        for (const rsp::Call& call : calls())
            functions.push_back(call.function);
        return functions;
    }

    bool eventually(const std::function<bool()>& condition, double seconds = 5) {
        return waitFor(
            [&] {
                bool holds = false;
                on([&] { holds = condition(); });
                return holds;
            },
            seconds);
    }

    // All samples sent so far have been worked, the staged ones apart.
    void settleSamples() {
        waitFor([&] { return radio->stream().idle(); });
        settle(radio->context());
        for (const auto& transceiver : radio->vtrxs)
            settle(transceiver->context());
        settle(radio->context());
    }
    void advance(int callbacks) {
        for (; callbacks > 0; callbacks -= 512) {
            control->advance(std::min(callbacks, 512));
            settleSamples();
        }
    }
    void advanceSeconds(double seconds) {
        const double rate = control->outputRate();
        const int factor = rate < 3e6 && rate > 0 && rate != 2e6 ? static_cast<int>(3072000 / rate) : 1;
        advance(static_cast<int>(seconds * rate * factor / 1344) + 1);
    }

    std::shared_ptr<vtrx> transceiver() {
        std::shared_ptr<vtrx> first;
        on([&] { first = radio->vtrxs.at(0); });
        return first;
    }

    std::shared_ptr<SDRPlayRadio> radio;
    const rsp::Control* control = nullptr;
};

} // namespace ferrow::test
