// The label of every setter, reset and verb, as the log and the crash note show it. The linker sends each
// posted task through here, where it is replaced by one that throws: label, queue, worker and log are the
// library's own.

#include "core/async/handle.hpp"
#include "tests/api/interface_calls.hpp"
#include "tests/support/runtime.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <regex>
#include <stdexcept>

namespace {

enum class Throwing { Nothing, Exception, Number };
std::atomic<Throwing> throwing{Throwing::Nothing};

} // namespace

// syncTask::pushPropertySet, before and after the linker's --wrap.
#define FERROW_PUSH _ZN6ferrow8syncTask15pushPropertySetEONS_7seqTaskE
#define FERROW_JOIN(a, b) a##b
#define FERROW_NAME(a, b) FERROW_JOIN(a, b)
extern "C" {
bool FERROW_NAME(__real_, FERROW_PUSH)(ferrow::syncTask*, ferrow::seqTask&&);
bool FERROW_NAME(__wrap_, FERROW_PUSH)(ferrow::syncTask*, ferrow::seqTask&&);

bool FERROW_NAME(__wrap_, FERROW_PUSH)(ferrow::syncTask* context, ferrow::seqTask&& task) {
    using ferrow::seqTask;
    if (throwing == Throwing::Exception)
        task = seqTask(task.label(), [] { throw std::runtime_error("provoked"); });
    else if (throwing == Throwing::Number)
        task = seqTask(task.label(), [] { throw 1; });
    return FERROW_NAME(__real_, FERROW_PUSH)(context, std::move(task));
}
}

namespace ferrow::test {
namespace {

class Labels : public ::testing::Test {
protected:
    void SetUp() override {
        objects.log = "";
        runPhase(Phase::Create, objects);
    }
    void TearDown() override {
        throwing = Throwing::Nothing;
        runPhase(Phase::Release, objects);
    }

    // Waits for what was posted to all contexts, which the objects' owners share or have for themselves.
    void settleAll() {
        throwing = Throwing::Nothing;
        for (const auto& [owner, handle] : objects.handles)
            if (owner.find("Array") == std::string::npos)
                settle((*static_cast<Handle*>(handle))->context());
    }

    // How often each label ends a line that begins with `words`.
    std::map<std::string, int> labelsAfter(const std::string& words) const {
        std::map<std::string, int> found;
        const std::string log = runtime.log();
        const std::regex line("\\] " + words + " (\\S+)\n");
        for (std::sregex_iterator i(log.begin(), log.end(), line), end; i != end; ++i)
            ++found[(*i)[1]];
        return found;
    }

    static std::map<std::string, int> expected() {
        std::map<std::string, int> labels;
        for (const Call& call : kCalls)
            if (call.label != nullptr)
                ++labels[call.label];
        return labels;
    }

    Runtime runtime;
    Objects objects;
};

TEST_F(Labels, StandInTheLogWhenATaskRaisesAnException) {
    throwing = Throwing::Exception;
    for (const Phase phase : {Phase::Set, Phase::Verb, Phase::Reset})
        for (const Call& call : kCalls)
            if (call.phase == phase && call.label != nullptr)
                call.run(objects);
    settleAll();
    EXPECT_EQ(labelsAfter("processPropertySetQueue provoked"), expected());
    EXPECT_EQ(expected().size(), 277u);
    EXPECT_EQ(readFile(runtime.notePath()), "");
}

TEST_F(Labels, StandInTheCrashNoteWhenATaskRaisesAnythingElse) {
    for (const Call& call : kCalls) {
        if (call.label == nullptr)
            continue;
        throwing = Throwing::Number;
        call.run(objects);
        throwing = Throwing::Nothing;
        settle((*static_cast<Handle*>(objects[call.owner]))->context());
        ASSERT_EQ(readFile(runtime.notePath()), std::string("processPropertySetQueue ") + call.label)
            << call.name;
    }
    EXPECT_EQ(labelsAfter("processPropertySetQueue"), expected());
}

TEST_F(Labels, FollowTheirPattern) {
    const std::regex pattern(R"((\w+)\.(\w+)(\.set|\.reset|\(\)))");
    for (const Call& call : kCalls) {
        if (call.label == nullptr)
            continue;
        std::smatch match;
        const std::string label = call.label, name = call.name;
        ASSERT_TRUE(std::regex_match(label, match, pattern)) << label;
        const std::string verb = match[3] == "()" ? "" : match[3].str().substr(1);
        EXPECT_EQ(name, match[1].str() + "_" + verb + match[2].str());
    }
}

} // namespace
} // namespace ferrow::test
