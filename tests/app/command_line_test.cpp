// The program as users run it: its exit status, what it prints, and what it leaves behind.
#include "app/command_line.h"
#include "base/bytes.h"
#include "setup/settings.h"
#include "support/program.h"
#include "support/tree_bytes.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <sstream>
#include <vector>

using Support::Json;
using Support::Qorvanite;
using Support::Result;
using Support::RunJson;

namespace {

// The n-th record of a level, counted through the whole tree.
const Json* Pick(const Json& record, int level, int& number) {
    if (level == 0) return --number == 0 ? &record : nullptr;
    for (const Json& child : record["Children"])
        if (const Json* const found = Pick(child, level - 1, number)) return found;
    return nullptr;
}

}

TEST(CommandLine, UseAndFailureHaveTheirStatus) {
    const struct {
        const char* Words;
        int Status;
        const char* Errors; // a part of what is said
    } cases[] = {
        {"--version", 0, ""},
        {"", 1, "There is no display"}, // the desktop is meant
        {"unknown plain.dat", 2, ""},
        {"info", 2, "FILE is required"},
        {"info plain.dat --tree vnc,xyz", 2, "There is no tree \"xyz\": vnc, pgf, amp, sol, ana, onl."},
        {"info plain.dat --answer maybe", 2, "--answer"},
        {"info none.dat", 1, "No such file or directory"},
        {"info plain.pgf --tree pgf", 0, ""},
        {"trace plain.dat 1.1.1", 2, "A trace is named by group.series.sweep.trace, such as 1.2.1.1."},
        {"trace plain.dat 1.1..1", 2, "A trace is named"},
        {"trace plain.dat 1.1.1.99999999999", 2, "A trace is named"},
        {"trace plain.dat 1.1.1.1 --points 0", 2, "--points"},
        {"trace plain.dat 7.1.1.1", 1, "There is no group 7 for target 7.1.1.1 (2 there)."},
        {"trace plain.dat 1.1.1.1 --first 440", 1, "Error: loading beyond Trace end"},
        {"trace plain.dat 1.1.1.1 --out /nowhere/at/all.csv", 1, "Error writing \"/nowhere/at"},
        {"stimulus plain.dat 1.1", 2, "A sweep is named by group.series.sweep, such as 1.2.1."},
        {"stimulus plain.dat 1.1.1 --channel 9", 1, "The stimulus has no channel 9."},
        {"fit plain.dat 1.1.1 --type Fourier", 2, "The type \"Fourier\" cannot be fitted."},
        {"fit plain.dat 1.1.1 --type polynomial --bounds 90,10", 2, "Bounds are two percentages"},
        {"fit plain.dat 1.1.1 --type polynomial --param Tau1=1", 2, "\"Tau1=1\" sets no"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.Words);
        const Result result = Qorvanite(one.Words);
        EXPECT_EQ(result.Status, one.Status) << result.Errors;
        EXPECT_NE(result.Errors.find(one.Errors), std::string::npos) << result.Errors;
        EXPECT_EQ(result.Out.empty(), one.Status != 0);
        EXPECT_EQ(result.Errors.empty(), one.Status == 0) << result.Errors;
    }
}

// A full disk behind standard output must not look like success.
TEST(CommandLine, AnOutputThatCannotBeWrittenIsAFailure) {
    for (const char* const words : {"info plain.dat", "info plain.dat --tree vnc", "info plain.dat --json",
                                    "trace plain.dat 1.1.1.1", "stimulus plain.dat 1.1.1"}) {
        const Result result = Qorvanite(words, "/dev/full");
        EXPECT_TRUE(result.Status == 1 && result.Errors != "") << words;
    }
}

TEST(CommandLine, InfoListsEveryFieldUnderItsName) {
    int records = 0;
    for (const char* const set : {"plain", "bigtree", "functions"}) {
        const Json expected = Support::Expected(set);
        const bool dataSet = expected.contains("kind");
        const Json info = RunJson(std::string("info ") + set + (dataSet ? ".dat" : ".onl"));
        EXPECT_EQ(info["Kind"], dataSet ? expected["kind"] : Json(nullptr));
        EXPECT_EQ(info["Trees"].size(), expected["trees"].size());
        for (std::size_t i = 0; i < info["Items"].size(); ++i)
            EXPECT_EQ(info["Items"][i], expected["header"]["Item"][i]);
        for (const auto& [key, tree] : expected["trees"].items()) {
            const Json& got = info["Trees"][key];
            EXPECT_EQ(got["Order"], tree["order"]);
            EXPECT_EQ(got["Levels"], tree["levels"]);
            for (const Json& picked : tree["picked"]) {
                int number = picked["number"];
                const Json* const record = Pick(got["Root"], picked["level"], number);
                ASSERT_NE(record, nullptr);
                for (const auto& [name, value] : picked["fields"].items()) {
                    if (name == "SeScanData") continue; // the block of another unit is left out
                    EXPECT_EQ(record->value(name, Json("none")), value) << set << "." << key << " " << name;
                }
                ++records;
            }
        }
    }
    EXPECT_GE(records, 35);
    EXPECT_EQ(RunJson("info bigtree.dat --tree sol")["Trees"].size(), 1u);
    const std::string text = Qorvanite("info bigtree.dat").Out + Qorvanite("info bigtree.dat --tree sol").Out;
    for (const char* const part :
         {": bundle", "Vennic tree (big endian): 1 VennicGroup, 1 VennicSeries, 4 VennicSweep",
          "1 E-1  swapped trees", "1.1    IV", "SrName External TTX"})
        EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
}

TEST(CommandLine, ATraceComesAsCsvJsonOrNumpyFile) {
    const Support::TempFolder folder;
    const std::string trace = "trace plain.dat 1.1.1.1 --zero";
    Json json = RunJson(trace);
    const auto samples = json["Samples"].get<std::vector<float>>();
    const double start = json["XStart"], interval = json["XInterval"];
    for (const char* const gone : {"Samples", "XStart", "XInterval"}) json.erase(gone);
    EXPECT_EQ(json.dump(), R"({"FirstPoint":0,"Points":440,"Target":"1.1.1.1","XUnit":"s","YUnit":"A"})");
    const Json wanted = Support::Expected("plain")["traces"][0]["leak_zero"];
    for (std::size_t i = 0; i < wanted["indices"].size(); ++i)
        EXPECT_FLOAT_EQ(samples.at(wanted["indices"][i]), wanted["values"][i]);

    ASSERT_EQ(Qorvanite(trace + " --out " + folder.At("t.npy")).Status, 0);
    const std::string npy = Support::ReadWhole(folder.At("t.npy"));
    const std::size_t header = 10 + Bytes::Load<std::uint16_t>(npy.data() + 8);
    EXPECT_TRUE(npy.starts_with(std::string("\x93NUMPY\1\0", 8)) && header % 64 == 0);
    EXPECT_NE(npy.find("'descr': '<f4', 'fortran_order': False, 'shape': (440,), }"), std::string::npos);
    ASSERT_EQ(npy.size(), header + 440 * 4);
    EXPECT_EQ(std::memcmp(npy.data() + header, samples.data(), 440 * 4), 0);

    ASSERT_EQ(Qorvanite(trace + " --out " + folder.At("t.csv")).Status, 0);
    std::istringstream lines(Qorvanite(trace).Out);
    EXPECT_EQ(lines.str(), Support::ReadWhole(folder.At("t.csv")));
    std::string line;
    ASSERT_TRUE(std::getline(lines, line) && line == "s,A");
    for (std::size_t i = 0; i < 440; ++i) {
        ASSERT_TRUE(std::getline(lines, line));
        EXPECT_DOUBLE_EQ(std::stod(line), start + static_cast<double>(i) * interval);
        EXPECT_EQ(std::stof(line.substr(line.find(',') + 1)), samples[i]); // reads back to the same bits
    }
    EXPECT_FALSE(std::getline(lines, line));
}

TEST(CommandLine, TheOptionsOfATraceReachItsLoad) {
    const auto expectFirst = [](const Json& trace, const Json& wanted) {
        EXPECT_FLOAT_EQ(trace["Samples"][0].get<float>(), wanted["values"][0]);
    };
    const Json part = RunJson("trace weave.dat 1.1.1.1 --no-leak --first 300 --points 200");
    expectFirst(part, Support::Expected("weave")["partial"][0]["raw"]);
    EXPECT_EQ(part["Points"], 200);
    EXPECT_DOUBLE_EQ(part["XStart"], 300 * part["XInterval"].get<double>());
    expectFirst(RunJson("trace relax.dat 1.1.1.1 --zero --reference 1.2"),
                Support::Expected("relax")["reference"]["traces"][0]["zero_then_reference"]);
    expectFirst(RunJson("trace steps.dat 1.1.5.1 --no-leak --filter 3000"),
                Support::Expected("steps")["filters"][0]["raw"]);
}

TEST(CommandLine, AStimulusIsWholeOrOnlyWhatWasStored) {
    const Json expected = Support::Expected("steps")["stimuli"];
    const Json wanted = *std::find_if(expected.begin(), expected.end(), [](const Json& entry) {
        return entry["path"] == Json{1, 2, 3} && entry["channel"] == 1;
    });
    const Json whole = RunJson("stimulus steps.dat 1.2.3 --channel 1")["Channels"][0];
    const Json stored = RunJson("stimulus steps.dat 1.2.3 --stored")["Channels"][0];
    EXPECT_EQ(whole["Samples"].size(), wanted["length"].get<std::size_t>());
    EXPECT_EQ(stored["Samples"].size(), wanted["stored_length"].get<std::size_t>());
    EXPECT_DOUBLE_EQ(whole["Segments"][1]["Voltage"], wanted["voltages"][1]);
    EXPECT_DOUBLE_EQ(whole["Holding"], wanted["holding"]);
}

TEST(CommandLine, TheOptionsOfAFitReachItAndItsResultsAreNamed) {
    const Json fit =
        RunJson("fit relax.dat 1.1.2 --type exponential --bounds 25,75 --param Amp0=-1.5e-10:hold "
                "--param TAU1=0.02 --max-points 100 --trace 1");
    EXPECT_EQ(fit["Type"], "Exponential");
    const Json& sweep = fit["Sweeps"][0];
    EXPECT_EQ(sweep["Target"], "1.1.2");
    EXPECT_EQ(sweep["RangePoints"], 400); // half of a segment of 800
    EXPECT_EQ(sweep["FitPoints"], 100);
    EXPECT_NEAR(sweep["FirstX"].get<double>(), 0.02, 1e-12);
    EXPECT_EQ(sweep["FitTermination"], 2);
    EXPECT_EQ(sweep["Parameters"][0],
              Json({{"Name", "amp0"}, {"Value", -1.5e-10}, {"State", 1}, {"Store", 1}, {"Unit", "A"}}));
    EXPECT_EQ(sweep["Parameters"].back()["Name"], "Residual");

    const Json shown = RunJson("fit relax.dat 1.1 --type 1-exponential --segment 1 --show")["Sweeps"];
    ASSERT_EQ(shown.size(), 5u);
    EXPECT_EQ(shown[4]["RangePoints"], 100); // the first segment
    EXPECT_EQ(shown[4]["FitTermination"], 0);
}

TEST(CommandLine, ADemonstrationIsAnalysedAndFurtherFitsAppendTheirResults) {
    const Support::TempFolder folder;
    const std::string data = folder.At("demo.dat");
    EXPECT_EQ(Qorvanite("demo '" + folder.Path + "' --seed 7").Status, 0);
    const std::string recorded = Support::ReadWhole(data);
    EXPECT_EQ(Qorvanite("demo '" + folder.Path + "'").Status, 1); // not over what is there
    const auto analyses = [&] {
        return RunJson("info '" + data +
                       "'")["Trees"]["ana"]["Root"]["Children"][0]["Children"][0]["Children"]
            .size();
    };
    EXPECT_EQ(analyses(), 2u);
    const std::string fit = "fit '" + data + "' 1.1 --type polynomial";
    EXPECT_EQ(Qorvanite(fit).Status, 0);
    EXPECT_EQ(analyses(), 2u); // nothing is stored unasked
    EXPECT_EQ(Qorvanite(fit + " --store").Status, 0);
    EXPECT_EQ(analyses(), 3u);
    EXPECT_EQ(Qorvanite(fit + " --store --overwrite").Status, 0);
    EXPECT_EQ(analyses(), 3u);
    EXPECT_EQ(Support::ReadWhole(data), recorded);
}

TEST(CommandLine, QuestionsAreAnsweredAsAsked) {
    const struct {
        const char *File, *Answer;
        int Status;
        const char* Said;
    } cases[] = {{"version-8.dat", "ask", 0, "(v8).\nLoad anyway?\nYes\n"},
                 {"version-8.dat", "no", 1, "Load anyway?\nNo\n"},
                 {"version-99.dat", "ask", 1, "(v99).\nLoad anyway?\nNo\n"},
                 {"online-version-11.onl", "yes", 0, "Load anyway?\nYes\n"},
                 {"online-empty.onl", "ask", 0, ""}};
    for (const auto& one : cases) {
        SCOPED_TRACE(std::string(one.File) + " " + one.Answer);
        const Support::TempFolder folder;
        const std::string path = folder.Write(one.File, Support::DamagedFile(one.File));
        const Result result = Qorvanite("info " + path + " --answer " + one.Answer);
        EXPECT_EQ(result.Status, one.Status) << result.Errors;
        EXPECT_NE(result.Errors.find(one.Said), std::string::npos) << result.Errors;
        EXPECT_EQ(folder.Count(), 1); // looking at a file writes nothing
    }
}

TEST(CommandLine, NumbersThatAreNotFiniteAreWordsAndTextsAreUtf8) {
    const Support::TempFolder folder;
    std::string bytes = Support::DamagedFile("not-numbers.dat");
    bytes.replace(bytes.find("E-1"), 3, "\xB5-1");
    const Json info = RunJson("info " + folder.Write("n.dat", bytes));
    ASSERT_FALSE(info.is_discarded());
    EXPECT_NE(info.dump().find("\"NAN\""), std::string::npos);
    EXPECT_EQ(info["Trees"]["vnc"]["Root"]["Children"][0]["GrLabel"], "\xC2\xB5-1");
    EXPECT_EQ(RunJson("trace " + folder.At("n.dat") + " 1.1.1.1 --no-leak")["Samples"][0], "NAN");
}

// The first trace of the sound data set says that it has so many points, in blocks that all lie on one
// another.
TEST(CommandLine, RoomIsMadeForTheLongestTraceThatTheFileCanHold) {
    constexpr std::size_t TraceAt = 3500;
    for (const auto& [points, room] : {std::pair{300'000, 300'000}, {2'000'000'000, 350'000}}) {
        std::string bytes = Support::SoundData();
        Support::Patch(bytes, TraceAt + 44, points);
        Support::Patch(bytes, TraceAt + 292, points > 350'000 ? 2 : 0);
        bytes.resize(700'000);
        const Support::TempFolder folder;
        Setup::Settings = {};
        ASSERT_TRUE(CommandLine::Open(folder.Write("long.dat", bytes), OpenMode::Read));
        EXPECT_EQ(Setup::Settings.MaxSamplePoints, room);
        EXPECT_EQ(Setup::Settings.MaxStimPoints, room);
        CommandLine::CloseSession();
    }
    Setup::Settings = {};
}
