#include "core/buff/aligned_memory.hpp"
#include "core/buff/buff.hpp"
#include "core/fft/fft.hpp"
#include "core/tasks/log.hpp"

#include <ferrowcore/arrays.h>

#include <bit>
#include <complex>
#include <cstring>

using namespace ferrow;

namespace {

using Complex = std::complex<float>;

template <class T>
void* createArray(int n) {
    return new buff<T>(n > 0 ? static_cast<std::size_t>(n) : 0);
}

template <class T>
buff<T>& array(void* handle) {
    return *static_cast<buff<T>*>(handle);
}

// Calls transform(in, out, n) if `needed` doubles of the output are there.
template <class Transform>
void transform(const char* name, void* input, void* output, bool real, Transform run) {
    const buff<double>& in = array<double>(input);
    const buff<double>& out = array<double>(output);
    const std::size_t elements = real ? in.size() : in.size() / 2;
    const std::size_t n = elements == 0 ? 0 : std::bit_floor(elements);
    const std::size_t needed = real ? 2 * (n / 2 + 1) : 2 * n;
    if (n == 0 || out.size() < needed) {
        logError("{} has {} values in and room for {}", name, in.size(), out.size());
        return;
    }
    run(in.data(), out.data(), n);
}

std::complex<double>* pairs(double* values) { return reinterpret_cast<std::complex<double>*>(values); }

} // namespace

extern "C" {

void* floatArray_create(int n) { return createArray<float>(n); }
int floatArray_size(void* handle) { return static_cast<int>(array<float>(handle).size()); }
float* floatArray_data(void* handle) { return array<float>(handle).data(); }
void floatArray_delete(void* handle) { delete static_cast<buff<float>*>(handle); }

void* doubleArray_create(int n) { return createArray<double>(n); }
int doubleArray_size(void* handle) { return static_cast<int>(array<double>(handle).size()); }
double* doubleArray_data(void* handle) { return array<double>(handle).data(); }
void doubleArray_delete(void* handle) { delete static_cast<buff<double>*>(handle); }

void* complexArray_create(int n) { return createArray<Complex>(n); }
int complexArray_size(void* handle) { return static_cast<int>(array<Complex>(handle).size()); }
float* complexArray_data(void* handle) { return reinterpret_cast<float*>(array<Complex>(handle).data()); }
void complexArray_delete(void* handle) { delete static_cast<buff<Complex>*>(handle); }

void* mem_malloc(int bytes) { return alignedAllocateUnits(bytes); }
void mem_free(void* memory) { alignedFree(memory); }
void mem_memcpy(void* destination, const void* source, int bytes) {
    if (bytes > 0)
        std::memcpy(destination, source, static_cast<std::size_t>(bytes));
}

void fft_Fwd(void* input, void* output) {
    transform("fft_Fwd", input, output, false, [](double* in, double* out, std::size_t n) { fft::forward(pairs(in), pairs(out), n); });
}
void fft_Rev(void* input, void* output) {
    transform("fft_Rev", input, output, false, [](double* in, double* out, std::size_t n) { fft::inverse(pairs(in), pairs(out), n); });
}
void fft_FwdR(void* input, void* output) {
    transform("fft_FwdR", input, output, true, [](double* in, double* out, std::size_t n) { fft::forwardReal(in, pairs(out), n); });
}

} // extern "C"
