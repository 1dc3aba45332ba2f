// Two programs and one data set: who is let in, and what the other one still reads.
#include "data/traces.h"
#include "support/holder.h"
#include "support/program.h"
#include "support/set_content.h"

using Support::Holder;
using Support::Json;
using Support::Qorvanite;
using Support::Result;

namespace {

constexpr const char* Refusal = "it is open for changes or analysis in another program.";

// A copy of a recording as cell.*, and the words that name it.
struct Cell {
    explicit Cell(const char* set, const char* second = nullptr) {
        Support::FolderState files;
        Support::AddSet(files, set, "cell");
        if (second) Support::AddSet(files, second, "other");
        Folder.Put(files);
    }
    Result Run(const std::string& command, const std::string& more = "") const {
        return Qorvanite(command + " '" + Path + "' " + more);
    }
    // What info and trace show, whatever form the files have at the moment.
    std::string Shown() const {
        const Result info = Run("info", "--json"), trace = Run("trace", "1.1.1.1");
        EXPECT_EQ(info.Status + trace.Status, 0) << info.Errors << trace.Errors;
        std::string text = trace.Out;
        const Json trees = Json::parse(info.Out)["Trees"];
        EXPECT_GE(trees.size(), 4u);
        for (const auto& [key, tree] : trees.items())
            if (key != "ana") text += key + tree["Root"].dump();
        return text;
    }

    const Support::TempFolder Folder{Support::Memory()};
    const std::string Path = Folder.At("cell.dat"), Other = Folder.At("other.dat");
};

// The samples of all traces, as a program with the data set open loads them.
std::string Samples(DataSession& session) {
    std::string samples;
    (void)RawData::ForEachStored(Tree::Root(session.Vennic.Handle), [&](VennicTrace& trace) {
        if (!Traces::LoadTraceRaw(session, &trace, session.DataHeap)) samples += "not loaded";
        for (const float sample : Traces::Loaded(trace))
            samples.append(reinterpret_cast<const char*>(&sample), sizeof sample);
        Traces::ReleaseTrace(&trace);
        return true;
    });
    return samples;
}

std::string SamplesOf(const std::string& path) {
    Support::OpenedData data(path);
    EXPECT_TRUE(data.IsOpen) << data.Said.Alerts;
    return Samples(data.Session);
}

}

TEST(TwoPrograms, OneHoldsItForChangesOrAnalysisAndOthersRead) {
    for (const char* const set : {"plain", "bigtree"})
        for (const OpenMode mode : {OpenMode::Modify, OpenMode::Analysis}) {
            SCOPED_TRACE(set);
            const Cell cell(set);
            const std::string before = cell.Shown();
            Holder holder(cell.Path, mode);
            ASSERT_TRUE(holder.IsOpen);
            for (const Result& result :
                 {cell.Run("fit", "1.1 --type polynomial --store"), cell.Run("rebuild"), cell.Run("unbundle"),
                  cell.Run("info", "--mode modify"), cell.Run("info", "--mode analysis")}) {
                if (result.Out.ends_with(": is no bundle\n")) continue; // there is nothing to do
                EXPECT_EQ(result.Status, 1);
                EXPECT_NE(result.Errors.find(Refusal), std::string::npos) << result.Errors;
                EXPECT_EQ(result.Out, "");
            }
            EXPECT_EQ(cell.Shown(), before);
            EXPECT_TRUE(holder.Finish());
            EXPECT_EQ(cell.Shown(), before);
            EXPECT_EQ(cell.Run("fit", "1.1 --type polynomial --store").Status, 0);
        }
}

TEST(TwoPrograms, AReaderKeepsItsSamplesWhateverBecomesOfTheFiles) {
    const struct {
        const char *Set, *Command;
        const char* Second = nullptr;
    } cases[] = {
        {"weave", "rebuild"}, {"bare", "rebuild"}, {"bigtree", "unbundle"}, {"plain", "merge", "bigtree"}};
    for (const auto& one : cases) {
        SCOPED_TRACE(std::string(one.Command) + " " + one.Set);
        const Cell cell(one.Set, one.Second);
        const std::string samples = SamplesOf(cell.Path), bytes = Support::ReadWhole(cell.Path);
        Holder reader(cell.Path, OpenMode::Read,
                      [&](DataSession& session) { return Samples(session) == samples; });
        ASSERT_TRUE(reader.IsOpen);
        const Result changed = cell.Run(one.Command, one.Second ? "'" + cell.Other + "'" : "");
        EXPECT_EQ(changed.Status, 0) << changed.Errors;
        EXPECT_TRUE(Support::ReadWhole(cell.Path) != bytes);
        EXPECT_TRUE(reader.Finish());
        EXPECT_TRUE(SamplesOf(cell.Path).starts_with(samples));
    }
}

TEST(TwoPrograms, SamplesAreNotChangedUnderAReadersEyes) {
    const Cell cell("plain");
    const std::string samples = SamplesOf(cell.Path);
    {
        Holder reader(cell.Path, OpenMode::Read);
        ASSERT_TRUE(reader.IsOpen);
        const Result result = cell.Run("compress", "1.1.1.1 2");
        EXPECT_EQ(result.Status, 1);
        EXPECT_NE(result.Errors.find("Another program reads this data set:"), std::string::npos);
        EXPECT_TRUE(SamplesOf(cell.Path) == samples);
    }
    EXPECT_EQ(cell.Run("compress", "1.1.1.1 2").Status, 0);
    EXPECT_EQ(SamplesOf(cell.Path).size(), samples.size() - 220 * sizeof(float));
}

TEST(TwoPrograms, AKilledOneLeavesTheDataSetToTheNext) {
    for (const OpenMode mode : {OpenMode::Modify, OpenMode::Analysis}) {
        const Cell cell("bigtree");
        const std::string content = Support::ContentOf(cell.Path);
        {
            Holder holder(cell.Path, mode);
            ASSERT_TRUE(holder.IsOpen);
            holder.Kill();
        }
        EXPECT_TRUE(Support::ContentOf(cell.Path) == content);
        const Result result = cell.Run("bundle");
        EXPECT_EQ(result.Status, 0) << result.Errors;
        EXPECT_TRUE(Support::ContentOf(cell.Path) == content);
        EXPECT_EQ(cell.Folder.Count(), 1); // the reserve is gone as well
    }
}
