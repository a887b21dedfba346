// Includes go one way, from a layer to those below it.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = FERROW_SOURCE_DIR;

// The folders that each folder's files may include from, besides themselves.
const std::map<std::string, std::set<std::string>> kMayInclude{
    {"core/tasks", {}},
    {"core/buff", {}},
    {"core/async", {"core/tasks", "core/buff"}},
    {"core/fft", {"core/tasks", "core/buff"}},
    {"core/audio", {"core/tasks", "core/buff", "core/async", "core/fft"}},
    {"trx/dsp", {"core/buff", "core/fft"}},
    {"trx/denoise", {"core/buff", "core/fft"}},
    {"trx",
     {"core/tasks", "core/buff", "core/async", "core/fft", "core/audio", "trx/dsp", "trx/denoise"}},
    {"modes",
     {"core/tasks", "core/buff", "core/async", "core/fft", "core/audio", "trx", "trx/dsp", "include"}},
    {"radios", {"core/tasks", "core/buff", "core/async", "core/fft", "core/audio", "trx", "trx/dsp"}},
    {"core/api",
     {"core/tasks", "core/buff", "core/async", "core/fft", "core/audio", "trx", "trx/dsp", "modes", "radios",
      "include"}},
    {"host", {"include"}},
    {"sim", {}},
    {"include", {}},
};

// The longest known folder that a path from the root lies in; empty for none.
std::string layerOf(const std::string& path) {
    std::string best;
    for (const auto& [layer, allowed] : kMayInclude)
        if (path.rfind(layer + "/", 0) == 0 && layer.size() > best.size())
            best = layer;
    return best;
}

// Wrong arrows among files of `root`, each as "file: included".
std::vector<std::string> wrongArrows(const fs::path& root) {
    static const std::regex include(R"re(^\s*#\s*include\s*["<]([^">]+)[">])re");
    std::vector<std::string> wrong;
    for (const auto& [layer, allowed] : kMayInclude) {
        if (!fs::exists(root / layer))
            continue;
        for (const auto& entry : fs::recursive_directory_iterator(root / layer)) {
            const std::string extension = entry.path().extension().string();
            if (extension != ".cpp" && extension != ".hpp" && extension != ".h")
                continue;
            const std::string file = fs::relative(entry.path(), root).string();
            if (layerOf(file) != layer)
                continue;
            std::ifstream in(entry.path());
            for (std::string line; std::getline(in, line);) {
                std::smatch match;
                if (!std::regex_search(line, match, include))
                    continue;
                std::string target = match[1];
                if (target.rfind("ferrowcore/", 0) == 0)
                    target = "include/" + target;
                const std::string other = layerOf(target);
                if (!other.empty() && other != layer && allowed.count(other) == 0)
                    wrong.push_back(file + ": " + target);
            }
        }
    }
    return wrong;
}

TEST(IncludeArrows, PointDownTheLayers) {
    for (const std::string& arrow : wrongArrows(kRoot))
        ADD_FAILURE() << arrow;
}

TEST(IncludeArrows, AnArrowThatPointsUpIsFound) {
    const fs::path root = fs::temp_directory_path() / ("ferrow-arrows-" + std::to_string(getpid()));
    fs::create_directories(root / "core/tasks");
    fs::create_directories(root / "radios/x");
    fs::create_directories(root / "sim");
    std::ofstream(root / "core/tasks/a.hpp") << "#include \"core/async/async_object.hpp\"\n";
    std::ofstream(root / "radios/x/b.cpp")
        << "  #  include \"modes/ssb_mod_demod.hpp\"\n#include \"trx/radio.hpp\"\n";
    std::ofstream(root / "sim/c.cpp") << "#include <ferrowcore/agc.h>\n";
    EXPECT_EQ(wrongArrows(root).size(), 3u);
    fs::remove_all(root);
}

} // namespace
