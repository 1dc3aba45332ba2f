#include "online/online_file.h"

#include "base/buffer.h"
#include "online/online_edit.h"
#include "online/unique_names.h"
#include "setup/settings_file.h"
#include "support/failing_files.h"
#include "support/fixtures.h"
#include "support/tree_bytes.h"

namespace {

std::string Names(const OnlineAnalysis& analysis) {
    std::string names;
    for (int i = 1; i <= OnlineTree::MethodCount(analysis); ++i)
        names += std::string(Texts::FromField(OnlineTree::MethodAt(analysis, i)->OmName)) + "(" +
                 std::to_string(Tree::ChildCount(OnlineTree::MethodAt(analysis, i))) + ") ";
    return names;
}

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
    OnlineAnalysis analysis;
    ASSERT_TRUE(OnlineTree::Load(analysis, Support::Recording("functions.onl")));
    analysis.Current = 2;
    const Support::TempFolder folder;
    for (const auto& [file, alerts] :
         {std::pair{"online-cut.onl", "Error reading Online Tree: Tree.LoadRead"},
          {"online-version-11.onl", "User cancelled loading wrong version !\nError reading Online Tree: "}}) {
        const std::string path = folder.Write(file, Support::DamagedFile(file));
        for (const bool merge : {false, true}) {
            const Messages::Recorder said;
            EXPECT_FALSE(merge ? OnlineTree::MergeFile(analysis, path) : OnlineTree::Load(analysis, path));
            EXPECT_TRUE(said.Alerts.starts_with(alerts)) << said.Alerts;
            EXPECT_EQ(Names(analysis), "OA-1(5) OA-2(7) ");
            EXPECT_TRUE(analysis.Current == 2 && !analysis.Changed);
            EXPECT_EQ(analysis.FileName, Support::Recording("functions.onl"));
        }
    }
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
    const std::string file = Support::Recording("functions.onl");
    OnlineAnalysis analysis;
    ASSERT_TRUE(OnlineTree::Load(analysis, file));
    for (int i = 0; i < 2; ++i) ASSERT_TRUE(OnlineTree::MergeFile(analysis, file));
    EXPECT_EQ(Names(analysis), "OA-1(5) OA-2(7) OA-3(5) OA-4(7) OA-5(5) OA-6(7) ");
    EXPECT_TRUE(said.Notes.starts_with("Merged method \"OA-1\" is now named \"OA-3\".\n"));
    EXPECT_EQ(said.Alerts, "");
    EXPECT_TRUE(analysis.Changed);
    EXPECT_EQ(analysis.Current, 1);
    EXPECT_FALSE(Buffer::Exists(OnlineTree::MergeHeapName));
    std::size_t room = analysis.Tree->Heap->AreaBytes();
    for (int failures = 0; failures < 2;) { // room is made until the heap can take some methods, but not all
        analysis.Tree->Heap->SetLimit(room);
        if (OnlineTree::MergeFile(analysis, file)) continue;
        ++failures;
        ASSERT_NE(said.Alerts.find("Cannot merge to analysis: Tree.Insert"), std::string::npos);
        EXPECT_EQ(OnlineTree::MethodCount(analysis) % 2, 0); // nothing is left behind
        room = analysis.Tree->Heap->AreaBytes() * 2 + 5000;
    }
}

TEST(OnlineFile, RefusalsNameTheirReasonAndLeaveTheFile) {
    const Support::TempFolder folder;
    std::string bytes = Support::ReadWhole(Support::Recording("functions.onl"));
    Support::Patch(bytes, 20 + 44, 0x1234); // a check sum: protected
    const std::string path = folder.Write("a.onl", bytes);
    const Messages::Recorder said;
    OnlineAnalysis analysis;
    ASSERT_TRUE(OnlineTree::New(analysis));
    EXPECT_FALSE(OnlineTree::Store(analysis, path, "x"));
    Setup::State.ConfigurationLocked = true;
    EXPECT_FALSE(OnlineTree::Load(analysis, path) || OnlineTree::MergeFile(analysis, path) ||
                 OnlineTree::Store(analysis, path, "x"));
    Setup::State.ConfigurationLocked = false;
    analysis.Executing = true;
    EXPECT_FALSE(OnlineTree::MergeFile(analysis, path) || OnlineEdit::MayModify(analysis));
    analysis.Executing = false;
    ASSERT_TRUE(OnlineTree::Load(analysis, path));
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
    const Support::FailingFiles disk;
    Support::TheDisk.Room = 1000;
    EXPECT_FALSE(OnlineTree::Store(analysis, folder.At("b.onl"), "x"));
    EXPECT_STREQ(static_cast<OnlineRoot*>(Tree::Root(analysis.Tree))->OnVersionName, "Qorvanite v1.20");
    Support::TheDisk.Room = 1'000'000;
    EXPECT_EQ(folder.Count(), 1);
    ASSERT_TRUE(OnlineTree::Store(analysis, folder.At("b.onl"), "x")); // elsewhere it can be saved
    EXPECT_FALSE(analysis.ReadOnly);
    EXPECT_EQ(Support::ReadWhole(path), bytes);
    Files::Platform writeProtected = Files::Native();
    writeProtected.Open = [](const char* name, Files::Mode mode) {
        const bool refused = mode == Files::Mode::ReadWrite && std::filesystem::exists(name);
        return refused ? -EACCES : Files::Native().Open(name, mode);
    };
    Files::Use(writeProtected);
    ASSERT_TRUE(OnlineTree::Load(analysis, folder.At("b.onl")));
    EXPECT_TRUE(analysis.ReadOnly);
}

TEST(UniqueNames, ATakenNameIsCountedOn) {
    UniqueNames names{{"Peak", "OA-1", "OA-3", "Run-99999999999", "", std::string(31, 'n')}, {}};
    for (const auto& [wanted, given] : {std::pair<std::string, std::string>{"New", "New"},
                                        {"Peak", "Peak-2"},
                                        {"Peak-2", "Peak-3"},
                                        {"OA-1", "OA-2"},
                                        {"OA-1", "OA-4"},
                                        {"Run-99999999999", "Run-99999999999-2"}, // no number to count on
                                        {"", "-2"},
                                        {std::string(35, 'n'), std::string(29, 'n') + "-2"}})
        EXPECT_EQ(names.Take(wanted, 31), given) << wanted;
    for (int i = 0; i < 200'000; ++i) (void)names.Take("x", 31); // in no more than linear time
    EXPECT_EQ(names.Take("x", 31), "x-200001");
}
