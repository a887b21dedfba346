// Lists the SDRplay devices that the vendor's API knows.
#pragma once

#include "core/async/async_event.hpp"
#include "core/async/async_property.hpp"
#include "radios/controller.hpp"
#include "radios/sdrplay/sdrplay_library.hpp"

#include <memory>
#include <string>

namespace ferrow {

class SDRPlayController : public Controller {
public:
    using Controller::Controller;
    // Closes the API, if it was ever loaded.
    ~SDRPlayController() override;

    asyncProperty<bool> Enable{false}; // stored for the host
    asyncEvent<std::string> newRadio;  // "SERIAL-MODEL", or the serial number of an unknown model

    // Reports every device that is free now. Loads the library with the first call.
    void Discover();

private:
    bool passed(int code, fmt::format_string<const std::string&> text) const;

    std::unique_ptr<SdrplayLibrary> library_;
};

} // namespace ferrow
