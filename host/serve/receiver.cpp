#include "host/serve/receiver.hpp"

#include "host/serve/messages.hpp"
#include "host/text_modes.hpp"
#include "host/voice_mode.hpp"

namespace ferrow::serve {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kMeterPause = 100ms, kMeterRest = 1s; // when it moves, and when not
constexpr double kBackgroundRate = 2;                // spectra that the library makes in the background

struct GainTimes {
    float attack, decay, hang; // seconds
};
GainTimes timesOf(Agc agc) {
    switch (agc) {
    case Agc::Fast:
        return {0.005F, 0.05F, 0.1F};
    case Agc::Slow:
        return {0.01F, 0.5F, 2.0F};
    default:
        return {0.01F, 0.2F, 0.5F};
    }
}

template <typename T>
void take(T& value, const std::optional<T>& given) {
    if (given)
        value = *given;
}

} // namespace

Receiver::Receiver(const ReceiverPlace& place, int id, std::shared_ptr<Peer> peer, const AddOrder& order,
                   AudioFormat format)
    : place_(place), id_(id), peer_(std::move(peer)), transceiver_(place.session.add(order.frequency)),
      spectrum_(std::make_shared<SpectrumTap>(id, peer_)), mode_(findMode(order.mode)),
      frequency_(order.frequency), low_(mode_->low), high_(mode_->high), marker_(mode_->marker) {
    audio_ = std::make_unique<AudioPath>(id, [peer = peer_](Bytes bytes) {
        peer->send(OutgoingFrame{true, std::make_shared<const Bytes>(std::move(bytes))});
    });
    audio_->setFormat(format);
    try {
        makeMode();
    } catch (...) {
        place_.session.remove(transceiver_);
        throw;
    }
    applyGain();
    transceiver_.setSpectrum(false, zoom_, offset_);
    transceiver_.onAudio = [this](std::span<const float> block) { takeAudio(block); };
    transceiver_.onSpectrum = [tap = spectrum_](const Spectrum& spectrum) { tap->take(spectrum); };
    transceiver_.start();
}

Receiver::~Receiver() {
    reader_.reset();
    place_.session.remove(transceiver_);
}

void Receiver::makeMode() {
    reader_.reset();
    const ReaderTarget target{id_, peer_};
    switch (mode_->family) {
    case Family::Voice: {
        Tuning tuning;
        tuning.frequency = frequency_;
        tuning.mode = mode_->voice;
        tuning.low = low_;
        tuning.high = high_;
        setVoiceMode(place_.library, transceiver_, tuning);
        break;
    }
    case Family::Slots: {
        SlotReaderParts parts = makeSlotReader(*mode_, target, place_.slots, frequency_);
        reader_ = std::move(parts.reader);
        transceiver_.setMode(std::move(parts.object), low_, high_);
        break;
    }
    default: {
        Object object = makeTextMode(textMode(mode_->name));
        reader_ = makeModeReader(*mode_, object, target, marker_);
        transceiver_.setMode(std::move(object), low_, high_);
        transceiver_.setTextAt(marker_);
        break;
    }
    }
    applyNoiseReduction();
}

void Receiver::renewMode() {
    makeMode();
}

void Receiver::set(const SetOrder& order) {
    const ServeMode* mode = order.mode ? findMode(*order.mode) : mode_;
    const bool other = mode != mode_;
    const int low = order.low.value_or(order.mode ? mode->low : low_);
    const int high = order.high.value_or(order.mode ? mode->high : high_);
    if (low >= high)
        throw Refusal("the filter's low edge is not below its high one");
    if (order.marker && mode->marker == 0)
        throw Refusal(std::string(mode->name) + " has no marker");
    long long frequency = order.frequency.value_or(frequency_);
    int marker = order.mode ? mode->marker : marker_;
    if (order.marker && mode->family == Family::Cw)
        frequency += *order.marker - marker; // what is heard there comes to the pitch
    else
        take(marker, order.marker);
    if (frequency < 0 || frequency > kHighestFrequency)
        throw Refusal("the frequency is out of range");

    const bool moved = frequency != frequency_;
    const bool filter = low != low_ || high != high_;
    frequency_ = frequency;
    low_ = low;
    high_ = high;
    if (moved) {
        transceiver_.setVfo(frequency_);
        if (reader_ && !other)
            reader_->retuned(frequency_);
    }
    if (other) {
        mode_ = mode;
        marker_ = marker;
        makeMode();
    } else {
        if (filter)
            transceiver_.setFilter(low_, high_);
        if (std::exchange(marker_, marker) != marker) {
            transceiver_.setTextAt(marker_);
            reader_->setMarker(marker_);
        }
    }
    if (order.agc || order.gain) {
        take(agc_, order.agc);
        take(gain_, order.gain);
        applyGain();
    }
    if (order.nr) {
        nr_ = *order.nr;
        applyNoiseReduction();
    }
    take(squelch_, order.squelch);
    take(volume_, order.volume);
    take(mute_, order.mute);
    audio_->setVolume(volume_);
}

void Receiver::view(const ViewOrder& order) {
    take(zoom_, order.zoom);
    take(offset_, order.offset);
    take(bins_, order.bins);
    take(rate_, order.rate);
    transceiver_.setSpectrum(rate_ > kBackgroundRate, zoom_, offset_);
    spectrum_->set(bins_, rate_);
}

void Receiver::applyGain() {
    if (agc_ == Agc::Off) {
        transceiver_.setManualGain(gain_);
    } else {
        const GainTimes times = timesOf(agc_);
        transceiver_.setAutomaticGain(times.attack, times.decay, times.hang);
    }
}

void Receiver::applyNoiseReduction() {
    if (nr_)
        transceiver_.setNoiseReduction(*nr_);
    else
        transceiver_.endNoiseReduction();
}

bool Receiver::squelchOpen() const {
    const auto strength = transceiver_.signalStrength();
    return !squelch_ || (strength && *strength >= *squelch_);
}

void Receiver::takeAudio(std::span<const float> block) {
    if (reader_)
        reader_->hear(block);
    audio_->setOpen(!mute_ && squelchOpen());
    audio_->take(block);
}

void Receiver::sendMeter(Clock::time_point now) {
    const auto strength = transceiver_.signalStrength();
    const bool open = squelchOpen();
    const bool moved = strength != toldStrength_ || open != toldOpen_;
    if (!strength || now - lastMeter_ < (moved ? kMeterPause : kMeterRest))
        return;
    lastMeter_ = now;
    toldStrength_ = strength;
    toldOpen_ = open;
    peer_->send(
        textOf({{"is", "meter"}, {"id", id_}, {"strength", rounded(std::max(*strength, -200.0))}, {"open", open}}));
}

void Receiver::poll(Clock::time_point now) {
    if (reader_)
        reader_->poll(now);
    sendMeter(now);
    if (transceiver_.tuningValid() != toldValid_)
        peer_->send(textOf(state()));
    toldValid_ = transceiver_.tuningValid();
}

nlohmann::json Receiver::state() const {
    const auto orNull = [](const std::optional<double>& value) {
        return value ? nlohmann::json(*value) : nlohmann::json();
    };
    return {{"is", "transceiver"},
            {"id", id_},
            {"frequency", frequency_},
            {"mode", mode_->name},
            {"low", low_},
            {"high", high_},
            {"agc", nameOf(agc_)},
            {"gain", gain_},
            {"squelch", orNull(squelch_)},
            {"nr", orNull(nr_)},
            {"volume", volume_},
            {"mute", mute_},
            {"marker", marker_ > 0 ? nlohmann::json(marker_) : nlohmann::json()},
            {"view", {{"zoom", zoom_}, {"offset", offset_}, {"bins", bins_}, {"rate", rate_}}},
            {"valid", transceiver_.tuningValid()}};
}

} // namespace ferrow::serve
