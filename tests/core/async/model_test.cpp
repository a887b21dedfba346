// Random programs of posts, sets, binds, releases and pumps from several threads, against a simple model:
// each context's tasks run one at a time, those of a thread in the order in which they were posted, what was
// refused is counted and logged, and the host hears every change once and in order.
//
// FERROW_MODEL_SEEDS says how many programs run; each says its seed when it fails.
#include "core/async/async_object.hpp"
#include "core/async/async_property.hpp"
#include "tests/support/runtime.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

namespace ferrow {
namespace {

constexpr std::size_t kObjects = 4, kContexts = 3, kPosters = 3;

// What the host has heard of each object's property; a callback carries no context, so each has its own.
std::array<std::vector<int>, kObjects> heard;
std::array<std::atomic<int>, kObjects> gone;

template <std::size_t I>
void hear(int value) {
    heard[I].push_back(value);
}
template <std::size_t I>
void hearDeleted(int) {
    ++gone[I];
}
constexpr std::array kHear{&hear<0>, &hear<1>, &hear<2>, &hear<3>};
constexpr std::array kHearDeleted{&hearDeleted<0>, &hearDeleted<1>, &hearDeleted<2>, &hearDeleted<3>};

// Beside the context: outlives the objects, so that late tasks have a place to write to.
struct ContextLog {
    std::atomic<int> inside{0};
    int overlaps = 0;
    std::array<std::vector<int>, kPosters + 1> ran; // by poster; the last is the host's property sets
    std::atomic<int> total{0};
};

struct Thing : asyncObject {
    using asyncObject::asyncObject;
    asyncProperty<int> number{0};
    std::vector<int>* changes = nullptr; // what the host must hear, in the order of the context
};

struct Entered {
    explicit Entered(ContextLog& context) : log(context) { log.overlaps += log.inside.fetch_add(1) != 0; }
    ~Entered() {
        log.inside.fetch_sub(1);
        log.total.fetch_add(1);
    }
    ContextLog& log;
};

int countOf(const std::string& text, const std::string& words) {
    int count = 0;
    for (std::size_t at = text.find(words); at != std::string::npos; at = text.find(words, at + 1))
        ++count;
    return count;
}

class Program {
public:
    Program(const test::Runtime& runtime, unsigned seed) : runtime_(runtime), seed_(seed), random_(seed) {}

    void run() {
        const std::string before = runtime_.log();
        for (auto& one : heard)
            one.clear();
        for (auto& one : gone)
            one = 0;
        for (auto& one : contexts_)
            one = std::make_shared<syncTask>(threadPool);
        for (std::size_t i = 0; i < kObjects; ++i) {
            contextOf_[i] = random_() % kContexts;
            things_[i] = std::make_shared<Thing>(contexts_[contextOf_[i]]);
            things_[i]->changes = &changes_[i];
            things_[i]->Deleted = kHearDeleted[i];
            things_[i]->number.bind(kHear[i], things_[i].get());
        }
        // In some programs a context is held for a while, so that its rings run full. They take long.
        const bool crowded = seed_ % 16 == 1;
        std::atomic<bool> go{!crowded};
        if (crowded)
            things_[0]->queueSeqItem(seqTask("hold", [&go] { go.wait(false); }));
        const int length = crowded ? 4000 : 50 + static_cast<int>(random_() % 400);
        std::vector<std::thread> posters;
        for (std::size_t p = 0; p < kPosters; ++p)
            posters.emplace_back([this, p, length, own = static_cast<unsigned>(random_())] { post(p, length, own); });
        host(length);
        for (auto& one : posters)
            one.join();
        go = true;
        go.notify_all();
        finish(before);
    }

private:
    // A library thread: seq tasks, some of which set the property and post on.
    void post(std::size_t poster, int length, unsigned seed) {
        std::mt19937 random(seed);
        for (int n = 0; n < length; ++n) {
            const std::size_t at = random() % kObjects;
            const std::shared_ptr<Thing> thing = things_[at];
            ContextLog* log = &logs_[contextOf_[at]];
            const bool sets = random() % 3 == 0;
            const int value = static_cast<int>(random() % 5);
            thing->queueSeqItem(seqTask("model", [log, poster, n, sets, value, thing] {
                const Entered entered(*log);
                log->ran[poster].push_back(n);
                if (!sets)
                    return;
                if (thing->number.value() != value)
                    thing->changes->push_back(value);
                thing->number.set(value);
            }));
            ++posted_;
            if (random() % 16 == 0)
                std::this_thread::yield();
        }
    }

    // The host's thread: property sets, and pumps in between.
    void host(int length) {
        for (int n = 0; n < length; ++n) {
            const std::size_t at = random_() % kObjects;
            ContextLog* log = &logs_[contextOf_[at]];
            // Another value than any of the posters', so that none of theirs is equal by chance.
            things_[at]->queueSetItem(seqTask("model.set", [log, n, thing = things_[at].get()] {
                const Entered entered(*log);
                log->ran[kPosters].push_back(n);
                thing->number.setFromHost(1000 + n);
            }));
            ++posted_;
            if (random_() % 8 == 0)
                pumpUpdates();
        }
    }

    void finish(const std::string& before) {
        const auto refused = [&] {
            const std::string now = runtime_.log().substr(before.size());
            return countOf(now, "Can't queue seq process") + countOf(now, "Can't queue property set");
        };
        const int lost = refused();
        const auto total = [&] {
            int sum = 0;
            for (const auto& one : logs_)
                sum += one.total;
            return sum;
        };
        EXPECT_TRUE(test::waitFor([&] { return total() + lost == posted_; }, 30))
            << "seed " << seed_ << ": " << total() << " ran and " << lost << " were refused of " << posted_;
        for (auto& thing : things_)
            thing.reset();
        EXPECT_TRUE(test::waitFor(
            [&] {
                pumpUpdates();
                return std::all_of(gone.begin(), gone.end(), [](const auto& one) { return one == 1; });
            },
            30))
            << "seed " << seed_ << ": not every object has gone once";
        for (std::size_t i = 0; i < kObjects; ++i)
            EXPECT_EQ(heard[i], changes_[i]) << "seed " << seed_ << ", object " << i;
        for (const auto& log : logs_) {
            EXPECT_EQ(log.overlaps, 0) << "seed " << seed_;
            for (const auto& ran : log.ran)
                EXPECT_TRUE(std::is_sorted(ran.begin(), ran.end())) << "seed " << seed_;
        }
    }

    const test::Runtime& runtime_;
    unsigned seed_;
    std::mt19937 random_;
    std::array<std::shared_ptr<syncTask>, kContexts> contexts_;
    std::array<std::shared_ptr<Thing>, kObjects> things_;
    std::array<std::size_t, kObjects> contextOf_{};
    std::array<ContextLog, kContexts> logs_;
    std::array<std::vector<int>, kObjects> changes_;
    std::atomic<int> posted_{0};
};

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr unsigned kSeeds = 15;
#else
constexpr unsigned kSeeds = 60;
#endif

TEST(Model, RandomProgramsKeepTheRuntimesPromises) {
    const test::Runtime runtime;
    const char* const asked = std::getenv("FERROW_MODEL_SEEDS");
    const unsigned seeds = asked != nullptr ? static_cast<unsigned>(std::atoi(asked)) : kSeeds;
    for (unsigned seed = 1; seed <= seeds && !::testing::Test::HasFailure(); ++seed)
        Program(runtime, seed).run();
}

} // namespace
} // namespace ferrow
