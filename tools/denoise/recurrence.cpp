// The GRU's way through time and back for the training, on one thread: sums are kept in registers and a few sequences in the caches,
// so that it takes a fraction of what operation by operation takes. Beside denoiseFeatures in libdenoise_features.so.
//
// Arrays are rows of floats: gates (frames, batch, 3 states: reset, update, candidate), states (frames + 1, batch, states; the first
// ones given), `known` as gates, after their functions, `recalled` (frames, batch, states): the candidate's part of the recurrent
// product. The number of states is a multiple of 24, that of sequences one of 4.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace {

typedef float Eight __attribute__((vector_size(32)));
constexpr int kRows = 4, kColumns = 24, kGroup = 16; // of a tile; sequences taken together

Eight load(const float* from) {
    Eight value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

// out[rows][columns] = in[rows][inner] * table[inner][columns], of which a tile at a time is in registers.
void product(const float* in, int inner, const float* table, int columns, float* out, int rows) {
    for (int c = 0; c < columns; c += kColumns)
        for (int r = 0; r < rows; r += kRows) {
            Eight sums[kRows][3]{};
            for (int k = 0; k < inner; ++k) {
                const float* line = table + k * columns + c;
                const Eight a = load(line), b = load(line + 8), d = load(line + 16);
                for (int i = 0; i < kRows; ++i) {
                    const float x = in[(r + i) * inner + k];
                    sums[i][0] += x * a;
                    sums[i][1] += x * b;
                    sums[i][2] += x * d;
                }
            }
            for (int i = 0; i < kRows; ++i)
                std::memcpy(out + (r + i) * columns + c, sums[i], sizeof sums[i]);
        }
}

float sigmoid(float x) {
    return 1 / (1 + std::exp(-x));
}

} // namespace

extern "C" {

// `table` is (states, 3 states).
__attribute__((visibility("default"))) void recurrenceForward(int frames, int batch, int size, const float* gates,
                                                              const float* table, float* states, float* known,
                                                              float* recalled) {
    std::vector<float> part(static_cast<std::size_t>(kGroup * 3 * size));
    for (int first = 0; first < batch; first += kGroup)
        for (int t = 0; t < frames; ++t) {
            const int rows = std::min(kGroup, batch - first), at = t * batch + first;
            const float* last = states + at * size;
            float* next = states + (at + batch) * size;
            product(last, size, table, 3 * size, part.data(), rows);
            for (int row = 0; row < rows; ++row) {
                const float *g = gates + (at + row) * 3 * size, *p = part.data() + row * 3 * size;
                float *k = known + (at + row) * 3 * size, *remembered = recalled + (at + row) * size;
                for (int i = 0; i < 2 * size; ++i)
                    k[i] = sigmoid(g[i] + p[i]);
                for (int i = 0; i < size; ++i) {
                    const float r = k[i], z = k[size + i], u = p[2 * size + i];
                    const float n = 2 * sigmoid(2 * (g[2 * size + i] + r * u)) - 1;
                    remembered[i] = u;
                    k[2 * size + i] = n;
                    next[row * size + i] = z * last[row * size + i] + (1 - z) * n;
                }
            }
        }
}

// From the gradient of the states (frames, batch, states) those of the gates, `outer`, and of the recurrent product, `inner`; `table`
// is (3 states, states).
__attribute__((visibility("default"))) void recurrenceBackward(int frames, int batch, int size, const float* gradient,
                                                               const float* table, const float* states,
                                                               const float* known, const float* recalled,
                                                               float* outer, float* inner) {
    std::vector<float> carried(static_cast<std::size_t>(kGroup * size)), through(carried.size());
    for (int first = 0; first < batch; first += kGroup) {
        std::fill(through.begin(), through.end(), 0.0f);
        std::fill(carried.begin(), carried.end(), 0.0f);
        for (int t = frames - 1; t >= 0; --t) {
            const int rows = std::min(kGroup, batch - first), at = t * batch + first;
            for (int row = 0; row < rows; ++row) {
                const float *k = known + (at + row) * 3 * size, *last = states + (at + row) * size;
                const float *u = recalled + (at + row) * size, *g = gradient + (at + row) * size;
                float *o = outer + (at + row) * 3 * size, *n = inner + (at + row) * 3 * size;
                float *d = carried.data() + row * size, *more = through.data() + row * size;
                for (int i = 0; i < size; ++i) {
                    const float r = k[i], z = k[size + i], c = k[2 * size + i];
                    const float slope = g[i] + d[i] + more[i];
                    const float ofC = slope * (1 - z) * (1 - c * c), ofR = ofC * u[i] * r * (1 - r);
                    const float ofZ = slope * (last[i] - c) * z * (1 - z);
                    o[i] = n[i] = ofR;
                    o[size + i] = n[size + i] = ofZ;
                    o[2 * size + i] = ofC;
                    n[2 * size + i] = ofC * r;
                    d[i] = slope * z;
                }
            }
            product(inner + at * 3 * size, 3 * size, table, size, through.data(), rows);
        }
    }
}

} // extern "C"
