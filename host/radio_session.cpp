#include "host/radio_session.hpp"

#include "host/failure.hpp"
#include "host/interrupt.hpp"

#include <algorithm>
#include <ferrowcore/hpsdr.h>
#include <ferrowcore/radio.h>
#include <fmt/format.h>

namespace ferrow {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 3s; // without samples

// Boards with a plain attenuator in place of an amplifier of variable gain.
constexpr int kAttenuatorMin = -31, kAttenuatorMax = 0;
constexpr int kAmplifierMin = -12, kAmplifierMax = 48;

} // namespace

RadioSession::RadioSession(Library& library, const FoundRadio& radio, const RadioOptions& options)
    : library_(library), found_(radio) {
    if (radio.running && !options.takeOver)
        throw Failure(fmt::format(
            "the radio at {} serves another program; --take-over starts it all the same", radio.address));
    const int low = found_.hermesLite() ? kAmplifierMin : kAttenuatorMin;
    const int high = found_.hermesLite() ? kAmplifierMax : kAttenuatorMax;
    if (options.gain && (*options.gain < low || *options.gain > high))
        throw UsageError(fmt::format("the gain of this radio lies between {} and {} dB", low, high));
    radio_ = Object(HpsdrRadio_create());
    radio_.bind(HpsdrRadio_bindep6SeqErrors, [this](int value) { sequenceErrors_ = value; });
    radio_.bind(HpsdrRadio_bindadcOvl, [this](bool value) { adcOverload_ = value; });
    radio_.bind(Radio_bindptt, [this](bool value) { keyed_ = value; });
    radio_.bind(Radio_bindreceivedPackets, [this](int value) {
        if (value > 0)
            lastPackets_ = Transceiver::Clock::now();
    });
    bindReadings();
    radio_.bind(Radio_bindvtrxAdded, [this](void* vtrx, long long, int, int) { arrived_ = vtrx; });
    configure(options);
}

RadioSession::~RadioSession() {
    stop();
}

void RadioSession::configure(const RadioOptions& options) {
    void* radio = radio_.get();
    HpsdrRadio_setipAddress(radio, found_.address.c_str());
    HpsdrRadio_setMac(radio, found_.macText().c_str());
    HpsdrRadio_setTypeID(radio, found_.board);
    HpsdrRadio_setFwVersion(radio, found_.firmware);
    HpsdrRadio_setHLiteGain(radio, found_.hermesLite() && !found_.hermesLite2());
    HpsdrRadio_setHLite2Gain(radio, found_.hermesLite2());
    if (!found_.hermesLite()) {
        HpsdrRadio_setminRxRFGain(radio, kAttenuatorMin);
        HpsdrRadio_setmaxRxRFGain(radio, kAttenuatorMax);
        HpsdrRadio_setrxGain(radio, 0);
    }
    if (options.gain)
        HpsdrRadio_setrxGain(radio, *options.gain);
    Radio_setmaxHwReceivers(radio, found_.receivers);
    Radio_setSampleRate(radio, options.sampleRate);
}

void RadioSession::bindReadings() {
    radio_.bind(HpsdrRadio_bindFwdPwr,
                [this](float value) { readings_.forward = static_cast<double>(value); });
    radio_.bind(HpsdrRadio_bindRevPwr,
                [this](float value) { readings_.reverse = static_cast<double>(value); });
    radio_.bind(HpsdrRadio_bindSwr, [this](float value) { readings_.swr = static_cast<double>(value); });
    radio_.bind(HpsdrRadio_bindCurrent, [this](double value) { readings_.current = value; });
    radio_.bind(HpsdrRadio_bindTemp, [this](double value) { readings_.temperature = value; });
    radio_.bind(HpsdrRadio_bindMinTxBufferLevel, [this](int value) { readings_.lowestFill = value; });
    radio_.bind(HpsdrRadio_bindTxBufferUnderflow, [this](int value) { readings_.underflows = value; });
    radio_.bind(HpsdrRadio_bindTxBufferOverflow, [this](int value) { readings_.overflows = value; });
}

void RadioSession::setPower(const TransmitPower& power) {
    void* radio = radio_.get();
    HpsdrRadio_setenablePA(radio, power.amplifier);
    HpsdrRadio_setATUTune(radio, power.tuner);
    Radio_setTuneDrive(radio, power.drive);
    Radio_setdrive(radio, power.drive);
    for (const auto& transceiver : transceivers_)
        transceiver->setDrive(power.drive);
}

Transceiver& RadioSession::add(long long vfo) {
    arrived_ = nullptr;
    Radio_addVtrx(radio_.get(), vfo, 0, 0);
    if (!library_.pumpUntil([this] { return arrived_ != nullptr; }, kPatience))
        throw Failure(interrupted() ? "interrupted" : "the library makes no transceiver; see its log");
    transceivers_.push_back(std::make_unique<Transceiver>(arrived_, vfo));
    Transceiver& made = *transceivers_.back();
    if (!library_.pumpUntil([&] { return made.ready(); }, kPatience))
        throw Failure(interrupted() ? "interrupted" : "the library gives no gain control; see its log");
    return made;
}

void RadioSession::start() {
    const auto began = Transceiver::Clock::now();
    started_ = true;
    for (const auto& transceiver : transceivers_)
        transceiver->start();
    Radio_start(radio_.get());
    if (!library_.pumpUntil([&] { return samplesSince(began); }, kPatience) && !interrupted())
        throw Failure(
            fmt::format("no samples from the radio at {} within {} s", found_.address, kPatience.count()));
}

bool RadioSession::samplesSince(Transceiver::Clock::time_point time) const {
    return std::any_of(transceivers_.begin(), transceivers_.end(),
                       [&](const auto& one) { return one->lastSamples() && *one->lastSamples() >= time; });
}

void RadioSession::checkSamples() const {
    // While it transmits there is no sound, only packets.
    const auto since = Transceiver::Clock::now() - kPatience;
    if (!samplesSince(since) && !(lastPackets_ && *lastPackets_ >= since))
        throw Failure(fmt::format("the radio at {} has stopped sending", found_.address));
}

void RadioSession::halt() {
    if (radio_ && started_)
        Radio_stop(radio_.get());
}

void RadioSession::stop() {
    if (!radio_)
        return;
    halt();
    for (const auto& transceiver : transceivers_)
        transceiver->remove();
    library_.pump();
    radio_.reset();
    // The callbacks name the transceivers, so these stay until the library has let go of them.
    for (const auto& transceiver : transceivers_)
        transceiver->release();
    if (library_.settle(before_)) {
        transceivers_.clear();
        return;
    }
    fmt::print(stderr, "ferrow: the library keeps objects back\n");
    for (auto& transceiver : transceivers_)
        static_cast<void>(transceiver.release());
}

} // namespace ferrow
