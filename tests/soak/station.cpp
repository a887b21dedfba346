#include "tests/soak/station.hpp"

#include "host/failure.hpp"
#include "host/radio_kinds.hpp"
#include "host/sim_process.hpp"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <ferrowcore/agc.h>
#include <ferrowcore/arrays.h>
#include <ferrowcore/hpsdr.h>
#include <ferrowcore/jt.h>
#include <ferrowcore/keyboard.h>
#include <ferrowcore/modes.h>
#include <ferrowcore/psk.h>
#include <ferrowcore/radio.h>
#include <ferrowcore/utility_modes.h>
#include <ferrowcore/vtrx.h>
#include <system_error>
#include <thread>

namespace ferrow::soak {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr std::array<long long, kReceivers> kBands = {kCarrier, 3'650'000, 7'100'000, 21'200'000};
constexpr int kReach = 60'000; // Hz to either side of a band's middle
constexpr auto kPatience = 20s;
constexpr std::size_t kListener = 0, kTransmitter = 4; // both in the carrier's band
constexpr int kNoOutput = -1, kNoMicrophone = 0;
constexpr int kSetsAtOnce = 200; // of the 1024 that a context holds

std::atomic<long long> spectra{0}, blocks{0};

void takeSpectrum(void* array, double, double, int) {
    floatArray_delete(array);
    spectra.fetch_add(1, std::memory_order_relaxed);
}
void takeStrength(double) {}
void takeStrengthToo(double) {}
void takeWhole(int) {}
void takeHertz(long long) {}
void takeFlag(bool) {}

double secondsSince(Station::Clock::time_point time) {
    return std::chrono::duration<double>(Station::Clock::now() - time).count();
}

FoundRadio found(const std::string& address, int receivers) {
    FoundRadio radio;
    radio.address = address;
    radio.board = 6;
    radio.firmware = 73;
    radio.receivers = receivers;
    return radio;
}

enum class Kind { Usb, Lsb, Am, Fm, Cw, Rtty, Psk, PskBank, Ft8, Fsk, Hell, Chirp, Kinds };

Object makeMode(Kind kind) {
    switch (kind) {
    case Kind::Am:
        return Object(amModDemod_create());
    case Kind::Fm:
        return Object(fmModDemod_create());
    case Kind::Cw:
        return Object(cwModDemod_create());
    case Kind::Rtty:
        return Object(RTTYModDemod_create());
    case Kind::Psk:
    case Kind::PskBank:
        return Object(PskModDemod_create());
    case Kind::Ft8:
        return Object(JTModDemod_create());
    case Kind::Fsk:
        return Object(fskModDemod_create());
    case Kind::Hell:
        return Object(hellschreiberModDemod_create());
    case Kind::Chirp:
        return Object(chirpyModDemod_create());
    default:
        return Object(ssbModDemod_create());
    }
}

} // namespace

// Callbacks hold it by a weak reference: they may come until the library has let go of the object.
struct Station::Slot {
    std::size_t place = 0;
    int band = 0;
    long long frequency = 0;
    Object vtrx, agc, mode;
    Kind kind = Kind::Usb;
    bool records = false;
};

Station::Station(Library& library, TransmitGuard& guard, const std::string& address, int transceivers,
                 unsigned seed, fs::path recordings)
    : library_(library), guard_(guard), address_(address), random_(seed), recordings_(std::move(recordings)),
      saveFolder_(recordings_) {
    fs::create_directories(recordings_);
    RadioOptions options;
    options.sampleRate = kRate;
    radio_ = makeRadio(found(address, kReceivers), options);
    Radio_setTuneDrive(radio_.get(), 20);
    bindHealth(
        radio_, RadioKind::Hpsdr, [this](int value) { sequenceErrors_ = value; }, [](bool) {});
    radio_.bind(Radio_bindptt, [this](bool value) { keyed_ = value; });
    radio_.bind(Radio_bindvtrxAdded, [this](void* handle, long long, int, int) { arrived_ = handle; });
    radio_.bind(asyncObject_bindEcho, [this](int number) {
        slowestAnswer_ =
            std::max(slowestAnswer_, secondsSince(askedAt_[static_cast<std::size_t>(number) % 256]));
        answered_ = number;
    });
    slots_.resize(static_cast<std::size_t>(transceivers));
    for (std::size_t i = 0; i < slots_.size(); ++i)
        add(i);
    reopenSound();
}

Station::~Station() {
    library_.onPump = nullptr;
    Radio_stop(radio_.get());
    for (const auto& slot : slots_)
        vtrx_remove(slot->vtrx.get());
    library_.pump();
    slots_.clear();
    radio_.reset();
}

void Station::add(std::size_t place) {
    const auto slot = std::make_shared<Slot>();
    slot->place = place;
    slot->band = static_cast<int>(place) % kReceivers;
    slot->frequency = place == kListener
                          ? kCarrier - kTone
                          : kBands[static_cast<std::size_t>(slot->band)] + between(-kReach, kReach);
    arrived_ = nullptr;
    Radio_addVtrx(radio_.get(), slot->frequency, 0, 0);
    if (!library_.pumpThrough([this] { return arrived_ != nullptr; }, kPatience))
        throw Failure("the library makes no transceiver");
    slot->vtrx = Object(std::exchange(arrived_, nullptr));
    void* const made = slot->vtrx.get();
    vtrx_setmuted(made, true);
    vtrx_setaudioInput(made, kNoMicrophone);
    const std::weak_ptr<Slot> weak = slot;
    slot->vtrx.bind(vtrx_bindrxagc, [weak](void* item) {
        Object agc(item);
        if (const auto alive = weak.lock())
            alive->agc = std::move(agc);
    });
    if (!library_.pumpThrough([&] { return static_cast<bool>(slot->agc); }, kPatience))
        throw Failure("the library gives no gain control");
    slots_[place] = slot;
    ++deeds_.objects;
    if (place == kListener) {
        slot->mode = makeMode(Kind::Usb);
        vtrx_setModulation(made, slot->mode.get());
        vtrx_setRxFilter(made, 200, 2800);
        agc_setEnabled(slot->agc.get(), false);
        agc_setManualGain(slot->agc.get(), 0);
        slot->vtrx.bind(vtrx_bindnewAudio, [this](void* array) {
            floatArray_delete(array);
            lastBlock_ = Clock::now();
            blocks.fetch_add(1, std::memory_order_relaxed);
        });
        vtrx_setSendAudio(made, true);
    } else if (place == kTransmitter) {
        slot->mode = makeMode(Kind::Usb);
        vtrx_setModulation(made, slot->mode.get());
        vtrx_setRxFilter(made, 200, 2800);
        vtrx_settune(made, true);
        vtrx_setdrive(made, 20);
    } else {
        swapMode(*slot);
        vtrx_bindnewSpectrum(made, takeSpectrum);
    }
    vtrx_setRxFrequency(made, slot->frequency);
    vtrx_start(made);
}

void Station::start() {
    Radio_start(radio_.get());
    lastBlock_ = Clock::now();
}

void Station::stop() {
    Radio_stop(radio_.get());
}

void Station::reopenSound() {
    const auto& slot = slots_[kListener];
    vtrx_setmuted(slot->vtrx.get(), true);
    vtrx_setmuted(slot->vtrx.get(), false);
}

void Station::tuneListener(double carrier) {
    Slot& slot = *slots_[kListener];
    slot.frequency = static_cast<long long>(carrier) - kTone;
    tone_ = carrier - static_cast<double>(slot.frequency);
    vtrx_setvfo(slot.vtrx.get(), slot.frequency);
}

void Station::ask() {
    if (Clock::now() - lastQuestion_ < 1s || asked_ - answered_ > 200)
        return;
    lastQuestion_ = Clock::now();
    ++asked_;
    askedAt_[static_cast<std::size_t>(asked_) % 256] = lastQuestion_;
    asyncObject_Ping(radio_.get(), asked_);
}

double Station::unanswered() const {
    return asked_ == answered_ ? 0 : secondsSince(askedAt_[static_cast<std::size_t>(answered_ + 1) % 256]);
}

double Station::sinceBlock() const {
    return secondsSince(lastBlock_);
}

Deeds Station::deeds() const {
    Deeds all = deeds_;
    all.spectra = spectra.load(std::memory_order_relaxed);
    all.blocks = blocks.load(std::memory_order_relaxed);
    return all;
}

void Station::swapMode(Slot& slot) {
    slot.kind = slot.records ? Kind::Ft8 : static_cast<Kind>(between(0, static_cast<int>(Kind::Kinds) - 1));
    Object mode = makeMode(slot.kind);
    void* const made = mode.get();
    int low = 200, high = 2800;
    switch (slot.kind) {
    case Kind::Lsb:
        low = -2800, high = -200;
        break;
    case Kind::Am:
    case Kind::Fm:
        low = -5000, high = 5000;
        break;
    case Kind::PskBank:
        PskModDemod_setmode(made, between(0, 4));
        break;
    case Kind::Ft8:
        JTModDemod_setperiod(made, 1000);
        JTModDemod_setsamplesPerBlock(made, 10000);
        JTModDemod_setsaveDirectory(made, (saveFolder_ / (std::to_string(slot.place) + "-")).c_str());
        mode.bind(JTModDemod_bindnewFile, [this](const char* nameAndMarker) {
            std::string name = nameAndMarker;
            name.erase(name.rfind(".wav") + 4);
            std::error_code error;
            lastRecording_ = fs::file_size(name, error);
            if (error)
                lastRecording_ = 0;
            if (fs::path(name).string().starts_with(recordings_.string()))
                fs::remove(name, error);
            ++deeds_.recordings;
        });
        JTModDemod_setEnabled(made, true);
        break;
    default:
        break;
    }
    // Noise reduction where there is a voice; it is the dearest of all.
    if (slot.kind <= Kind::Fm && chance(0.3)) {
        modDemod_setrnnoiseSquelch(made, between(0, 100));
        modDemod_setrnnoise(made, true);
    }
    vtrx_setModulation(slot.vtrx.get(), made);
    vtrx_setRxFilter(slot.vtrx.get(), low, high);
    agc_setSquelch(slot.agc.get(), chance(0.2) ? static_cast<float>(between(-120, -40)) : -180.0f);
    slot.mode = std::move(mode);
    ++deeds_.modes;
}

void Station::rest() {
    for (std::size_t place = 0; place < slots_.size(); ++place) {
        if (place == kListener || place == kTransmitter)
            continue;
        Slot& slot = *slots_[place];
        void* const vtrx = slot.vtrx.get();
        slot.kind = Kind::Usb;
        Object mode = makeMode(slot.kind);
        vtrx_setModulation(vtrx, mode.get());
        slot.mode = std::move(mode);
        vtrx_setRxFilter(vtrx, 200, 2800);
        vtrx_setspecZoom(vtrx, 1);
        vtrx_setspecOffset(vtrx, 0);
    }
}

// Within reach of its band's middle, at times into another band; the carrier's is left to those who live
// there.
void Station::retune(Slot& slot) {
    if (slot.band != 0 && chance(0.05))
        slot.band = between(1, kReceivers - 1);
    slot.frequency = kBands[static_cast<std::size_t>(slot.band)] + between(-kReach, kReach);
    vtrx_setvfo(slot.vtrx.get(), slot.frequency);
    ++deeds_.retunes;
}

void Station::setSomething(Slot& slot) {
    void* const vtrx = slot.vtrx.get();
    void* const agc = slot.agc.get();
    ++deeds_.sets;
    switch (between(0, 17)) {
    case 0:
        return vtrx_setspecZoom(vtrx, std::exp2(between(-1, 5)));
    case 1:
        return vtrx_setspecOffset(vtrx, between(-100000, 100000));
    case 2:
        return vtrx_setwaterfallSpeed(vtrx, between(0, 3));
    case 3:
        return vtrx_setforegroundDisplay(vtrx, chance(0.3));
    case 4:
        return vtrx_setRxFilter(vtrx, between(50, 1000), between(1100, 3500));
    case 5:
        return vtrx_setTxFilter(vtrx, between(100, 500), between(2000, 3000));
    case 6:
        return agc_setAttack(agc, static_cast<float>(between(1, 20)) / 1000);
    case 7:
        return agc_setDecay(agc, static_cast<float>(between(50, 500)) / 1000);
    case 8:
        return agc_setHang(agc, static_cast<float>(between(0, 500)) / 1000);
    case 9:
        return vtrx_setVoxHold(vtrx, between(1, 20) / 10.0);
    case 10:
        return vtrx_setSendAudio(vtrx, chance(0.3));
    case 11:
        return modDemod_setrxFreq(slot.mode.get(), between(300, 2700));
    case 12:
        return vtrx_setADC1Phase(vtrx, between(0, 360));
    case 13:
        return agc_setVolume(agc, 0);
    default:
        break;
    }
    ++deeds_.binds;
    switch (between(0, 3)) {
    case 0:
        return vtrx_bindsignalStrength(vtrx, chance(0.3)   ? nullptr
                                             : chance(0.5) ? takeStrength
                                                           : takeStrengthToo);
    case 1:
        return vtrx_bindspecFreq(vtrx, chance(0.3) ? nullptr : takeHertz);
    case 2:
        return vtrx_bindTuningValid(vtrx, chance(0.3) ? nullptr : takeFlag);
    default:
        return vtrx_bindwaterfallSpeed(vtrx, chance(0.3) ? nullptr : takeWhole);
    }
}

// A radio that comes, receives and goes; nobody answers at its address, as with one that has been unplugged.
void Station::visit() {
    Object visitor = makeRadio(found(address_.substr(0, address_.rfind('.')) + ".254", 1), {});
    void* made = nullptr;
    visitor.bind(Radio_bindvtrxAdded, [&made](void* handle, long long, int, int) { made = handle; });
    Radio_addVtrx(visitor.get(), kCarrier, 0, 0);
    library_.pumpThrough([&] { return made != nullptr; }, kPatience);
    if (made == nullptr)
        throw Failure("the library makes no transceiver for a second radio");
    Object transceiver(made);
    vtrx_setmuted(made, true);
    Object mode = makeMode(Kind::Usb);
    vtrx_setModulation(made, mode.get());
    vtrx_start(made);
    Radio_start(visitor.get());
    library_.pumpThrough([] { return false; }, 200ms);
    Radio_stop(visitor.get());
    if (chance(0.5))
        vtrx_remove(made);
    ++deeds_.visitors;
    // In any order.
    if (chance(0.5))
        transceiver.reset();
    visitor.reset();
}

void Station::transmit() {
    const auto now = Clock::now();
    if (pressed_ && now >= pressEnd_) {
        release();
    } else if (!pressed_ && now - lastPress_ > 2s) {
        guard_.arm();
        pressed_ = lastPress_ = now;
        pressEnd_ = now + std::chrono::milliseconds(between(100, 1200));
        vtrx_setptt(slots_[kTransmitter]->vtrx.get(), true);
        ++deeds_.presses;
    }
}

bool Station::release() {
    if (!pressed_)
        return true;
    vtrx_setptt(slots_[kTransmitter]->vtrx.get(), false);
    pressed_.reset();
    // What ends a transmission goes out with the receive stream: without a radio there is none, and no end.
    const bool ended = library_.pumpThrough([this] { return !keyed_; }, 2s);
    guard_.disarm();
    lastPress_ = Clock::now();
    return ended;
}

void Station::recordTo(const fs::path& folder, bool all) {
    saveFolder_ = folder;
    lastRecording_ = 0;
    for (const std::size_t place : {1, 2, 3}) {
        if (place >= slots_.size())
            return;
        slots_[place]->records = all;
        swapMode(*slots_[place]);
    }
}

void Station::act(const Phase& phase) {
    ask();
    if (phase.transmit)
        transmit();
    if (!phase.storm)
        return;
    const auto other = [this] {
        for (;;)
            if (const auto place = static_cast<std::size_t>(between(1, static_cast<int>(slots_.size()) - 1));
                place != kTransmitter)
                return place;
    };
    retune(*slots_[other()]);
    for (int i = 0; i < 40; ++i)
        setSomething(*slots_[other()]);
    if (chance(0.05)) {
        Slot& one = *slots_[other()];
        for (int i = 0; i < kSetsAtOnce; ++i)
            setSomething(one);
    }
    if (chance(0.2))
        swapMode(*slots_[other()]);
    if (chance(0.03)) { // one that plays, without being heard
        Slot& one = *slots_[other()];
        agc_setVolume(one.agc.get(), 0);
        const bool plays = one.kind == Kind::Usb && chance(0.5);
        if (!plays)
            vtrx_setaudioOutput(one.vtrx.get(), kNoOutput);
        vtrx_setmuted(one.vtrx.get(), !plays);
    }
    if (chance(0.05)) {
        const std::size_t place = other();
        if (!slots_[place]->records) {
            vtrx_remove(slots_[place]->vtrx.get());
            slots_[place].reset();
            add(place);
        }
    }
    if (phase.visitors && chance(0.05))
        visit();
}

} // namespace ferrow::soak
