// Finds and reads beacons: each stretch of 0.1 s is correlated with a rising and a falling chirp at all
// frequency offsets at once, every 5 ms, and a frame is looked for wherever one may just have ended.
#pragma once

#include "core/buff/buff.hpp"
#include "modes/chirp/chirp_frame.hpp"
#include "modes/chirp/chirp_wave.hpp"
#include "trx/dsp/decimating_mixer.hpp"

#include <array>
#include <complex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ferrow {

struct ChirpReport {
    std::string callsign;
    double snr;    // dB in 2500 Hz
    double offset; // Hz above the centre
    int corrected; // bits of the frame
    double sync;   // strength of the synchronisation, in noise levels
    double age;    // seconds since the frame began
};

// One thread. Construction allocates 2.5 MB; process allocates for a report only.
class ChirpReceiver {
public:
    static constexpr int kDecimation = 16;         // to 3000 samples a second
    static constexpr double kWidestOffset = 150.0; // Hz

    ChirpReceiver();

    // At most 8192 samples, 48000 a second. Reports a frame once, about 0.1 s after its end.
    std::optional<ChirpReport> process(std::span<const std::complex<float>> block, double centre);

private:
    using Cfloat = std::complex<float>;

    static constexpr int kMost = 8192;
    static constexpr int kWindow = 300; // samples of a symbol
    static constexpr int kHop = 15;     // samples, 5 ms
    static constexpr int kHopsPerSymbol = kWindow / kHop;
    static constexpr int kFold = 5; // samples added up once the chirp is taken out: 600 a second
    static constexpr int kTransform = 256;
    static constexpr double kBin = 600.0 / kTransform; // Hz
    static constexpr int kReach = 64;                  // bins on either side of 0, 150 Hz
    static constexpr int kBins = 2 * kReach + 1;
    static constexpr int kSkew = 26; // bins between both chirps: twice the sweep of half a hop, and a little
    static constexpr int kHistory = ChirpFrame::kSymbols * kHopsPerSymbol; // hops
    static constexpr double kSyncThreshold = 40;                           // noise levels
    static constexpr int kSettle = kHopsPerSymbol; // hops to wait for a better reading of the same frame
    static constexpr int kMostCorrected = 9;       // bits; noise needs more

    // Energies of one hop by offset.
    struct Energies {
        std::array<float, kBins> rising, falling;
    };
    struct Sync {
        int rising, falling; // bins
        double strength;     // noise levels
    };

    void hop();
    void correlate(const std::array<Cfloat, kWindow>& reference, std::array<float, kBins>& energies);
    const Energies& at(int symbol) const; // of the frame that ends with the newest hop
    Sync findSync() const;
    std::optional<ChirpReport> read(const Sync& sync) const;

    GolayCode code_;
    decimatingMixer mixer_;
    std::array<Cfloat, kWindow> rising_, falling_; // what takes a chirp out
    std::vector<Cfloat> decimated_;
    std::array<Cfloat, kWindow> window_{}; // a ring
    int windowAt_ = 0;
    int untilHop_ = kHop;
    buff<Cfloat> folded_, spectrum_;
    std::vector<Energies> history_; // a ring
    int newest_ = 0;
    int filled_ = 0;

    std::optional<ChirpReport> pending_;
    int pendingHops_ = 0;
};

} // namespace ferrow
