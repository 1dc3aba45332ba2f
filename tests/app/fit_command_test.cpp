// The options of fit beyond a single fit of a model: ranges, cycles, leak correction, online columns, events.
#include "support/cell_plan.h"
#include "support/program.h"

#include <cmath>

using Support::Json;
using Support::Qorvanite;
using Support::RunJson;

namespace {

Json FitSweeps(const std::string& words) {
    return RunJson("fit " + words)["Sweeps"];
}
double ValueOf(const Json& result, const std::string& name) {
    for (const Json& parameter : result["Parameters"])
        if (parameter["Name"] == name) return parameter["Value"];
    return NAN;
}

// Its mean is what a polynomial of order 0 gives.
constexpr const char* MeanOf = "steps.dat 1.1.9 --type Polynomial --param Order=0 ";

}

TEST(FitCommand, UseAndFailureHaveTheirStatus) {
    const struct {
        const char* Words;
        int Status;
        const char* Errors;
    } cases[] = {
        {"1.1.1 --type polynomial --range full", 2, "always takes the range of the cursors."},
        {"1.1.1 --type histogram --range half", 2, "--range"},
        {"1.1.1 --type polynomial --cycles 4001", 2, "--cycles"},
        {"1.1.1 --type polynomial --leak-correction 0,much", 2, "A leak correction is"},
        {"1.1.1 --type polynomial --method OA-1", 2, "--methods"},
        {"1.1.1 --type polynomial --methods functions.onl --method OA-7", 1, "There is no method \"OA-7\""},
        {"1.1.1 --type OnlineOnly", 1, "The online analysis has no function to store."},
        {"1.1.1 --type Measure --param XValue=5", 1, "A cursor lies outside of the range."},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.Words);
        const Support::Result result = Qorvanite(std::string("fit steps.dat ") + one.Words);
        EXPECT_EQ(result.Status, one.Status) << result.Errors;
        EXPECT_NE(result.Errors.find(one.Errors), std::string::npos) << result.Errors;
    }
}

TEST(FitCommand, AMeasurementTakesTheSweepOrTheCursors) {
    const std::string copy = "steps.dat 1.1.9 --type tracecopy --param CopyCompress=100 ";
    for (const auto& [options, points, events, first] :
         {std::tuple{"", 900, 9, 0.00099},
          {"--range cursors", 600, 6, 0.00299},
          {"--range cursors --bounds 0,50", 300, 3, 0.00299}}) {
        const Json sweep = FitSweeps(copy + options)[0];
        EXPECT_EQ(sweep["RangePoints"], points) << options;
        ASSERT_EQ(sweep["Events"].size(), static_cast<std::size_t>(events)) << options;
        EXPECT_NEAR(sweep["Events"][0]["Time"].get<double>(), first, 1e-9) << options;
    }
    // As a table the events follow the rows.
    const std::string table = Qorvanite("fit " + copy).Out;
    EXPECT_NE(table.find("\nSweep       Event           Time         YValue\n1.1.9           1"),
              std::string::npos)
        << table;
}

TEST(FitCommand, EventsBelongToTheirSweep) {
    const Support::TempFolder folder;
    const Support::CellPlan plan{.Segments = {{0.0, 8}},
                                 .Sweeps = {{{-1, -1, 2, 3, -2, -3, -1, -1}}, {Support::Samples(8, -1.0F)}}};
    ASSERT_TRUE(Support::WriteCell(folder.At("cell.dat"), plan));
    const Json sweeps = FitSweeps(folder.At("cell.dat") + " 1.1 --type \"Action Potential\"");
    ASSERT_EQ(sweeps.size(), 2U);
    ASSERT_EQ(sweeps[0]["Events"].size(), 1U);
    EXPECT_EQ(sweeps[0]["Events"][0]["MaxY"], 3.0);
    EXPECT_TRUE(sweeps[1]["Events"].empty());
}

TEST(FitCommand, CyclesGoFromSegmentToSegment) {
    const auto cycles = [](const char* options) {
        return FitSweeps(MeanOf + std::string(options))[0]["Cycles"];
    };
    const Json all = cycles("--cycles 0 --cycle-skip 1");
    ASSERT_EQ(all.size(), 2U); // the relevant segment and the one behind it
    EXPECT_EQ(all[0]["RangePoints"], 600);
    EXPECT_EQ(ValueOf(all[1], "Coeff0"),
              ValueOf(FitSweeps(MeanOf + std::string("--segment 3"))[0], "Coeff0"));
    EXPECT_EQ(cycles("--cycles 1").size(), 1U);
    EXPECT_TRUE(cycles("").empty());
}

TEST(FitCommand, ALeakIsTakenOffByItsConductanceOrByTheZeroOffset) {
    const Json stimulus = RunJson("stimulus steps.dat 1.1.9")["Channels"][0];
    const double voltage = stimulus["Segments"][1]["Voltage"];
    const auto mean = [](const char* options) {
        return ValueOf(FitSweeps(MeanOf + std::string(options))[0], "Coeff0");
    };
    const double leak = (voltage + 0.07) * 2e-9, plain = mean("");
    EXPECT_NEAR(plain - mean("--leak-correction=-0.07,2e-9"), leak, 1e-5 * std::fabs(leak));
    EXPECT_NE(mean("--leak-correction=-0.07,auto"), plain);
    EXPECT_NE(mean("--leak-correction=auto"), mean("--leak-correction=-0.07,auto"));
}

TEST(FitCommand, OnlineFunctionsBecomeColumns) {
    const Support::TempFolder folder;
    const std::string data = folder.Write("d.dat", Support::ReadWhole(Support::Recording("steps.dat")));
    const Json sweeps = FitSweeps(data + " 1.1 --type RiseTime --methods functions.onl --store");
    const Json online = RunJson("online steps.dat 1.1 --methods functions.onl");
    ASSERT_EQ(sweeps.size(), online["Sweeps"].size());
    for (std::size_t i = 0; i < sweeps.size(); ++i) {
        const Json& columns = sweeps[i]["Online"]; // of five functions the two that are marked
        ASSERT_EQ(columns.size(), 2U);
        EXPECT_EQ(columns[1]["Name"], online["Functions"][2]["Name"]);
        EXPECT_EQ(columns[1]["Value"], online["Sweeps"][i]["Values"][2]);
    }
    const Json record =
        RunJson("info " + data)["Trees"]["ana"]["Root"]["Children"][0]["Children"][0]["Children"][0];
    EXPECT_EQ(record["OnlineName"], "OA-1");
    EXPECT_EQ(record["Children"].back()["Name"], "Imin");
}
