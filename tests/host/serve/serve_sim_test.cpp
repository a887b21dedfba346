// ferrow serve before a simulated radio, as its page uses it.
#include "tests/host/serve/serve_client.hpp"

#include <cmath>
#include <numbers>
#include <opus.h>
#include <set>

using namespace ferrow::test;

namespace {

const char* const kScene = R"({"noise_floor": -140, "stations": [
  {"kind": "carrier", "name": "a", "frequency": 14201000, "level": -60},
  {"kind": "carrier", "name": "b", "frequency": 14251500, "level": -70},
  {"kind": "am", "name": "c", "frequency": 7200000, "level": -60, "depth": 0.8, "source": {"tones": [700]}}]})";

// Share of a sound's power that lies at one frequency, 0 to 1.
double shareAt(std::span<const float> samples, double frequency, int rate = 24000) {
    double re = 0, im = 0, power = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
        const auto x = static_cast<double>(samples[i]);
        re += x * std::cos(phase);
        im += x * std::sin(phase);
        power += x * x;
    }
    return power > 0 ? 2 * (re * re + im * im) / static_cast<double>(samples.size()) / power : 0;
}

// Of the last `count` messages.
double shareOfLast(ServeListener& listener, int id, std::size_t count, double frequency) {
    auto audio = listener.audio(id);
    if (audio.size() > count)
        audio.erase(audio.begin(), audio.end() - static_cast<std::ptrdiff_t>(count));
    const auto samples = samplesOf(audio);
    return shareAt(samples, frequency);
}

// Waits until the sound of a transceiver is that tone.
bool hears(ServeListener& listener, int id, double frequency, double share = 0.9) {
    for (int i = 0; i < 100; ++i) {
        const std::size_t before = listener.audio(id).size();
        if (!listener.waitAudio(id, before + 40))
            return false;
        if (shareOfLast(listener, id, 30, frequency) > share)
            return true;
    }
    return false;
}

const auto kNoObjects = [](Serving& serving) {
    for (int i = 0; i < 500; ++i) {
        if (serving.status().at("objects") == 0)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
};

} // namespace

TEST(ServeSim, GreetsAndKeepsState) {
    ServedRadio radio("127.63.0.1", kScene);
    Serving serving(radio.address(), {"--rate", "384"});
    ServeListener listener(serving);
    const json hello = listener.next("hello");
    ASSERT_TRUE(hello.is_object());
    EXPECT_EQ(hello.at("radio").at("url"), "hpsdr://127.63.0.1");
    EXPECT_EQ(hello.at("radio").at("name"), "Hermes-Lite 2");
    EXPECT_EQ(hello.at("radio").at("rate"), 384000);
    EXPECT_EQ(hello.at("transmit").at("allowed"), false);
    EXPECT_EQ(hello.at("audio").at("rate"), 24000);
    std::set<std::string> modes;
    for (const json& mode : hello.at("modes"))
        modes.insert(mode.at("name").get<std::string>());
    for (const char* mode : {"usb", "lsb", "am", "fm", "cw", "ft8", "ft4", "psk31", "qpsk31", "rtty"})
        EXPECT_TRUE(modes.contains(mode)) << mode;

    json state = listener.ask({{"do", "add"}, {"frequency", 14200000}, {"mode", "usb"}}, "transceiver");
    ASSERT_TRUE(state.is_object());
    const int id = state.at("id");
    EXPECT_EQ(state.at("low"), 200);
    EXPECT_EQ(state.at("high"), 2800);
    EXPECT_EQ(state.at("agc"), "medium");
    EXPECT_TRUE(state.at("squelch").is_null());
    EXPECT_TRUE(state.at("marker").is_null());
    // Every field alone, and read back.
    const std::vector<std::pair<const char*, json>> changes = {
        {"frequency", 14250000}, {"low", 300},    {"high", 2700}, {"agc", "fast"}, {"agc", "slow"},
        {"agc", "off"},          {"gain", 42.5},  {"agc", "medium"}, {"squelch", -90.5}, {"squelch", nullptr},
        {"nr", 70},              {"nr", nullptr}, {"volume", 0.25},  {"mute", true},     {"mute", false}};
    for (const auto& [name, value] : changes) {
        const json before = state;
        json order = {{"do", "set"}, {"id", id}};
        order[name] = value;
        state = listener.ask(order, "transceiver");
        ASSERT_TRUE(state.is_object()) << name;
        EXPECT_EQ(state.at(name), value) << name;
        for (const auto& [key, old] : before.items())
            if (key != name && key != "valid") {
                EXPECT_EQ(state.at(key), old) << name << " changed " << key;
            }
    }
    // Each mode brings its own filter and marker.
    for (const json& mode : hello.at("modes")) {
        state = listener.ask({{"do", "set"}, {"id", id}, {"mode", mode.at("name")}}, "transceiver");
        for (const char* key : {"low", "high", "marker"})
            EXPECT_EQ(state.at(key), mode.at(key)) << mode;
        EXPECT_EQ(state.at("mode"), mode.at("name"));
    }
    EXPECT_EQ(listener.ask({{"do", "ping"}, {"t", 17}}, "pong").at("t"), 17);
    EXPECT_EQ(listener.ask({{"do", "remove"}, {"id", id}}, "removed").at("id"), id);
    for (const json& text : listener.texts())
        EXPECT_NE(text.at("is"), "error") << text;
    EXPECT_TRUE(kNoObjects(serving));
    const Outcome outcome = serving.end();
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_EQ(outcome.output.find("keeps objects"), std::string::npos) << outcome.output;
}

TEST(ServeSim, BadOrdersChangeNothing) {
    ServedRadio radio("127.63.0.2", kScene);
    Serving serving(radio.address());
    ServeListener listener(serving), other(serving);
    const int id = listener.add(14200000, "usb");
    const int foreign = other.add(14200000, "usb");
    EXPECT_NE(id, foreign);
    const auto refused = [&](const json& order, const std::string& about) {
        const json error = listener.ask(order, "error");
        ASSERT_TRUE(error.is_object()) << order;
        EXPECT_EQ(error.at("about"), about) << order;
        EXPECT_FALSE(error.at("text").get<std::string>().empty());
    };
    for (const char* word : {"remove", "set", "view"})
        refused({{"do", word}, {"id", foreign}}, word);
    refused({{"do", "set"}, {"id", id}, {"low", 2900}}, "set");
    refused({{"do", "set"}, {"id", id}, {"marker", 1000}}, "set");
    refused({{"do", "set"}, {"id", id}, {"volume", 0.1}, {"mode", "nonsense"}}, "set");
    refused({{"do", "key"}, {"id", id}, {"on", true}}, "key");
    refused({{"do", "tune"}, {"id", id}, {"on", true}}, "tune");
    refused({{"do", "send"}, {"id", id}, {"text", "CQ"}}, "send");
    refused({{"do", "ft8"}, {"id", id}, {"message", "CQ K1ABC FN42"}}, "ft8");
    refused({{"do", "log"}, {"call", "K1ABC"}}, "log");
    listener.sendText("no json");
    EXPECT_EQ(listener.next("error").at("about"), "");
    listener.sendBinary({9, 9, 9});
    EXPECT_EQ(listener.next("error").at("about"), "");
    const json state = listener.ask({{"do", "set"}, {"id", id}}, "transceiver");
    EXPECT_EQ(state.at("low"), 200);
    EXPECT_EQ(state.at("volume"), 0.5);
    // Four are the most.
    for (int i = 0; i < 3; ++i)
        EXPECT_GT(listener.add(14200000, "usb"), 0);
    refused({{"do", "add"}, {"frequency", 14200000}, {"mode", "usb"}}, "add");
}

TEST(ServeSim, TheSpectrumShowsTheCarrierAtItsBin) {
    ServedRadio radio("127.63.0.3", kScene);
    Serving serving(radio.address(), {"--rate", "384"});
    ServeListener listener(serving);
    const int id = listener.add(14200000, "usb");
    struct View {
        int zoom, bins;
        long long offset;
    };
    for (const View& view : {View{1, 2048, 0}, View{1, 512, 0}, View{4, 1024, 0}, View{32, 256, 1500}}) {
        listener.forget();
        listener.send({{"do", "view"}, {"id", id}, {"zoom", view.zoom}, {"bins", view.bins},
                       {"offset", view.offset}, {"rate", 20}});
        // The display moves a frame later.
        bool right = false;
        for (int i = 0; i < 50 && !right; ++i) {
            const std::size_t before = listener.frames(id).size();
            ASSERT_TRUE(listener.waitFrames(id, before + 1));
            const auto frame = listener.frames(id).back();
            const double span = 384000.0 / view.zoom;
            // Samples of before the move may be in it, too.
            right = frame.decibel.size() == static_cast<std::size_t>(view.bins) &&
                    std::abs(frame.high - frame.low - span) < 1 &&
                    std::abs((frame.low + frame.high) / 2 - 14200000 - static_cast<double>(view.offset)) <
                        2 * span / 2048 &&
                    std::abs(frame.frequencyOf(frame.peak()) - 14201000) <= span / view.bins &&
                    std::abs(frame.decibel[frame.peak()] + 60) < 6;
        }
        EXPECT_TRUE(right) << view.zoom << " " << view.bins;
    }
}

TEST(ServeSim, SpectraComeAtTheRateAskedFor) {
    ServedRadio radio("127.63.0.4", kScene);
    Serving serving(radio.address());
    ServeListener listener(serving);
    const int id = listener.add(14200000, "usb");
    listener.send({{"do", "view"}, {"id", id}, {"bins", 256}, {"rate", 10}});
    ASSERT_TRUE(listener.waitFrames(id, 5));
    listener.forget();
    const auto began = Clock::now();
    ASSERT_TRUE(listener.waitFrames(id, 40));
    const double seconds = std::chrono::duration<double>(Clock::now() - began).count();
    EXPECT_GT(seconds, 40 / 12.0) << "no faster than asked for";
    const auto frames = listener.frames(id);
    for (std::size_t i = 1; i < frames.size(); ++i)
        EXPECT_EQ(frames[i].sequence, frames[i - 1].sequence + 1);
    listener.send({{"do", "view"}, {"id", id}, {"rate", 0}});
    listener.ask({{"do", "ping"}, {"t", 1}}, "pong");
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    listener.forget();
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    EXPECT_TRUE(listener.frames(id).empty());
}

TEST(ServeSim, TheSoundIsTheToneOnTheAir) {
    ServedRadio radio("127.63.0.5", kScene);
    Serving serving(radio.address());
    ServeListener listener(serving);
    const int id = listener.add(14200000, "usb");
    listener.send({{"do", "audio"}, {"format", "pcm"}});
    EXPECT_TRUE(hears(listener, id, 1000));
    const auto audio = listener.audio(id);
    for (std::size_t i = 1; i < audio.size(); ++i) {
        EXPECT_EQ(audio[i].sequence, audio[i - 1].sequence + 1);
        EXPECT_EQ(audio[i].payload.size(), 512U);
        EXPECT_EQ(audio[i].rate, 24000U);
    }
    // A retune moves the tone; so does another mode.
    listener.send({{"do", "set"}, {"id", id}, {"frequency", 14200500}});
    EXPECT_TRUE(hears(listener, id, 500));
    listener.send({{"do", "set"}, {"id", id}, {"frequency", 14202300}, {"mode", "lsb"}});
    EXPECT_TRUE(hears(listener, id, 1300));
    listener.send({{"do", "set"}, {"id", id}, {"frequency", 7200000}, {"mode", "am"}});
    EXPECT_TRUE(hears(listener, id, 700));
}

TEST(ServeSim, OpusIsTheSameTone) {
    ServedRadio radio("127.63.0.6", kScene);
    Serving serving(radio.address());
    ServeListener listener(serving);
    const int id = listener.add(14200000, "usb");
    listener.send({{"do", "audio"}, {"format", "opus"}});
    ASSERT_TRUE(listener.waitAudio(id, 150));
    int error = 0;
    OpusDecoder* decoder = opus_decoder_create(24000, 1, &error);
    std::vector<float> samples;
    for (const auto& one : listener.audio(id)) {
        EXPECT_EQ(one.format, 1);
        float frame[960];
        const int n = opus_decode_float(decoder, one.payload.data(), static_cast<int>(one.payload.size()), frame,
                                        960, 0);
        ASSERT_EQ(n, 480);
        samples.insert(samples.end(), frame, frame + n);
    }
    opus_decoder_destroy(decoder);
    EXPECT_GT(shareAt(std::span(samples).last(24000), 1000), 0.9);
    listener.send({{"do", "audio"}, {"format", "off"}});
    listener.ask({{"do", "ping"}, {"t", 1}}, "pong");
    listener.forget();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_TRUE(listener.audio(id).empty());
}

TEST(ServeSim, VolumeMuteAndSquelchActOnTheSound) {
    ServedRadio radio("127.63.0.7", kScene);
    Serving serving(radio.address());
    ServeListener listener(serving);
    const int id = listener.add(14200000, "usb");
    listener.send({{"do", "audio"}, {"format", "pcm"}});
    ASSERT_TRUE(hears(listener, id, 1000));
    const auto power = [&] {
        listener.ask({{"do", "ping"}, {"t", 1}}, "pong");
        listener.forget();
        EXPECT_TRUE(listener.waitAudio(id, 40));
        double sum = 0;
        const auto samples = samplesOf(listener.audio(id));
        for (std::size_t i = 512; i < samples.size(); ++i)
            sum += static_cast<double>(samples[i]) * samples[i];
        return 10 * std::log10(sum / static_cast<double>(samples.size() - 512) + 1e-12);
    };
    listener.send({{"do", "set"}, {"id", id}, {"volume", 0.4}});
    const double loud = power();
    listener.send({{"do", "set"}, {"id", id}, {"volume", 0.04}});
    EXPECT_NEAR(power(), loud - 20, 1);
    const auto silent = [&] {
        listener.ask({{"do", "ping"}, {"t", 1}}, "pong");
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        listener.forget();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        return listener.audio(id).empty();
    };
    listener.send({{"do", "set"}, {"id", id}, {"mute", true}});
    EXPECT_TRUE(silent());
    listener.send({{"do", "set"}, {"id", id}, {"mute", false}, {"squelch", -30}});
    EXPECT_EQ(listener.next("meter", [](const json& m) { return m.at("open") == false; }).at("open"), false);
    EXPECT_TRUE(silent());
    listener.send({{"do", "set"}, {"id", id}, {"squelch", -80}});
    const json meter = listener.next("meter", [](const json& m) { return m.at("open") == true; });
    EXPECT_NEAR(meter.at("strength").get<double>(), -60, 2);
    listener.forget();
    EXPECT_TRUE(listener.waitAudio(id, 10));
}

TEST(ServeSim, ListenersAreIndependent) {
    ServedRadio radio("127.63.0.8", kScene);
    Serving serving(radio.address());
    ServeListener first(serving);
    const int a = first.add(14200000, "usb");
    first.send({{"do", "audio"}, {"format", "pcm"}});
    {
        ServeListener second(serving);
        const int b = second.add(7200000, "am");
        EXPECT_NE(a, b);
        second.send({{"do", "audio"}, {"format", "pcm"}});
        EXPECT_TRUE(hears(second, b, 700));
        EXPECT_TRUE(hears(first, a, 1000));
        EXPECT_TRUE(second.audio(a).empty());
        EXPECT_TRUE(first.audio(b).empty());
        second.send({{"do", "set"}, {"id", b}, {"frequency", 14250000}, {"mode", "usb"}});
        EXPECT_TRUE(hears(second, b, 1500));
        EXPECT_TRUE(hears(first, a, 1000));
        for (const json& text : first.texts())
            if (text.contains("id")) {
                EXPECT_EQ(text.at("id"), a) << text;
            }
        EXPECT_EQ(serving.status().at("listeners").size(), 2U);
    }
    // The second's transceivers go with it, the first's stay.
    bool alone = false;
    for (int i = 0; i < 500 && !alone; ++i) {
        alone = serving.status().at("listeners").size() == 1;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_TRUE(alone);
    EXPECT_TRUE(hears(first, a, 1000));
}

TEST(ServeSim, TransceiversAreFreed) {
    ServedRadio radio("127.63.0.9", kScene);
    Serving serving(radio.address());
    EXPECT_EQ(serving.status().at("objects"), 0);
    ServeListener listener(serving);
    const char* const modes[] = {"usb", "fm", "ft8", "psk31", "cw", "rtty"};
    for (int round = 0; round < 6; ++round) {
        std::vector<int> ids;
        for (int i = 0; i < 3; ++i)
            ids.push_back(listener.add(14200000 + 1000 * i, modes[(round + i) % 6]));
        listener.send({{"do", "view"}, {"id", ids[0]}, {"rate", 30}});
        ASSERT_TRUE(listener.waitFrames(ids[0], 2)) << round;
        for (const int id : ids)
            EXPECT_EQ(listener.ask({{"do", "remove"}, {"id", id}}, "removed").at("id"), id);
        EXPECT_TRUE(kNoObjects(serving)) << round << ": " << serving.status();
    }
    const Outcome outcome = serving.end();
    EXPECT_EQ(outcome.code, 0) << outcome.output;
}

TEST(ServeSim, ARadioThatGoesComesBack) {
    ServedRadio radio("127.63.0.10", kScene);
    Serving serving(radio.address());
    ServeListener listener(serving);
    const int id = listener.add(14200000, "usb");
    listener.send({{"do", "audio"}, {"format", "pcm"}});
    ASSERT_TRUE(hears(listener, id, 1000));
    radio.kill();
    const json gone = listener.next("radio");
    ASSERT_TRUE(gone.is_object());
    EXPECT_EQ(gone.at("ok"), false);
    EXPECT_TRUE(serving.waitMetric("ferrow_radio_up", 0));
    // Orders are taken meanwhile.
    EXPECT_EQ(listener.ask({{"do", "set"}, {"id", id}, {"frequency", 14200400}}, "transceiver").at("frequency"),
              14200400);
    radio.start();
    const json back = listener.next("radio", nullptr, std::chrono::seconds(40));
    ASSERT_TRUE(back.is_object());
    EXPECT_EQ(back.at("ok"), true);
    EXPECT_TRUE(hears(listener, id, 600));
    EXPECT_GE(serving.metric("ferrow_radio_restarts_total"), 1);
}

TEST(ServeSim, ARadioThatNeverStreamsEndsWithOne) {
    ServedRadio radio("127.63.0.11", kScene, {"--silent"});
    const Outcome outcome = runFerrow({"serve", "--radio", radio.address(), "--listen", "127.0.0.1:0"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.output.find("no samples from the radio"), std::string::npos) << outcome.output;
}

TEST(ServeSim, AnInterruptSaysGoodbye) {
    ServedRadio radio("127.63.0.12", kScene);
    for (const int number : {SIGINT, SIGTERM}) {
        Serving serving(radio.address());
        ServeListener listener(serving);
        EXPECT_GT(listener.add(14200000, "usb"), 0);
        serving.process().signal(number);
        const Outcome outcome = serving.process().finish();
        EXPECT_EQ(outcome.code, 0) << outcome.output;
        EXPECT_TRUE(listener.next("never").is_null());
        EXPECT_EQ(listener.closeCode(), 1001);
        // The radio has been stopped.
        const Outcome after =
            runFerrow({"discover", "--no-broadcast", "127.63.0.12", "--timeout", "1", "--json"});
        EXPECT_EQ(json::parse(after.output).at(0).at("running"), false);
    }
}
