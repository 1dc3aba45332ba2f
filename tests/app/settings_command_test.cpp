// settings, info of a settings file, --settings: as users run them.
#include "support/program.h"

using Support::Json;
using Support::Qorvanite;
using Support::Result;

TEST(SettingsCommand, KeysAreShownAndSetAndEverythingElseStays) {
    const Support::TempFolder folder;
    const std::string file = folder.At("a.set");
    EXPECT_EQ(Qorvanite("settings " + file + " --new FixedYmin3=-2.5e-9").Out, "FixedYmin3 -2.5e-09\n");
    EXPECT_EQ(Qorvanite("settings " + file + " --new").Status, 1); // not over what is there
    const std::string before = Support::ReadWhole(file);
    const Result set =
        Qorvanite("settings " + file +
                  " UseBundle=false TraceRGB2=1,2,65535 'Username=Jo \"J\"' LogTarget=+3 TempPath= "
                  "SGExport=0102030405060708090A0B Value-31=1e3");
    EXPECT_EQ(set.Status, 0) << set.Errors;
    const Json shown = Support::RunJson("settings " + file);
    EXPECT_EQ(shown["File"], file);
    EXPECT_EQ(shown["Kind"], "set");
    const Json wanted = {{"UseBundle", false},     {"TraceRGB2", {1, 2, 65535}},
                         {"Username", "Jo \"J\""}, {"LogTarget", 3},
                         {"TempPath", ""},         {"SGExport", "0102030405060708090a0b"},
                         {"Value-31", 1000.0},     {"FixedYmin3", -2.5e-9},
                         {"NeverStored", false}};
    for (const auto& [key, value] : wanted.items()) EXPECT_EQ(shown["Settings"][key], value) << key;
    EXPECT_EQ(Support::RunJson("info " + file), shown);
    EXPECT_EQ(Qorvanite("settings " + file + " LogTarget UseBundle").Out, "UseBundle FALSE\nLogTarget 3\n");
    EXPECT_EQ(Support::ReadWhole(folder.At("a.bak")), before);

    EXPECT_EQ(Qorvanite("settings " + file +
                        " UseBundle=TRUE TraceRGB2=50000,0,0 Username= LogTarget=0 "
                        "SGExport=0100000001010000010100 Value-31=0")
                  .Status,
              0);
    EXPECT_EQ(Support::ReadWhole(file), before);
}

TEST(SettingsCommand, RefusalsSayWhatIsWantedAndWriteNothing) {
    const Support::TempFolder folder;
    const std::string file = folder.At("a.set");
    ASSERT_EQ(Qorvanite("settings " + file + " --new").Status, 0);
    const std::string before = Support::ReadWhole(file);
    const struct {
        const char* Words;
        int Status;
        const char* Errors;
    } cases[] = {
        {"=3", 2, "\"=3\" names no setting"},
        {"UseBundle=FALSE NoKey=1", 1, "There is no setting \"NoKey\"."},
        {"UseBundle=FALSE OsciLeft=x", 1, "OsciLeft takes a whole number of its range."},
        {"fixedymin1=1", 1, "There is no setting \"fixedymin1\"."},
        {"UseBundle=1", 1, "UseBundle takes TRUE or FALSE."},
        {"OsciLeft=40000", 1, "OsciLeft takes"},
        {"LogTarget=4", 1, "LogTarget takes"},
        {"FitTrace=0", 1, "FitTrace takes"},
        {"ZapDur=nan", 1, "ZapDur takes a number of its range."},
        {"GridRGB=1,2", 1, "GridRGB takes three numbers"},
        {"SGExport=01", 1, "SGExport takes as many bytes as it has"},
        {"SweepXUnit=eightlong", 1, "SweepXUnit takes a text that fits."},
        {"\"Username=two\nOsciLeft 5\"", 1, "Username takes a text that fits."},
        {"FileOS=1", 1, "\"FileOS\" cannot be set by hand."},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.Words);
        const Result result = Qorvanite("settings " + file + " " + one.Words);
        EXPECT_EQ(result.Status, one.Status);
        EXPECT_NE(result.Errors.find(one.Errors), std::string::npos) << result.Errors;
        EXPECT_EQ(result.Out, "");
        EXPECT_EQ(Support::ReadWhole(file), before);
        EXPECT_EQ(folder.Count(), 1);
    }
    const Result none = Qorvanite("settings " + folder.At("none.set") + " UseBundle=FALSE");
    EXPECT_EQ(none.Status, 1);
    EXPECT_NE(none.Errors.find("--new makes it from the defaults."), std::string::npos);
    EXPECT_EQ(folder.Count(), 1);
    EXPECT_EQ(Qorvanite("settings " + file, "/dev/full").Status, 1);
}

TEST(SettingsCommand, ARunTakesTheUsersSettingsOrThoseOfTheNamedFile) {
    const Support::TempFolder folder;
    const std::string user = folder.At("qorvanite/Qorvanite.set"), other = folder.At("other.set");
    std::filesystem::create_directory(folder.At("qorvanite"));
    const std::string set = " SubRefSeries=TRUE SubtractZero=TRUE NextMaxSamplePoints=";
    ASSERT_EQ(Qorvanite("settings --new " + user + set + "300000").Status, 0);
    ASSERT_EQ(Qorvanite("settings --new " + other + set + "300001").Status, 0);
    const auto maxSamples = [&](const std::string& name, const std::string& options) {
        const Result result = Qorvanite("demo '" + folder.At(name) + "' " + options, "", folder.Path);
        EXPECT_EQ(result.Status, 0) << result.Errors;
        const Json info = Support::RunJson("info '" + folder.At(name) + "/demo.dat'");
        return info["Trees"]["vnc"]["Root"]["RoMaxSamples"];
    };
    EXPECT_EQ(maxSamples("a", ""), 300000);
    EXPECT_EQ(maxSamples("b", "--settings " + other), 300001);
    // Corrections are those of the options, not those of the user's last look into a window.
    EXPECT_EQ(Qorvanite("trace plain.dat 1.1.1.1", "", folder.Path).Out,
              Qorvanite("trace plain.dat 1.1.1.1").Out);

    const Result named = Qorvanite("info plain.dat --settings none.set");
    EXPECT_EQ(named.Status, 1);
    EXPECT_NE(named.Errors.find("User CONFIGURATION File not found!"), std::string::npos);
    Support::WriteWhole(user, "not a settings file, but not empty either");
    const Result noted = Qorvanite("info plain.dat", "", folder.Path);
    EXPECT_EQ(noted.Status, 0);
    EXPECT_NE(noted.Errors.find("The built-in settings are used."), std::string::npos);
    EXPECT_EQ(Qorvanite("info plain.dat").Errors, ""); // a first start is silent
}
