#include "host/radio_session.hpp"

#include "host/failure.hpp"
#include "host/interrupt.hpp"
#include "host/sdrplay_devices.hpp"

#include <algorithm>
#include <ferrowcore/hpsdr.h>
#include <ferrowcore/radio.h>
#include <ferrowcore/vtrx.h>
#include <fmt/format.h>
#include <utility>

namespace ferrow {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 3s; // without samples
constexpr auto kFarewell = 500ms;

} // namespace

RadioSession::RadioSession(Library& library, const FoundRadio& radio, const RadioOptions& options)
    : library_(library), found_(radio), strengthAbove_(strengthAbove(radio.kind, options.sampleRate)) {
    if (radio.running && !options.takeOver)
        throw Failure(fmt::format(
            "the radio at {} serves another program; --take-over starts it all the same", radio.address));
    if (found_.kind == RadioKind::SdrPlay)
        found_ = findSdrplayDevice(library, radio.address);
    if (found_.kind == RadioKind::SdrPlay || found_.kind == RadioKind::WsProxy)
        words_.emplace(library.verbose());
    radio_ = makeRadio(found_, options);
    bindHealth(
        radio_, found_.kind, [this](int value) { sequenceErrors_ = value; },
        [this](bool value) { adcOverload_ = value; });
    radio_.bind(Radio_bindptt, [this](bool value) { keyed_ = value; });
    radio_.bind(Radio_bindreceivedPackets, [this](int value) {
        if (value > 0) {
            lastPackets_ = Transceiver::Clock::now();
            packets_ = true;
        }
    });
    if (found_.kind == RadioKind::Hpsdr)
        bindReadings();
    radio_.bind(Radio_bindvtrxAdded, [this](void* vtrx, long long, int, int) { arrived_ = vtrx; });
}

RadioSession::~RadioSession() {
    stop();
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
    if (!tellsPackets())
        lastPackets_ = Transceiver::Clock::now(); // its sound gets some time
    // The first start of these radios makes their receiver, and a transceiver on it; one that is added before
    // has none.
    const bool byStart = transceivers_.empty() && startMakesFirst() && !started_;
    if (byStart)
        startOnce();
    else
        Radio_addVtrx(radio_.get(), vfo, 0, 0);
    if (!library_.pumpUntil([this] { return arrived_ != nullptr; }, kPatience))
        throw Failure(interrupted() ? "interrupted" : "the library makes no transceiver; see its log");
    void* const handle = std::exchange(arrived_, nullptr);
    transceivers_.push_back(std::make_unique<Transceiver>(handle, vfo, strengthAbove_));
    Transceiver& made = *transceivers_.back();
    if (byStart)
        vtrx_setvfo(handle, vfo);
    if (!library_.pumpUntil([&] { return made.ready(); }, kPatience)) {
        remove(made);
        throw Failure(interrupted() ? "interrupted" : "the library gives no gain control; see its log");
    }
    return made;
}

void RadioSession::remove(Transceiver& transceiver) {
    const auto found = std::ranges::find(transceivers_, &transceiver, &std::unique_ptr<Transceiver>::get);
    transceiver.onAudio = nullptr;
    transceiver.remove();
    transceiver.release();
    leaving_.push_back(std::move(*found));
    transceivers_.erase(found);
}

void RadioSession::open() {
    startOnce();
    if (startMakesFirst())
        library_.pumpUntil([this] { return arrived_ != nullptr; }, kPatience);
    poll();
    lastPackets_ = Transceiver::Clock::now();
}

void RadioSession::restart() {
    Radio_stop(radio_.get());
    Radio_start(radio_.get());
    started_ = true;
}

void RadioSession::retuneAll() {
    for (const auto& transceiver : transceivers_)
        transceiver->retune();
}

bool RadioSession::alive() const {
    if (transceivers_.empty() && !tellsPackets())
        return true;
    const auto since = Transceiver::Clock::now() - kPatience;
    return samplesSince(since) || (lastPackets_ && *lastPackets_ >= since);
}

void RadioSession::poll() {
    // A start makes a transceiver where it finds none.
    if (void* const handle = std::exchange(arrived_, nullptr)) {
        vtrx_remove(handle);
        const Object unused(handle);
    }
    std::erase_if(leaving_, [](const auto& one) { return one->released(); });
}

void RadioSession::startOnce() {
    if (!std::exchange(started_, true))
        Radio_start(radio_.get());
}

std::string RadioSession::complaint() const {
    const std::string words = words_ ? words_->complaint() : "";
    return words.empty() ? "" : ": " + words;
}

void RadioSession::start() {
    const auto began = Transceiver::Clock::now();
    for (const auto& transceiver : transceivers_)
        transceiver->start();
    startOnce();
    library_.pumpUntil([&] { return samplesSince(began) || !complaint().empty(); }, kPatience);
    if (!samplesSince(began) && !interrupted())
        throw Failure(
            complaint().empty()
                ? fmt::format("no samples from the radio at {} within {} s", place(), kPatience.count())
                : fmt::format("no samples from the radio at {}{}", place(), complaint()));
    // Only now is a receiver's number at a server known: what was tuned before has gone nowhere.
    if (startMakesFirst())
        for (const auto& transceiver : transceivers_)
            transceiver->retune();
}

std::string RadioSession::place() const {
    return found_.kind == RadioKind::Hpsdr ? found_.address : found_.url();
}

bool RadioSession::samplesSince(Transceiver::Clock::time_point time) const {
    return std::any_of(transceivers_.begin(), transceivers_.end(),
                       [&](const auto& one) { return one->lastSamples() && *one->lastSamples() >= time; });
}

void RadioSession::checkSamples() const {
    // While it transmits there is no sound, only packets.
    const auto since = Transceiver::Clock::now() - kPatience;
    if (!samplesSince(since) && !(lastPackets_ && *lastPackets_ >= since))
        throw Failure(fmt::format("the radio at {} has stopped sending{}", place(), complaint()));
}

void RadioSession::halt() {
    if (radio_ && started_)
        Radio_stop(radio_.get());
}

void RadioSession::stop() {
    if (!radio_)
        return;
    halt();
    // The server hears of the end before the radio goes; one that is silent is not waited for.
    if (found_.kind == RadioKind::WsProxy && started_)
        library_.pumpThrough([this] { return words_->connectionClosed(); }, kFarewell);
    for (const auto& transceiver : transceivers_)
        transceiver->remove();
    library_.pump();
    poll();
    radio_.reset();
    // The callbacks name the transceivers, so these stay until the library has let go of them.
    for (const auto& transceiver : transceivers_)
        transceiver->release();
    if (library_.settle(before_)) {
        transceivers_.clear();
        leaving_.clear();
        return;
    }
    fmt::print(stderr, "ferrow: the library keeps objects back\n");
    for (auto* list : {&transceivers_, &leaving_})
        for (auto& transceiver : *list)
            static_cast<void>(transceiver.release());
}

} // namespace ferrow
