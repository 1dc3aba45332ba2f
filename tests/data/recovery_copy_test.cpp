#include "data/recovery_copy.h"

#include "data/analysis_file.h"
#include "support/data_session.h"
#include "support/environment.h"
#include "support/failing_files.h"

using Support::OpenedData;

namespace {

class RecoveryCopies : public testing::Test {
protected:
    // A result, and a program that ends before it is saved.
    void LeaveUnsaved() {
        OpenedData data(Path, OpenMode::Analysis);
        AddResult(data);
        RecoveryCopy::Keep(data.Session, 100);
        data.Session.AnalysisWritable = false; // what ends is no longer orderly
    }
    static void AddResult(OpenedData& data) {
        ASSERT_TRUE(data.IsOpen);
        ASSERT_TRUE(Tree::Append(data.Session.Analysis.Handle, data.Session.CurASeries));
        ++data.Session.AnalysisRevision;
    }
    static int Results(const OpenedData& data) { return Tree::ChildCount(data.Session.CurASeries); }

    RecoveryCopies() { Variables.Set("XDG_STATE_HOME", State.Path); }
    Support::TempFolder Folder, State;
    const Support::Environment Variables{{"XDG_STATE_HOME"}};
    std::string Path = Folder.Write("cell.dat", Support::SoundData());
    std::string Copy = Folder.At("cell.ana.recover");
};

TEST_F(RecoveryCopies, AreKeptWhileThereIsSomethingUnsaved) {
    OpenedData data(Path, OpenMode::Analysis);
    RecoveryCopy::Keep(data.Session, 10);
    EXPECT_FALSE(Files::Exists(Copy));
    AddResult(data);
    RecoveryCopy::Keep(data.Session, 20);
    const std::string first = Support::ReadWhole(Copy);
    EXPECT_NE(first, "");
    AddResult(data);
    RecoveryCopy::Keep(data.Session, 20 + RecoveryCopy::Interval - 1);
    EXPECT_EQ(Support::ReadWhole(Copy), first);
    RecoveryCopy::Keep(data.Session, 20 + RecoveryCopy::Interval);
    EXPECT_GT(Support::ReadWhole(Copy).size(), first.size());
    ASSERT_TRUE(AnalysisFile::SaveAnalysis(data.Session));
    EXPECT_FALSE(Files::Exists(Copy));
    AddResult(data);
    RecoveryCopy::Keep(data.Session, 200);
    EXPECT_TRUE(Files::Exists(Copy));
    (void)CloseDataFile(data.Session); // the user wants it so
    EXPECT_FALSE(Files::Exists(Copy));
}

TEST_F(RecoveryCopies, AreOfferedAndStayUntilTheResultsAreSaved) {
    LeaveUnsaved();
    ASSERT_TRUE(Files::Exists(Copy));
    {
        OpenedData reader(Path);
        EXPECT_EQ(Results(reader), 0);
        EXPECT_EQ(reader.Said.Questions, "");
    }
    for (int i = 0; i < 2; ++i) { // taken up, and not saved the first time
        OpenedData data(Path, OpenMode::Analysis);
        EXPECT_TRUE(
            data.Said.Questions.starts_with("Unsaved analysis results of \"" + Path + "\" were kept"));
        EXPECT_EQ(Results(data), 1);
        EXPECT_EQ(i == 0 || AnalysisFile::SaveAnalysis(data.Session), true);
    }
    EXPECT_FALSE(Files::Exists(Copy));
    OpenedData data(Path, OpenMode::Analysis);
    EXPECT_EQ(data.Said.Questions, "");
    EXPECT_EQ(Results(data), 1);
}

TEST_F(RecoveryCopies, AreDroppedWhenTheUserDoesNotWantThemAndKeptAsideWhenTheyCannotBeUsed) {
    LeaveUnsaved();
    OpenedData data;
    data.Said.Answer = [](bool) { return false; };
    ASSERT_TRUE(data.Open(Path, OpenMode::Analysis));
    EXPECT_TRUE(Results(data) == 0 && Files::Exists(Copy));
    (void)CloseDataFile(data.Session);
    EXPECT_FALSE(Files::Exists(Copy));
    Support::WriteWhole(Copy, "no tree");
    data.Said.Answer = nullptr;
    ASSERT_TRUE(data.Open(Path, OpenMode::Analysis));
    EXPECT_EQ(Results(data), 0);
    EXPECT_EQ(Support::ReadWhole(Copy + ".old"), "no tree");
}

TEST_F(RecoveryCopies, GoToTheUsersOwnPlaceWhereTheFolderTakesNone) {
    const auto refuseBeside = [] {
        Files::Platform disk = Files::Native();
        disk.Open = [](const char* path, Files::Mode mode) {
            const bool beside = std::string_view(path).find("/cell.ana") != std::string_view::npos;
            return mode == Files::Mode::Create && beside ? -EROFS : Files::Native().Open(path, mode);
        };
        Files::Use(disk);
    };
    {
        OpenedData data(Path, OpenMode::Analysis);
        AddResult(data);
        refuseBeside();
        EXPECT_FALSE(AnalysisFile::SaveAnalysis(data.Session));
    }
    Files::Use(Files::Native());
    EXPECT_FALSE(Files::Exists(Copy));
    const OpenedData data(Path, OpenMode::Analysis);
    EXPECT_EQ(Results(data), 1);
}

}
