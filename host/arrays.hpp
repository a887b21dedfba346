// Arrays that callbacks bring, given back when done with.
#pragma once

#include <complex>
#include <ferrowcore/arrays.h>
#include <memory>
#include <span>

namespace ferrow {

// Owns a floatArray handle.
class FloatArray {
public:
    explicit FloatArray(void* handle) : handle_(handle, floatArray_delete) {}
    std::span<const float> values() const {
        return {floatArray_data(handle_.get()), static_cast<std::size_t>(floatArray_size(handle_.get()))};
    }

private:
    std::unique_ptr<void, void (*)(void*)> handle_;
};

// Owns a doubleArray of `pairs` complex values, zero at first; transforms work in place and scale nothing.
class ComplexSeries {
public:
    explicit ComplexSeries(std::size_t pairs)
        : handle_(doubleArray_create(static_cast<int>(2 * pairs)), doubleArray_delete), size_(pairs) {
        for (std::size_t i = 0; i < pairs; ++i)
            (*this)[i] = 0;
    }
    std::size_t size() const { return size_; }
    std::complex<double>& operator[](std::size_t i) {
        return reinterpret_cast<std::complex<double>*>(doubleArray_data(handle_.get()))[i];
    }
    // `size` must be a power of two.
    void forward() { fft_Fwd(handle_.get(), handle_.get()); }
    void reverse() { fft_Rev(handle_.get(), handle_.get()); }

private:
    std::unique_ptr<void, void (*)(void*)> handle_;
    std::size_t size_;
};

} // namespace ferrow
