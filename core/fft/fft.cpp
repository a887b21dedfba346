#include "core/fft/fft.hpp"

#include "core/fft/plan.hpp"

#include <memory>
#include <unordered_map>

namespace ferrow::fft {
namespace {

using cf = std::complex<float>;
using cd = std::complex<double>;

constexpr int kMaxOrderSingle = 28;
constexpr int kMaxOrderDouble = 27;
constexpr int kMaxOrderReal = 28;

template <class Plan>
using Cache = std::unordered_map<size_t, std::unique_ptr<Plan>>;

struct Caches {
    Cache<ComplexPlan<SingleLibrary>> single;
    Cache<ComplexPlan<DoubleLibrary>> wide;
    Cache<RealPlan<SingleLibrary>> singleReal;
    Cache<RealPlan<DoubleLibrary>> wideReal;
};

Caches& caches() {
    thread_local Caches mine;
    return mine;
}

template <class Plan, class... Rest>
Plan& planFor(Cache<Plan>& cache, size_t n, Rest... rest) {
    auto& slot = cache[n];
    if (!slot)
        slot = std::make_unique<Plan>(n, rest...);
    return *slot;
}

const buff<cf>& transform(const buff<cf>& in, const buff<cf>& out, bool isForward) {
    auto& plan = planFor(caches().single, in.size(), kMaxOrderSingle, isForward);
    if (out.size() >= plan.size() && in.data() && out.data())
        plan.run(in.data(), out.data(), isForward);
    return out;
}

} // namespace

buff<cf> forward(const buff<cf>& in) {
    return transform(in, buff<cf>(in.size()), true);
}
const buff<cf>& forward(const buff<cf>& in, const buff<cf>& out) {
    return transform(in, out, true);
}
buff<cf> inverse(const buff<cf>& in) {
    return transform(in, buff<cf>(in.size()), false);
}
const buff<cf>& inverse(const buff<cf>& in, const buff<cf>& out) {
    return transform(in, out, false);
}

buff<cf> forwardReal(const buff<float>& in) {
    if (in.empty())
        return {};
    return forwardReal(in, buff<cf>(in.size() / 2 + 1));
}

const buff<cf>& forwardReal(const buff<float>& in, const buff<cf>& out) {
    auto& plan = planFor(caches().singleReal, in.size(), kMaxOrderReal);
    if (out.size() >= plan.size() / 2 + 1 && in.data() && out.data())
        plan.run(in.data(), out.data());
    return out;
}

void forward(const cd* in, cd* out, size_t n) {
    planFor(caches().wide, n, kMaxOrderDouble, true).run(in, out, true);
}

void inverse(const cd* in, cd* out, size_t n) {
    planFor(caches().wide, n, kMaxOrderDouble, false).run(in, out, false);
}

void forwardReal(const double* in, cd* out, size_t n) {
    planFor(caches().wideReal, n, kMaxOrderReal).run(in, out);
}

void prepare(size_t n) {
    planFor(caches().single, n, kMaxOrderSingle, true).makeAll();
}

size_t cachedPlans() {
    const Caches& mine = caches();
    return mine.single.size() + mine.wide.size() + mine.singleReal.size() + mine.wideReal.size();
}

} // namespace ferrow::fft
