#include "modes/ft8/ldpc.hpp"

#include <algorithm>

namespace ferrow {
namespace {

// Messages lie by place in the check, then by check, padded to whole vectors, so that the arithmetic on them
// runs across checks. A check of six keeps 1 in its seventh place, which changes no product.
constexpr int kLanes = 88;
constexpr int kEdges = kLdpcWidestCheck * kLanes;

struct EdgeTables {
    std::uint8_t bitOfEdge[kEdges] = {};
    std::uint8_t unused[kEdges] = {};
    std::uint16_t edgeOfBit[kLdpcBits][kLdpcChecksPerBit] = {};
};

EdgeTables makeEdgeTables() {
    EdgeTables t;
    for (int j = 0; j < kLdpcWidestCheck; ++j) {
        for (int check = 0; check < kLanes; ++check) {
            const int edge = j * kLanes + check;
            if (check >= kLdpcChecks || j >= kLdpcCheckSizes[check]) {
                t.unused[edge] = 1;
                continue;
            }
            const std::uint8_t bit = kLdpcCheckBits[check][j];
            t.bitOfEdge[edge] = bit;
            const auto* checks = kLdpcBitChecks[bit];
            const auto k = std::find(checks, checks + kLdpcChecksPerBit, check) - checks;
            t.edgeOfBit[bit][k] = static_cast<std::uint16_t>(edge);
        }
    }
    return t;
}

const EdgeTables& edgeTables() {
    static const EdgeTables tables = makeEdgeTables();
    return tables;
}

void updateChecks(const EdgeTables& t, const float* zn, const float* tov, float* toc) {
    for (int e = 0; e < kEdges; ++e)
        toc[e] = zn[t.bitOfEdge[e]] - tov[e];
    for (int e = 0; e < kEdges; ++e) {
        const float y = fastTanh(-toc[e] * 0.5f);
        toc[e] = t.unused[e] ? 1.0f : y;
    }
}

void updateBits(const float* toc, float* tov) {
    for (int j = 0; j < kLdpcWidestCheck; ++j) {
        float product[kLanes];
        std::fill(product, product + kLanes, 1.0f);
        for (int other = 0; other < kLdpcWidestCheck; ++other) {
            if (other == j)
                continue;
            for (int check = 0; check < kLanes; ++check)
                product[check] *= toc[other * kLanes + check];
        }
        for (int check = 0; check < kLanes; ++check)
            tov[j * kLanes + check] = 2.0f * fastAtanh(-product[check]);
    }
}

} // namespace

int countParityErrors(const CodewordBits& bits) {
    int errors = 0;
    for (int check = 0; check < kLdpcChecks; ++check) {
        unsigned parity = 0;
        for (int j = 0; j < kLdpcCheckSizes[check]; ++j)
            parity ^= bits[kLdpcCheckBits[check][j]];
        errors += static_cast<int>(parity);
    }
    return errors;
}

int beliefPropagate(const BitMetrics& metrics, CodewordBits& bits) {
    const EdgeTables& t = edgeTables();
    alignas(32) float tov[kEdges] = {};
    alignas(32) float toc[kEdges];
    float zn[kLdpcBits];
    int minErrors = kLdpcChecks;
    for (int iteration = 0; iteration < kBeliefIterations; ++iteration) {
        if (iteration > 0) {
            updateChecks(t, zn, tov, toc);
            updateBits(toc, tov);
        }
        for (std::size_t i = 0; i < kLdpcBits; ++i) {
            const std::uint16_t* edges = t.edgeOfBit[i];
            zn[i] = metrics[i] + tov[edges[0]] + tov[edges[1]] + tov[edges[2]];
            bits[i] = zn[i] > 0.0f;
        }
        minErrors = std::min(minErrors, countParityErrors(bits));
        if (minErrors == 0)
            break;
    }
    return minErrors;
}

} // namespace ferrow
