// Sessions that are open for changes: what they make of a bundle, what they refuse, and how they end.
#include "data/make_bundle.h"
#include "data/safety_net.h"
#include "data/sample_count.h"
#include "data/set_store.h"
#include "data/traces.h"
#include "support/data_session.h"
#include "support/failing_files.h"
#include "support/set_content.h"
#include "support/tree_bytes.h"
#include "trees/stim_tree.h"

using Support::ChangedData;
using Support::OpenedData;

TEST(ChangeSession, ABundleStandsInFilesMeanwhileAndIsOneAgainAtTheEnd) {
    const std::string former = Support::ContentOf(Support::Recording("bigtree.dat"));
    ChangedData data("bigtree");
    EXPECT_EQ(data.Session.FileKind, Bundle::FileKind::WithHeader);
    Support::FolderState files = data.Folder.Files();
    for (const char* const name : {"cell.vnc", "cell.pgf", "cell.amp", "cell.sol", "SafetyNet"})
        EXPECT_TRUE(files.contains(name)) << name;
    EXPECT_EQ(static_cast<std::int64_t>(files["cell.dat"].size()), data.Session.DataEnd);
    ASSERT_TRUE(CloseDataFile(data.Session, true));
    EXPECT_EQ(data.Folder.Count(), 1);
    EXPECT_TRUE(Support::ContentOf(data.Path) == former);
    ASSERT_TRUE(data.Open(data.Path));
    EXPECT_EQ(data.Session.FileKind, Bundle::FileKind::Bundle);
    EXPECT_EQ(data.Session.Header.Time,
              Support::Expected("bigtree")["header"]["Time"].get<double>()); // of the recording
}

TEST(ChangeSession, FilesThatLieWhereTreesAreGoingAreKept) {
    const Support::TempFolder folder{Support::Memory()};
    const std::string path = folder.Write("cell.dat", Support::SoundData());
    for (const char* const name : {"cell.vnc", "cell.txt"}) (void)folder.Write(name, "someone else's");
    OpenedData data(path, OpenMode::Modify);
    for (const char* const name : {"cell.vnc.old", "cell.txt.old"})
        EXPECT_EQ(Support::ReadWhole(folder.At(name)), "someone else's");
    EXPECT_EQ(Support::ReadWhole(folder.At("cell.txt")), Support::SoundData().substr(12268, 5));
}

TEST(ChangeSession, WhatCannotBeKeptIsRefusedAndStaysAsItIs) {
    // An item of the sound bundle that only another program knows.
    std::string unknown = Support::SoundData();
    unknown.replace(64 + 5 * 16 + 8, 4, ".xyz");
    const struct {
        const char* What;
        std::string Bytes;
        bool SolBaseOn, NotebookAutoStore;
        const char* Alert; // a part of it
    } cases[] = {
        {"solutions", Support::SoundData(), false, true, "a solution file and \"Solution Base\" is off !"},
        {"notebook", Support::SoundData(), true, false, "and \"NotebookAutoStore\" is off !"},
        {"unknown item", unknown, true, true, "an item \".xyz\" that this program does not know !"},
        {"other version", Support::DamagedFile("version-8.dat"), true, true, "-file has version 8."},
        {"protected header", Support::DamagedFile("header-check.dat"), true, true, "GLP protection"},
        {"protected records", Support::DamagedFile("record-check.dat"), true, true, "GLP protection"},
        {"eight items", Support::DamagedFile("items-eight.dat"), true, true, "cannot be opened for writing!"},
        {"damaged tree", Support::DamagedFile("cut-trace.dat"), true, true, "Error reading Vennic Tree"},
        {"samples behind", Support::DamagedFile("offset-far.dat"), true, true, "points beyond file end!"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.What);
        const Support::TempFolder folder{Support::Memory()};
        const std::string path = folder.Write("cell.dat", one.Bytes);
        const Support::FailingFiles disk;
        OpenedData data;
        data.Said.Answer = [](bool) { return true; };
        Setup::Settings.SolBaseOn = one.SolBaseOn;
        Setup::Settings.NotebookAutoStore = one.NotebookAutoStore;
        EXPECT_FALSE(data.Open(path, OpenMode::Modify));
        EXPECT_NE(data.Said.Alerts.find(one.Alert), std::string::npos) << data.Said.Alerts;
        EXPECT_EQ(data.Session.FileName, "");
        EXPECT_EQ(Support::TheDisk.OpenHandles, 0);
        const Support::FolderState files = folder.Files();
        EXPECT_EQ(files.size(), 1u);
        EXPECT_TRUE(files.at("cell.dat") == one.Bytes);
    }
}

TEST(ChangeSession, AnEmptySetGoesAtTheEndWithoutTheUsersNotes) {
    for (const bool notes : {false, true}) {
        ChangedData data("plain");
        (void)data.Folder.Write("cell.txt", notes ? "something learnt\n" : "");
        while (void* group = data.Find({1})) Tree::Delete(data.Session.Vennic.Handle, group);
        data.Session.CurTrace = nullptr;
        ASSERT_TRUE(CloseDataFile(data.Session, true)) << data.Said.Alerts;
        const Support::FolderState files = data.Folder.Files();
        EXPECT_EQ(files.size(), notes ? 2u : 1u);
        EXPECT_EQ(files.contains("cell.txt"), notes);
        EXPECT_TRUE(files.contains("cell.ana")); // results are the user's, too
    }
}

TEST(ChangeSession, UnusedSpaceIsOfferedForARebuildAtTheEnd) {
    for (const bool yes : {false, true}) {
        ChangedData data("plain");
        // The last trace's samples far behind the others'.
        VennicTrace& last = *data.Trace({2, 1, 2, 1});
        const auto length = static_cast<std::size_t>(last.TrDataPoints) * 2;
        const std::string samples =
            Support::ReadWhole(data.Path).substr(static_cast<std::size_t>(last.TrFileOffset), length);
        constexpr std::int32_t Far = 11'000'000;
        ASSERT_EQ(Files::WriteAt(data.Session.DataFile, Far, std::as_bytes(std::span(samples))), 0);
        last.TrFileOffset = Far;
        data.Said.Answer = [yes](bool) { return yes; };
        ASSERT_TRUE(CloseDataFile(data.Session, true)) << data.Said.Alerts;
        EXPECT_EQ(data.Said.Questions, "This data file is not sequential anymore:\n");
        EXPECT_EQ(std::filesystem::file_size(data.Path) < 100'000, yes);
        ASSERT_TRUE(data.Open(data.Path));
        EXPECT_EQ(data.Session.FileKind, Bundle::FileKind::Bundle);
        const auto at = static_cast<std::size_t>(data.Trace({2, 1, 2, 1})->TrFileOffset);
        EXPECT_EQ(Support::ReadWhole(data.Path).substr(at, length), samples);
    }
}

TEST(ChangeSession, FilesAreOutOfReachWhileAProtocolRuns) {
    OpenedData data(Support::Recording("plain.dat"));
    FilesAreBusy = [] { return true; };
    EXPECT_FALSE(data.Open(Support::Recording("old.dat")));
    EXPECT_EQ(data.Said.Alerts, "Cannot access files: still executing or acquiring... \n");
    EXPECT_EQ(data.Session.FileName, Support::Recording("plain.dat")); // it stays open
    FilesAreBusy = nullptr;
    EXPECT_TRUE(data.Open(Support::Recording("old.dat")));
}

TEST(SafetyNet, IsMadeFoundAgainAndGone) {
    const Support::TempFolder reserves{Support::Memory()};
    ChangedData data("plain");
    EXPECT_EQ(data.Session.SafetyNetFile, data.Folder.At("SafetyNet"));
    EXPECT_EQ(std::filesystem::file_size(data.Folder.At("SafetyNet")), 4'194'304u);
    const std::string content = Support::ReadWhole(data.Folder.At("SafetyNet"));
    CloseDataFile(data.Session);
    EXPECT_FALSE(Files::Exists(data.Folder.At("SafetyNet")));
    Setup::Settings.TempPath = reserves.Path;
    const std::string path = reserves.At("SafetyNet");
    for (const std::string& found : {content, "x" + content}) { // for this data file, and for another one
        const bool own = found == content;
        Support::WriteWhole(path, found);
        const Files::Stamp stamp = Files::StampOf(path);
        ASSERT_TRUE(data.Open(data.Path, OpenMode::Modify));
        EXPECT_EQ(Files::StampOf(path), stamp); // taken as it is, or left alone
        EXPECT_EQ(data.Session.SafetyNetFile, own ? path : path + ".cell");
        CloseDataFile(data.Session);
        EXPECT_EQ(reserves.Count(), own ? 0 : 1);
    }
}

TEST(SafetyNet, WithoutItTheUserDecides) {
    for (const bool goOn : {false, true}) {
        ChangedData data("plain", OpenMode::Read);
        Setup::Settings.TempPath = "/nowhere/at/all";
        data.Said.Answer = [goOn](bool) { return goOn; };
        EXPECT_EQ(data.Open(data.Path, OpenMode::Modify), goOn);
        EXPECT_TRUE(data.Said.Questions.starts_with("Error creating file \"SafetyNet\": No such file"));
    }
}

TEST(SafetyNet, IsGivenUpForAStoreOnAFullDisk) {
    ChangedData data("plain");
    const std::string net = data.Session.SafetyNetFile;
    std::strcpy(data.Session.CurSeries->SeLabel, "after the disk was full");
    {
        const Support::FailingFiles disk;
        Support::TheDisk.Room = 1000;
        // The file's removal makes room.
        static const Files::Platform& native = Files::Native();
        Files::Platform freeing = native;
        freeing.WriteAt = [](int handle, const void* bytes, std::size_t count, std::int64_t position) {
            const auto wanted = static_cast<std::int64_t>(count);
            if (wanted > Support::TheDisk.Room) return std::int64_t{-ENOSPC};
            Support::TheDisk.Room -= wanted;
            return native.WriteAt(handle, bytes, count, position);
        };
        freeing.Copy = nullptr;
        freeing.Remove = [](const char* path) {
            if (std::string_view(path).ends_with("SafetyNet")) Support::TheDisk.Room += SafetyNet::Bytes;
            return native.Remove(path);
        };
        Files::Use(freeing);
        EXPECT_TRUE(UpdateDataFile(data.Session));
    }
    EXPECT_NE(data.Said.Alerts.find("Error storing \""), std::string::npos);
    EXPECT_TRUE(data.Said.Alerts.ends_with("WARNING: \"SafetyNet\"-file had to be deleted!\n"));
    EXPECT_FALSE(Files::Exists(net));
    CloseDataFile(data.Session);
    ASSERT_TRUE(data.Open(data.Path));
    EXPECT_STREQ(data.Session.CurSeries->SeLabel, "after the disk was full");
}

TEST(TempFile, HoldsTemporaryTracesAndLeavesNoName) {
    const Support::TempFolder temporary{Support::Memory()};
    for (const bool elsewhere : {true, false}) {
        ChangedData data("plain", OpenMode::Read);
        const Support::FolderState before = data.Folder.Files();
        Setup::Settings.TempPath = elsewhere ? temporary.Path : "/nowhere/at/all";
        ASSERT_TRUE(OpenTempFile(data.Session));
        ASSERT_TRUE(OpenTempFile(data.Session)); // it is there
        EXPECT_TRUE(data.Said.Notes.ends_with("Temporary data file opened: \"" +
                                              (elsewhere ? temporary : data.Folder).At("cell.tmp") + "\"\n"))
            << data.Said.Notes;
        EXPECT_TRUE(data.Folder.Files() == before);
        EXPECT_EQ(temporary.Count(), 0);

        const std::int16_t samples[] = {5, -6, 7};
        ASSERT_EQ(Files::WriteAt(data.Session.TempFile, 100, std::as_bytes(std::span(samples))), 0);
        VennicTrace& trace = *data.Trace({1, 1, 1, 1});
        trace.TrFileOffset = 100;
        trace.TrDataPoints = 3;
        trace.TrDataKind = Bytes::MachineIsLittle ? DataKind::LittleEndian : 0;
        trace.IsTemporary = 1;
        ASSERT_TRUE(Traces::LoadTraceRaw(data.Session, &trace, data.Session.DataHeap)) << data.Said.Notes;
        EXPECT_FLOAT_EQ(Traces::Loaded(trace)[1], static_cast<float>(-6 * trace.TrDataFactor));
    }
}

TEST(SampleCount, ADataSetThatNeedsMoreIsLoadedOnRisk) {
    // 2.1 of relax has a continuous segment or one of 10000 points; the least setting holds it, so it
    // shrinks.
    for (const auto& [continuous, risk] :
         {std::pair{false, false}, {false, true}, {true, false}, {true, true}}) {
        ChangedData data("relax");
        static_cast<VennicRoot*>(Tree::Root(data.Session.Vennic.Handle))->RoMaxSamples = 20'000;
        const void* const channel = Tree::Child(Tree::Child(Tree::Root(data.Session.Stim.Handle), 2), 1);
        if (continuous)
            Tree::ChildAs<StimSegment>(channel, 1)->SgClass =
                static_cast<std::uint8_t>(StimTree::SegmentClass::Continuous);
        ASSERT_TRUE(CloseDataFile(data.Session, true));
        data.Said.Questions.clear();
        Setup::Settings.MaxSamplePoints = 9'999;
        data.Said.Answer = [answer = risk](bool) { return answer; };
        EXPECT_EQ(data.Open(data.Path), risk);
        EXPECT_TRUE(data.Said.Questions.starts_with(
            continuous
                ? "The data were acquired with a larger value for \"MaxSamplePoints\".\npresent "
                  "MaxSamplePoints: 9 ksamples\noriginal MaxSamplePoints: 20 ksamples\n"
                : "Too many sample points:\n   present max: 9999 samples\n   requiring: 10000 samples\n"))
            << data.Said.Questions;
    }
}
