// Morse telegraphy: a decoder that follows the speed, and a carrier keyed by text or by a key.
#pragma once

#include "core/async/async_event.hpp"
#include "modes/cw_decoder.hpp"
#include "modes/text_sender.hpp"
#include "trx/mod_demod.hpp"

#include <atomic>
#include <complex>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace ferrow {

// Tuned to the carrier itself: the decoder sees it at 0 Hz, and what is heard is moved up to `freq`. On
// transmit the carrier lies at the tuned frequency.
class cwModDemod : public modDemod {
public:
    explicit cwModDemod(const std::shared_ptr<syncTask>& context);

    asyncProperty<double> freq{650.0};                     // pitch of what is heard and of the sidetone, Hz
    asyncProperty<double> wpm{20.0};                       // sending speed
    asyncProperty<int> swHangTime{200};                    // ms on the air after the last element
    asyncProperty<double> sidetoneVolume{1.0};             // 0 to 1
    asyncProperty<double> rxwpm{20.0};                     // speed of what is received
    asyncProperty<double> dbg1{0}, dbg2{0};                // carried for the host
    asyncEvent<std::string> sentChars;                     // each character as it begins
    asyncEvent<std::string> newChars;                      // decoded text
    asyncEvent<buff<float>, double, double, int> newDebug; // nothing sends it

    // On the mode's context.
    void QueueText(const std::string& text, int) { text_.queue(text); }
    void KeyDown(); // goes on the air too
    void KeyUp();

    buff<float> demodulate(buff<std::complex<float>> block) override;
    void modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) override;
    void init() override;
    void setPtt(bool on) override;

private:
    static constexpr int kRamp = 256; // samples of a rise or fall

    // Receive, on the transceiver's context.
    void watchRadioKey();

    // Any thread.
    void showSidetone(vtrx& transceiver) const;
    bool keyIsDown() const noexcept;

    // Transmit, on the thread that pulls.
    std::size_t sendKey(std::span<std::complex<float>> out);
    void sendText(std::span<std::complex<float>> out);
    void beginElement();
    void nextCharacter();
    void setTextTone(bool on);
    void checkHang();

    TextSender text_{4096, "cwModDemod"};
    std::atomic<bool> keyDown_{false};
    std::atomic<bool> tapped_{false}; // pressed since the transmit side looked
    std::atomic<std::uint32_t> presses_{0};
    std::atomic<bool> radioKeyDown_{false};  // the radio's key input
    std::atomic<bool> radioKeySends_{false}; // and the radio does not key itself
    std::atomic<bool> transmitting_{false};
    std::atomic<bool> pressed_{false}; // ptt, since the transmit side looked
    std::atomic<bool> ending_{false};  // the end of the transmission is on its way

    CwDecoder decoder_;
    int decimation_ = 0;
    std::complex<double> tone_{1, 0};

    std::string_view pattern_ = "     "; // a transmission begins with a gap
    int patternPos_ = -1;
    int elementLength_ = 0, elementPos_ = 0; // samples
    double amplitude_ = 0;
    int idleSamples_ = 0;
    int keyRamp_ = 0;
    bool keyRising_ = false;
    bool textTone_ = false;
    bool hangChecked_ = false;
};

} // namespace ferrow
