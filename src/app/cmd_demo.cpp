// demo: writes a demonstration data set and does the program's main job on it.
#include "app/command_line.h"
#include "app/commands.h"
#include "app/demo_set.h"
#include "app/fit_job.h"
#include "app/start.h"
#include "base/messages.h"

#include <cstdio>
#include <filesystem>
#include <memory>

namespace Commands {

namespace {

struct Arguments {
    std::string Folder;
    std::uint64_t Seed = 1;
    bool Force = false;
};

FitJob JobOn(const std::string& file, const char* target, const char* type) {
    FitJob job;
    job.File = file;
    job.Target = target;
    job.Type = type;
    job.Corrections.Zero = true;
    job.Store = true;
    return job;
}

// What a first look at such a recording asks: how fast the current activates, how fast it turns off again,
// and how the membrane charges.
std::vector<std::pair<const char*, FitJob>> JobsOn(const std::string& file) {
    FitJob activation = JobOn(file, "1.1", "Hodgkin&Huxley");
    activation.Params = {"PowerM=4", "TauM=0.005", "PowerH=0"};
    activation.MaxIterations = 400;
    FitJob tail = JobOn(file, "1.1", "Exponential");
    tail.Segment = 3;
    tail.Bounds = "2,100";
    FitJob charging = JobOn(file, "1.2.1", "1-Exponential");
    charging.Corrections.Zero = false;
    charging.Bounds = "0,3";
    return {{"Activation of the K current (n^4)", activation},
            {"Tail current after the step", tail},
            {"Charging of the membrane", charging}};
}

int Demo(const Arguments& arguments) {
    std::error_code error;
    std::filesystem::create_directories(arguments.Folder, error);
    if (error) {
        Messages::Alert("Cannot make the folder \"" + arguments.Folder + "\": " + error.message());
        return CommandLine::Failed;
    }
    const std::string file = (std::filesystem::path(arguments.Folder) / "demo.dat").string();
    if (Files::Exists(file) && !arguments.Force) {
        Messages::Alert("\"" + file + "\" exists; --force writes it anew.");
        return CommandLine::Failed;
    }
    if (!DemoSet::Write(file, arguments.Seed, Start::VersionName())) return CommandLine::Failed;
    // Results of a former demonstration do not belong to the new data.
    const std::string results = Files::WithExtension(file, ".ana");
    if (Files::Exists(results) && Files::Remove(results) != 0) return CommandLine::Failed;
    std::printf("Written: %s\n", file.c_str());
    for (const auto& [title, job] : JobsOn(file)) {
        std::printf("\n%s: %s of %s\n", title, job.Type.c_str(), job.Target.c_str());
        const int status = RunFitJob(job);
        if (status != CommandLine::Done) return status;
    }
    std::printf("\nResults stored: %s\n", results.c_str());
    return std::fflush(stdout) == 0 ? CommandLine::Done : CommandLine::Failed;
}

}

Procedure DeclareDemo(const Words& words) {
    const auto arguments = std::make_shared<Arguments>();
    words.Add("DIR", arguments->Folder, "Folder for the data set and its results").Needed();
    words.Add("--seed", arguments->Seed, "Seed of the simulated noise");
    words.Flag("--force", arguments->Force, "Write over an earlier demonstration");
    return [arguments] { return Demo(*arguments); };
}

}
