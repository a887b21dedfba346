// The object model of a SoapySDR backend. Nothing stands behind it: no device is opened and no sample
// delivered.
#pragma once

#include "core/async/async_collection.hpp"
#include "core/async/async_event.hpp"
#include "core/async/async_property.hpp"
#include "core/async/value_label_item.hpp"
#include "radios/controller.hpp"
#include "trx/radio.hpp"

#include <atomic>
#include <string>

namespace ferrow {

class SoapyController : public Controller {
public:
    using Controller::Controller;

    asyncProperty<bool> Enable{false};
    asyncProperty<std::string> Found;

    void Discover() {}
};

class SoapyRadio : public Radio {
public:
    using Radio::Radio;

    asyncEvent<std::string> antennaAdded; // bound only
    asyncEvent<int> samplerateAdded;      // the same
    asyncCollection<ValueLabelItem> SampleRates;
    asyncProperty<std::string> label;
    asyncProperty<std::string> antenna;
    asyncProperty<int> maxRxRFGain{0};
    asyncProperty<int> minRxRFGain{0};
    asyncProperty<int> rxGain{0};
    asyncProperty<int> maxRxIFGain{0};
    asyncProperty<int> minRxIFGain{0};
    asyncProperty<int> rxIFGain{0};

    void startRadio() override { started_.exchange(true, std::memory_order_acq_rel); }

    bool started() const noexcept { return started_.load(std::memory_order_acquire); }

private:
    std::atomic<bool> started_{false};
};

} // namespace ferrow
