// What can be said of outputs without a sound device, and what the sound libraries print.
#include "core/audio/audio_output.hpp"

#include "core/audio/audio_provider.hpp"
#include "core/audio/sound_messages.hpp"
#include "tests/support/runtime.hpp"

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace ferrow {
namespace {

TEST(AudioOutputTest, NegativeDeviceMeansNoOutput) {
    test::Runtime runtime;
    audioOutput output;
    EXPECT_EQ(output.id(), -1);
    output.open(-1);
    EXPECT_EQ(output.id(), -1);
    EXPECT_FALSE(output.isOpen());
    output.write(buff<float>(512, 0.5f), true, false);
    EXPECT_FALSE(runtime.logged("pa_openstream"));
}

TEST(AudioOutputTest, DeviceThatDoesNotExistIsLoggedAndTakesNoAudio) {
    test::Runtime runtime;
    audioOutput output;
    for (const int id : {900, 1900}) {
        output.open(id);
        EXPECT_FALSE(output.isOpen());
        output.write(buff<float>(512, 0.5f), true, false);
    }
    const std::string log = runtime.log();
    const std::string words = "[error] pa_openstream failed -9996\n";
    const auto first = log.find(words);
    ASSERT_NE(first, std::string::npos);
    EXPECT_NE(log.find(words, first + 1), std::string::npos);
}

TEST(SoundMessagesTest, LookingForDevicesPrintsNothing) {
    test::Runtime runtime;
    ::testing::internal::CaptureStderr();
    AudioProvider::instance();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(SoundMessagesTest, AlsaTalksToTheTrace) {
    test::Runtime runtime;
    setLogLevel(LogLevel::Trace);
    takeSoundMessages();
    void* alsa = dlopen("libasound.so.2", RTLD_LAZY | RTLD_NOLOAD);
    ASSERT_NE(alsa, nullptr) << "comes with PortAudio";
    const auto open = reinterpret_cast<int (*)(void**, const char*, int, int)>(dlsym(alsa, "snd_pcm_open"));
    ASSERT_NE(open, nullptr);
    void* pcm = nullptr;
    ::testing::internal::CaptureStderr();
    EXPECT_LT(open(&pcm, "ferrow_has_no_such_device", 0, 0), 0);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(runtime.logged("[trace] alsa "));
    EXPECT_TRUE(runtime.logged("ferrow_has_no_such_device"));
    dlclose(alsa);
}

} // namespace
} // namespace ferrow
