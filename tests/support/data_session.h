// A recording opened for a test: settings of a first start, all messages collected, everything given back.
#pragma once
#include "base/buffer.h"
#include "data/scratch.h"
#include "data/session.h"
#include "setup/settings.h"
#include "support/fixtures.h"

namespace Support {

class OpenedData {
public:
    OpenedData() { Setup::Settings = {}; }
    explicit OpenedData(const std::string& path, OpenMode mode = OpenMode::Read) : OpenedData() {
        Open(path, mode);
    }
    ~OpenedData() {
        CloseDataFile(Session);
        Scratch::Release();
        Setup::Settings = {};
    }
    OpenedData(OpenedData&&) = delete;

    bool Open(const std::string& path, OpenMode mode = OpenMode::Read) {
        return IsOpen = OpenDataFile(Session, path, {.Mode = mode});
    }
    // The record of a path of positions from the root down; none where there is no such record.
    [[nodiscard]] void* Find(const std::vector<int>& path) const {
        void* record = Tree::Root(Session.Vennic.Handle);
        for (const int position : path) record = Tree::Child(record, position);
        return record;
    }
    [[nodiscard]] VennicTrace* Trace(const std::vector<int>& path) const {
        return static_cast<VennicTrace*>(Find(path));
    }
    [[nodiscard]] static VennicSweep* SweepOf(const VennicTrace* trace) {
        return static_cast<VennicSweep*>(Tree::Parent(trace));
    }

    Messages::Recorder Said;
    DataSession Session;
    bool IsOpen = false;
};

// A copy of a recording as "cell.dat" in a folder of its own, opened for changes.
class ChangedData : public OpenedData {
public:
    explicit ChangedData(const std::string& set, OpenMode mode = OpenMode::Modify) {
        FolderState files;
        AddSet(files, set, "cell");
        Folder.Put(files);
        if (!Open(Path, mode)) ADD_FAILURE() << Said.Alerts;
    }
    // Ends the session so that the folder outlives its files.
    ~ChangedData() { CloseDataFile(Session); }

    const TempFolder Folder{Memory()};
    const std::string Path = Folder.At("cell.dat");
};

}
