#include "host/serve/mode_reader.hpp"

#include "host/serve/messages.hpp"
#include "host/serve/rtty_ear.hpp"
#include "host/text_modes.hpp"

#include <ferrowcore/jt.h>
#include <ferrowcore/psk.h>

namespace ferrow::serve {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

constexpr auto kLabelPause = 500ms;
constexpr std::size_t kLabelText = 40;

// Gathers characters until the next round, so that a burst of them is one message.
class TextGatherer {
public:
    explicit TextGatherer(ReaderTarget target) : target_(std::move(target)) {}

    void add(std::string_view text) { waiting_ += utf8OfLatin1(text); }
    void flush(int frequency, const char* mode) {
        if (waiting_.empty())
            return;
        target_.peer->send(textOf({{"is", "text"},
                                   {"id", target_.id},
                                   {"frequency", frequency},
                                   {"mode", mode},
                                   {"text", std::exchange(waiting_, {})}}));
    }

private:
    ReaderTarget target_;
    std::string waiting_;
};

// Characters as they begin to be sent. What ends a transmission is none of the text.
void tellSent(Object& object, const ServeMode& mode, const ReaderTarget& target) {
    const TextMode& text = textMode(mode.name);
    bindSentText(object, text, [target, end = endMark(text)](const std::string& characters) {
        if (characters != end)
            target.peer->send(
                textOf({{"is", "sent"}, {"id", target.id}, {"text", utf8OfLatin1(characters)}}));
    });
}

// Received text of CW and of the one receiver of PSK that stands on the marker.
class TextReader : public ModeReader {
public:
    TextReader(const ServeMode& mode, Object& object, const ReaderTarget& target, int marker)
        : mode_(mode), gatherer_(std::make_shared<TextGatherer>(target)), marker_(marker) {
        bindReceivedText(object, textMode(mode.name),
                         [weak = std::weak_ptr(gatherer_)](const std::string& text) {
                             if (const auto gatherer = weak.lock())
                                 gatherer->add(text);
                         });
        tellSent(object, mode, target);
    }
    void poll(Clock::time_point) override { gatherer_->flush(marker_, mode_.name); }
    void setMarker(int marker) override { marker_ = marker; }

protected:
    const ServeMode& mode_;

private:
    std::shared_ptr<TextGatherer> gatherer_;
    int marker_;
};

// PSK: beside the one, all that the bank reads, as labels.
class BankReader : public TextReader {
public:
    BankReader(const ServeMode& mode, Object& object, const ReaderTarget& target, int marker)
        : TextReader(mode, object, target, marker), target_(target), board_(object, {}) {}

    void poll(Clock::time_point now) override {
        TextReader::poll(now);
        if (now < next_)
            return;
        next_ = now + kLabelPause;
        json labels = json::array();
        for (const DetectorBoard::Row& row : board_.rows()) {
            const std::size_t skip = row.text.size() > kLabelText ? row.text.size() - kLabelText : 0;
            std::string name = row.mode;
            for (char& c : name)
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            labels.push_back(
                {{"frequency", row.frequency}, {"mode", name}, {"text", utf8OfLatin1(row.text.substr(skip))}});
        }
        if (labels == last_)
            return;
        target_.peer->send(textOf({{"is", "labels"}, {"id", target_.id}, {"labels", labels}}));
        last_ = std::move(labels);
    }

private:
    ReaderTarget target_;
    DetectorBoard board_;
    json last_ = json::array();
    Clock::time_point next_{};
};

class RttyReader : public ModeReader {
public:
    RttyReader(const ServeMode& mode, Object& object, const ReaderTarget& target, int marker)
        : mode_(mode), gatherer_(target) {
        tellSent(object, mode, target);
        setMarker(marker);
    }
    void poll(Clock::time_point) override { gatherer_.flush(marker_, mode_.name); }
    void setMarker(int marker) override {
        marker_ = marker;
        ear_.setLowerTone(marker);
    }
    void hear(std::span<const float> sound) override { gatherer_.add(ear_.process(sound)); }

private:
    const ServeMode& mode_;
    TextGatherer gatherer_;
    int marker_ = 0;
    RttyEar ear_;
};

void sendSlot(const ReaderTarget& target, const ServeMode& mode, const DecodedSlot& slot) {
    json lines = json::array();
    for (const Ft8Line& line : slot.lines)
        lines.push_back({{"time", slot.time.clock},
                         {"snr", std::lround(line.snr)},
                         {"dt", rounded(line.dt)},
                         {"frequency", std::lround(line.frequency)},
                         {"text", line.message}});
    target.peer->send(textOf({{"is", "decodes"},
                              {"id", target.id},
                              {"mode", mode.name},
                              {"slot", slot.time.iso},
                              {"dial", slot.dial},
                              {"sent", slot.sent},
                              {"lines", std::move(lines)}}));
}

// Lets the mode record whole periods only, at the frequency that it began with.
class SlotReader : public ModeReader {
public:
    // `dial` is shared with the callback of the recordings.
    SlotReader(const ServeMode& mode, void* object, std::shared_ptr<long long> dial)
        : mode_(mode), object_(object), dial_(std::move(dial)) {}

    void poll(Clock::time_point) override {
        if (waiting_ && slotHasBegun(mode_.slots)) {
            JTModDemod_setEnabled(object_, true);
            waiting_ = false;
        }
    }
    void retuned(long long dial) override {
        *dial_ = dial;
        JTModDemod_setEnabled(object_, false); // what it has of this period is of another place
        waiting_ = true;
    }

private:
    const ServeMode& mode_;
    void* object_; // the transceiver's
    std::shared_ptr<long long> dial_;
    bool waiting_ = true;
};

} // namespace

std::unique_ptr<ModeReader> makeModeReader(const ServeMode& mode, Object& object, const ReaderTarget& target,
                                           int marker) {
    switch (mode.family) {
    case Family::Cw:
        return std::make_unique<TextReader>(mode, object, target, marker);
    case Family::Psk:
        return std::make_unique<BankReader>(mode, object, target, marker);
    case Family::Rtty:
        return std::make_unique<RttyReader>(mode, object, target, marker);
    default:
        return nullptr;
    }
}

SlotReaderParts makeSlotReader(const ServeMode& mode, const ReaderTarget& target, SlotDesk& desk,
                               long long dial) {
    const auto place = std::make_shared<long long>(dial);
    const auto take = [&mode, &desk, target, weak = std::weak_ptr(place)](const NewFile& file) {
        const auto now = weak.lock();
        if (!now) {
            std::error_code ignored;
            std::filesystem::remove(file.path, ignored);
            return;
        }
        desk.add(mode.slots, *now, file, [target, &mode, weak](const DecodedSlot& slot) {
            if (!weak.expired())
                sendSlot(target, mode, slot);
        });
    };
    Object object = makeSlotMode(mode.slots, desk.folder(target.id), take);
    void* const handle = object.get();
    return {std::move(object), std::make_unique<SlotReader>(mode, handle, place)};
}

} // namespace ferrow::serve
