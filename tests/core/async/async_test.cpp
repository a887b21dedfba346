#include "core/async/async_collection.hpp"
#include "core/async/async_event.hpp"
#include "core/async/async_object.hpp"
#include "core/async/async_property.hpp"
#include "core/async/value_label_item.hpp"
#include "tests/support/runtime.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <semaphore>
#include <string>
#include <vector>

namespace ferrow {
namespace {

struct Thing : asyncObject {
    using asyncObject::asyncObject;
    asyncProperty<int> number{5};
    asyncProperty<double> level{0};
    asyncProperty<std::string> text;
    asyncProperty<std::shared_ptr<calibLine>> line;
    asyncCollection<ValueLabelItem> list;
    asyncEvent<int> happened;
};

std::vector<int> ints;
std::vector<double> doubles;
std::vector<std::string> texts;
std::vector<void*> handles;
std::vector<int> deleted, echoes;

void onInt(int value) {
    ints.push_back(value);
}
void onDouble(double value) {
    doubles.push_back(value);
}
void onText(const char* value) {
    texts.emplace_back(value);
}
void onHandle(void* handle) {
    handles.push_back(handle);
}
void onItem(unsigned long long operation, unsigned long long index, void* item) {
    EXPECT_EQ(operation, 3u);
    EXPECT_EQ(index, 0u);
    handles.push_back(item);
}
void onDeleted(int one) {
    deleted.push_back(one);
}
void onEcho(int value) {
    echoes.push_back(value);
}

class Async : public ::testing::Test {
protected:
    test::Runtime runtime;
    std::shared_ptr<Thing> thing = std::make_shared<Thing>(rootSyncTask);

    void onContext(std::function<void()> what) {
        thing->queueSeqItem(seqTask("test", std::move(what)));
        test::settle(rootSyncTask);
    }
    void fromHost(std::function<void()> what) {
        thing->queueSetItem(seqTask("host", std::move(what)));
        test::settle(rootSyncTask);
    }
};

TEST_F(Async, SettingAnEqualValueFiresNothing) {
    int changes = 0;
    thing->number.changed = [&] { ++changes; };
    thing->number.bind(onInt, thing.get());
    onContext([&] { thing->number.set(5); });
    pumpUpdates();
    EXPECT_EQ(changes, 0);
    EXPECT_TRUE(ints.empty());
    EXPECT_TRUE(thing->number.valid());
    onContext([&] { thing->number.set(6); });
    pumpUpdates();
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(ints, std::vector<int>{6});
}

TEST_F(Async, AHostSetNeverComesBackNorDoesAnEqualCoreSetAfterIt) {
    int changes = 0;
    thing->number.changed = [&] { ++changes; };
    thing->number.bind(onInt, thing.get());
    fromHost([&] { thing->number.setFromHost(9); });
    EXPECT_EQ(changes, 1);
    onContext([&] { thing->number.set(9); });
    pumpUpdates();
    EXPECT_TRUE(ints.empty());
    EXPECT_EQ(thing->number.value(), 9);
}

TEST_F(Async, BindReplaysWhatCoreCodeGaveButNotWhatOnlyTheHostSet) {
    onContext([&] { thing->number.set(7); });
    thing->number.bind(onInt, thing.get());
    EXPECT_TRUE(ints.empty()) << "only by a pump";
    pumpUpdates();
    EXPECT_EQ(ints, std::vector<int>{7});
    fromHost([&] { thing->level.setFromHost(1.5); });
    thing->level.bind(onDouble, thing.get());
    pumpUpdates();
    EXPECT_TRUE(doubles.empty());
}

TEST_F(Async, ADefaultIsNotReplayed) {
    thing->number.bind(onInt, thing.get());
    pumpUpdates();
    EXPECT_TRUE(ints.empty());
}

TEST_F(Async, AnObjectSetByTheHostIsReplayed) {
    auto line = std::make_shared<calibLine>(rootSyncTask);
    fromHost([&] { thing->line.setFromHost(line); });
    thing->line.bind(onHandle, thing.get());
    pumpUpdates();
    ASSERT_EQ(handles.size(), 1u);
    EXPECT_EQ(static_cast<Handle*>(handles[0])->get(), line.get());
    releaseHandle(handles[0]);
}

TEST_F(Async, ANaNAlwaysCountsAsAChange) {
    thing->level.bind(onDouble, thing.get());
    onContext([&] {
        thing->level.set(std::numeric_limits<double>::quiet_NaN());
        thing->level.set(std::numeric_limits<double>::quiet_NaN());
    });
    pumpUpdates();
    EXPECT_EQ(doubles.size(), 2u);
}

TEST_F(Async, AListOfThreeReplaysThreeHandlesThatMustBeReleased) {
    onContext([&] {
        for (int i = 0; i < 3; ++i)
            thing->list.add(std::make_shared<ValueLabelItem>(rootSyncTask, i, "item"));
    });
    thing->list.bind(onItem, thing.get());
    pumpUpdates();
    ASSERT_EQ(handles.size(), 3u);
    std::weak_ptr<asyncObject> last = *static_cast<Handle*>(handles[2]);
    onContext([&] { thing->list.reset(); });
    EXPECT_FALSE(last.expired());
    for (void* handle : handles)
        releaseHandle(handle);
    EXPECT_TRUE(last.expired());
}

TEST_F(Async, TwoQuickTextsShowTheLaterTwiceAndTwoNumbersBoth) {
    thing->text.bind(onText, thing.get());
    thing->level.bind(onDouble, thing.get());
    onContext([&] {
        thing->text.set("one");
        thing->text.set("two");
        thing->level.set(1);
        thing->level.set(2);
    });
    pumpUpdates();
    EXPECT_EQ(texts, (std::vector<std::string>{"two", "two"}));
    EXPECT_EQ(doubles, (std::vector<double>{1, 2}));
}

TEST_F(Async, ASetterQueuedBeforeReleaseStillRunsAndDeletedComesByThePump) {
    thing->Deleted = onDeleted;
    std::atomic<int> seen{0};
    std::binary_semaphore* gate = new std::binary_semaphore(0);
    auto blocker = std::make_shared<calibLine>(rootSyncTask);
    blocker->queueSeqItem(seqTask("hold", [gate] { gate->acquire(); }));
    thing->queueSetItem(seqTask("late", [self = thing, &seen] {
        self->number.setFromHost(42);
        seen = self->number.value();
    }));
    thing.reset();
    gate->release();
    test::settle(rootSyncTask);
    ASSERT_TRUE(test::waitFor([&] { return seen == 42; }));
    ASSERT_TRUE(test::waitFor([&] {
        pumpUpdates();
        return !deleted.empty();
    }));
    EXPECT_EQ(deleted, std::vector<int>{1});
    delete gate;
}

TEST_F(Async, AnObjectWithoutABoundDeletedDiesQuietly) {
    thing.reset();
    pumpUpdates();
    EXPECT_TRUE(deleted.empty());
}

TEST_F(Async, WriteBeyondTheEndDoublesTheIndex) {
    auto item = std::make_shared<ValueLabelItem>(rootSyncTask, 9, "nine");
    int changes = 0;
    onContext([&] {
        for (int i = 0; i < 3; ++i)
            thing->list.add(std::make_shared<ValueLabelItem>(rootSyncTask, i, "item"));
        thing->list.changed = [&] { ++changes; };
        thing->list.set(0, 5, item);
    });
    ASSERT_EQ(thing->list.items().size(), 10u);
    for (std::size_t i = 0; i < 10; ++i)
        EXPECT_EQ(thing->list.items()[i] != nullptr, i < 3 || i == 5) << i;
    EXPECT_EQ(thing->list.items()[5], item);
    EXPECT_EQ(changes, 1);
    onContext([&] { thing->list.set(0, 5, item); });
    EXPECT_EQ(changes, 1) << "the same item again";
}

TEST_F(Async, ListOperationsOfTheHost) {
    int changes = 0;
    auto item = std::make_shared<ValueLabelItem>(rootSyncTask, 9, "nine");
    onContext([&] {
        thing->list.changed = [&] { ++changes; };
        thing->list.set(0, 0, item); // no place on an empty list
        EXPECT_TRUE(thing->list.items().empty());
        thing->list.set(0, -1, item);
        thing->list.set(0, 2000000000, item);
        EXPECT_TRUE(thing->list.items().empty());
        thing->list.set(3, 17, item);
        EXPECT_EQ(thing->list.items().size(), 1u);
        thing->list.set(7, 0, item);
        EXPECT_EQ(thing->list.items().size(), 1u);
        thing->list.set(4, 0, nullptr);
        EXPECT_TRUE(thing->list.items().empty());
    });
    EXPECT_EQ(changes, 0);
}

TEST_F(Async, ABindAtTheMomentOfTheFirstSetMissesNothing) {
    // As many as a busy machine does in half a minute.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (int round = 0; round < 2000 && (round < 20 || std::chrono::steady_clock::now() < end); ++round) {
        auto fresh = std::make_shared<Thing>(rootSyncTask);
        std::atomic<bool> go{false}, set{false};
        fresh->queueSeqItem(seqTask("set", [&] {
            while (!go) {
            }
            fresh->number.set(6);
            fresh->list.add(std::make_shared<ValueLabelItem>(rootSyncTask, 6, "six"));
            set = true;
        }));
        go = true;
        fresh->number.bind(onInt, fresh.get());
        fresh->list.bind(onItem, fresh.get());
        ASSERT_TRUE(test::waitFor([&] { return set.load(); }));
        pumpUpdates();
        ASSERT_FALSE(ints.empty()) << round;
        ASSERT_EQ(handles.size(), 1u) << round;
        releaseHandle(handles[0]);
        handles.clear();
        ints.clear();
    }
}

TEST_F(Async, CoreAddsAreTold) {
    thing->list.bind(onItem, thing.get());
    onContext([&] { thing->list.add(std::make_shared<ValueLabelItem>(rootSyncTask, 4, "four")); });
    pumpUpdates();
    ASSERT_EQ(handles.size(), 1u);
    releaseHandle(handles[0]);
}

TEST_F(Async, PingAnswersWithEcho) {
    thing->Echo = onEcho;
    fromHost([&] { thing->Ping(77); });
    pumpUpdates();
    EXPECT_EQ(echoes, std::vector<int>{77});
}

TEST_F(Async, AnEventKeepsNothingForALateBind) {
    EXPECT_FALSE(thing->happened.send(1));
    thing->happened.bind(onInt, thing.get());
    thing->happened.send(2);
    pumpUpdates();
    EXPECT_EQ(ints, std::vector<int>{2});
    thing->happened.bind(nullptr, thing.get());
    thing->happened.send(3);
    pumpUpdates();
    EXPECT_EQ(ints, std::vector<int>{2});
}

TEST_F(Async, AnObjectWithoutContextLogsSetsAndDropsTheRest) {
    auto lone = std::make_shared<Thing>(nullptr);
    bool ran = false;
    lone->queueSetItem(seqTask("Thing.number.set", [&] { ran = true; }));
    lone->queueSeqItem(seqTask("x", [&] { ran = true; }));
    EXPECT_FALSE(lone->postUpdate([&] { ran = true; }));
    EXPECT_FALSE(ran);
    EXPECT_TRUE(runtime.logged("queueSetItem null taskgroup Thing.number.set"));
}

TEST_F(Async, ACallbackThatRaisesDoesNotStopTheOthers) {
    thing->postUpdate([] { throw std::runtime_error("host"); });
    thing->postUpdate([] { throw 1; });
    thing->postUpdate(std::function<void()>());
    thing->number.bind(onInt, thing.get());
    onContext([&] { thing->number.set(8); });
    pumpUpdates();
    EXPECT_EQ(ints, std::vector<int>{8});
    const std::string log = runtime.log();
    EXPECT_NE(log.find("getUpdates host"), std::string::npos);
    EXPECT_NE(log.find("getUpdates bad_function_call"), std::string::npos);
    EXPECT_NE(log.find("] getUpdates\n"), std::string::npos);
}

TEST_F(Async, RenderQueueTakes64AndDropsTheRestSilently) {
    int ran = 0, refused = 0;
    for (int i = 0; i < 70; ++i)
        refused += thing->postRenderUpdate([&] { ++ran; }) ? 0 : 1;
    EXPECT_EQ(refused, 6);
    pumpUpdates();
    EXPECT_EQ(ran, 0);
    pumpRenderUpdates();
    EXPECT_EQ(ran, 64);
    EXPECT_TRUE(thing->postRenderUpdate([&] { ++ran; }));
    EXPECT_FALSE(runtime.logged("Can't queue"));
    pumpRenderUpdates();
    EXPECT_EQ(ran, 65);
}

TEST_F(Async, UpdateQueueTakes65536AThread) {
    int ran = 0, refused = 0;
    for (int i = 0; i < 65540; ++i)
        refused += thing->postUpdate([&] { ++ran; }) ? 0 : 1;
    EXPECT_EQ(refused, 4);
    EXPECT_TRUE(runtime.logged("Can't queue property"));
    pumpUpdates();
    EXPECT_EQ(ran, 65536);
}

TEST_F(Async, EmptyPumpsReturnAtOnce) {
    pumpUpdates();
    pumpRenderUpdates();
}

TEST_F(Async, AfterTheLastReferenceQueueSetItemLogsTheException) {
    struct Dying : asyncObject {
        using asyncObject::asyncObject;
        ~Dying() override {
            queueSetItem(seqTask("Dying.x.set", [] {}));
        }
    };
    std::make_shared<Dying>(rootSyncTask).reset();
    EXPECT_TRUE(runtime.logged("queueSetItem bad_weak_ptr Dying.x.set"));
}

TEST_F(Async, ValueLabelItemsWithValuesReplay) {
    auto item = std::make_shared<ValueLabelItem>(rootSyncTask, 0, "");
    item->Value.bind(onInt, item.get());
    item->Label.bind(onText, item.get());
    pumpUpdates();
    EXPECT_EQ(ints, std::vector<int>{0});
    EXPECT_EQ(texts, std::vector<std::string>{""});
}

} // namespace
} // namespace ferrow
