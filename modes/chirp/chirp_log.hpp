// The beacon receiver's diagnostic file.
#pragma once

#include "modes/chirp/chirp_receiver.hpp"

#include <chrono>
#include <string>

namespace ferrow {

// FERROW_CHIRP_CSV of the environment, else ferrowcore/chirp.csv in the user's state folder: XDG_STATE_HOME,
// or .local/state of HOME. Empty when nothing of that is set.
std::string chirpLogPath();

// "time, callsign, snr, offset, corrected, sync" and a line feed; the time is that of the frame's beginning.
std::string chirpLogLine(const ChirpReport& report, std::chrono::system_clock::time_point now);

// Appends a line, below a line of names if the file is new, and makes folders that are missing. Logs what
// goes wrong.
void appendChirpLog(const std::string& path, const std::string& line);

} // namespace ferrow
