#include "host/serve/transmit_desk.hpp"

#include "host/failure.hpp"
#include "host/ft8_pack.hpp"
#include "host/text_modes.hpp"
#include "host/voice_mode.hpp"

#include <ferrowcore/keyboard.h>
#include <fmt/format.h>

namespace ferrow::serve {
namespace {

constexpr int kRttySpace = 2000;     // Hz, the lower tone that the library sends
constexpr int kTextMargin = 500;     // Hz beside a text mode's signal
constexpr int kCarrierBand = 300;    // Hz on either side of a carrier, for modes whose filter leaves it out

// Band of the transmit filter and place of the signal, for what the receiver stands on.
void tuneTransmitter(Receiver& receiver) {
    Transceiver& one = receiver.transceiver();
    switch (receiver.mode().family) {
    case Family::Voice:
        one.setTransmitOffset(0);
        one.setTransmitFilter(receiver.low(), receiver.high());
        break;
    case Family::Cw:
        one.setTransmitOffset(0);
        one.setTransmitFilter(-kCarrierBand, kCarrierBand);
        break;
    case Family::Psk:
        one.setTransmitOffset(0);
        one.setTransmitFilter(receiver.marker() - kTextMargin, receiver.marker() + kTextMargin);
        break;
    case Family::Rtty:
        one.setTransmitOffset(receiver.marker() - kRttySpace);
        one.setTransmitFilter(kRttySpace - kTextMargin, kRttySpace + 2 * kTextMargin);
        break;
    case Family::Slots:
        one.setTransmitOffset(0);
        break;
    }
}

} // namespace

TransmitDesk::TransmitDesk(Library& library, RadioSession& session, TransmitGuard* guard, TransmitPower power,
                           TransmitLimits limits, Reports reports)
    : library_(library), session_(session), guard_(guard), power_(power), limits_(limits),
      reports_(std::move(reports)) {
    if (guard_)
        session_.setPower(power_);
}

TransmitDesk::~TransmitDesk() {
    cancelAll();
}

void TransmitDesk::welcome(Receiver& receiver) const {
    if (guard_)
        receiver.transceiver().setDrive(power_.drive);
}

const char* TransmitDesk::wordOf(Kind kind) const {
    switch (kind) {
    case Kind::Voice:
        return "key";
    case Kind::Tone:
        return "tune";
    case Kind::Text:
        return "send";
    case Kind::Slots:
        break;
    }
    return "ft8";
}

TransmitDesk::Work& TransmitDesk::begin(int listener, Receiver& receiver, Kind kind) {
    if (!guard_)
        throw Refusal("this server does not transmit");
    if (work_ && work_->listener != listener)
        throw Refusal("somebody else has the key");
    if (work_)
        throw Refusal("you are transmitting already");
    if (!session_.alive())
        throw Refusal("the radio is not there");
    if (!receiver.transceiver().tuningValid())
        throw Refusal("the radio does not reach this frequency");
    work_.reset(
        new Work{listener, receiver, kind, {library_, session_, receiver.transceiver(), *guard_}});
    return *work_;
}

void TransmitDesk::press(Work& work) {
    try {
        work.transmitter.arm();
    } catch (const Failure& failure) {
        work_.reset();
        guard_ = nullptr;
        reports_.changed();
        throw Refusal(failure.what());
    }
    if (work.kind == Kind::Voice && work.receiver.mode().family == Family::Voice) {
        work.microphone = std::make_unique<Microphone>(work.receiver.mode().voice, VoiceOptions().deviation);
        work.renew = true;
        work.receiver.transceiver().setMode(work.microphone->take(), work.receiver.low(), work.receiver.high());
    }
    tuneTransmitter(work.receiver);
    setKey(work, true);
    reports_.changed();
}

void TransmitDesk::setKey(Work& work, bool on) {
    Transceiver& transceiver = work.transmitter.transceiver();
    if (work.kind == Kind::Voice && work.receiver.mode().family == Family::Cw)
        (on ? cwModDemod_KeyDown : cwModDemod_KeyUp)(transceiver.mode().get());
    else
        transceiver.setPtt(on);
}

void TransmitDesk::key(int listener, Receiver& receiver, bool on) {
    if (!on)
        return stop(listener);
    if (receiver.mode().family == Family::Slots)
        throw Refusal("this mode sends messages in slots only");
    // A straight key comes again before the transmitter has gone off.
    if (work_ && work_->listener == listener && &work_->receiver == &receiver && work_->kind == Kind::Voice &&
        work_->phase == Phase::Releasing && receiver.mode().family == Family::Cw) {
        work_->phase = Phase::Pressing;
        work_->phaseBegan = Clock::now();
        return setKey(*work_, true);
    }
    press(begin(listener, receiver, Kind::Voice));
}

void TransmitDesk::tune(int listener, Receiver& receiver, bool on) {
    if (!on)
        return stop(listener);
    Work& work = begin(listener, receiver, Kind::Tone);
    receiver.transceiver().setTune(true);
    press(work);
}

void TransmitDesk::send(int listener, Receiver& receiver, const std::string& text) {
    const Family family = receiver.mode().family;
    if (family == Family::Voice || family == Family::Slots)
        throw Refusal(fmt::format("{} sends no text", receiver.mode().name));
    const TextMode& mode = textMode(receiver.mode().name);
    if (const int place = firstUnknown(mode, text); place >= 0)
        throw Refusal(fmt::format("{} has no code for character {} of the text", mode.name, place + 1));
    Work& work = begin(listener, receiver, Kind::Text);
    queueText(receiver.transceiver().mode(), mode, text + std::string(endMark(mode)));
    press(work);
}

void TransmitDesk::ft8(int listener, Receiver& receiver, const Ft8Order& order) {
    if (receiver.mode().family != Family::Slots)
        throw Refusal("the transceiver stands in another mode");
    SlotOrder slots;
    try {
        slots = {packFt8Message(order.message), order.frequency, order.parity, order.times, false};
    } catch (const UsageError& error) {
        throw Refusal(error.what());
    }
    Work& work = begin(listener, receiver, Kind::Slots);
    work.sender.emplace(receiver.mode().slots, slots, work.transmitter);
    tuneTransmitter(receiver);
    work.sender->prepare();
    reports_.changed();
}

void TransmitDesk::release(Work& work) {
    if (work.phase == Phase::Releasing)
        return;
    work.phase = Phase::Releasing;
    work.phaseBegan = Clock::now();
    work.renew = work.renew || (work.kind == Kind::Text && work.transmitter.busy());
    if (work.sender)
        work.sender->cancel();
    else
        setKey(work, false);
}

void TransmitDesk::voice(int listener, const MicrophoneFrame& frame) {
    if (work_ && work_->listener == listener && work_->microphone && frame.id == work_->receiver.id())
        work_->microphone->put(frame.samples);
}

void TransmitDesk::stop(int listener) {
    if (!work_ || work_->listener != listener)
        return;
    try {
        release(*work_);
    } catch (const Failure& failure) {
        fail(failure.what());
    }
}

// The radio is off the air, or has been stopped.
void TransmitDesk::finish() {
    Receiver& receiver = work_->receiver;
    const bool renew = work_->renew;
    receiver.transceiver().setTune(false);
    if (guard_)
        guard_->disarm();
    work_.reset();
    if (renew)
        receiver.renewMode();
    reports_.changed();
}

void TransmitDesk::fail(const std::string& text) {
    const int listener = work_->listener;
    const char* const word = wordOf(work_->kind);
    if (work_->transmitter.busy()) {
        work_->transmitter.transceiver().setPtt(false);
        session_.halt();
    }
    finish();
    reports_.failed(listener, word, text);
}

void TransmitDesk::cancel(const Receiver& receiver) {
    if (work_ && &work_->receiver == &receiver)
        cancelAll();
}

void TransmitDesk::cancelAll() {
    if (!work_)
        return;
    try {
        release(*work_);
        work_->transmitter.release();
        finish();
    } catch (const Failure& failure) {
        fail(failure.what());
    }
}

void TransmitDesk::poll(Clock::time_point now, Clock::time_point lastWord) {
    if (guard_) {
        try {
            guard_->check();
        } catch (const Failure& failure) {
            if (work_)
                fail(failure.what());
            guard_ = nullptr;
            reports_.changed();
        }
    }
    if (!work_)
        return;
    try {
        if (!session_.alive())
            throw Failure("the radio has stopped sending");
        if (work_->phase != Phase::Releasing && now - lastWord > limits_.silence) {
            reports_.failed(work_->listener, wordOf(work_->kind), "no sign of life of you: the key is taken back");
            release(*work_);
        } else if (work_->phase != Phase::Releasing && work_->kind != Kind::Slots &&
                   now - work_->began > limits_.longest) {
            reports_.failed(work_->listener, wordOf(work_->kind), "the transmission has reached its limit");
            release(*work_);
        }
        pollWork(now);
    } catch (const Failure& failure) {
        fail(failure.what());
    }
}

void TransmitDesk::pollWork(Clock::time_point now) {
    Work& work = *work_;
    const bool late = now - work.phaseBegan > limits_.patience;
    switch (work.phase) {
    case Phase::Pressing:
        if (work.kind == Kind::Slots) {
            pollSlots();
        } else if (session_.keyed()) {
            work.phase = Phase::OnAir;
            reports_.changed();
        } else if (late) {
            work.transmitter.transceiver().setPtt(false);
            throw Failure("the radio is not keyed; does it transmit at all?");
        }
        break;
    case Phase::OnAir:
        if (!work.transmitter.busy()) // the text has ended
            finish();
        break;
    case Phase::Releasing:
        if (!work.transmitter.busy())
            finish();
        else if (late)
            throw Failure("the radio stayed keyed, and has been stopped");
        break;
    }
}

void TransmitDesk::pollSlots() {
    work_->sender->poll();
    if (work_->sender->done())
        finish();
}

} // namespace ferrow::serve
