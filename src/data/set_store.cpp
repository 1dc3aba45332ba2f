#include "data/set_store.h"

#include "base/messages.h"
#include "data/analysis_file.h"
#include "data/safety_net.h"
#include "data/set_trees.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace SetStore {

namespace {

constexpr std::string_view StagedEnding = ".new";
constexpr std::array<std::string_view, 6> OwnEndings = {"vnc", "pgf", "amp", "sol", "ana", "txt"};

bool Refuse(DataSession& session, const std::string& text, int error) {
    if (error == ENOSPC) session.DiskWasFull = true;
    Messages::Alert(text);
    return false;
}

}

std::string StoreFailure(std::string_view extension, std::string_view reason) {
    return "Error storing \"" + std::string(extension) + "\"-file: " + std::string(reason);
}

Step::~Step() {
    if (Decided) return;
    for (const std::string& path : Staged) (void)Files::Remove(path);
}

bool Step::Check(int error) {
    if (error == 0) return true;
    return Refuse(Session, Bundle::FileMessage("The change cannot be prepared", error), error);
}

bool Step::Begin() {
    int error = Change.Begin(Session.FileName);
    // A change of this session that stopped half-way is completed before the next one.
    int recovering = 0;
    if (error == EBUSY && Journal::Recover(Session.FileName, recovering) == Journal::Found::Completed)
        error = Change.Begin(Session.FileName);
    return Check(error);
}

bool Step::AddFile(const std::string& complete, const std::string& target) {
    Staged.push_back(complete);
    return Check(Change.Rename(complete, target));
}

// A copy: the name itself is the target of another step, and each name has one part in a change.
bool Step::SetAside(const std::string& path) {
    if (!Files::Exists(path)) return true;
    const std::string kept = Files::FreeName(path, ".old");
    if (!Check(Files::CopyFile(path, kept))) return false;
    Staged.push_back(kept);
    Messages::Note("The former \"" + path + "\" is kept as \"" + kept + "\".");
    return true;
}

bool Step::AddTree(Tree::Handle* tree, const std::string& path) {
    const std::string staged = path + std::string(StagedEnding);
    Staged.push_back(staged);
    Files::File file;
    std::int64_t size = 0;
    int error = Files::Open(file, staged, Files::Mode::Create);
    std::string reason = Files::ErrorText(error);
    if (error == 0) {
        Files::TakePermissions(file, path);
        error = Tree::StoreAt(file, 0, tree, size);
        reason = Tree::Reason(error);
    }
    if (error == 0) {
        error = Files::Flush(file);
        const int closing = Files::Close(file);
        if (error == 0) error = closing;
        reason = Files::ErrorText(error);
    }
    if (error != 0) return Refuse(Session, StoreFailure(Files::ExtensionOf(path), reason), error);
    Stored.emplace_back(tree, path);
    return Check(Change.Rename(staged, path));
}

bool Step::AddTrees() {
    for (const SetTrees::Row& row : SetTrees::Rows()) {
        Tree::Handle* const tree = (Session.*row.Tree).Handle;
        if (tree && !AddTree(tree, SetTrees::FileName(Session.FileName, row))) return false;
    }
    TreesAdded = true;
    return AddAnalysis();
}

bool Step::AddAnalysis() {
    if (!Session.AnalysisShapeChanged || !Session.Analysis.FromFile) return true;
    return AddTree(Session.Analysis.Handle, AnalysisFile::FileName(Session));
}

bool Step::AddHeader(Bundle::Header& header, bool fresh) {
    constexpr bool KeepTime = true;
    const auto image = Bundle::HeaderImage(header, fresh, KeepTime, Session.ProgramVersion);
    return Check(Change.Write(Session.FileName, 0, image));
}

bool Step::Commit() {
    const int error = Change.Commit(Decided);
    if (error == 0) {
        // The next store of a tree alone need write only what differs from this one.
        for (const auto& [tree, path] : Stored) tree->StoredName = path;
        if (TreesAdded) Session.DiskDataEnd = Session.DataEnd;
        Session.AnalysisShapeChanged = false;
        return true;
    }
    if (!Decided) return Refuse(Session, Bundle::FileMessage("The change could not be made", error), error);
    Session.MustClose = true;
    return Refuse(Session,
                  Bundle::FileMessage("The change has begun and could not be completed", error) +
                      ".\nNothing is lost: it is completed when the data set is opened again.",
                  error);
}

bool StoreTrees(DataSession& session) {
    Step step(session);
    if (!step.Begin() || !step.AddTrees()) return false;
    Bundle::Header header = session.Header;
    const bool unBundle = session.FileKind == Bundle::FileKind::Bundle;
    if (unBundle && (!step.AddHeader(header, true) ||
                     !step.Check(step.Change.SetLength(session.FileName, session.DataEnd))))
        return false;
    if (!step.Commit()) return false;
    if (unBundle) {
        session.Header = header;
        session.FileKind = Bundle::FileKind::WithHeader;
    }
    return true;
}

void RemoveLeftovers(const DataSession& session) {
    const std::filesystem::path data(session.FileName);
    const std::string start = data.stem().string() + ".";
    const std::filesystem::path folder = data.parent_path().empty() ? "." : data.parent_path();
    std::error_code error;
    std::vector<std::filesystem::path> found;
    for (std::filesystem::directory_iterator at(folder, error), end; !error && at != end;
         at.increment(error)) {
        const std::string name = at->path().filename().string();
        if (!name.starts_with(start)) continue;
        const std::string_view rest = std::string_view(name).substr(start.size());
        const bool isTree =
            std::find(OwnEndings.begin(), OwnEndings.end(), rest.substr(0, 3)) != OwnEndings.end();
        const bool isStaged = rest.substr(std::min<std::size_t>(3, rest.size())) == StagedEnding;
        // The content of a replacement, with the number of the program that wrote it.
        const bool isContent = rest.size() > 5 && rest.substr(3, 2) == ".~" &&
                               rest.find_first_not_of("0123456789", 5) == std::string_view::npos;
        if (rest == "da0" || (isTree && (isStaged || isContent))) found.push_back(at->path());
    }
    for (const std::filesystem::path& path : found) (void)Files::Remove(path.string());
}

bool GiveUpReserve(DataSession& session) {
    if (!SafetyNet::Remove(session)) return false;
    Messages::Alert("WARNING: \"SafetyNet\"-file had to be deleted!");
    return true;
}

}
