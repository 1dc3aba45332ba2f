#include "fit/logbook.h"

#include "setup/settings.h"
#include "support/failing_files.h"
#include "support/temp_folder.h"

#include <regex>

using Logbook::Kind;
using Logbook::LogTarget;

namespace {

class LogbookOf : public testing::Test {
protected:
    LogbookOf() { Setup::Settings = {}; }
    ~LogbookOf() override {
        (void)Logbook::LogClose();
        Setup::Settings = {};
        Logbook::WithHeadLine = false;
    }
    static void SetTarget(LogTarget target) {
        Setup::Settings.FitParams.LogTarget = static_cast<std::uint8_t>(target);
    }
    [[nodiscard]] std::string Log() const { return Support::ReadWhole(Folder.At("cell.log")); }
    // The log with "(now)" for each date and time.
    [[nodiscard]] std::string Timeless() const {
        static const std::regex moment(R"(\d{4}/\d\d/\d\d \d\d:\d\d:\d\d)");
        return std::regex_replace(Log(), moment, "(now)");
    }

    Support::TempFolder Folder;
    Messages::Recorder Said;
    const std::string DataSet = Folder.At("cell.dat");
};

constexpr const char* Start = "Start of Qorvanite analysis: (now)\n";
constexpr const char* End = "End of Qorvanite analysis: (now)\n";

}

TEST_F(LogbookOf, LinesGoWhereTheTargetSays) {
    for (const auto target : {LogTarget::Off, LogTarget::Notebook, LogTarget::File,
                              LogTarget::NotebookAndFile, static_cast<LogTarget>(9)}) {
        SCOPED_TRACE(static_cast<int>(target));
        Said.Notes.clear();
        SetTarget(target);
        (void)Folder.Write("cell.log", "T:Fi"); // a torn line is ended
        EXPECT_TRUE(Logbook::LogOpen(DataSet));
        Logbook::LogLine(Kind::TraceFit, "Fit", "");
        Logbook::LogLine(Kind::SeriesFit, "FitType", "one\ntwo\r\nthree");
        Logbook::LogLine(Kind::TraceFit, "T", std::string(154, 'a') + "\xC3\xA9" + "b"); // cut before it
        Logbook::LogLine(Kind::Other, std::string(200, 'c'), "d");
        for (const bool on : {true, false}) Logbook::LogBool(Kind::Other, "Cyclic", on);
        Logbook::LogInt(Kind::TraceFit, "Trace", -2);
        for (const double value : {0.1 + 0.2, 1.0 / 3.0, 1e-9, -HUGE_VAL, std::nan("")})
            Logbook::LogReal(Kind::TraceFit, "Tau1", value);
        EXPECT_TRUE(Logbook::LogClose());
        Logbook::LogLine(Kind::TraceFit, "Break", "");
        const std::string lines = "T:Fit\nS:FitType[one two  three]\nT:T[" + std::string(154, 'a') + "]\n" +
                                  std::string(160, 'c') + "\nCyclic[on]\nCyclic[off]\nT:Trace[-2]\n" +
                                  "T:Tau1[0.3]\nT:Tau1[0.333333333333]\nT:Tau1[1e-09]\nT:Tau1[-INF]\n" +
                                  "T:Tau1[NAN]\n";
        const bool toNotebook = target == LogTarget::Notebook || target == LogTarget::NotebookAndFile;
        const bool toFile = target == LogTarget::File || target == LogTarget::NotebookAndFile;
        EXPECT_EQ(Said.Notes, toNotebook ? lines + "T:Break\n" : "");
        EXPECT_EQ(Timeless(), toFile ? std::string("T:Fi\n") + Start + lines + End : "T:Fi");
    }
    EXPECT_EQ(Said.Alerts, "");
}

TEST_F(LogbookOf, AFileThatCannotBeHadIsSaidAndStopsNothing) {
    SetTarget(LogTarget::File);
    Files::File other;
    ASSERT_EQ(Files::Open(other, Folder.Write("cell.log", "theirs\n"), Files::Mode::ReadWrite), 0);
    ASSERT_EQ(Files::Lock(other, Files::LockKind::Writer), 0);
    for (const std::string& set : {Folder.At("missing/cell.dat"), DataSet}) {
        EXPECT_FALSE(Logbook::LogOpen(set));
        Logbook::LogLine(Kind::TraceFit, "Fit", "");
    }
    EXPECT_TRUE(Logbook::LogClose());
    EXPECT_EQ(Log(), "theirs\n");
    EXPECT_EQ(Said.Alerts, "Error opening LogFile: No such file or directory (\"" +
                               Folder.At("missing/cell.log") +
                               "\").\nError opening LogFile: another program writes it (\"" +
                               Folder.At("cell.log") + "\").\n");
}

TEST_F(LogbookOf, TheFileGrowsFromSessionToSession) {
    SetTarget(LogTarget::NotebookAndFile);
    Logbook::WithHeadLine = true;
    Setup::Settings.Files.Username = "Ana";
    ASSERT_TRUE(Logbook::LogOpen(DataSet) && Logbook::LogOpen(DataSet)); // the second one closes the first
    SetTarget(LogTarget::Notebook);
    Logbook::LogTargetChanged(LogTarget::NotebookAndFile);
    Logbook::LogLine(Kind::TraceFit, "Fit", "");
    SetTarget(LogTarget::File);
    Logbook::WithHeadLine = false;
    Logbook::LogTargetChanged(LogTarget::Notebook);
    SetTarget(LogTarget::NotebookAndFile);
    Logbook::LogTargetChanged(LogTarget::File); // it stays open
    const std::string head = "File: cell.dat, User: Ana\n", once = head + Start + End;
    EXPECT_EQ(Timeless(), once + once + Start);
    EXPECT_EQ(Said.Notes, "\n" + head + "\n\n" + head + "\nT:Fit\n");
    ASSERT_TRUE(Logbook::LogClose());
    Logbook::LogTargetChanged(LogTarget::Off); // no data set, no file
    EXPECT_EQ(Timeless(), once + once + Start + End);
}

TEST_F(LogbookOf, ALineThatCannotBeWrittenWholeLeavesTheFormerLines) {
    SetTarget(LogTarget::File);
    // A disk that takes half of a line and then is full.
    Files::Platform disk = Files::Native();
    disk.WriteAt = [](int handle, const void* data, std::size_t bytes, std::int64_t position) {
        (void)Files::Native().WriteAt(handle, data, bytes / 2, position);
        return std::int64_t{-ENOSPC};
    };
    ASSERT_TRUE(Logbook::LogOpen(DataSet));
    Logbook::LogLine(Kind::TraceFit, "Fit", "");
    Files::Use(disk);
    Logbook::LogLine(Kind::TraceFit, "DoAll", "");
    EXPECT_EQ(Timeless(), std::string(Start) + "T:Fit\n");
    disk.SetLength = [](int, std::int64_t) { return -EIO; };
    Files::Use(disk);
    Logbook::LogLine(Kind::TraceFit, "Store", ""); // this half cannot even be taken back
    Files::Use(Files::Native());
    Logbook::LogLine(Kind::TraceFit, "Next", "");
    EXPECT_EQ(Timeless(), std::string(Start) + "T:Fit\nT:St\nT:Next\n");
    Files::Use(disk);
    EXPECT_FALSE(Logbook::LogClose());
    Files::Use(Files::Native());
    EXPECT_EQ(Said.Alerts, "Error writing to Logbook file: No space left on device\n"
                           "Error writing to Logbook file: No space left on device\n"
                           "Error closing LogFile: No space left on device\n");
    EXPECT_TRUE(Logbook::LogClose()); // it is closed
}
