// Serial contexts beside the strands of Boost.Asio, both with one and with two workers: how many posted tasks
// a second get done, how long a token takes from one context to the next, and how long a task waits that is
// posted to workers asleep.
//
// Every task counts, and the count is compared at the end.
#include "core/async/async_object.hpp"
#include "core/tasks/sync_task.hpp"
#include "core/tasks/thread_pool.hpp"

#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace ferrow;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t kContexts = 16;
constexpr long long kHops = 100'000;
constexpr long long kPosts = 100'000;
constexpr long long kWindow =
    1000; // posted and not yet run: even if all wait in one context, none is refused

struct Object : asyncObject {
    using asyncObject::asyncObject;
};

class Contexts {
public:
    explicit Contexts(unsigned workers) : pool_(nullptr, workers) {
        for (std::size_t i = 0; i < kContexts; ++i)
            objects_.push_back(std::make_shared<Object>(std::make_shared<syncTask>(&pool_)));
    }
    template <class Task>
    void post(std::size_t context, Task task) {
        objects_[context]->queueSeqItem(seqTask("bench", std::move(task)));
    }

private:
    sothreadpool pool_;
    std::vector<std::shared_ptr<Object>> objects_;
};

// `kTold`: the number of threads is told to the library beforehand, which makes a difference with one.
template <bool kTold>
class StrandsOf {
public:
    explicit StrandsOf(unsigned workers)
        : io_(kTold ? static_cast<int>(workers) : BOOST_ASIO_CONCURRENCY_HINT_DEFAULT),
          work_(boost::asio::make_work_guard(io_)) {
        for (std::size_t i = 0; i < kContexts; ++i)
            strands_.push_back(boost::asio::make_strand(io_));
        for (unsigned i = 0; i < workers; ++i)
            threads_.emplace_back([this] { io_.run(); });
    }
    ~StrandsOf() {
        work_.reset();
        for (auto& thread : threads_)
            thread.join();
    }
    template <class Task>
    void post(std::size_t context, Task task) {
        boost::asio::post(strands_[context], std::move(task));
    }

private:
    boost::asio::io_context io_;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_;
    std::vector<boost::asio::strand<boost::asio::io_context::executor_type>> strands_;
    std::vector<std::thread> threads_;
};

using Strands = StrandsOf<false>;
using StrandsTold = StrandsOf<true>;

// Filled up to the window from one thread beside the workers.
template <class Runtime>
void posts(benchmark::State& state) {
    Runtime runtime(static_cast<unsigned>(state.range(0)));
    std::atomic<long long> ran{0};
    long long posted = 0;
    for (auto _ : state) {
        for (const long long end = posted + kPosts; posted < end; ++posted) {
            while (posted - ran.load(std::memory_order_acquire) >= kWindow)
                std::this_thread::yield();
            runtime.post(static_cast<std::size_t>(posted) % kContexts,
                         [&ran] { ran.fetch_add(1, std::memory_order_acq_rel); });
        }
        while (ran.load(std::memory_order_acquire) < posted)
            std::this_thread::yield();
    }
    if (ran != posted)
        state.SkipWithError("tasks were lost");
    state.SetItemsProcessed(posted);
}
BENCHMARK(posts<Contexts>)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(posts<Strands>)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(posts<StrandsTold>)->Arg(1)->UseRealTime()->Unit(benchmark::kMillisecond);

// Tokens that go round all contexts: each task posts the next one. As many tokens as workers.
template <class Runtime>
struct Relay {
    explicit Relay(unsigned workers) : runtime(workers) {}

    void hop(std::size_t context, long long left) {
        if (left == 0) {
            arrived.fetch_add(1, std::memory_order_release);
            arrived.notify_all();
            return;
        }
        runtime.post((context + 1) % kContexts,
                     [this, next = (context + 1) % kContexts, left] { hop(next, left - 1); });
    }

    std::atomic<int> arrived{0};
    Runtime runtime;
};

template <class Runtime>
void hops(benchmark::State& state) {
    const auto workers = static_cast<unsigned>(state.range(0));
    Relay<Runtime> relay(workers);
    int tokens = 0;
    for (auto _ : state) {
        tokens += static_cast<int>(workers);
        for (unsigned i = 0; i < workers; ++i)
            relay.hop(i * kContexts / workers, kHops);
        for (int seen = relay.arrived; seen < tokens; seen = relay.arrived)
            relay.arrived.wait(seen);
    }
    state.SetItemsProcessed(state.iterations() * kHops * static_cast<long long>(workers));
}
BENCHMARK(hops<Contexts>)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(hops<Strands>)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(hops<StrandsTold>)->Arg(1)->UseRealTime()->Unit(benchmark::kMillisecond);

// From the post to the start of the task, with workers that have slept for a millisecond.
template <class Runtime>
void wake(benchmark::State& state) {
    Runtime runtime(static_cast<unsigned>(state.range(0)));
    std::vector<double> waits;
    std::atomic<bool> ran{false};
    for (auto _ : state) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        Clock::time_point begun;
        const auto posted = Clock::now();
        runtime.post(0, [&] {
            begun = Clock::now();
            ran.store(true, std::memory_order_release);
            ran.notify_one();
        });
        ran.wait(false, std::memory_order_acquire);
        ran.store(false, std::memory_order_relaxed);
        waits.push_back(std::chrono::duration<double, std::micro>(begun - posted).count());
        state.SetIterationTime(waits.back() * 1e-6);
    }
    std::sort(waits.begin(), waits.end());
    const auto share = [&](double p) {
        return waits[static_cast<std::size_t>(p * static_cast<double>(waits.size() - 1))];
    };
    state.counters["median_us"] = share(0.5);
    state.counters["p99_us"] = share(0.99);
}
BENCHMARK(wake<Contexts>)->Arg(2)->UseManualTime()->Iterations(3000)->Unit(benchmark::kMicrosecond);
BENCHMARK(wake<Strands>)->Arg(2)->UseManualTime()->Iterations(3000)->Unit(benchmark::kMicrosecond);

} // namespace
