// main() of a fuzz target where libFuzzer brings none: runs files, folders of files, or the standard input,
// and if asked for it seeded random mutations of what it has read. AFL++ can drive it: afl-fuzz ... --
// PROGRAM @@
#include "fuzz/fuzz.hpp"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kWrongInput = 2;
constexpr std::size_t kLongest = 64 * 1024;

Bytes readAll(std::istream& stream) {
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// A copy of exactly its size, so that a sanitizer sees each byte that is read beyond it.
void run(const Bytes& input) {
    const Bytes copy(input.begin(), input.end());
    LLVMFuzzerTestOneInput(copy.data(), copy.size());
}

class Mutator {
public:
    Mutator(const std::vector<Bytes>& corpus, std::uint64_t seed) : corpus_(corpus), random_(seed) {}

    Bytes next() {
        Bytes bytes = corpus_[below(corpus_.size())];
        for (std::size_t i = 1 + below(6); i > 0; --i)
            change(bytes);
        if (bytes.size() > kLongest)
            bytes.resize(kLongest);
        return bytes;
    }

private:
    std::size_t below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }
    std::uint8_t any() {
        constexpr std::uint8_t kEdges[] = {0, 1, 0x7F, 0x80, 0xFF, '"', '{', '['};
        return below(2) == 0 ? kEdges[below(sizeof kEdges)] : static_cast<std::uint8_t>(random_());
    }
    void change(Bytes& bytes) {
        const std::size_t at = below(bytes.size() + 1);
        const auto spot = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        const std::size_t left = bytes.size() - at;
        switch (below(7)) {
        case 0: // a bit
            if (left > 0)
                *spot = static_cast<std::uint8_t>(*spot ^ 1U << below(8));
            break;
        case 1: // a byte
            if (left > 0)
                *spot = any();
            break;
        case 2: // a run of bytes
            for (std::size_t i = 0; i < std::min(left, 1 + below(16)); ++i)
                bytes[at + i] = any();
            break;
        case 3: // bytes come in
            bytes.insert(spot, 1 + below(16), any());
            break;
        case 4: // bytes go
            bytes.erase(spot, spot + static_cast<std::ptrdiff_t>(std::min(left, 1 + below(64))));
            break;
        case 5: // the end goes
            bytes.erase(spot, bytes.end());
            break;
        default: { // a part of another input comes in
            const Bytes& other = corpus_[below(corpus_.size())];
            const std::size_t from = below(other.size() + 1);
            const std::size_t count = below(std::min<std::size_t>(other.size() - from, 2048) + 1);
            bytes.insert(spot, other.begin() + static_cast<std::ptrdiff_t>(from),
                         other.begin() + static_cast<std::ptrdiff_t>(from + count));
            break;
        }
        }
    }

    const std::vector<Bytes>& corpus_;
    std::mt19937_64 random_;
};

int usage() {
    std::fprintf(stderr, "usage: PROGRAM [--mutations N] [--seed N] [FILE or FOLDER]...\n"
                         "Runs each file, or the standard input, and N mutations of them.\n");
    return kWrongInput;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<Bytes> corpus;
    std::uint64_t mutations = 0;
    std::uint64_t seed = 1;
    bool files = false;
    const auto load = [&](const std::filesystem::path& path) {
        std::ifstream stream(path, std::ios::binary);
        if (!stream)
            return false;
        corpus.push_back(readAll(stream));
        return true;
    };
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if ((word == "--mutations" || word == "--seed") && i + 1 < argc) {
            char* end = nullptr;
            const unsigned long value = std::strtoul(argv[++i], &end, 10);
            if (*end != '\0')
                return usage();
            (word == "--seed" ? seed : mutations) = value;
        } else if (word.starts_with("-")) {
            return usage();
        } else {
            files = true;
            std::vector<std::filesystem::path> paths{word};
            if (std::filesystem::is_directory(word)) {
                paths.clear();
                for (const auto& entry : std::filesystem::directory_iterator(word))
                    paths.push_back(entry.path());
                std::sort(paths.begin(), paths.end());
            }
            for (const auto& path : paths) {
                if (!load(path)) {
                    std::fprintf(stderr, "cannot read %s\n", path.c_str());
                    return kWrongInput;
                }
            }
        }
    }
    if (!files) {
        std::vector<std::uint8_t> bytes;
        char buffer[4096];
        while (const std::size_t n = std::fread(buffer, 1, sizeof buffer, stdin))
            bytes.insert(bytes.end(), buffer, buffer + n);
        corpus.push_back(std::move(bytes));
    }
    if (corpus.empty()) {
        std::fprintf(stderr, "nothing to run\n");
        return kWrongInput;
    }
    const auto began = std::chrono::steady_clock::now();
    for (const Bytes& input : corpus)
        run(input);
    Mutator mutator(corpus, seed);
    for (std::uint64_t i = 0; i < mutations; ++i)
        run(mutator.next());
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    std::printf("%zu inputs and %llu mutations in %.2f s\n", corpus.size(),
                static_cast<unsigned long long>(mutations), seconds);
    return 0;
}
