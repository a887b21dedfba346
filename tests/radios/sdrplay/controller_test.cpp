#include "radios/sdrplay/sdrplay_controller.hpp"
#include "tests/radios/sdrplay/sdrplay_bench.hpp"

#include <cstring>
#include <dlfcn.h>
#include <ferrowcore/ferrowcore.h>

namespace ferrow {
namespace {

namespace rsp = ferrow::sim::rsp;

std::vector<std::string> found;
void onRadio(const char* name) {
    found.emplace_back(name);
}

// The controller loads the library as it is: so does this fixture, and sees the same one.
class SdrplayController : public testing::Test {
protected:
    SdrplayController() {
        setenv(SdrplayLibrary::kVariable, FERROW_STANDIN, 1);
        test::startRuntime();
        library = dlopen(FERROW_STANDIN, RTLD_NOW | RTLD_LOCAL);
        control = *static_cast<const rsp::Control* const*>(dlsym(library, "ferrow_standin_control"));
        control->setVersion(3.08f);
        control->forget();
        found.clear();
        handle = SDRPlayController_create();
        SDRPlayController_bindnewRadio(handle, onRadio);
    }
    ~SdrplayController() override {
        SDRPlayController_release(handle);
        dlclose(library);
    }

    void discover() {
        const int before = count(rsp::Open);
        SDRPlayController_Discover(handle);
        test::waitFor([&] { return count(rsp::Open) > before; });
        test::settle(rootSyncTask);
        getUpdates();
    }
    int count(int function) const {
        int all = 0;
        rsp::Call call{};
        for (int i = 0; control->call(i, &call) != 0; ++i)
            all += call.function == function;
        return all;
    }
    void devices(const std::vector<std::pair<std::string, int>>& list) {
        std::vector<rsp::DeviceEntry> entries;
        for (const auto& [serial, hwVer] : list) {
            rsp::DeviceEntry entry{};
            std::memcpy(entry.serial, serial.data(), serial.size());
            entry.hwVer = static_cast<unsigned char>(hwVer);
            entries.push_back(entry);
        }
        control->setDevices(entries.data(), static_cast<int>(entries.size()));
    }

    void* library = nullptr;
    const rsp::Control* control = nullptr;
    void* handle = nullptr;
};

TEST_F(SdrplayController, NamesEachDeviceByItsModel) {
    devices({{"A1", 1}, {"A2", 255}, {"A3", 2}, {"A4", 3}, {"A5", 4}});
    test::LogCapture log;
    discover();
    EXPECT_EQ(found, (std::vector<std::string>{"A1-RSP1", "A2-RSP1A", "A3-RSP2", "A4-RSPduo", "A5-RSPdx"}));
    EXPECT_EQ(log.exactly("trace", "sdrplay found hwVer 255 A2-RSP1A"), 1);
    EXPECT_EQ(count(rsp::LockDeviceApi), 1);
    EXPECT_EQ(count(rsp::UnlockDeviceApi), 1);
    discover();
    EXPECT_EQ(found.size(), 10u) << "each call reports all devices again";
}

TEST_F(SdrplayController, ADeviceWithAnUnknownHwVerIsReportedByItsBareSerialNumber) {
    devices({{"B7", 7}});
    discover();
    EXPECT_EQ(found, (std::vector<std::string>{"B7"}));
}

TEST_F(SdrplayController, NoDeviceNoCallback) {
    devices({});
    discover();
    EXPECT_TRUE(found.empty());
    EXPECT_EQ(count(rsp::UnlockDeviceApi), 1);
}

TEST_F(SdrplayController, AtMostSixDevices) {
    devices({{"1", 1}, {"2", 1}, {"3", 1}, {"4", 1}, {"5", 1}, {"6", 1}, {"7", 1}});
    discover();
    EXPECT_EQ(found.size(), 6u);
}

TEST_F(SdrplayController, ApiVersion307Or309ListsNothing) {
    devices({{"A1", 1}});
    test::LogCapture log;
    for (const float version : {3.07f, 3.09f}) {
        control->setVersion(version);
        discover();
        EXPECT_TRUE(found.empty());
    }
    EXPECT_EQ(log.exactly("trace", "sdrplay API version don't match 3.08 3.07"), 1);
    EXPECT_EQ(log.exactly("trace", "sdrplay API version don't match 3.08 3.09"), 1);
    EXPECT_EQ(count(rsp::LockDeviceApi), 0);
    EXPECT_EQ(count(rsp::Close), 0) << "the API stays open";
}

TEST_F(SdrplayController, FailuresAreLogged) {
    devices({{"A1", 1}});
    test::LogCapture log;
    control->failNext(rsp::Open, rsp::Fail);
    discover();
    EXPECT_EQ(log.exactly("trace", "controller sdrplay_api_Open sdrplay_api_Fail"), 1);
    EXPECT_EQ(count(rsp::ApiVersion), 0);
    control->failNext(rsp::ApiVersion, rsp::Fail);
    discover();
    EXPECT_EQ(log.exactly("trace", "sdrplay_api_ApiVersion failed sdrplay_api_Fail"), 1);
    EXPECT_EQ(log.exactly("trace", "sdrplay API version don't match 3.08 0"), 1) << "goes on";
    control->failNext(rsp::GetDevices, rsp::HwError);
    discover();
    EXPECT_EQ(log.exactly("trace", "sdrplay_api_GetDevices sdrplay_api_HwError"), 1);
    EXPECT_EQ(count(rsp::UnlockDeviceApi), 1);
    EXPECT_TRUE(found.empty());
}

TEST_F(SdrplayController, EnableHasNoEffect) {
    devices({{"A1", 1}});
    SDRPlayController_setEnable(handle, true);
    test::settle(rootSyncTask);
    getUpdates();
    EXPECT_TRUE(found.empty());
    EXPECT_EQ(control->calls(), 0);
    SDRPlayController_setEnable(handle, false);
    discover();
    EXPECT_EQ(found.size(), 1u);
}

TEST_F(SdrplayController, ItsEndClosesTheApi) {
    discover();
    void* second = SDRPlayController_create();
    SDRPlayController_Discover(second);
    ASSERT_TRUE(test::waitFor([&] { return count(rsp::UnlockDeviceApi) == 2; }));
    test::settle(rootSyncTask);
    SDRPlayController_release(second);
    EXPECT_TRUE(test::waitFor([&] { return count(rsp::Close) == 1; }));
}

} // namespace
} // namespace ferrow
