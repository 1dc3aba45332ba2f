// The program as users run it: its exit status, what it prints, and what it leaves behind.
#include "base/bytes.h"
#include "base/text.h"
#include "support/fixtures.h"

#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/wait.h>
#include <vector>

using Support::Json;
using Support::Recording;

namespace {

struct Result {
    int Status = -1;
    std::string Out, Errors;
};

// Runs the built program with its input closed; a word is passed as it is.
Result Qorvanite(const std::vector<std::string>& words, const std::string& out = "") {
    const Support::TempFolder folder;
    std::string line = "'" QORVANITE_PROGRAM "'";
    for (const std::string& word : words) line += " '" + word + "'";
    line += " </dev/null >'" + (out.empty() ? folder.At("out") : out) + "' 2>'" + folder.At("errors") + "'";
    Result result;
    const int status = std::system(line.c_str());
    result.Status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (out.empty()) result.Out = Support::ReadWhole(folder.At("out"));
    result.Errors = Support::ReadWhole(folder.At("errors"));
    return result;
}

Json RunJson(const std::vector<std::string>& words) {
    const Result result = Qorvanite(words);
    EXPECT_EQ(result.Status, 0) << result.Errors;
    return Json::parse(result.Out, nullptr, false);
}

// The n-th record of a level, counted through the whole tree.
const Json* Pick(const Json& record, int level, int& number) {
    if (level == 0) return --number == 0 ? &record : nullptr;
    for (const Json& child : record["Children"])
        if (const Json* const found = Pick(child, level - 1, number)) return found;
    return nullptr;
}

}

TEST(CommandLine, UseAndFailureHaveTheirStatus) {
    const std::string plain = Recording("plain.dat");
    struct Case {
        std::vector<std::string> Words;
        int Status;
        const char* Errors; // a part of what is said
    };
    const Case cases[] = {
        {{"info", plain}, 0, ""},
        {{"--version"}, 0, ""},
        {{"info", "--help"}, 0, ""},
        {{}, 2, "A command is needed."},
        {{"unknown", plain}, 2, ""},
        {{"info"}, 2, "FILE is required"},
        {{"info", plain, "--tree", "vnc,xyz"}, 2, "There is no tree \"xyz\": vnc, pgf, amp, sol, ana, onl."},
        {{"info", plain, "--answer", "maybe"}, 2, "--answer"},
        {{"info", Recording("none.dat")}, 1, "No such file or directory"},
        {{"info", Recording("none.vnc")}, 1, "Tree.Load - opening file failed"},
        {{"info", Recording("")}, 1, ""},
        {{"info", Recording("plain.pgf"), "--tree", "pgf"}, 0, ""},
        {{"trace", plain, "1.1.1"}, 2, "A trace is named by group.series.sweep.trace, such as 1.2.1.1."},
        {{"trace", plain, "1.1.1.0"}, 2, "A trace is named"},
        {{"trace", plain, "1.1..1"}, 2, "A trace is named"},
        {{"trace", plain, "1.1.1.1x"}, 2, "A trace is named"},
        {{"trace", plain, "1.1.1.99999999999"}, 2, "A trace is named"},
        {{"trace", plain, "1.1.1.1", "--points", "0"}, 2, "--points"},
        {{"trace", plain, "1.1.1.1", "--first", "-1"}, 2, "--first"},
        {{"trace", plain, "1.1.1.1", "--filter", "abc"}, 2, "--filter"},
        {{"trace", plain, "7.1.1.1"}, 1, "There is no group 7 for target 7.1.1.1 (2 there)."},
        {{"trace", plain, "1.1.1.9"}, 1, "There is no trace 9"},
        {{"trace", plain, "1.1.1.1", "--first", "440"}, 1, "Error: loading beyond Trace end"},
        {{"trace", plain, "1.1.1.1", "--reference", "1.9"}, 1, "There is no series 9"},
        {{"trace", plain, "1.1.1.1", "--out", "/nowhere/at/all.csv"},
         1,
         "Error writing \"/nowhere/at/all.csv\": "},
        {{"stimulus", plain, "1.1"}, 2, "A sweep is named by group.series.sweep, such as 1.2.1."},
        {{"stimulus", plain, "1.1.1", "--channel", "9"}, 1, "The stimulus has no channel 9."},
    };
    for (const Case& one : cases) {
        std::string line;
        for (const std::string& word : one.Words) line += word + " ";
        SCOPED_TRACE(line);
        const Result result = Qorvanite(one.Words);
        EXPECT_EQ(result.Status, one.Status) << result.Errors;
        EXPECT_NE(result.Errors.find(one.Errors), std::string::npos) << result.Errors;
        EXPECT_EQ(result.Out.empty(), one.Status != 0);
        EXPECT_EQ(result.Errors.empty(), one.Status == 0) << result.Errors;
    }
}

TEST(CommandLine, AReferenceMustBeASeries) {
    for (const char* const bad : {"1", "1.1.1", "x"}) {
        const Result result = Qorvanite({"trace", Recording("relax.dat"), "1.1.1.1", "--reference", bad});
        EXPECT_EQ(result.Status, 2) << bad;
        EXPECT_FALSE(result.Errors.empty()) << bad;
    }
}

// A full disk behind standard output must not look like success.
TEST(CommandLine, AnOutputThatCannotBeWrittenIsAFailure) {
    const std::string plain = Recording("plain.dat");
    const std::vector<std::vector<std::string>> commands = {
        {"info", plain},
        {"info", plain, "--tree", "vnc"},
        {"info", plain, "--json"},
        {"trace", plain, "1.1.1.1"},
        {"trace", plain, "1.1.1.1", "--json"},
        {"stimulus", plain, "1.1.1"},
        {"stimulus", plain, "1.1.1", "--json"},
    };
    for (const auto& words : commands) {
        const Result result = Qorvanite(words, "/dev/full");
        EXPECT_EQ(result.Status, 1) << words[0] << " " << words.size();
        EXPECT_FALSE(result.Errors.empty()) << words[0] << " " << words.size();
    }
}

TEST(CommandLine, InfoListsEveryFieldUnderItsName) {
    int records = 0;
    for (const char* const set : {"plain", "bigtree", "functions"}) {
        const Json expected = Support::Expected(set);
        const bool dataSet = expected.contains("kind");
        const Json info =
            RunJson({"info", Recording(std::string(set) + (dataSet ? ".dat" : ".onl")), "--json"});
        EXPECT_EQ(info["Kind"], dataSet ? expected["kind"] : Json(nullptr));
        EXPECT_EQ(info["Trees"].size(), expected["trees"].size());
        for (const auto& [key, tree] : expected["trees"].items()) {
            const Json& got = info["Trees"][key];
            EXPECT_EQ(got["Order"], tree["order"]);
            EXPECT_EQ(got["Levels"], tree["levels"]);
            for (const Json& picked : tree["picked"]) {
                int number = picked["number"];
                const Json* const record = Pick(got["Root"], picked["level"], number);
                ASSERT_NE(record, nullptr);
                for (const auto& [name, value] : picked["fields"].items()) {
                    // Blocks of other units are left out.
                    if (record->contains(name)) {
                        EXPECT_EQ((*record)[name], value) << set << "." << key << " " << name;
                    } else {
                        EXPECT_TRUE(name == "SeScanData") << name;
                    }
                }
                ++records;
            }
        }
    }
    EXPECT_GE(records, 35);
    const Json items = RunJson({"info", Recording("bigtree.dat"), "--json", "--tree", "sol"});
    EXPECT_EQ(items["Trees"].size(), 1u);
    EXPECT_EQ(items["Items"].size(), 6u);
    EXPECT_EQ(items["Items"][1], (Json{{"Extension", ".vnc"}, {"Start", 19456}, {"Length", 7720}}));
}

TEST(CommandLine, TextOfInfoNamesGroupsSeriesAndFields) {
    const Result overview = Qorvanite({"info", Recording("bigtree.dat")});
    for (const char* const part :
         {": bundle",
          "Vennic tree (big endian): 1 VennicGroup, 1 VennicSeries, 4 VennicSweep, 12 VennicTrace",
          "1 E-1  swapped trees", "1.1    IV"})
        EXPECT_NE(overview.Out.find(part), std::string::npos) << part << "\n" << overview.Out;
    const Result fields = Qorvanite({"info", Recording("bigtree.dat"), "--tree", "sol"});
    EXPECT_NE(fields.Out.find("SrName External TTX"), std::string::npos);
    EXPECT_EQ(fields.Out.find("RoVersion"), std::string::npos);
}

TEST(CommandLine, ATraceComesAsCsvJsonOrNumpyFile) {
    const std::string plain = Recording("plain.dat");
    const Json wanted = Support::Expected("plain")["traces"][0]["leak_zero"];
    const Json json = RunJson({"trace", plain, "1.1.1.1", "--zero", "--json"});
    EXPECT_EQ(json["Target"], "1.1.1.1");
    EXPECT_EQ(json["Points"], wanted["points"]);
    EXPECT_EQ(json["FirstPoint"], 0);
    EXPECT_EQ(json["XUnit"], "s");
    EXPECT_EQ(json["YUnit"], "A");
    for (std::size_t i = 0; i < wanted["indices"].size(); ++i)
        EXPECT_FLOAT_EQ(json["Samples"][wanted["indices"][i].get<std::size_t>()].get<float>(),
                        wanted["values"][i]);

    const Support::TempFolder folder;
    ASSERT_EQ(Qorvanite({"trace", plain, "1.1.1.1", "--zero", "--out", folder.At("t.npy")}).Status, 0);
    const std::string npy = Support::ReadWhole(folder.At("t.npy"));
    ASSERT_EQ(npy.substr(0, 8), std::string("\x93NUMPY\1\0", 8));
    const std::size_t header = 10 + Bytes::Load<std::uint16_t>(npy.data() + 8);
    EXPECT_EQ(header % 64, 0u);
    EXPECT_EQ(npy[header - 1], '\n');
    EXPECT_NE(npy.find("'descr': '<f4', 'fortran_order': False, 'shape': (440,), }"), std::string::npos);
    ASSERT_EQ(npy.size(), header + 440 * 4);

    ASSERT_EQ(Qorvanite({"trace", plain, "1.1.1.1", "--zero", "--out", folder.At("t.csv")}).Status, 0);
    const Result printed = Qorvanite({"trace", plain, "1.1.1.1", "--zero"});
    EXPECT_EQ(printed.Out, Support::ReadWhole(folder.At("t.csv")));
    std::istringstream lines(printed.Out);
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, "s,A");
    for (std::size_t i = 0; i < 440; ++i) {
        ASSERT_TRUE(std::getline(lines, line));
        const std::size_t comma = line.find(',');
        EXPECT_DOUBLE_EQ(std::stod(line), json["XStart"].get<double>() +
                                              static_cast<double>(i) * json["XInterval"].get<double>());
        const float sample = std::stof(line.substr(comma + 1));
        EXPECT_EQ(sample, Bytes::Load<float>(npy.data() + header + 4 * i)); // reads back to the same bits
        EXPECT_EQ(sample, json["Samples"][i].get<float>());
    }
    EXPECT_FALSE(std::getline(lines, line));
    EXPECT_EQ(folder.Count(), 2);
}

TEST(CommandLine, PartsAndReferencesAreThoseOfTheTrace) {
    const Json part = RunJson({"trace", Recording("weave.dat"), "1.1.1.1", "--no-leak", "--first", "300",
                               "--points", "200", "--json"});
    const Json wanted = Support::Expected("weave")["partial"][0];
    EXPECT_EQ(part["FirstPoint"], 300);
    EXPECT_EQ(part["Points"], 200);
    EXPECT_DOUBLE_EQ(part["XStart"], 300 * part["XInterval"].get<double>());
    EXPECT_EQ(part["Samples"][0].get<float>(), wanted["raw"]["values"][0].get<float>());

    const Json minus =
        RunJson({"trace", Recording("relax.dat"), "1.1.1.1", "--zero", "--reference", "1.2", "--json"});
    const Json reference = Support::Expected("relax")["reference"]["traces"][0]["zero_then_reference"];
    EXPECT_FLOAT_EQ(minus["Samples"][0].get<float>(), reference["values"][0]);
    const Json filtered =
        RunJson({"trace", Recording("steps.dat"), "1.1.5.1", "--no-leak", "--filter", "3000", "--json"});
    EXPECT_FLOAT_EQ(filtered["Samples"][0].get<float>(),
                    Support::Expected("steps")["filters"][0]["raw"]["values"][0]);
}

TEST(CommandLine, AStimulusIsWholeOrOnlyWhatWasStored) {
    const Json expected = Support::Expected("steps");
    for (const Json& wanted : expected["stimuli"]) {
        if (wanted["length"] == wanted["stored_length"]) continue;
        const std::string target = std::to_string(wanted["path"][0].get<int>()) + "." +
                                   std::to_string(wanted["path"][1].get<int>()) + "." +
                                   std::to_string(wanted["path"][2].get<int>());
        const std::string channel = std::to_string(wanted["channel"].get<int>());
        const Json whole =
            RunJson({"stimulus", Recording("steps.dat"), target, "--channel", channel, "--json"});
        const Json stored =
            RunJson({"stimulus", Recording("steps.dat"), target, "--channel", channel, "--stored", "--json"});
        ASSERT_EQ(whole["Channels"].size(), 1u);
        EXPECT_EQ(whole["Channels"][0]["Samples"].size(), wanted["length"].get<std::size_t>());
        EXPECT_EQ(stored["Channels"][0]["Samples"].size(), wanted["stored_length"].get<std::size_t>());
        EXPECT_EQ(stored["Channels"][0]["Segments"].size(), wanted["points"].size());
        EXPECT_DOUBLE_EQ(whole["Channels"][0]["Segments"][1]["Voltage"], wanted["voltages"][1]);
        EXPECT_DOUBLE_EQ(whole["Channels"][0]["Holding"], wanted["holding"]);
        const Result table = Qorvanite({"stimulus", Recording("steps.dat"), target});
        EXPECT_NE(table.Out.find("not stored"), std::string::npos);
        return;
    }
    FAIL() << "no segment that is not stored";
}

TEST(CommandLine, QuestionsAreAnsweredAsAsked) {
    struct Case {
        const char* File;
        const char* Answer;
        int Status;
        const char* Said;
    };
    const Json damages = Support::ReadJson("damage/damages.json");
    for (const Case& one : {Case{"version-8.dat", "ask", 0, "(v8).\nLoad anyway?\nYes\n"},
                            Case{"version-8.dat", "no", 1, "Load anyway?\nNo\n"},
                            Case{"version-99.dat", "ask", 1, "(v99).\nLoad anyway?\nNo\n"},
                            Case{"version-99.dat", "yes", 0, "Load anyway?\nYes\n"},
                            Case{"online-version-11.onl", "yes", 0, "Load anyway?\nYes\n"},
                            Case{"online-empty.onl", "ask", 0, ""}}) {
        SCOPED_TRACE(std::string(one.File) + " " + one.Answer);
        const Support::TempFolder folder;
        for (const Json& damage : damages)
            if (damage["file"] == one.File) (void)folder.Write(one.File, Support::Damaged(damage));
        const Result result = Qorvanite({"info", folder.At(one.File), "--answer", one.Answer});
        EXPECT_EQ(result.Status, one.Status) << result.Errors;
        EXPECT_NE(result.Errors.find(one.Said), std::string::npos) << result.Errors;
        EXPECT_EQ(folder.Count(), 1); // looking at a file writes nothing
    }
}

TEST(CommandLine, NumbersThatAreNotFiniteAreWordsAndTextsAreUtf8) {
    for (const Json& damage : Support::ReadJson("damage/damages.json")) {
        if (damage["file"] != "not-numbers.dat") continue;
        const Support::TempFolder folder;
        std::string bytes = Support::Damaged(damage);
        const std::size_t label = bytes.find("E-1");
        ASSERT_NE(label, std::string::npos);
        bytes.replace(label, 3, "\xB5-1");
        const Json info = RunJson({"info", folder.Write("n.dat", bytes), "--json"});
        ASSERT_FALSE(info.is_discarded());
        EXPECT_NE(info.dump().find("\"NAN\""), std::string::npos);
        EXPECT_EQ(info["Trees"]["vnc"]["Root"]["Children"][0]["GrLabel"], "\xC2\xB5-1");
        const Json trace = RunJson({"trace", folder.At("n.dat"), "1.1.1.1", "--no-leak", "--json"});
        EXPECT_EQ(trace["Samples"][0], "NAN");
    }
}
