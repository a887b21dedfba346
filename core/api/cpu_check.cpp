// The whole library is built for AVX2 machines. An older one is told so at load, before an instruction that
// it does not know.

#include <cstdio>
#include <cstdlib>

namespace {

__attribute__((constructor, target("arch=x86-64"))) void checkProcessor() {
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("bmi2"))
        return;
    std::fputs("libferrowcore_avx2: this processor lacks AVX2, FMA or BMI2, which the library needs\n", stderr);
    std::abort();
}

} // namespace
