#include "data/recovery_copy.h"

#include "base/checksum.h"
#include "base/messages.h"
#include "base/places.h"
#include "base/time_scale.h"
#include "data/analysis_file.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace RecoveryCopy {

namespace {

constexpr std::string_view Ending = ".recover";

bool HasUnsaved(const DataSession& session) {
    return session.AnalysisWritable && session.AnalysisRevision != session.AnalysisSavedRevision;
}

int WriteTo(DataSession& session, const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    if (const int error = Places::EnsureFolder(folder); error != 0) return error;
    return Tree::Store(path, session.Analysis.Handle, true);
}

std::string TimeOf(const std::string& path) {
    constexpr double SecondsFrom1601To1970 = 11644473600.0;
    const double time = TimeScale::FromFileTime(static_cast<double>(Files::StampOf(path).ChangedAt) * 1e-9 +
                                                SecondsFrom1601To1970);
    return TimeScale::DateText(time) + " " + TimeScale::TimeText(time);
}

void RemoveAll(const DataSession& session) {
    for (const std::string& path : PlacesFor(session))
        if (Files::Exists(path)) (void)Files::Remove(path);
}

}

std::vector<std::string> PlacesFor(const DataSession& session) {
    const std::string analysis = AnalysisFile::FileName(session);
    std::vector<std::string> places{analysis + std::string(Ending)};
    const std::string state = Places::StateFolder();
    if (state.empty()) return places;
    std::error_code ignored;
    const std::filesystem::path full =
        std::filesystem::weakly_canonical(std::filesystem::absolute(analysis, ignored), ignored);
    const std::string fullName = full.string();
    char number[16];
    std::snprintf(number, sizeof number, "%08x-",
                  static_cast<unsigned>(Checksum::Crc32(0, std::as_bytes(std::span(fullName)))));
    places.push_back(state + "/recovery/" + number + full.filename().string() + std::string(Ending));
    return places;
}

void Keep(DataSession& session) {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    Keep(session, std::chrono::duration<double>(now).count());
}

void Keep(DataSession& session, double now) {
    if (session.FileName.empty() || !HasUnsaved(session) ||
        session.AnalysisRevision == session.AnalysisKeptRevision)
        return;
    if (session.AnalysisKeptRevision != 0 && now - session.AnalysisKeptAt < Interval) return;
    session.AnalysisKeptAt = now;
    session.AnalysisKeptRevision = session.AnalysisRevision;
    for (const std::string& path : PlacesFor(session))
        if (WriteTo(session, path) == 0) return;
    if (!session.AnalysisKeepFailed)
        Messages::Note("No recovery copy of the unsaved analysis can be kept: " + Tree::LastError());
    session.AnalysisKeepFailed = true;
}

void Offer(DataSession& session) {
    for (const std::string& path : PlacesFor(session)) {
        if (!Files::Exists(path)) continue;
        if (!Messages::AskYesNo("Unsaved analysis results of \"" + session.FileName + "\" were kept at " +
                                    TimeOf(path) + " before the program ended.\nTake them up again ?",
                                true)) {
            continue;
        }
        const bool hasFile = session.Analysis.FromFile, unreadable = session.AnalysisUnreadable;
        const bool taken = AnalysisFile::LoadAnalysisFile(session, path) && session.Analysis.FromFile;
        if (taken) {
            // A file that could not be used is still to be kept aside.
            session.Analysis.FromFile = hasFile;
            session.AnalysisUnreadable = unreadable;
            session.AnalysisRecovered = session.AnalysisKeptRevision = ++session.AnalysisRevision;
            return;
        }
        // What cannot be taken up does not stand in the way of the file, and is not lost.
        const std::string aside = Files::FreeName(path, ".old");
        if (Files::Rename(path, aside) == 0) Messages::Note("It is kept as \"" + aside + "\".");
        (void)AnalysisFile::LoadAnalysisFile(session, AnalysisFile::FileName(session));
        return;
    }
}

void Saved(DataSession& session) {
    session.AnalysisSavedRevision = session.AnalysisRevision;
    session.AnalysisRecovered = 0;
    RemoveAll(session);
}

void SaveFailed(DataSession& session) {
    session.AnalysisRecovered = ++session.AnalysisRevision;
    session.AnalysisKeptRevision = 0;
    Keep(session);
}

void Ended(DataSession& session) {
    if (!session.AnalysisWritable || session.AnalysisRecovered != 0) return;
    RemoveAll(session);
}

}
