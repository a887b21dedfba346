#include "modes/chirp/chirp_log.hpp"

#include "core/tasks/log.hpp"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>

namespace ferrow {

namespace fs = std::filesystem;

namespace {

std::string fromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

} // namespace

std::string chirpLogPath() {
    if (const std::string path = fromEnvironment("FERROW_CHIRP_CSV"); !path.empty())
        return path;
    fs::path folder = fromEnvironment("XDG_STATE_HOME");
    if (folder.empty()) {
        const std::string home = fromEnvironment("HOME");
        if (home.empty())
            return "";
        folder = fs::path(home) / ".local/state";
    }
    return (folder / "ferrowcore/chirp.csv").string();
}

std::string chirpLogLine(const ChirpReport& report, std::chrono::system_clock::time_point now) {
    using namespace std::chrono;
    const auto begin = now - duration_cast<system_clock::duration>(duration<double>(report.age));
    const auto tenths = duration_cast<milliseconds>(begin.time_since_epoch()).count() / 100;
    const std::time_t seconds = tenths / 10;
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{}Z, {}, {:.1f}, {:.1f}, {}, {:.1f}\n",
                       utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec,
                       tenths % 10, report.callsign, report.snr, report.offset, report.corrected,
                       report.sync);
}

void appendChirpLog(const std::string& path, const std::string& line) {
    std::error_code failed;
    if (const fs::path folder = fs::path(path).parent_path(); !folder.empty())
        fs::create_directories(folder, failed);
    const bool fresh = !fs::exists(path, failed);
    std::ofstream file(path, std::ios::app | std::ios::binary);
    if (fresh)
        file << "utc, callsign, snr_db, offset_hz, corrected, sync\n";
    if (!(file << line).flush())
        logError("chirpyModDemod cannot write {}", path);
}

} // namespace ferrow
