#include "radios/sdrplay/sdrplay_controller.hpp"
#include "tests/radios/sdrplay/sdrplay_bench.hpp"

#include <filesystem>
#include <set>

namespace ferrow {
namespace {

namespace fs = std::filesystem;

class SdrplayLoading : public testing::Test {
protected:
    SdrplayLoading() {
        unsetenv(SdrplayLibrary::kVariable);
        test::startRuntime();
    }
    static std::shared_ptr<SDRPlayRadio> make(int before) {
        SDRPlayRadio::made = before;
        return std::make_shared<SDRPlayRadio>(rootSyncTask);
    }
};

TEST_F(SdrplayLoading, TheFirstTwoRadiosShareTheFileOfNumber1) {
    const int numbers[] = {1, 1, 2, 3, 4, 5, 6};
    for (int before = 0; before < 7; ++before) {
        const auto candidates = SdrplayLibrary::ofRadio(before);
        ASSERT_EQ(candidates.size(), 2u) << before;
        EXPECT_EQ(candidates[0].file, "sdrplay/libsdrplay_api_i" + std::to_string(numbers[before]) + ".so");
        EXPECT_EQ(candidates[1].file, "libsdrplay_api.so.3");
        EXPECT_TRUE(candidates[1].ownCopy);
    }
}

TEST_F(SdrplayLoading, AnEighthRadioHasNoLibrary) {
    EXPECT_TRUE(SdrplayLibrary::ofRadio(7).empty());
    EXPECT_TRUE(SdrplayLibrary::ofRadio(100).empty());
    setenv(SdrplayLibrary::kVariable, FERROW_STANDIN, 1);
    test::LogCapture log;
    const auto radio = make(7);
    EXPECT_FALSE(radio->library());
    EXPECT_EQ(log.exactly("error", "sdrplay failed to load dll"), 1);
    test::onContext(radio, [&] {
        radio->start();
        EXPECT_TRUE(radio->vtrxs.empty()) << "start does nothing";
        radio->stop();
    });
    EXPECT_EQ(SDRPlayRadio::made, 8);
}

TEST_F(SdrplayLoading, WhatWasTriedStandsInTheLog) {
    const fs::path before = fs::current_path();
    const fs::path empty = fs::temp_directory_path() / ("ferrow-sdrplay-none-" + std::to_string(getpid()));
    fs::create_directories(empty);
    fs::current_path(empty);
    test::LogCapture log;
    setenv(SdrplayLibrary::kVariable, "/nowhere/libsdrplay_api.so", 1);
    EXPECT_FALSE(make(0)->library());
    EXPECT_EQ(log.exactly("error", "sdrplay failed to load dll"), 1);
    EXPECT_EQ(log.count("sdrplay tried /nowhere/libsdrplay_api.so: "), 1);
    unsetenv(SdrplayLibrary::kVariable);
    if (!make(0)->library()) {
        EXPECT_EQ(log.count("sdrplay tried sdrplay/libsdrplay_api_i1.so: "), 1);
        EXPECT_EQ(log.count("sdrplay tried libsdrplay_api.so.3: "), 1);
    }
    fs::current_path(before);
    fs::remove_all(empty);
}

TEST_F(SdrplayLoading, AFileWithoutTheFunctionsIsReleased) {
    setenv(SdrplayLibrary::kVariable, "libm.so.6", 1);
    test::LogCapture log;
    EXPECT_FALSE(make(0)->library());
    EXPECT_EQ(log.exactly("error", "sdrplay failed to load functions"), 1);
    EXPECT_EQ(log.exactly("info", "sdrplay dll loaded"), 0);
}

TEST_F(SdrplayLoading, EachRadioHasACopyOfItsOwn) {
    setenv(SdrplayLibrary::kVariable, FERROW_STANDIN, 1);
    test::LogCapture log;
    std::vector<std::shared_ptr<SDRPlayRadio>> radios;
    std::set<const void*> controls;
    for (int before = 1; before < 7; ++before) {
        radios.push_back(make(before));
        ASSERT_TRUE(radios.back()->library()) << before << log.text();
        controls.insert(test::controlOf(radios.back()->library()));
    }
    EXPECT_EQ(controls.size(), 6u);
    EXPECT_EQ(log.exactly("info", "sdrplay dll loaded"), 6);
    const auto* first = test::controlOf(radios[0]->library());
    const auto* last = test::controlOf(radios[5]->library());
    EXPECT_EQ(first->calls(), 1) << "Open";
    test::onContext(radios[5], [&] { radios[5]->start(); });
    EXPECT_GT(last->calls(), 1);
    EXPECT_EQ(first->calls(), 1);
}

TEST_F(SdrplayLoading, AFileOfTheRadiosNumberComesFirst) {
    const fs::path before = fs::current_path();
    const fs::path folder = fs::temp_directory_path() / ("ferrow-sdrplay-" + std::to_string(getpid()));
    fs::create_directories(folder / "sdrplay");
    fs::copy_file(FERROW_STANDIN, folder / "sdrplay/libsdrplay_api_i1.so");
    fs::copy_file(FERROW_STANDIN, folder / "sdrplay/libsdrplay_api_i2.so");
    fs::current_path(folder);
    {
        const auto first = make(0), second = make(1), third = make(2);
        ASSERT_TRUE(first->library() && second->library() && third->library());
        EXPECT_EQ(test::controlOf(first->library()), test::controlOf(second->library()));
        EXPECT_NE(test::controlOf(first->library()), test::controlOf(third->library()));
    }
    fs::current_path(before);
    fs::remove_all(folder);
}

// The loader reads its search path once: this goes on in a process of its own.
TEST_F(SdrplayLoading, TheSystemsLibraryIsFoundByItsSoname) {
    if (std::getenv("FERROW_TEST_CHILD") == nullptr) {
        const std::string command =
            "FERROW_TEST_CHILD=1 LD_LIBRARY_PATH=" + fs::path(FERROW_STANDIN).parent_path().string() + " " +
            fs::read_symlink("/proc/self/exe").string() +
            " --gtest_filter=SdrplayLoading.TheSystemsLibraryIsFoundByItsSoname >/dev/null";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return;
    }
    test::LogCapture log;
    const auto first = make(0), second = make(1);
    ASSERT_TRUE(first->library() && second->library()) << log.text();
    EXPECT_NE(test::controlOf(first->library()), test::controlOf(second->library())) << "copies";
    const auto controller = std::make_shared<SDRPlayController>(rootSyncTask);
    test::onContext(controller, [&] { controller->Discover(); });
    EXPECT_EQ(log.count("sdrplay found hwVer"), 5);
}

TEST_F(SdrplayLoading, AFailedOpenIsLogged) {
    const fs::path before = fs::current_path();
    const fs::path folder = fs::temp_directory_path() / ("ferrow-sdrplay-open-" + std::to_string(getpid()));
    fs::create_directories(folder / "sdrplay");
    fs::copy_file(FERROW_STANDIN, folder / "sdrplay/libsdrplay_api_i1.so");
    fs::current_path(folder);
    {
        const auto first = make(0); // shares its file with the next
        test::controlOf(first->library())->failNext(test::rsp::Open, test::rsp::ServiceNotResponding);
        test::LogCapture log;
        const auto second = make(1);
        EXPECT_EQ(log.exactly("trace", "sdrplay_api_Open sdrplay_api_ServiceNotResponding"), 1);
        EXPECT_TRUE(second->library());
    }
    fs::current_path(before);
    fs::remove_all(folder);
}

TEST_F(SdrplayLoading, AControllerWithoutTheLibraryFindsNothing) {
    setenv(SdrplayLibrary::kVariable, "/nowhere/libsdrplay_api.so", 1);
    test::LogCapture log;
    const auto controller = std::make_shared<SDRPlayController>(rootSyncTask);
    EXPECT_EQ(log.count("sdrplay"), 0) << "loaded when it is needed";
    test::onContext(controller, [&] { controller->Discover(); });
    EXPECT_EQ(log.exactly("error", "sdrplay failed to load dll"), 1);
}

} // namespace
} // namespace ferrow
