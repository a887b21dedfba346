// The exported names against the public headers, both ways, and against the list of the whole interface.

#include <ferrowcore/ferrowcore.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

Names headerNames() {
    static const std::regex declaration(R"(FERROW_API\s+[^;(]*?([A-Za-z_0-9]+)\s*\()");
    Names names;
    for (const auto& entry : fs::directory_iterator(fs::path(FERROW_SOURCE_DIR) / "include/ferrowcore")) {
        if (entry.path().filename() == "export.h")
            continue;
        std::ifstream in(entry.path());
        const std::string text{std::istreambuf_iterator<char>(in), {}};
        for (std::sregex_iterator i(text.begin(), text.end(), declaration), end; i != end; ++i)
            names.insert((*i)[1]);
    }
    return names;
}

Names libraryNames() {
    const std::string command = std::string("nm -D --defined-only ") + FERROW_LIBRARY;
    std::FILE* nm = popen(command.c_str(), "r");
    Names names;
    std::array<char, 512> line{};
    while (std::fgets(line.data(), line.size(), nm) != nullptr) {
        char kind = 0;
        std::array<char, 256> name{};
        if (std::sscanf(line.data(), "%*s %c %255[^@\n]", &kind, name.data()) == 2 && kind != 'A')
            names.insert(name.data());
    }
    pclose(nm);
    return names;
}

Names wholeInterface() {
    std::ifstream in(fs::path(FERROW_SOURCE_DIR) / "tests/data/exports.txt");
    Names names;
    for (std::string name; in >> name;)
        names.insert(name);
    return names;
}

std::string classOf(const std::string& name) {
    return name.substr(0, name.find('_'));
}

Names difference(const Names& a, const Names& b) {
    Names out;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::inserter(out, out.end()));
    return out;
}

std::string joined(const Names& names) {
    std::string out;
    for (const auto& name : names)
        out += name + " ";
    return out;
}

TEST(Exports, HeadersAndLibraryAgreeBothWays) {
    const Names header = headerNames(), library = libraryNames();
    ASSERT_GT(header.size(), 300u);
    EXPECT_EQ(joined(difference(header, library)), "") << "declared and not exported";
    EXPECT_EQ(joined(difference(library, header)), "") << "exported and not declared";
}

TEST(Exports, AreTheWholeInterfaceAndNothingElse) {
    const Names library = libraryNames(), whole = wholeInterface();
    EXPECT_EQ(whole.size(), 634u);
    EXPECT_EQ(joined(difference(whole, library)), "") << "not exported";
    EXPECT_EQ(joined(difference(library, whole)), "") << "exported beyond the interface";
}

TEST(Exports, AllReleaseNamesAreOneFunction) {
    void* const one = dlsym(RTLD_DEFAULT, "asyncObject_release");
    ASSERT_NE(one, nullptr);
    int count = 0;
    for (const auto& name : libraryNames())
        if (name.size() > 8 && name.rfind("_release") == name.size() - 8) {
            EXPECT_EQ(dlsym(RTLD_DEFAULT, name.c_str()), one) << name;
            ++count;
        }
    EXPECT_EQ(count, 36);
    asyncObject_release(nullptr); // accepted
}

// Every setter, reset and verb, called with a null handle, logs the label that its task would carry.
TEST(Exports, LabelsFollowTheirPattern) {
    const fs::path log = fs::temp_directory_path() / ("ferrow-labels-" + std::to_string(getpid()) + ".log");
    fs::remove(log);
    init(log.c_str(), 0);
    const std::regex setter("([A-Za-z0-9]+)_(set|reset)([A-Za-z0-9]+)");
    const std::set<std::string> setVerbs{"vtrx_setModulation", "vtrx_setRxFilter", "vtrx_setRxFrequency",
                                         "vtrx_setTxFilter"};
    const std::set<std::string> noObject{
        "floatArray", "doubleArray", "complexArray",     "mem",      "fft", "crc12",
        "init",       "getUpdates",  "getRenderUpdates", "ft8decode"};
    int checked = 0;
    for (const auto& name : libraryNames()) {
        const std::string owner = classOf(name);
        if (noObject.count(owner) != 0)
            continue;
        const std::string rest = name.substr(owner.size() + 1);
        if (rest == "create" || rest == "release" || rest.rfind("bind", 0) == 0)
            continue;
        std::string label = owner + "." + rest + "()";
        std::smatch match;
        if (setVerbs.count(name) == 0 && std::regex_match(name, match, setter))
            label = owner + "." + match[3].str() + "." + match[2].str();
        using Call = void (*)(void*, void*, void*, void*);
        reinterpret_cast<Call>(dlsym(RTLD_DEFAULT, name.c_str()))(nullptr, nullptr, nullptr, nullptr);
        std::ifstream in(log);
        const std::string text{std::istreambuf_iterator<char>(in), {}};
        EXPECT_NE(text.find("] " + label + " null handle\n"), std::string::npos) << name << " -> " << label;
        ++checked;
    }
    EXPECT_GT(checked, 150);
    fs::remove(log);
}

} // namespace
