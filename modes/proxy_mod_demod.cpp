#include "modes/proxy_mod_demod.hpp"

#include <algorithm>

namespace ferrow {

buff<float> proxyModDemod::demodulate(buff<std::complex<float>> block) {
    rxChunk(block);
    return realPart(block);
}

void proxyModDemod::modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) {
    if (!getTxChunk(out, in))
        std::fill(out.begin(), out.end(), std::complex<float>());
}

} // namespace ferrow
