// What a transceiver's mode reads out of its signal, on its way to the listener.
#pragma once

#include "host/detector_board.hpp"
#include "host/serve/serve_modes.hpp"
#include "host/serve/slot_desk.hpp"
#include "host/serve/station_door.hpp"

#include <span>

namespace ferrow::serve {

// All members are for the thread that pumps the library.
class ModeReader {
public:
    using Clock = std::chrono::steady_clock;

    virtual ~ModeReader() = default;
    // From the loop of the station.
    virtual void poll(Clock::time_point) {}
    // The transceiver stands elsewhere from now on.
    virtual void retuned(long long) {}
    virtual void setMarker(int) {}
    // The transceiver's sound, 48000 samples a second.
    virtual void hear(std::span<const float>) {}
};

// Where a reader's words go.
struct ReaderTarget {
    int id = 0; // of the transceiver
    std::shared_ptr<Peer> peer;
};

// Prepares the mode's object of the library, which the transceiver gets afterwards. Not for voices, which
// have nothing to read: null.
std::unique_ptr<ModeReader> makeModeReader(const ServeMode& mode, Object& object, const ReaderTarget& target,
                                           int marker);
// The object that records periods has its reader with it.
struct SlotReaderParts {
    Object object;
    std::unique_ptr<ModeReader> reader;
};
SlotReaderParts makeSlotReader(const ServeMode& mode, const ReaderTarget& target, SlotDesk& desk,
                               long long dial);

} // namespace ferrow::serve
