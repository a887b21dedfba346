#include "sim/sky/fourier.hpp"

#include <fftw3.h>
#include <mutex>

namespace ferrow::sim {
namespace {

std::mutex& plannerMutex() {
    static std::mutex mutex;
    return mutex;
}

} // namespace

struct Fourier::Plan {
    fftwf_complex* buffer = nullptr;
    fftwf_plan plan = nullptr;
    std::size_t length = 0;
};

Fourier::Fourier(int length, Direction direction) : plan_(std::make_unique<Plan>()) {
    const std::lock_guard lock(plannerMutex());
    plan_->length = static_cast<std::size_t>(length);
    plan_->buffer = fftwf_alloc_complex(plan_->length);
    plan_->plan =
        fftwf_plan_dft_1d(length, plan_->buffer, plan_->buffer,
                          direction == Direction::Forward ? FFTW_FORWARD : FFTW_BACKWARD, FFTW_ESTIMATE);
}

Fourier::~Fourier() {
    const std::lock_guard lock(plannerMutex());
    fftwf_destroy_plan(plan_->plan);
    fftwf_free(plan_->buffer);
}

std::span<Cfloat> Fourier::data() {
    return {reinterpret_cast<Cfloat*>(plan_->buffer), plan_->length};
}

void Fourier::run() {
    fftwf_execute(plan_->plan);
}

} // namespace ferrow::sim
