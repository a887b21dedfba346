#include "tests/soak/plan.hpp"
#include "tests/soak/run.hpp"

#include <CLI/CLI.hpp>
#include <cstdio>

int main(int argc, char** argv) {
    ferrow::soak::Options options;
    CLI::App program{"The library under load and faults, for as long as one likes; 1 if a criterion is not "
                     "met, 2 for a wrong "
                     "command line.",
                     "ferrow-soak"};
    program.add_option("--minutes", options.minutes)->check(CLI::Range(0.1, 100000.0))->capture_default_str();
    program.add_option("--plan", options.plan)
        ->check(CLI::IsMember({"full", "drift"}))
        ->capture_default_str();
    program.add_option("--seed", options.seed, "of all that is done at random")->capture_default_str();
    program.add_option("--transceivers", options.transceivers)
        ->check(CLI::Range(5, 64))
        ->capture_default_str();
    program.add_option("--folder", options.folder, "for logs and recordings");
    program.add_option("--json", options.json, "file for the report");
    CLI11_PARSE(program, argc, argv);
    try {
        return ferrow::soak::run(options) ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ferrow-soak: %s\n", error.what());
        return 1;
    }
}
