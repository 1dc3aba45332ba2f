// Looking at a data set changes nothing of it, and an analysis only its ".ana" file.
#include "support/program.h"
#include "support/set_content.h"

#include <chrono>

using Support::Qorvanite;
using Support::Result;

namespace {

namespace fs = std::filesystem;

// Content and time of the last change of each file of the folder.
std::map<std::string, std::pair<std::string, fs::file_time_type>> StateOf(const std::string& folder) {
    std::map<std::string, std::pair<std::string, fs::file_time_type>> state;
    for (const auto& entry : fs::directory_iterator(folder))
        state[entry.path().filename().string()] = {Support::ReadWhole(entry.path().string()),
                                                   entry.last_write_time()};
    return state;
}

// A recording with a notebook that was made yesterday.
struct Yesterday {
    explicit Yesterday(const std::string& set) {
        Support::FolderState files;
        Support::AddSet(files, set, "cell");
        if (files.contains("cell.vnc")) files["cell.txt"] = "notes\n";
        Folder.Put(files);
        constexpr std::chrono::hours Day{24};
        for (const auto& entry : fs::directory_iterator(Folder.Path))
            fs::last_write_time(entry.path(), entry.last_write_time() - Day);
    }
    Support::TempFolder Folder{Support::Memory()};
    std::string Path = Folder.At("cell.dat");
};

constexpr const char* Looks[] = {"info --verbose",
                                 "info --tree vnc,pgf,amp,sol,ana",
                                 "trace 1.1.1.1 --zero --reference 1.1 --filter 500",
                                 "trace 1.1.1.1 --no-leak --first 5 --points 10 --json",
                                 "stimulus 1.1.1 --channel 1",
                                 "stimulus 1.1.1 --stored --json",
                                 "fit 1.1 --type polynomial"};

// The command's word, the file, and the rest.
Result Look(const std::string& words, const std::string& path, const std::string& mode) {
    const std::size_t word = words.find(' ');
    const std::string rest = word == std::string::npos ? "" : words.substr(word);
    return Qorvanite(words.substr(0, word) + " '" + path + "'" + rest + " --mode " + mode);
}

}

// One of them in a protected folder. For the superuser, whom no protection stops, the contents alone tell.
TEST(ReadOnly, LookingLeavesEveryFileAsItIs) {
    for (const char* const set : {"plain", "bigtree", "weave", "old", "bare"}) {
        const Yesterday data(set);
        if (set == std::string("plain")) {
            for (const auto& entry : fs::directory_iterator(data.Folder.Path))
                fs::permissions(entry.path(), fs::perms::owner_read);
            fs::permissions(data.Folder.Path, fs::perms::owner_read | fs::perms::owner_exec);
        }
        const auto before = StateOf(data.Folder.Path);
        for (const char* const mode : {"read", "analysis"})
            for (const char* const words : Looks) {
                SCOPED_TRACE(std::string(set) + " " + mode + " " + words);
                const Result result = Look(words, data.Path, mode);
                EXPECT_EQ(result.Status, 0) << result.Errors;
                EXPECT_NE(result.Out, "");
                ASSERT_TRUE(StateOf(data.Folder.Path) == before);
            }
        fs::permissions(data.Folder.Path, fs::perms::owner_all);
    }
}

TEST(ReadOnly, AnAnalysisIsStoredBesideTheRecordingAndOnlyWhereItMay) {
    for (const char* const set : {"plain", "bigtree", "weave", "old", "bare"}) {
        SCOPED_TRACE(set);
        const Yesterday data(set);
        auto before = StateOf(data.Folder.Path);
        const std::string fit = "fit 1.1 --type polynomial --store";
        const Result refused = Look(fit, data.Path, "read");
        EXPECT_EQ(refused.Status, 1);
        EXPECT_NE(refused.Errors.find("Cannot modify: data file opened read-only."), std::string::npos)
            << refused.Errors;
        EXPECT_TRUE(StateOf(data.Folder.Path) == before);

        const Result stored = Look(fit, data.Path, "analysis");
        EXPECT_EQ(stored.Status, 0) << stored.Errors;
        auto after = StateOf(data.Folder.Path);
        ASSERT_TRUE(after.contains("cell.ana"));
        EXPECT_TRUE(after["cell.ana"] != before["cell.ana"]);
        after.erase("cell.ana");
        before.erase("cell.ana");
        EXPECT_TRUE(after == before);
    }
}
