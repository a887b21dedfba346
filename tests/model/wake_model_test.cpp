// The hand-over of serial contexts: syncTask's `scheduled` word, the wake queue with its semaphore, and the
// worker that owes itself the next entry (core/tasks/sync_task.cpp, core/tasks/thread_pool.cpp). All
// interleavings of producers and workers, with the store buffers of x86: a context is run by one worker at a
// time and nothing is forgotten. Each mutation turns one step round, and must be found.
#include "tests/model/explorer.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <ostream>

namespace ferrow::test {
namespace {

enum class Mutation {
    None,
    SignalFirst,       // the semaphore before the entry: harmless, the worker waits for the entry
    ClaimBeforePush,   // a producer claims, then stores its element
    TestThenSet,       // the claim is a load and a store
    ReleaseBeforeRun,  // the worker frees the context before it runs the tasks
    LookBeforeRelease, // ... looks for more before it frees it
    StoreForExchange,  // ... frees it by a store
    RequeueUnclaimed,  // ... puts it back without a claim
    RequeueUnowed,     // ... puts it back, and then waits for the semaphore
    RequeueAndSignal,  // ... puts it back, signals, and takes an entry itself
    SeenNotPutBack,    // ... has seen more, keeps the claim, and does not put it back
    SeenAndFreed,      // ... has seen more, frees the context, and puts it back
};

constexpr int kContexts = 2, kProducers = 3, kWorkers = 3;

struct Shape {
    int contexts, producers, items, workers;
};

// Producer 0 sets properties of context 0, the others post seq tasks to the contexts in turn.
class WakeModel {
public:
    WakeModel(Shape shape, Mutation mutation) : shape_(shape), mutation_(mutation) {}

    struct Producer {
        std::uint8_t at, left, pending, sawFree; // pending: stored, but still in the store buffer
    };
    struct Worker {
        std::uint8_t at, owed, context, ring, more, pendingFree;
    };
    struct State {
        std::uint8_t written[kProducers], read[kProducers];
        std::uint8_t seen[kProducers]; // of what is written, by the last worker that had to look
        std::uint8_t scheduled[kContexts], entries[kContexts], inside[kContexts];
        std::uint8_t semaphore;
        Producer producer[kProducers];
        Worker worker[kWorkers];
    };

    State first() const {
        State state{};
        for (int p = 0; p < shape_.producers; ++p)
            state.producer[p].left = static_cast<std::uint8_t>(shape_.items);
        return state;
    }

    // Producers, their store buffers, workers by the context that they would take, the workers' store
    // buffers.
    int actors() const { return 2 * shape_.producers + shape_.workers * (shape_.contexts + 1); }

    const char* step(State& s, int actor) const {
        if (actor < shape_.producers)
            return produce(s, actor);
        actor -= shape_.producers;
        if (actor < shape_.producers)
            return drain(s, s.producer[actor], actor);
        actor -= shape_.producers;
        const int w = actor / (shape_.contexts + 1), choice = actor % (shape_.contexts + 1);
        if (choice < shape_.contexts)
            return work(s, s.worker[w], choice);
        return free(s, s.worker[w]);
    }

    const char* broken(const State& s) const {
        for (const std::uint8_t inside : s.inside)
            if (inside > 1)
                return "two workers run one context";
        return nullptr;
    }

    const char* unfinished(const State& s) const {
        for (const Worker& worker : s.worker)
            if (worker.at == kTake)
                return "a worker spins for an entry that nobody makes";
        for (int p = 0; p < kProducers; ++p)
            if (s.read[p] != s.written[p])
                return "an element is forgotten";
        for (int c = 0; c < kContexts; ++c)
            if (s.scheduled[c] != 0 || s.entries[c] != 0)
                return "a context stays claimed";
        return s.semaphore != 0 ? "the semaphore is ahead" : nullptr;
    }

private:
    enum ProducerAt : std::uint8_t { kPush, kClaim, kSet, kEnqueue, kSignal, kLatePush };
    enum WorkerAt : std::uint8_t {
        kWait,
        kTake,
        kProperties,
        kSeq,
        kRelease,
        kLook,
        kReclaim,
        kPutBack,
        kDone
    };

    int contextOf(int producer) const { return producer == 0 ? 0 : producer % shape_.contexts; }

    // Atomic exchanges have the store buffer empty first.
    static const char* drain(State& s, Producer& producer, int p) {
        if (producer.pending == 0)
            return nullptr;
        s.written[p] = static_cast<std::uint8_t>(s.written[p] + producer.pending);
        producer.pending = 0;
        return "producer's store arrives";
    }
    static const char* free(State& s, Worker& worker) {
        if (worker.pendingFree == 0)
            return nullptr;
        s.scheduled[worker.pendingFree - 1] = 0;
        worker.pendingFree = 0;
        return "worker's store arrives";
    }

    static const char* next(Producer& producer, const char* step) {
        producer.at = kPush;
        --producer.left;
        return step;
    }

    const char* produce(State& s, int p) const {
        Producer& me = s.producer[p];
        const int c = contextOf(p);
        switch (me.at) {
        case kPush:
            if (me.left == 0)
                return nullptr;
            me.at = kClaim;
            if (mutation_ == Mutation::ClaimBeforePush)
                return "producer begins";
            ++me.pending;
            return "producer stores its element";
        case kClaim:
            if (mutation_ == Mutation::TestThenSet) {
                me.sawFree = s.scheduled[c] == 0;
                if (!me.sawFree)
                    return next(me, "producer finds it claimed");
                me.at = kSet;
                return "producer finds it free";
            }
            drain(s, me, p);
            me.sawFree = s.scheduled[c] == 0;
            s.scheduled[c] = 1;
            if (mutation_ == Mutation::ClaimBeforePush) {
                me.at = kLatePush;
                return "producer claims";
            }
            if (!me.sawFree)
                return next(me, "producer finds it claimed");
            me.at = kEnqueue;
            return "producer claims";
        case kSet:
            drain(s, me, p);
            s.scheduled[c] = 1;
            me.at = kEnqueue;
            return "producer sets the claim";
        case kLatePush:
            ++s.written[p];
            if (!me.sawFree)
                return next(me, "producer stores its element");
            me.at = kEnqueue;
            return "producer stores its element";
        case kEnqueue:
            if (mutation_ == Mutation::SignalFirst)
                ++s.semaphore;
            else
                ++s.entries[c];
            me.at = kSignal;
            return "producer enqueues";
        default:
            if (mutation_ == Mutation::SignalFirst)
                ++s.entries[c];
            else
                ++s.semaphore;
            me.sawFree = 0;
            return next(me, "producer signals");
        }
    }

    bool holds(const State& s, int ring, int c) const {
        return ring < shape_.producers && contextOf(ring) == c && s.read[ring] != s.written[ring];
    }

    bool holdsSeen(const State& s, int ring, int c) const {
        return contextOf(ring) == c && s.read[ring] != s.seen[ring];
    }
    bool seenWaiting(const State& s, int c) const {
        for (int ring = 1; ring < shape_.producers; ++ring)
            if (holdsSeen(s, ring, c))
                return true;
        return false;
    }

    static const char* rest(Worker& worker, const char* step) {
        worker = {kWait, worker.owed, 0, 0, 0, worker.pendingFree};
        return step;
    }

    const char* work(State& s, Worker& me, int choice) const {
        if (me.at == kTake) { // the queue is not in order over its producers
            if (s.entries[choice] == 0)
                return nullptr;
            --s.entries[choice];
            me = {kProperties, 0, static_cast<std::uint8_t>(choice), 0, 0, me.pendingFree};
            if (mutation_ == Mutation::ReleaseBeforeRun) {
                free(s, me);
                s.scheduled[choice] = 0;
            }
            ++s.inside[choice];
            return "worker takes an entry";
        }
        if (choice != 0)
            return nullptr;
        const int c = me.context;
        switch (me.at) {
        case kWait:
            if (me.owed == 0) {
                if (s.semaphore == 0)
                    return nullptr;
                free(s, me);
                --s.semaphore;
            }
            me.owed = 0;
            me.at = kTake;
            return "worker wakes";
        case kProperties: // all that wait
            if (c == 0 && holds(s, 0, 0)) {
                ++s.read[0];
                return "worker runs a property set";
            }
            me.at = kSeq;
            me.ring = 1;
            return "worker has run the property sets";
        case kSeq: // one at most
            if (me.ring < shape_.producers && s.read[me.ring] == s.seen[me.ring] && contextOf(me.ring) == c)
                s.seen[me.ring] = s.written[me.ring];
            if (me.ring < shape_.producers && !holdsSeen(s, me.ring, c)) {
                ++me.ring;
                return "worker finds a ring empty";
            }
            if (me.ring < shape_.producers)
                ++s.read[me.ring];
            me.ring = 0;
            --s.inside[c];
            me.at = mutation_ == Mutation::LookBeforeRelease ? kLook : kRelease;
            if (mutation_ != Mutation::LookBeforeRelease && seenWaiting(s, c)) {
                if (mutation_ == Mutation::SeenNotPutBack)
                    return rest(me, "worker has run its tasks");
                if (mutation_ == Mutation::SeenAndFreed)
                    s.scheduled[c] = 0;
                me.at = kPutBack;
            }
            return "worker has run its tasks";
        case kRelease:
            if (mutation_ == Mutation::StoreForExchange) {
                if (me.pendingFree != 0)
                    return nullptr;
                me.pendingFree = static_cast<std::uint8_t>(c + 1);
            } else {
                free(s, me);
                if (mutation_ != Mutation::ReleaseBeforeRun)
                    s.scheduled[c] = 0;
            }
            if (mutation_ == Mutation::LookBeforeRelease) {
                if (me.more == 0)
                    return rest(me, "worker frees the context");
                me.at = kReclaim;
            } else {
                me.at = kLook;
            }
            return "worker frees the context";
        case kLook:
            if (holds(s, me.ring, c)) {
                me.more = 1;
                me.ring = 0;
                me.at = mutation_ == Mutation::LookBeforeRelease ? kRelease : kReclaim;
                return "worker sees more";
            }
            if (++me.ring < shape_.producers)
                return "worker sees an empty ring";
            me.ring = 0;
            if (mutation_ == Mutation::LookBeforeRelease) {
                me.at = kRelease;
                return "worker sees no more";
            }
            return rest(me, "worker sees no more");
        case kReclaim:
            free(s, me);
            if (s.scheduled[c] != 0 && mutation_ != Mutation::RequeueUnclaimed)
                return rest(me, "worker finds it claimed");
            s.scheduled[c] = 1;
            me.at = kPutBack;
            return "worker claims";
        default:
            ++s.entries[c];
            if (mutation_ == Mutation::RequeueAndSignal)
                ++s.semaphore;
            me.owed = mutation_ == Mutation::RequeueUnowed ? 0 : 1;
            return rest(me, "worker puts it back");
        }
    }

    Shape shape_;
    Mutation mutation_;
};

constexpr Shape kShapes[] = {{1, 2, 2, 2}, {1, 2, 1, 3}, {2, 3, 1, 2}, {1, 3, 1, 3}};

// The first shape in which the mutation shows.
Explored exploreAll(Mutation mutation) {
    return exploreShapes(kShapes, [=](const Shape& shape) { return WakeModel(shape, mutation); });
}

TEST(WakeModel, OneWorkerAtATimeAndNothingForgotten) {
    const Explored all = exploreAll(Mutation::None);
    EXPECT_TRUE(all.holds()) << all.broken << "\n" << all.trace;
    std::printf("%zu states\n", all.states);
}

TEST(WakeModel, TheSemaphoreMayBeAheadOfTheQueue) {
    const Explored all = exploreAll(Mutation::SignalFirst);
    EXPECT_TRUE(all.holds()) << all.broken << "\n" << all.trace;
}

struct Reordered {
    const char* name;
    Mutation mutation;
    const char* broken;
};

void PrintTo(const Reordered& one, std::ostream* out) {
    *out << one.name;
}

class WakeModelReordered : public ::testing::TestWithParam<Reordered> {};

TEST_P(WakeModelReordered, IsFound) {
    const Explored all = exploreAll(GetParam().mutation);
    EXPECT_EQ(all.broken, GetParam().broken) << all.trace;
}

INSTANTIATE_TEST_SUITE_P(
    Steps, WakeModelReordered,
    ::testing::Values(
        Reordered{"ClaimBeforePush", Mutation::ClaimBeforePush, "an element is forgotten"},
        Reordered{"TestThenSet", Mutation::TestThenSet, "two workers run one context"},
        Reordered{"ReleaseBeforeRun", Mutation::ReleaseBeforeRun, "two workers run one context"},
        Reordered{"LookBeforeRelease", Mutation::LookBeforeRelease, "an element is forgotten"},
        Reordered{"StoreForExchange", Mutation::StoreForExchange, "an element is forgotten"},
        Reordered{"RequeueUnclaimed", Mutation::RequeueUnclaimed, "two workers run one context"},
        Reordered{"RequeueUnowed", Mutation::RequeueUnowed, "an element is forgotten"},
        Reordered{"RequeueAndSignal", Mutation::RequeueAndSignal,
                  "a worker spins for an entry that nobody makes"},
        Reordered{"SeenNotPutBack", Mutation::SeenNotPutBack, "an element is forgotten"},
        Reordered{"SeenAndFreed", Mutation::SeenAndFreed, "two workers run one context"}),
    [](const auto& one) { return std::string(one.param.name); });

} // namespace
} // namespace ferrow::test
