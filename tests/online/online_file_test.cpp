#include "online/online_file.h"

#include "base/buffer.h"
#include "base/messages.h"
#include "base/text.h"
#include "online/online_edit.h"
#include "online/unique_names.h"
#include "setup/settings_file.h"
#include "support/failing_files.h"
#include "support/fixtures.h"
#include "support/tree_bytes.h"

#include <gtest/gtest.h>

namespace {

std::string Names(const OnlineAnalysis& analysis) {
    std::string names;
    for (int i = 1; i <= OnlineTree::MethodCount(analysis); ++i)
        names += std::string(Texts::FromField(OnlineTree::MethodAt(analysis, i)->OmName)) + "(" +
                 std::to_string(Tree::ChildCount(OnlineTree::MethodAt(analysis, i))) + ") ";
    return names;
}

// A file system that does not let the file be written.
class WriteProtected {
public:
    WriteProtected() {
        Files::Platform disk = Files::Native();
        disk.Open = [](const char* path, Files::Mode mode) {
            const bool refused = mode == Files::Mode::ReadWrite && std::filesystem::exists(path);
            return refused ? -EACCES : Files::Native().Open(path, mode);
        };
        Files::Use(disk);
    }
    ~WriteProtected() { Files::Use(Files::Native()); }
    WriteProtected(WriteProtected&&) = delete;
};

}

TEST(OnlineFile, MethodsAreFoundAndStoredAsTheyWere) {
    const Support::TempFolder folder;
    const std::string bytes = Support::ReadWhole(Support::Recording("functions.onl"));
    const Messages::Recorder said;
    OnlineAnalysis analysis;
    ASSERT_TRUE(OnlineTree::Load(analysis, folder.Write("a.onl", bytes)));
    EXPECT_EQ(Names(analysis), "OA-1(5) OA-2(7) ");
    EXPECT_EQ(OnlineTree::CurrentMethod(analysis), OnlineTree::MethodByName(analysis, "OA-1"));
    EXPECT_TRUE(OnlineTree::SetCurrentMethod(analysis, "OA-2"));
    EXPECT_FALSE(OnlineTree::SetCurrentMethod(analysis, "oa-2"));
    const OnlineMethod* const method = OnlineTree::CurrentMethod(analysis);
    EXPECT_EQ(Texts::FromField(OnlineTree::FunctionAt(method, 7)->OfName), "Charge");
    EXPECT_EQ(OnlineTree::FunctionAt(method, 0), nullptr);
    EXPECT_EQ(OnlineTree::FunctionAt(method, 8), nullptr);

    ASSERT_TRUE(OnlineTree::Store(analysis, folder.At("b.onl"), "Qorvanite v1.20"));
    EXPECT_EQ(Support::ReadWhole(folder.At("b.onl")), bytes);
    EXPECT_EQ(analysis.FileName, folder.At("b.onl"));
    ASSERT_TRUE(OnlineTree::Store(analysis, folder.At("b.onl"), "Another v2"));
    EXPECT_EQ(Support::ReadWhole(folder.At("b.onl")).substr(20 + 8, 11), std::string("Another v2\0", 11));
    EXPECT_EQ(said.Alerts + said.Questions + said.Notes, "");
}

TEST(OnlineFile, AFileThatCannotBeLoadedLeavesThePresentMethods) {
    const struct {
        const char *File, *Alerts, *Questions;
    } cases[] = {
        {"online-cut.onl", "Error reading Online Tree: Tree.LoadRead", ""},
        {"online-version-11.onl", "User cancelled loading wrong version !\nError reading Online Tree: ",
         "This is an unknown \"online\"-file version (v11).\nLoad anyway?\n"},
        {"none.onl", "Error reading Online Tree: Tree.Load - opening file failed: ", ""},
    };
    OnlineAnalysis analysis;
    ASSERT_TRUE(OnlineTree::Load(analysis, Support::Recording("functions.onl")));
    analysis.Current = 2;
    for (const auto& one : cases) {
        SCOPED_TRACE(one.File);
        const Support::TempFolder folder;
        if (std::string(one.File) != "none.onl") (void)folder.Write(one.File, Support::DamagedFile(one.File));
        for (const auto step : {+[](OnlineAnalysis&a, const std::string&p) { return OnlineTree::Load(a, p); },
                                OnlineTree::MergeFile}) {
            const Messages::Recorder said;
            EXPECT_FALSE(step(analysis, folder.At(one.File)));
            EXPECT_EQ(said.Alerts.rfind(one.Alerts, 0), 0u) << said.Alerts;
            EXPECT_EQ(said.Questions, one.Questions);
            EXPECT_EQ(Names(analysis), "OA-1(5) OA-2(7) ");
            EXPECT_EQ(analysis.Current, 2);
            EXPECT_EQ(analysis.FileName, Support::Recording("functions.onl"));
        }
    }
    EXPECT_FALSE(analysis.Changed);
}

TEST(OnlineFile, ThereIsAlwaysAMethodOfTwelveGraphs) {
    const Support::TempFolder folder;
    OnlineAnalysis fresh, empty;
    ASSERT_TRUE(OnlineTree::New(fresh));
    EXPECT_EQ(Names(fresh), "OA-1(0) ");
    EXPECT_EQ(OnlineTree::CurrentMethod(fresh)->OmGraphs[11].Flags[0], 0);
    const std::string image = Support::StoredImage(fresh.Tree);
    EXPECT_EQ(image.size(), 20u + 64 + 4 + 2640 + 4);
    Tree::Dispose(fresh.Tree); // there is one analysis at a time
    ASSERT_TRUE(OnlineTree::Load(empty, folder.Write("e.onl", Support::DamagedFile("online-empty.onl"))));
    EXPECT_EQ(Names(empty), "OA-1(0) ");
}

TEST(OnlineFile, AForeignFileIsSaidAndBecomesNativeWithTheNextStore) {
    const Support::TempFolder folder;
    std::string bytes = Support::ReadWhole(Support::Recording("functions.onl")).substr(0, 88);
    for (const std::size_t word : {0u, 4u, 8u, 12u, 16u, 20u}) std::reverse(&bytes[word], &bytes[word] + 4);
    bytes.replace(84, 4, 4, '\0');
    const Messages::Recorder said;
    OnlineAnalysis analysis;
    ASSERT_TRUE(OnlineTree::Load(analysis, folder.Write("f.onl", bytes)));
    EXPECT_EQ(said.Notes, " \".onl\"-file swapped. \n");
    EXPECT_TRUE(analysis.Info.Swapped);
    ASSERT_TRUE(OnlineEdit::InsertFunction(analysis, OnlineTree::CurrentMethod(analysis), 1));
    ASSERT_TRUE(OnlineTree::Store(analysis, folder.At("f.onl"), "x"));
    EXPECT_EQ(Support::ReadWhole(folder.At("f.onl")).substr(0, 4), Bytes::MachineIsLittle ? "eerT" : "Tree");
}

TEST(OnlineFile, MergedMethodsGetFreeNames) {
    const Messages::Recorder said;
    OnlineAnalysis analysis;
    ASSERT_TRUE(OnlineTree::Load(analysis, Support::Recording("functions.onl")));
    ASSERT_TRUE(OnlineTree::MergeFile(analysis, Support::Recording("functions.onl")));
    ASSERT_TRUE(OnlineTree::MergeFile(analysis, Support::Recording("functions.onl")));
    EXPECT_EQ(Names(analysis), "OA-1(5) OA-2(7) OA-3(5) OA-4(7) OA-5(5) OA-6(7) ");
    EXPECT_EQ(said.Notes, "Merged method \"OA-1\" is now named \"OA-3\".\n"
                          "Merged method \"OA-2\" is now named \"OA-4\".\n"
                          "Merged method \"OA-1\" is now named \"OA-5\".\n"
                          "Merged method \"OA-2\" is now named \"OA-6\".\n");
    EXPECT_EQ(said.Alerts, "");
    EXPECT_TRUE(analysis.Changed);
    EXPECT_EQ(analysis.Current, 1);
    EXPECT_EQ(Buffer::Exists(OnlineTree::MergeHeapName), false);
}

TEST(OnlineFile, AMergeThatRunsOutOfMemoryLeavesNothingBehind) {
    const Messages::Recorder said;
    OnlineAnalysis analysis;
    ASSERT_TRUE(OnlineTree::Load(analysis, Support::Recording("functions.onl")));
    std::size_t room = analysis.Tree->Heap->AreaBytes();
    for (int failures = 0; failures < 2;) { // room is made until the heap can take some methods, but not all
        analysis.Tree->Heap->SetLimit(room);
        if (OnlineTree::MergeFile(analysis, Support::Recording("functions.onl"))) continue;
        ++failures;
        ASSERT_NE(said.Alerts.find("Cannot merge to analysis: Tree.Insert"), std::string::npos);
        EXPECT_EQ(OnlineTree::MethodCount(analysis) % 2, 0);
        room = analysis.Tree->Heap->AreaBytes() * 2 + 5000;
    }
}

TEST(OnlineFile, RefusalsNameTheirReasonAndLeaveTheFile) {
    const Support::TempFolder folder;
    const std::string bytes = Support::ReadWhole(Support::Recording("functions.onl"));
    const std::string path = folder.Write("a.onl", bytes);
    const Messages::Recorder said;
    OnlineAnalysis analysis;
    ASSERT_TRUE(OnlineTree::New(analysis));
    EXPECT_FALSE(OnlineTree::Store(analysis, path, "x"));
    ASSERT_TRUE(OnlineTree::Load(analysis, path));
    Setup::State.ConfigurationLocked = true;
    EXPECT_FALSE(OnlineTree::Load(analysis, path) || OnlineTree::MergeFile(analysis, path) ||
                 OnlineTree::Store(analysis, path, "x"));
    Setup::State.ConfigurationLocked = false;
    analysis.Executing = true;
    EXPECT_FALSE(OnlineTree::MergeFile(analysis, path) || OnlineEdit::MayModify(analysis));
    analysis.Executing = false;
    {
        const WriteProtected disk;
        ASSERT_TRUE(OnlineTree::Load(analysis, path));
    }
    EXPECT_FALSE(OnlineTree::MergeFile(analysis, path) || OnlineTree::Store(analysis, path, "x") ||
                 OnlineTree::Store(analysis, folder.Path + "/./a.onl", "x") ||
                 OnlineEdit::CopyMethod(analysis, 1));
    EXPECT_EQ(said.Alerts, "Empty analysis methods cannot be saved.\n"
                           "Cannot load new analysis: Configuration is locked.\n"
                           "Cannot merge to analysis: Configuration is locked.\n"
                           "Cannot save analysis: Configuration is locked.\n"
                           "Cannot modify online: still executing or acquiring...\n"
                           "Cannot modify online: still executing or acquiring...\n"
                           "Cannot merge to analysis: Analysis is read-only.\n"
                           "Cannot save analysis: Analysis is read-only.\n"
                           "Cannot save analysis: Analysis is read-only.\n"
                           "Cannot modify read-only analysis.\n");
    EXPECT_EQ(Support::ReadWhole(path), bytes);
    ASSERT_TRUE(OnlineTree::Store(analysis, folder.At("b.onl"), "x")); // elsewhere it can be saved
    EXPECT_FALSE(analysis.ReadOnly);
}

TEST(OnlineFile, AProtectedFileIsReadOnly) {
    const Support::TempFolder folder;
    std::string bytes = Support::ReadWhole(Support::Recording("functions.onl"));
    Support::Patch(bytes, 20 + 44, 0x1234);
    const Messages::Recorder said;
    OnlineAnalysis analysis;
    ASSERT_TRUE(OnlineTree::Load(analysis, folder.Write("p.onl", bytes)));
    EXPECT_TRUE(analysis.ReadOnly);
    EXPECT_EQ(said.Notes, std::string(RecordTree::ProtectedMessage) + "\n");
}

TEST(OnlineFile, AFailedStoreKeepsTheFileAndTheMethods) {
    const Support::TempFolder folder;
    const std::string bytes = Support::ReadWhole(Support::Recording("functions.onl"));
    const Messages::Recorder said;
    OnlineAnalysis analysis;
    ASSERT_TRUE(OnlineTree::Load(analysis, folder.Write("a.onl", bytes)));
    ASSERT_TRUE(OnlineEdit::CopyMethod(analysis, 1));
    const Support::FailingFiles disk;
    Support::TheDisk.Room = 1000;
    EXPECT_FALSE(OnlineTree::Store(analysis, analysis.FileName, "Another"));
    EXPECT_EQ(said.Alerts.rfind("Error storing \".onl\"-file: Tree.Store - write error (4): ", 0), 0u);
    EXPECT_EQ(Support::ReadWhole(folder.At("a.onl")), bytes);
    EXPECT_EQ(folder.Count(), 1);
    EXPECT_TRUE(analysis.Changed);
    EXPECT_STREQ(static_cast<OnlineRoot*>(Tree::Root(analysis.Tree))->OnVersionName, "Qorvanite v1.20");
}

TEST(UniqueNames, ATakenNameIsCountedOn) {
    UniqueNames names{{"Peak", "OA-1", "OA-3", "Run-99999999999", "", std::string(31, 'n')}, {}};
    const struct {
        const char *Wanted, *Given;
    } cases[] = {
        {"New", "New"},
        {"Peak", "Peak-2"},
        {"Peak", "Peak-3"},
        {"Peak-2", "Peak-4"},
        {"OA-1", "OA-2"},
        {"OA-1", "OA-4"},
        {"Run-99999999999", "Run-99999999999-2"}, // no number to count on
        {"", "-2"},
        {"peak", "peak"},
        {"nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn", "nnnnnnnnnnnnnnnnnnnnnnnnnnnnn-2"},
    };
    for (const auto& one : cases) EXPECT_EQ(names.Take(one.Wanted, 31), one.Given) << one.Wanted;
    for (int i = 0; i < 200'000; ++i) (void)names.Take("x", 31); // in no more than linear time
    EXPECT_EQ(names.Take("x", 31), "x-200001");
}
