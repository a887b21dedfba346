#include "host/serve/rtty_ear.hpp"

#include <cmath>
#include <numbers>

namespace ferrow::serve {
namespace {

constexpr double kRate = 48000, kShift = 170;
constexpr double kElementSums = kRate / 45.45 / 24; // 44.0
constexpr int kStop = 6;                            // elements before it: start and five units
constexpr double kFaultMemory = 0.2, kMostFaults = 0.35;
constexpr double kStrengthMemory = 0.005, kLeastStrength = 0.6;

constexpr int kFigures = 27, kLetters = 31;
// By the five units, the first of them the lowest bit. '\0' prints nothing.
constexpr char kLetterTable[] = "\0E\nA SIU\rDRJNFCKTZLWHYPQOBG\0MXV\0";
constexpr char kFigureTable[] = "\0"
                                "3\n- '87\r\0"
                                "4\0,!:(5+)2\0"
                                "6019?&\0./=\0";
static_assert(sizeof kLetterTable == 33 && sizeof kFigureTable == 33);

} // namespace

void RttyEar::Tone::set(double hertz) {
    turn = std::polar(1.0, -2 * std::numbers::pi * hertz / kRate);
}

double RttyEar::Tone::level(std::size_t place) {
    total += sum - sums[place];
    sums[place] = sum;
    sum = 0;
    at /= std::abs(at);
    return std::norm(total);
}

void RttyEar::setLowerTone(double hertz) {
    *this = RttyEar();
    lower_.set(hertz);
    upper_.set(hertz + kShift);
}

char RttyEar::Reader::take(bool mark) {
    const bool fell = last && !mark;
    last = mark;
    if (wait < 0) {
        if (fell) { // perhaps a start: look at its middle
            wait = static_cast<int>(kElementSums / 2);
            element = 0;
            bits = 0;
        }
        return '\0';
    }
    if (wait-- > 0)
        return '\0';
    const int now = element++;
    wait = static_cast<int>(std::lround((now + 1.5) * kElementSums) - std::lround((now + 0.5) * kElementSums)) - 1;
    if (now == 0 && mark) // a click
        wait = -1;
    if (now >= 1 && now < kStop)
        bits |= static_cast<unsigned>(mark) << (now - 1);
    if (now < kStop)
        return '\0';
    wait = -1;
    faults += kFaultMemory * ((mark ? 0 : 1) - faults);
    if (!mark)
        return '\0';
    if (bits == kFigures || bits == kLetters) {
        figures = bits == kFigures;
        return '\0';
    }
    const char character = (figures ? kFigureTable : kLetterTable)[bits];
    if (character == ' ')
        figures = false;
    return character;
}

std::string RttyEar::process(std::span<const float> sound) {
    std::string text;
    for (const float sample : sound) {
        for (Tone* tone : {&lower_, &upper_}) {
            tone->at *= tone->turn;
            tone->sum += static_cast<double>(sample) * tone->at;
        }
        if (++filled_ < kStep)
            continue;
        filled_ = 0;
        const double low = lower_.level(place_), high = upper_.level(place_);
        place_ = (place_ + 1) % kElement;
        const double both = low + high;
        strength_ += kStrengthMemory * ((both > 0 ? std::abs(high - low) / both : 0) - strength_);
        const char usual = usual_.take(high > low), reversed = reversed_.take(low > high);
        if (strength_ < kLeastStrength)
            continue;
        const bool turned = reversed_.faults < usual_.faults;
        const Reader& better = turned ? reversed_ : usual_;
        const char character = turned ? reversed : usual;
        if (character != '\0' && character != '\r' && better.faults < kMostFaults)
            text += character;
    }
    return text;
}

} // namespace ferrow::serve
