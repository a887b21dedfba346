// The two precisions of the transform library under one set of names.
#pragma once

#include <complex>
#include <fftw3.h>

namespace ferrow::fft {

struct SingleLibrary {
    using Real = float;
    using Complex = std::complex<float>;
    using Handle = fftwf_plan;

    static fftwf_complex* native(Complex* z) { return reinterpret_cast<fftwf_complex*>(z); }
    static Handle planComplex(int n, Complex* in, Complex* out, int sign) {
        return fftwf_plan_dft_1d(n, native(in), native(out), sign, FFTW_ESTIMATE);
    }
    static Handle planReal(int n, Real* in, Complex* out) {
        return fftwf_plan_dft_r2c_1d(n, in, native(out), FFTW_ESTIMATE);
    }
    static void runComplex(Handle plan, Complex* in, Complex* out) {
        fftwf_execute_dft(plan, native(in), native(out));
    }
    static void runReal(Handle plan, Real* in, Complex* out) { fftwf_execute_dft_r2c(plan, in, native(out)); }
    static void destroy(Handle plan) { fftwf_destroy_plan(plan); }
    static bool aligned(const void* p) {
        return fftwf_alignment_of(static_cast<float*>(const_cast<void*>(p))) == 0;
    }
};

struct DoubleLibrary {
    using Real = double;
    using Complex = std::complex<double>;
    using Handle = fftw_plan;

    static fftw_complex* native(Complex* z) { return reinterpret_cast<fftw_complex*>(z); }
    static Handle planComplex(int n, Complex* in, Complex* out, int sign) {
        return fftw_plan_dft_1d(n, native(in), native(out), sign, FFTW_ESTIMATE);
    }
    static Handle planReal(int n, Real* in, Complex* out) {
        return fftw_plan_dft_r2c_1d(n, in, native(out), FFTW_ESTIMATE);
    }
    static void runComplex(Handle plan, Complex* in, Complex* out) {
        fftw_execute_dft(plan, native(in), native(out));
    }
    static void runReal(Handle plan, Real* in, Complex* out) { fftw_execute_dft_r2c(plan, in, native(out)); }
    static void destroy(Handle plan) { fftw_destroy_plan(plan); }
    static bool aligned(const void* p) {
        return fftw_alignment_of(static_cast<double*>(const_cast<void*>(p))) == 0;
    }
};

} // namespace ferrow::fft
