// make-sample-device DIR [--scale N] [--seed N] [--plan]: makes a whole device in DIR, which must be missing
// or empty, to try Slicewise on. See SampleDevice.h for what is in it.
//
// Says in one line what it made; with --plan prints a line for each file instead: its path on the device, its
// size in bytes and the category that Slicewise files it under, with tabs between them.
#include "tests/support/SampleDevice.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

namespace {

void print(const slicewise::SampleDevicePlan &plan)
{
    for (const slicewise::SampleFile &file : plan.files) {
        fmt::print("{}\t{}\t{}\n", file.path, file.sizeBytes, file.category);
    }
}

int run(int argc, char **argv)
{
    CLI::App app("Makes a whole device of files to try Slicewise on.", "make-sample-device");
    std::string directory;
    slicewise::SampleDeviceOptions options;
    bool printsPlan = false;
    app.add_option("DIR", directory, "Where; a folder that is missing or empty")->required();
    app.add_option("--scale", options.scale, "How many times as many files as about 6,000")
        ->check(CLI::Range(0.001, 10'000.0))
        ->capture_default_str();
    app.add_option("--seed", options.seed, "Another number makes another device")->capture_default_str();
    app.add_flag("--plan", printsPlan, "Print path, size and category of each file");
    CLI11_PARSE(app, argc, argv);

    const slicewise::SampleDevicePlan plan = slicewise::makeSampleDevice(directory, options);
    if (printsPlan) {
        print(plan);
    } else {
        fmt::print("{}: {} files, {} bytes\n", directory, plan.files.size(), plan.totalBytes);
    }
    if (std::fflush(stdout) != 0) {
        throw std::runtime_error("standard output can't be written to");
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "make-sample-device: %s\n", failure.what());
        return 1;
    }
}
