#include "tests/soak/run.hpp"

#include "host/failure.hpp"
#include "host/interrupt.hpp"
#include "host/sim_process.hpp"
#include "tests/soak/drift.hpp"
#include "tests/soak/memory_line.hpp"
#include "tests/soak/soak.hpp"
#include "tests/soak/verdict.hpp"
#include "tests/support/sanitizer.hpp"

#include <cstdlib>
#include <fcntl.h>
#include <fmt/format.h>
#include <fstream>
#include <unistd.h>

namespace ferrow::soak {
namespace {

namespace fs = std::filesystem;

// The library prints received RTTY; what this program prints goes past it.
class OwnOutput {
public:
    OwnOutput() : file_(fdopen(dup(STDOUT_FILENO), "w")) {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    ~OwnOutput() { std::fclose(file_); }
    OwnOutput(const OwnOutput&) = delete;
    OwnOutput& operator=(const OwnOutput&) = delete;
    void print(const std::string& text) {
        std::fputs(text.c_str(), file_);
        std::fflush(file_);
    }

private:
    std::FILE* file_;
};

fs::path ownFolder() {
    std::string pattern = (fs::temp_directory_path() / "ferrow-soak-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw Failure("no folder " + pattern);
    return pattern;
}

} // namespace

bool run(const Options& options) {
    const Plan plan = planNamed(options.plan, options.minutes * 60);
    const bool temporary = options.folder.empty();
    const fs::path folder = temporary ? ownFolder() : fs::absolute(options.folder);
    fs::create_directories(folder);
    setenv("FERROW_CHIRP_CSV", (folder / "chirp.csv").c_str(), 1);
    OwnOutput output;
    output.print(fmt::format("soak: plan {}, {:g} minutes, seed {}, files in {}\n", plan.name,
                             options.minutes, options.seed, folder.string()));
    watchInterrupts();
    Verdict verdict;
    nlohmann::json report = {{"plan", plan.name},
                             {"minutes_asked", options.minutes},
                             {"seed", options.seed},
                             {"transceivers", options.transceivers},
                             {"receivers", kReceivers},
                             {"rate", kRate},
                             {"sanitizer", test::kSanitized}};
    int left = 0;
    {
        Soak soak(plan, options, folder);
        // What has been counted until a failure is judged as well.
        try {
            if (plan.drift)
                runDrift(soak, plan, verdict, report);
            else
                soak.run(options.minutes * 60);
        } catch (const Failure& failure) {
            verdict.add("the run itself", false, failure.what(), "to its end");
        }
        soak.judge(verdict, report);
        left = soak.close();
    }
    verdict.add("objects left at the end", left == 0, std::to_string(left), "0");
    report["criteria"] = verdict.json();
    report["met"] = verdict.met();
    if (!options.json.empty())
        std::ofstream(options.json) << report.dump(1) << "\n";
    output.print(verdict.table());
    output.print(verdict.met() ? "soak: all criteria met\n" : "soak: NOT all criteria met\n");
    if (temporary && verdict.met())
        fs::remove_all(folder);
    return verdict.met();
}

} // namespace ferrow::soak
