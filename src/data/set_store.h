// Changes of the files of the open data set: data file, trees, notebook. Whatever belongs together is one
// step of a journal (base/journal.h): after a crash either all of it has happened or none.
#pragma once
#include "base/journal.h"
#include "data/session.h"

#include <string>
#include <string_view>

namespace SetStore {

// "Error storing "EXTENSION"-file: REASON", as every failure to store a file of the set is said.
[[nodiscard]] std::string StoreFailure(std::string_view extension, std::string_view reason);

// One change. Anything that fails is said in an alert, and nothing has happened then, but for a failure
// behind the point of decision: the session then ends without storing, and the next open completes the
// change.
class Step {
public:
    explicit Step(DataSession& session) : Session(session) {}
    ~Step();
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;

    [[nodiscard]] bool Begin();
    // Every tree of the session, as files of their own beside the data file, with the analysis where it must
    // follow.
    [[nodiscard]] bool AddTrees();
    // The analysis file, if there is one and the groups or series of the recording have changed: each fits
    // only the other's present state.
    [[nodiscard]] bool AddAnalysis();
    // One tree, under the name of its file.
    [[nodiscard]] bool AddTree(Tree::Handle* tree, const std::string& path);
    // A file that is complete and flushed under another name in the same folder.
    [[nodiscard]] bool AddFile(const std::string& complete, const std::string& target);
    // A file that lies where one of the set's is going to and is none of the set keeps a name with ".old".
    [[nodiscard]] bool SetAside(const std::string& path);
    // The header of the data file, 256 bytes.
    [[nodiscard]] bool AddHeader(Bundle::Header& header, bool fresh);
    [[nodiscard]] bool Check(int error); // an error of Change, said
    [[nodiscard]] bool Commit();

    Journal::Change Change;

private:
    DataSession& Session;
    std::vector<std::string> Staged; // removed unless the change is decided
    std::vector<std::pair<Tree::Handle*, std::string>> Stored;
    bool TreesAdded = false, Decided = false;
};

// Stores the trees beside the data file; a bundle's header becomes one of a file with trees beside it.
[[nodiscard]] bool StoreTrees(DataSession& session);

// Clears away what a killed program has left of files that were not in their place yet. Only for the program
// that holds the data set for changes.
void RemoveLeftovers(const DataSession& session);

// Runs a step of storing; where the disk is full, gives up the reserve file and tries once more.
template <class Work>
[[nodiscard]] bool WithReserve(DataSession& session, Work work);

// Gives up the reserve file after a step that met a full disk, with a warning. False when there is none.
[[nodiscard]] bool GiveUpReserve(DataSession& session);

template <class Work>
bool WithReserve(DataSession& session, Work work) {
    session.DiskWasFull = false;
    return work() || (session.DiskWasFull && GiveUpReserve(session) && work());
}

}
