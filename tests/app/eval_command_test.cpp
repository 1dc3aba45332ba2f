// eval and the fit of an equation, as users run them.
#include "support/program.h"
#include "support/temp_folder.h"

#include <filesystem>

using Support::Json;
using Support::Qorvanite;
using Support::RunJson;

TEST(EvalCommand, PrintsAValueOrAMessageWithItsPlace) {
    const struct {
        const char* Words;
        int Status;
        const char* Out;
        const char* Errors;
    } cases[] = {
        {"'2-3^2'", 0, "11.0\n", ""},
        {"'-(2)^2'", 0, "4.0\n", ""}, // not an option, whatever it begins with
        {"'-x' --x -3 --json", 0, "{\"Value\":3.0}\n", ""},
        {"-- '-(1)'", 0, "-1.0\n", ""},
        {"''", 0, "NAN\n", ""},
        {"'-1/0'", 0, "-INF\n", ""},
        {"'1/0' --json", 0, "{\"Value\":\"INF\"}\n", ""},
        {"'c[1] {0} c[1]+c[2]*x' --c -1,2.5 --x 2", 0, "4.0\n", ""},
        {"'--3' --json", 1, "{\"Error\":\"Error parsing\",\"Position\":1}\n", ""},
        {"'2*c[3]' --c 1,2", 1, "", "error in fit coefficient index at pos. 6\n"},
        {"'1+x'", 1, "", "Unknown token at pos. 3\n"},
        {"'1{1}2{2}3{3}4{4}5{5}6' --x 1 --json", 1,
         "{\"Error\":\"## Error in Parser: too many ranges! ## \",\"Position\":null}\n", ""},
        {"1 --c 1,,2", 2, "", "Coefficients are up to nine numbers, such as 1,2.5,-3.\n"},
    };
    for (const auto& one : cases) {
        const Support::Result result = Qorvanite(std::string("eval ") + one.Words);
        EXPECT_EQ(result.Status, one.Status) << one.Words;
        EXPECT_EQ(result.Out, one.Out) << one.Words;
        EXPECT_EQ(result.Errors, one.Errors) << one.Words;
    }
}

TEST(ParsedFitCommand, RefusesABadEquationBeforeItOpensAFile) {
    const struct {
        const char* Words;
        const char* Errors;
    } cases[] = {
        {"--param 'Equation=c[1] {0} c[12]'", "error in fit coefficient index at pos. 14\n"},
        {"--param 'Equation=1 {2} 2 {1} 3'", "error in range order at pos. 1\n"},
        {"--param CoeffName1=muchtoolong", "\"CoeffName1=muchtoolong\" does not fit into its field.\n"},
        {"--param b=1", "\"b=1\" sets no parameter: NAME=VALUE[:fit|hold|off] of Equation, CoeffName0"},
    };
    for (const auto& one : cases) {
        const Support::Result result =
            Qorvanite(std::string("fit none.dat 1.1 --type 'Parsed Equation' ") + one.Words);
        EXPECT_EQ(result.Status, 2) << one.Words;
        EXPECT_TRUE(result.Errors.starts_with(one.Errors)) << result.Errors;
    }
}

TEST(ParsedFitCommand, FitsByTheNamesOfTheUserAndStoresThem) {
    const Support::TempFolder folder;
    const std::string data = folder.At("relaxations.dat");
    std::filesystem::copy_file(Support::DataFile("fit/relaxations.dat"), data);
    const auto words = [&](const std::string& name) {
        return "fit '" + data + "' 1.1 --type parsedequation --segment 3 --max-iterations 1000 --param " +
               name +
               "=3e-9 --param 'Equation=c[1]+c[2]*exp(-x/c[3])' --param 'c[1]=1e-9' --param tau=3e-3 "
               "--param CoeffName1=amp";
    };
    EXPECT_EQ(Qorvanite(words("a1")).Status, 2); // the name that was given last is the one that counts
    const Json fit = RunJson(words("amp") + " --store");
    EXPECT_EQ(fit["Formula"], "y(x) = c[1]+c[2]*exp(-x/c[3])");
    ASSERT_EQ(fit["Sweeps"].size(), 4u);
    const Json& tau = fit["Sweeps"][3]["Parameters"][2];
    EXPECT_EQ(tau["Name"], "tau");
    EXPECT_NEAR(tau["Value"].get<double>(), 7e-3, 1e-7);
    const Json entries = RunJson(
        "info '" + data +
        "' --tree ana")["Trees"]["ana"]["Root"]["Children"][0]["Children"][0]["Children"][0]["Children"];
    ASSERT_EQ(entries.size(), 3u); // nothing is stored by default, so what was fitted is
    EXPECT_EQ(entries[1]["Name"], "amp");
}
