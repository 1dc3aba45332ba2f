// wave and series-fit as users run them.
#include "support/program.h"

#include <cmath>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>

using Support::Json;
using Support::Qorvanite;
using Support::Result;
using Support::RunJson;

namespace {

const Json* Param(const Json& fit, const std::string& name) {
    for (const Json& param : fit["Parameters"])
        if (param["Name"] == name) return &param;
    return nullptr;
}

std::string Points(const std::function<double(double)>& f, double first, double last, int count) {
    std::string text = "V (V),I (A),Use\r\n";
    for (int i = 0; i < count; ++i) {
        const double x = first + i * (last - first) / (count - 1);
        char line[80];
        std::snprintf(line, sizeof line, "%.17g,%.17g,1\r\n", x, f(x));
        text += line;
    }
    return text;
}

double Boltzmann(double x) {
    return 2 / (1 + std::exp((-0.03 - x) / 0.007));
}

}

TEST(SeriesFitCommand, FitsPointsOfATextWithBothLevels) {
    const Support::TempFolder folder;
    const std::string file =
        folder.Write("a.csv", Points(Boltzmann, -0.1, 0.04, 29) + "# end\n\n0.5,INF,0\n");
    const Json fit = RunJson("series-fit " + file + " --type boltzmann");
    EXPECT_EQ(fit["FitPoints"], 29);
    EXPECT_NEAR((*Param(fit, "Xhalf1"))["Value"].get<double>(), -0.03, 1E-6);
    EXPECT_EQ((*Param(fit, "Xhalf1"))["Unit"], "V");
    EXPECT_FALSE(fit.contains("Target") || fit.contains("RangePoints"));
    const Json held =
        RunJson("series-fit " + file + " --type Boltzmann --param Slope1=0.01:hold --max-iterations 7");
    EXPECT_EQ(held["Iterations"], 7);
    EXPECT_EQ(held["FitTermination"], 1);
    EXPECT_EQ((*Param(held, "Slope1"))["Value"], 0.01);
    const std::string decay =
        folder.Write("b.csv", Points([](double x) { return 3 - std::exp(-x / 2); }, 0, 10, 50));
    const Json sweep = RunJson("series-fit " + decay + " --level sweep --type exponential --param tau1=1.5");
    EXPECT_NEAR((*Param(sweep, "tau1"))["Value"].get<double>(), 2, 1E-4);
    const Json few = RunJson("series-fit " + decay + " --type polynomial --param Order=1 --skip 3-END");
    EXPECT_EQ(few["FitPoints"], 2);
    EXPECT_TRUE(few["Iterations"].is_null());
}

TEST(SeriesFitCommand, WrongUseAndBadPointsAreSaid) {
    const Support::TempFolder folder;
    std::string many;
    for (int i = 0; i < 4001; ++i) many += std::to_string(i) + ";1\n";
    const struct {
        std::string Text, Words;
        int Status;
        const char* Errors;
    } cases[] = {
        {"1,2\n3,4\n", "--type Line", 2,
         "cannot be fitted. Types: Parsed Equation, Polynomial, 2Regressions"},
        {"1,2\n3,4\n", "--type Boltzmann --level sweep", 2, "Hodgkin&Huxley"},
        {"1,2\n3,4\n", "--type 'Parsed Equation' --param Equation=c[1]*", 2, "pos."},
        {"1,2\n", "--type Polynomial", 1, "Insufficient data in fit wave"},
        {"x,y\n1,2\n3,?\n", "--type Polynomial", 1, "Line 3: X and Y must be numbers."},
        {"1,2\n3\n", "--type Polynomial", 1, "Line 2: a point has two numbers"},
        {"1,2\n3,NAN\n", "--type Polynomial", 1, "Line 2: a point that is not finite"},
        {"x,y,use\n1,2,2\n", "--type Polynomial", 1, "Line 2: Use must be 0 or 1."},
        {many, "--type Polynomial", 1, "A wave holds at most 4000 points; the file has 4001."},
    };
    for (const auto& c : cases) {
        const Result result = Qorvanite("series-fit " + folder.Write("a.csv", c.Text) + " " + c.Words);
        EXPECT_EQ(result.Status, c.Status) << c.Words;
        EXPECT_NE(result.Errors.find(c.Errors), std::string::npos) << result.Errors;
        EXPECT_EQ(result.Out, "");
    }
    EXPECT_EQ(RunJson("series-fit " + folder.Write("a.csv", many) +
                      " --type Polynomial --level sweep")["FitPoints"],
              4001);
}

TEST(WaveCommand, MakesAWaveOfAnAnalysisShowsAndFitsIt) {
    const Support::TempFolder folder;
    const std::string file = folder.At("a.wav");
    const Json made =
        RunJson("wave " + file + " --from plain.dat 1.1 --analysis 2 --x Mean --y tau1 --comment 'x y'");
    EXPECT_EQ(made["BufferPoints"], 5);
    EXPECT_EQ(made["Fit"], Json());
    const Json shown = RunJson("wave " + file);
    EXPECT_EQ(shown["BufferSkip"], Json::parse("[0,0,0,0,1]")); // the last sweep has no value
    EXPECT_EQ(shown["BufferCnt"], Json::parse("[1,1,1,1,0]"));
    EXPECT_EQ(shown["WaveComment"], "x y");
    EXPECT_EQ(shown["Y"]["Name"], "tau1");
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(shown["YBuffer"][i].get<double>(), made["YBuffer"][i].get<double>(),
                    1E-5 * std::fabs(made["YBuffer"][i].get<double>()));
    // The text of the points can be fitted like the file, flags and all.
    const std::string csv = folder.At("a.csv");
    (void)Qorvanite("wave " + file +
                    " --from plain.dat 1.1 --x dXValue1 --y dXValue1 --input all_events --skip 2");
    ASSERT_EQ(Qorvanite("wave " + file + " --csv", csv).Status, 0);
    const std::string words = " --type polynomial --param Order=1";
    const Json ofFile = RunJson("series-fit " + file + words), ofText = RunJson("series-fit " + csv + words);
    const int used = 15 - RunJson("wave " + file)["Stats"]["SkipCount"].get<int>();
    EXPECT_EQ(ofFile["FitPoints"], used);
    EXPECT_EQ(ofFile, ofText);
    for (const auto& [input, points] : {std::pair{"events --sweep 2", 3}, {"results", 5}})
        EXPECT_EQ(RunJson("wave " + file + " --from plain.dat 1.1 --x dXValue1 --y dXValue1 --input " +
                          input)["BufferPoints"],
                  points);
}

TEST(WaveCommand, RefusalsLeaveTheFile) {
    const Support::TempFolder folder;
    const std::string file = folder.Write("a.wav", "old");
    const struct {
        const char* Words;
        int Status;
        const char* Errors;
    } cases[] = {
        {"", 1, "No proper QorvaniteWave file (line 1)"},
        {"--from plain.dat 1.1.1 --x a --y b", 2, "A series is named by group.series"},
        {"--from plain.dat 1.1", 2, "--x and --y"},
        {"--from plain.dat 1.1 --x amp0 --y b --analysis 2", 1,
         "Illegal Y-Parameter\nColumns: amp0, amp1, tau1, Mean."},
        {"--from plain.dat 1.1 --x a --y b --analysis 9", 1,
         "There is no analysis 9 of this series (3 there)."},
        {"--from plain.dat 1.1 --analysis 2 --x amp0 --y amp0 --input all_events", 1, "holds no points"},
    };
    for (const auto& c : cases) {
        const Result result = Qorvanite("wave " + file + " " + c.Words);
        EXPECT_EQ(result.Status, c.Status) << c.Words;
        EXPECT_NE(result.Errors.find(c.Errors), std::string::npos) << result.Errors;
        EXPECT_EQ(Support::ReadWhole(file), "old");
    }
}
