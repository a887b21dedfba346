// One transform length of one kind on one thread: the library's plans, made as they are first needed, and
// scratch for data that stand on no 16-byte boundary.
#pragma once

#include "core/buff/buff.hpp"
#include "core/fft/fftw_binding.hpp"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace ferrow::fft {

// The library's planner is one for the process and not safe against itself. Never destroyed: threads may end
// late.
inline std::mutex& plannerMutex() {
    static auto* const mutex = new std::mutex;
    return *mutex;
}

// The largest power of two within n as an exponent; -1 for 0.
inline int orderOf(size_t n) {
    return static_cast<int>(std::bit_width(n)) - 1;
}

template <class Library>
class ComplexPlan {
public:
    using Complex = typename Library::Complex;

    // `length` is the request's, a power of two or not. Beyond `maxOrder` the plan transforms nothing.
    ComplexPlan(size_t length, int maxOrder, bool firstIsForward)
        : count(orderOf(length) >= 0 && orderOf(length) <= maxOrder ? size_t{1} << orderOf(length) : 0),
          forward(firstIsForward) {}
    ComplexPlan(const ComplexPlan&) = delete;
    ComplexPlan& operator=(const ComplexPlan&) = delete;

    ~ComplexPlan() {
        const std::lock_guard lock(plannerMutex());
        for (auto& direction : handles)
            for (auto handle : direction)
                if (handle)
                    Library::destroy(handle);
    }

    size_t size() const { return count; }

    void run(const Complex* in, Complex* out, bool isForward) {
        if (count <= 1) {
            std::copy_n(in, count, out);
            return;
        }
        auto* from = const_cast<Complex*>(in); // the library leaves it as it is unless it is also the output
        Complex* to = out;
        if (!Library::aligned(from))
            from = std::copy_n(in, count, scratch()) - count;
        if (!Library::aligned(to))
            to = scratch();
        if (auto handle = plan(from, to, isForward))
            Library::runComplex(handle, from, to);
        if (to != out)
            std::copy_n(to, count, out);
    }

    void makeAll() {
        if (count <= 1)
            return;
        const buff<Complex> other(count);
        for (const bool isForward : {true, false}) {
            plan(scratch(), scratch(), isForward);
            plan(scratch(), other.data(), isForward);
        }
    }

private:
    using Handle = typename Library::Handle;

    Handle plan(Complex* from, Complex* to, bool isForward) {
        Handle& handle = handles[isForward][from == to];
        if (!handle) {
            // Estimating does not touch the data, so that those at hand serve to show the alignment.
            const std::lock_guard lock(plannerMutex());
            handle = Library::planComplex(static_cast<int>(count), from, to,
                                          isForward ? FFTW_FORWARD : FFTW_BACKWARD);
        }
        return handle;
    }

    Complex* scratch() {
        if (work.empty())
            work = buff<Complex>(count);
        return work.data();
    }

    size_t count;
    uint8_t forward;        // direction of the first request
    Handle handles[2][2]{}; // by direction, and by place: separate or the same
    buff<Complex> work;
};

template <class Library>
class RealPlan {
public:
    using Complex = typename Library::Complex;
    using Real = typename Library::Real;

    RealPlan(size_t length, int maxOrder)
        : count(orderOf(length) >= 0 && orderOf(length) <= maxOrder ? size_t{1} << orderOf(length) : 0) {}
    RealPlan(const RealPlan&) = delete;
    RealPlan& operator=(const RealPlan&) = delete;

    ~RealPlan() {
        const std::lock_guard lock(plannerMutex());
        if (handle)
            Library::destroy(handle);
    }

    size_t size() const { return count; }

    void run(const Real* in, Complex* out) {
        if (count <= 1) {
            std::copy_n(in, count, out);
            return;
        }
        // Work space holds the input first and the bins behind it, both on boundaries; the input of a request
        // that stands in its own output has to be saved too.
        auto* from = const_cast<Real*>(in);
        Complex* to = out;
        const bool shared = static_cast<const void*>(in) == static_cast<const void*>(out);
        if (shared || !Library::aligned(from))
            from = std::copy_n(in, count, inputWork()) - count;
        if (!Library::aligned(to))
            to = outputWork();
        if (!handle) {
            const std::lock_guard lock(plannerMutex());
            handle = Library::planReal(static_cast<int>(count), from, to);
        }
        if (handle)
            Library::runReal(handle, from, to);
        if (to != out)
            std::copy_n(to, count / 2 + 1, out);
    }

private:
    Real* inputWork() {
        if (realWork.empty())
            realWork = buff<Real>(count);
        return realWork.data();
    }
    Complex* outputWork() {
        if (complexWork.empty())
            complexWork = buff<Complex>(count / 2 + 1);
        return complexWork.data();
    }

    size_t count;
    typename Library::Handle handle{};
    buff<Real> realWork;
    buff<Complex> complexWork;
};

} // namespace ferrow::fft
