#include "tests/modes/ft8/ft8_signal.hpp"

#include <cmath>
#include <cstring>
#include <fstream>
#include <map>
#include <numbers>
#include <sstream>
#include <stdexcept>
#include <stdlib.h>
#include <unistd.h>

namespace ferrow::test {
namespace {

constexpr double kPi = std::numbers::pi;

std::ifstream openData(const std::string& name) {
    std::ifstream file(std::string(FERROW_SOURCE_DIR) + "/tests/data/ft8/" + name);
    if (!file)
        throw std::runtime_error("no test data " + name);
    return file;
}

// The frequency pulse of one symbol, t in symbols from its centre.
double pulse(double bandwidthTime, double t) {
    const double c = kPi * std::sqrt(2.0 / std::log(2.0)) * bandwidthTime;
    return 0.5 * (std::erf(c * (t + 0.5)) - std::erf(c * (t - 0.5)));
}

// One folder per process, removed at its end.
class Folder {
public:
    Folder() {
        std::string pattern = "/tmp/ferrow_ft8_XXXXXX";
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no temporary folder");
        path = pattern;
    }
    ~Folder() {
        for (const auto& [name, written] : files)
            unlink((path + "/" + name).c_str());
        rmdir(path.c_str());
    }
    std::string add(const std::string& name) {
        files[name] = true;
        return path + "/" + name;
    }

private:
    std::string path;
    std::map<std::string, bool> files;
};

template <class T>
void put(std::vector<unsigned char>& bytes, std::size_t at, T value) {
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

} // namespace

std::vector<Vector> readVectors(Mode mode) {
    std::ifstream file = openData(mode == Mode::Ft8 ? "ft8_vectors.txt" : "ft4_vectors.txt");
    std::vector<Vector> vectors;
    std::map<std::string, std::string> record;
    const auto finish = [&] {
        if (!record.empty())
            vectors.push_back({record["message"], record["unhashed"], record["payload"], record["crc"],
                               record["codeword"], record["tones"]});
        record.clear();
    };
    for (std::string line; std::getline(file, line);) {
        if (line.empty())
            finish();
        else if (const auto colon = line.find(": "); line[0] != '#' && colon != std::string::npos)
            record[line.substr(0, colon)] = line.substr(colon + 2);
    }
    finish();
    return vectors;
}

std::vector<std::vector<int>> readTable(const std::string& name) {
    std::ifstream file = openData(name);
    std::vector<std::vector<int>> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream words(line);
        std::vector<int> row;
        for (int n; words >> n;)
            row.push_back(n);
        rows.push_back(row);
    }
    return rows;
}

std::vector<int> crcBits(const std::vector<int>& message) {
    // x^14 + x^13 + x^10 + x^9 + x^8 + x^6 + x^4 + x^2 + x + 1
    const std::vector<int> divisor{1, 1, 0, 0, 1, 1, 1, 0, 1, 0, 1, 0, 1, 1, 1};
    std::vector<int> dividend = message;
    dividend.resize(82 + 14, 0);
    for (std::size_t i = 0; i < 82; ++i)
        if (dividend[i])
            for (std::size_t j = 0; j < divisor.size(); ++j)
                dividend[i + j] ^= divisor[j];
    return {dividend.end() - 14, dividend.end()};
}

std::vector<int> encode(const std::vector<int>& message) {
    std::vector<int> word = message;
    const std::vector<int> crc = crcBits(message);
    word.insert(word.end(), crc.begin(), crc.end());
    std::ifstream file = openData("ldpc_174_91_generator.txt");
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        int parity = 0;
        for (std::size_t j = 0; j < 91; ++j) {
            const int digit = std::stoi(line.substr(j / 4, 1), nullptr, 16);
            parity ^= ((digit >> (3 - j % 4)) & 1) & word[j];
        }
        word.push_back(parity);
    }
    return word;
}

std::string ft8Tones(const std::vector<int>& codeword) {
    const std::string sync = "3140652";
    const std::string gray = "01325647";
    std::string tones = sync;
    for (std::size_t i = 0; i < 58; ++i) {
        if (i == 29)
            tones += sync;
        const int value = 4 * codeword[3 * i] + 2 * codeword[3 * i + 1] + codeword[3 * i + 2];
        tones += gray[static_cast<std::size_t>(value)];
    }
    return tones + sync;
}

std::string hex(const std::uint8_t* bytes, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += "0123456789abcdef"[bytes[i] >> 4];
        text += "0123456789abcdef"[bytes[i] & 15];
    }
    return text;
}

std::vector<int> messageBits(const std::string& payload) {
    std::vector<int> bits;
    for (std::size_t i = 0; i < 77; ++i)
        bits.push_back((std::stoi(payload.substr(i / 4, 1), nullptr, 16) >> (3 - i % 4)) & 1);
    return bits;
}

void addSignal(std::vector<double>& audio, Mode mode, const std::string& tones, double frequency,
               double start, double amplitude) {
    const bool ft4 = mode == Mode::Ft4;
    const std::string symbols = ft4 ? "0" + tones + "0" : tones;
    const double seconds = symbolSeconds(mode);
    const double bandwidthTime = ft4 ? 1.0 : 2.0;
    const double from = ft4 ? start - seconds : start;
    const double rampSymbols = ft4 ? 1.0 : 0.125;
    const auto last = static_cast<int>(symbols.size()) - 1;
    double phase = 0.0;
    const auto total = static_cast<double>(symbols.size());
    for (std::size_t n = 0; n < audio.size(); ++n) {
        const double t = (static_cast<double>(n) / kRate - from) / seconds; // in symbols
        if (t < 0.0 || t >= total)
            continue;
        const int own = static_cast<int>(t);
        double tone = 0.0;
        for (int m = own - 2; m <= own + 2; ++m) {
            const int shown = m < 0 ? 0 : m > last ? last : m;
            tone += (symbols[static_cast<std::size_t>(shown)] - '0') * pulse(bandwidthTime, t - m - 0.5);
        }
        double envelope = 1.0;
        const double edge = std::min(t, total - t);
        if (edge < rampSymbols)
            envelope = 0.5 * (1.0 - std::cos(kPi * edge / rampSymbols));
        audio[n] += amplitude * envelope * std::sin(phase);
        phase = std::fmod(phase + 2.0 * kPi * (frequency + tone / seconds) / kRate, 2.0 * kPi);
    }
}

void addNoise(std::vector<double>& audio, double sigma, std::mt19937_64& random) {
    std::normal_distribution<double> noise(0.0, sigma);
    for (double& sample : audio)
        sample += noise(random);
}

double amplitudeFor(double snrDb, double sigma) {
    const double noisePower = sigma * sigma * 2500.0 / (kRate / 2.0);
    return std::sqrt(2.0 * noisePower * std::pow(10.0, snrDb / 10.0));
}

std::vector<unsigned char> wavBytes(const std::vector<double>& audio, int rate) {
    const auto dataBytes = static_cast<std::uint32_t>(audio.size() * 2);
    std::vector<unsigned char> bytes(44 + audio.size() * 2);
    std::memcpy(bytes.data(), "RIFF....WAVEfmt ", 16);
    put(bytes, 4, dataBytes + 36);
    put(bytes, 16, std::uint32_t{16});
    put(bytes, 20, std::uint16_t{1});
    put(bytes, 22, std::uint16_t{1});
    put(bytes, 24, static_cast<std::uint32_t>(rate));
    put(bytes, 28, static_cast<std::uint32_t>(rate) * 2);
    put(bytes, 32, std::uint16_t{2});
    put(bytes, 34, std::uint16_t{16});
    std::memcpy(bytes.data() + 36, "data", 4);
    put(bytes, 40, dataBytes);
    for (std::size_t i = 0; i < audio.size(); ++i) {
        const double clipped = std::max(-32768.0, std::min(32767.0, audio[i]));
        put(bytes, 44 + 2 * i, static_cast<std::int16_t>(std::lround(clipped)));
    }
    return bytes;
}

std::string writeFile(const std::string& name, const std::vector<unsigned char>& bytes) {
    static Folder folder;
    const std::string path = folder.add(name);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush())
        throw std::runtime_error("cannot write " + path);
    return path;
}

} // namespace ferrow::test
