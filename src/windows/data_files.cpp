#include "windows/data_files.h"

#include "base/files.h"
#include "base/messages.h"
#include "data/analysis_file.h"
#include "data/file_info.h"
#include "data/merge.h"
#include "data/recovery_copy.h"
#include "fit/logbook.h"
#include "platform/platform.h"
#include "setup/settings.h"
#include "setup/settings_file.h"

#include <vector>

namespace DataFiles {

namespace {

std::vector<void (*)()> Listeners;

void Changed() {
    for (void (*const proc)() : Listeners) proc();
}

constexpr std::size_t LongestName = 259;

bool NameIsProper(const std::string& path) {
    const std::string extension = Files::ExtensionOf(path);
    if (!extension.empty() && extension != ".dat") {
        Messages::Alert("The file \"" + path +
                        "\" has the wrong extension.\nEnter no extension or \".dat\" !");
    } else if (path.size() > LongestName) {
        Messages::Alert("Filename too long (max. " + std::to_string(LongestName) + " characters):\n" + path);
    } else {
        return true;
    }
    return false;
}

enum Answer { Store, Drop, Keep };

Answer AskAboutAnalysis() {
    static constexpr const char* Buttons[] = {"Store", "Don't store", "Cancel"};
    return static_cast<Answer>(
        Messages::AskChoice("The analysis of \"" + BaseName() +
                                "\" has results that are not stored.\n\nStore the analysis file ?",
                            {.Buttons = Buttons, .Default = Store, .Yes = Store, .No = Drop}));
}

}

bool Open(const std::string& path, OpenMode mode) {
    if (!NameIsProper(path)) return false;
    if (IsOpen() && !Close()) return false;
    const std::string version = "Qorvanite " + Setup::State.ProgramVersion;
    const OpenOptions options{.Mode = mode, .MakeRoom = false, .ProgramVersion = version};
    const bool opened = OpenDataFile(CurrentSession(), path, options);
    if (opened) {
        Setup::Settings.Files.DataFile = CurrentSession().FileName;
        (void)Logbook::LogOpen(CurrentSession().FileName);
        CheckFreeDisk(CurrentSession());
    }
    Changed();
    return opened;
}

bool AskFile(const std::string& title, std::string& path) {
    const std::string start = Setup::Settings.Files.DataFile.empty() ? Setup::Settings.Files.CommonPath
                                                                     : Setup::Settings.Files.DataFile;
    path = start;
    while (Platform::Ops().FileDialog(
               {.Title = title, .Start = path, .Pattern = "*.dat", .Kind = "Data file"}, path) &&
           !path.empty())
        if (NameIsProper(path)) return true;
    return false;
}

bool AskAndOpen(OpenMode mode) {
    std::string path;
    return AskFile("Open Data File", path) && Open(path, mode);
}

bool Close() {
    if (!IsOpen()) return true;
    if (!CanAccessFiles()) return false;
    if (HasUnsavedAnalysis()) {
        const Answer answer = AskAboutAnalysis();
        if (answer == Keep) return false;
        if (answer == Store && !SaveAnalysis()) return false;
    }
    (void)Logbook::LogClose();
    (void)CloseDataFile(CurrentSession(), true);
    Changed();
    return true;
}

bool Update() {
    const bool done = IsOpen() && UpdateDataFile(CurrentSession());
    Changed();
    return done;
}

bool Merge() {
    std::string path;
    if (!CanModify() || !AskFile("Data file to merge", path)) return false;
    const bool done = MergeDataFile(CurrentSession(), path);
    Changed();
    return done;
}

bool SaveAnalysis() {
    return IsOpen() && AnalysisFile::SaveAnalysis(CurrentSession());
}

bool IsOpen() {
    return !CurrentSession().FileName.empty();
}

bool CanModify() {
    return IsOpen() && CurrentSession().Modify;
}

bool HasUnsavedAnalysis() {
    const DataSession& session = CurrentSession();
    return IsOpen() && session.AnalysisWritable && session.AnalysisRevision != session.AnalysisSavedRevision;
}

std::string BaseName() {
    const std::string& path = CurrentSession().FileName;
    return path.substr(path.find_last_of('/') + 1);
}

const char* ModeWords() {
    return CurrentSession().Modify             ? "open for changes"
           : CurrentSession().AnalysisWritable ? "analysis only"
                                               : "read-only";
}

void OnChange(void (*proc)()) {
    for (void (*const each)() : Listeners)
        if (each == proc) return;
    Listeners.push_back(proc);
}

}
