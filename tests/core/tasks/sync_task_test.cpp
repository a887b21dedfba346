#include "core/async/async_object.hpp"
#include "core/tasks/crash_note.hpp"
#include "tests/support/runtime.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>
#include <stdexcept>
#include <vector>

namespace ferrow {
namespace {

struct Object : asyncObject {
    using asyncObject::asyncObject;
};

class SyncTask : public ::testing::Test {
protected:
    test::Runtime runtime;
    std::shared_ptr<syncTask> context = std::make_shared<syncTask>(threadPool);
    std::shared_ptr<Object> object = std::make_shared<Object>(context);
    std::binary_semaphore entered{0}, leave{0};

    // Keeps the context's worker busy until leave.release().
    void hold() {
        object->queueSeqItem(seqTask("hold", [this] {
            entered.release();
            leave.acquire();
        }));
        entered.acquire();
    }
};

TEST_F(SyncTask, The1025thWaitingPropertySetIsRefused) {
    hold();
    std::vector<int> order;
    for (int i = 0; i < 1025; ++i)
        object->queueSetItem(seqTask("set", [&order, i] { order.push_back(i); }));
    EXPECT_TRUE(runtime.logged("Can't queue property set"));
    leave.release();
    test::settle(context);
    ASSERT_EQ(order.size(), 1024u);
    for (int i = 0; i < 1024; ++i)
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST_F(SyncTask, The1025thWaitingSeqTaskOfAThreadIsRefused) {
    hold();
    std::atomic<int> count{0};
    for (int i = 0; i < 1025; ++i)
        object->queueSeqItem(seqTask("seq", [&count] { ++count; }));
    EXPECT_TRUE(runtime.logged("Can't queue seq process"));
    leave.release();
    ASSERT_TRUE(test::waitFor([&] { return count == 1024; }));
    test::settle(context);
    EXPECT_EQ(count, 1024);
}

TEST_F(SyncTask, PropertySetsRunBeforeTheNextSeqTask) {
    hold();
    std::vector<std::string> order;
    object->queueSeqItem(seqTask("seq", [&] { order.emplace_back("seq"); }));
    object->queueSetItem(seqTask("set", [&] { order.emplace_back("set"); }));
    object->queueSetItem(seqTask("set", [&] { order.emplace_back("set"); }));
    leave.release();
    test::settle(context);
    EXPECT_EQ(order, (std::vector<std::string>{"set", "set", "seq"}));
}

TEST_F(SyncTask, ATaskThatRaisesIsLoggedWithItsLabelAndTheNextRuns) {
    std::atomic<int> ran{0};
    object->queueSetItem(seqTask("A.B.set", [] { throw std::runtime_error("broken"); }));
    object->queueSetItem(seqTask("A.C.set", [&] { ++ran; }));
    test::settle(context);
    object->queueSeqItem(seqTask("some.task", [] { throw std::runtime_error("torn"); }));
    object->queueSeqItem(seqTask("other.task", [&] { ++ran; }));
    test::settle(context);
    EXPECT_EQ(ran, 2);
    const std::string log = runtime.log();
    EXPECT_NE(log.find("processPropertySetQueue broken A.B.set"), std::string::npos);
    EXPECT_NE(log.find("procesSeqQueue torn some.task"), std::string::npos);
}

TEST_F(SyncTask, WhatIsNoExceptionLeavesACrashNote) {
    object->queueSetItem(seqTask("A.B.set", [] { throw 1; }));
    test::settle(context);
    EXPECT_EQ(test::readFile(runtime.notePath()), "processPropertySetQueue A.B.set");
    object->queueSeqItem(seqTask("some.task", [] { throw 1; }));
    test::settle(context);
    EXPECT_EQ(test::readFile(runtime.notePath()), "TryProcess some.task");
    const std::string log = runtime.log();
    EXPECT_NE(log.find("processPropertySetQueue A.B.set"), std::string::npos);
    EXPECT_NE(log.find("processSeqSetQueue some.task"), std::string::npos);
}

TEST_F(SyncTask, AnEmptyTaskIsLoggedAsBadFunctionCall) {
    object->queueSetItem(seqTask());
    object->queueSeqItem(seqTask());
    test::settle(context);
    const std::string log = runtime.log();
    EXPECT_NE(log.find("processPropertySetQueue bad_function_call"), std::string::npos);
    EXPECT_NE(log.find("procesSeqQueue bad_function_call"), std::string::npos);
}

TEST_F(SyncTask, TwoWorkersNeverRunOneContext) {
    std::atomic<int> inside{0}, worst{0}, done{0};
    constexpr int kThreads = 4, kEach = 1000; // fewer than a ring holds
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            for (int n = 0; n < kEach; ++n) {
                object->queueSeqItem(seqTask("x", [&] {
                    if (++inside > 1)
                        worst = 2;
                    --inside;
                    ++done;
                }));
            }
        });
    for (auto& thread : threads)
        thread.join();
    ASSERT_TRUE(test::waitFor([&] { return done == kThreads * kEach; }));
    EXPECT_EQ(worst, 0);
}

TEST_F(SyncTask, AnIdleContextHasAtMostOneReferenceOnTheWakeQueue) {
    // Both workers (however many there are) are kept busy by other contexts, so that wake entries pile up.
    const unsigned workers = std::min(std::thread::hardware_concurrency(), 20u);
    std::counting_semaphore<32> go{0};
    std::atomic<unsigned> busy{0};
    std::vector<std::shared_ptr<Object>> others;
    for (unsigned i = 0; i < workers; ++i) {
        others.push_back(std::make_shared<Object>(std::make_shared<syncTask>(threadPool)));
        others.back()->queueSeqItem(seqTask("busy", [&] {
            ++busy;
            go.acquire();
        }));
    }
    ASSERT_TRUE(test::waitFor([&] { return busy == workers; }));
    for (int i = 0; i < 500; ++i) {
        object->queueSeqItem(seqTask("x", [] {}));
        object->queueSetItem(seqTask("y", [] {}));
    }
    EXPECT_EQ(object.use_count(), 2) << "the test's and the wake queue's";
    go.release(workers);
    ASSERT_TRUE(test::waitFor([&] { return object.use_count() == 1; }));
}

TEST(SyncTaskEnd, WhatWaitsIsDestroyedUnrunWithTheContext) {
    const test::Runtime runtime;
    threadPool->stopWorkers();
    auto held = std::make_shared<int>(0);
    auto context = std::make_shared<syncTask>(threadPool);
    if (context->pushPropertySet(seqTask("x", [held] { ++*held; })))
        context->schedule(nullptr);
    EXPECT_FALSE(context->pushSeq(seqTask("x", [held] { ++*held; }))) << "it is on the wake queue already";
    EXPECT_EQ(held.use_count(), 3);
    context.reset();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(*held, 0);
}

TEST(CrashNote, TheSecondEventReplacesTheFirst) {
    const test::Runtime runtime;
    writeDump("worker", "??");
    writeDump("TryProcess", "x");
    EXPECT_EQ(test::readFile(runtime.notePath()), "TryProcess x");
}

TEST(Runtime, ModeOneLogsInfoAndOthersOnlyErrors) {
    {
        const test::Runtime runtime(1);
        logInfo("an info record");
        EXPECT_TRUE(runtime.logged("an info record"));
    }
}

TEST(Runtime, OtherModesLogErrorsOnly) {
    const test::Runtime runtime(2);
    logInfo("an info record");
    EXPECT_FALSE(runtime.logged("an info record"));
    EXPECT_TRUE(runtime.logged("-- read by the test --"));
}

TEST(Runtime, ASecondStartRaises) {
    const test::Runtime runtime;
    try {
        initRuntime(runtime.logPath().c_str(), 1);
        FAIL() << "no exception";
    } catch (const std::exception& error) {
        EXPECT_NE(std::string(error.what()).find("' already exists"), std::string::npos);
    }
}

TEST(Runtime, ALogThatCannotBeOpenedRaises) {
    try {
        initRuntime("/nonexistent-folder/\0", 1);
        FAIL() << "no exception";
    } catch (const std::exception& error) {
        EXPECT_NE(std::string(error.what()).find("Failed opening file"), std::string::npos);
    }
}

} // namespace
} // namespace ferrow
