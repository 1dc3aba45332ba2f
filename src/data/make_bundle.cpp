#include "data/make_bundle.h"

#include "base/messages.h"
#include "base/text.h"
#include "data/raw_data.h"
#include "data/set_store.h"
#include "data/set_trees.h"
#include "setup/settings.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <vector>

namespace {

constexpr std::int64_t ItemEndMax = std::numeric_limits<std::int32_t>::max();
constexpr std::string_view NotebookExtension = ".txt";

bool StoreFailed(DataSession& session, std::string_view extension, const std::string& reason, int error) {
    if (error == ENOSPC) session.DiskWasFull = true;
    Messages::Alert(SetStore::StoreFailure(extension, reason));
    return false;
}

void SetItem(Bundle::Item& item, std::string_view extension, std::int64_t start, std::int64_t length) {
    item.Start = static_cast<std::int32_t>(start);
    item.Length = static_cast<std::int32_t>(length);
    Texts::ToField(item.Extension, extension);
}

// The notebook behind the trees. No notebook is no error.
bool AppendNotebook(DataSession& session, Bundle::Item& item, std::int64_t& position) {
    const std::string path = NotebookName(session);
    if (!Setup::Settings.NotebookAutoStore || !Files::Exists(path)) return true;
    Files::File file;
    std::int64_t length = 0;
    int error = Files::Open(file, path, Files::Mode::Read);
    if (error == 0) error = Files::Length(file, length);
    if (error == 0 && position + length > ItemEndMax) error = EFBIG;
    if (error == 0) error = Files::CopyBytes(file, 0, length, session.DataFile, position);
    if (error != 0) return StoreFailed(session, NotebookExtension, Files::ErrorText(error), error);
    SetItem(item, NotebookExtension, position, length);
    position += length;
    return true;
}

// Everything behind the samples, and the header that will tell of it. The file's own header stays as it is.
bool AppendItems(DataSession& session, Bundle::Header& header, std::int64_t& position) {
    SetItem(header.Entries[0], Bundle::Extensions[0], Bundle::HeaderBytes,
            session.DataEnd - static_cast<std::int64_t>(Bundle::HeaderBytes));
    for (std::size_t i = 0; i < SetTrees::Rows().size(); ++i) {
        const SetTrees::Row& row = SetTrees::Rows()[i];
        Tree::Handle* const tree = (session.*row.Tree).Handle;
        if (!tree) continue;
        std::int64_t size = 0;
        const int error = Tree::StoreAt(session.DataFile, position, tree, size);
        if (error != Tree::Success)
            return StoreFailed(session, row.Format.Extension, Tree::Reason(error), error);
        SetItem(header.Entries[1 + i], row.Format.Extension, position, size);
        position += size;
    }
    if (!AppendNotebook(session, header.Entries[5], position)) return false;
    int error = Files::SetLength(session.DataFile, position);
    if (error == 0) error = Files::Flush(session.DataFile);
    return error == 0 || StoreFailed(session, Bundle::Extensions[0], Files::ErrorText(error), error);
}

bool Decide(DataSession& session, Bundle::Header& header) {
    SetStore::Step step(session);
    if (!step.Begin() || !step.AddHeader(header, false) || !step.AddAnalysis()) return false;
    for (const SetTrees::Row& row : SetTrees::Rows())
        if ((session.*row.Tree).Handle &&
            !step.Check(step.Change.Remove(SetTrees::FileName(session.FileName, row))))
            return false;
    const bool hasNotebook = header.Entries[5].Extension[0] != '\0';
    if (hasNotebook && !step.Check(step.Change.Remove(NotebookName(session)))) return false;
    return step.Commit();
}

bool Combine(DataSession& session) {
    // Trees on the disk that still name samples behind DataEnd must not lose them before new ones are there.
    if (session.DiskDataEnd > session.DataEnd && !SetStore::StoreTrees(session)) return false;
    Bundle::Header header = session.Header;
    constexpr bool Fresh = true, KeepTime = true;
    (void)Bundle::HeaderImage(header, Fresh, KeepTime, session.ProgramVersion);
    Texts::ToField(header.Signature, "DAT2");
    header.Items = Bundle::ItemMax;
    std::int64_t position = session.DataEnd;
    if (!AppendItems(session, header, position) || !Decide(session, header)) {
        if (!session.MustClose) (void)Files::SetLength(session.DataFile, session.DataEnd);
        return false;
    }
    session.Header = header;
    session.FileKind = Bundle::FileKind::Bundle;
    session.DiskDataEnd = session.DataEnd;
    return true;
}

// An empty group that was begun and never filled is not stored.
class OmitEmptyTail {
public:
    explicit OmitEmptyTail(const DataSession& session) {
        const void* const root = Tree::Root(session.Vennic.Handle);
        Group = Tree::Child(root, Tree::ChildCount(root));
        const bool empty = Tree::IsValid(Group) && Tree::ChildCount(Group) == 1 &&
                           Tree::ChildCount(Tree::Child(Group, 1)) == 0;
        if (!empty) Group = nullptr;
        if (Group) Tree::SetValid(Group, false);
    }
    ~OmitEmptyTail() {
        if (Group) Tree::SetValid(Group, true);
    }
    OmitEmptyTail(const OmitEmptyTail&) = delete;
    OmitEmptyTail& operator=(const OmitEmptyTail&) = delete;

private:
    void* Group;
};

}

std::string NotebookName(const DataSession& session) {
    return Files::WithExtension(session.FileName, NotebookExtension);
}

bool MakeBundle(DataSession& session, bool makeIt, bool alert) {
    if (session.FileName.empty() || !session.Modify || !session.Changed) return true;
    if (session.MustClose) return false;
    Bundle::Header present;
    if (!Bundle::ReadBundleHeader(present, session.DataFile, true, true)) return false;
    const OmitEmptyTail tail(session);
    const bool hasHeader = session.FileKind >= Bundle::FileKind::WithHeader;
    const bool wanted = makeIt && hasHeader && Setup::Settings.UseBundle;
    if (wanted && SetStore::WithReserve(session, [&] { return Combine(session); })) return true;
    if (session.MustClose) return false;
    const bool stored = SetStore::WithReserve(session, [&] { return SetStore::StoreTrees(session); });
    if (stored && wanted && alert) Messages::Alert("Data stored, but combining to bundle file failed !");
    return stored;
}

bool UnBundle(DataSession& session) {
    const Bundle::Item* const notebook = Bundle::FindItem(session.Header, NotebookExtension);
    const std::string notebookPath = NotebookName(session);
    const std::string staged = notebookPath + ".new";
    SetStore::Step step(session);
    if (!step.Begin()) return false;
    for (const SetTrees::Row& row : SetTrees::Rows())
        if ((session.*row.Tree).Handle && !step.SetAside(SetTrees::FileName(session.FileName, row)))
            return false;
    if (notebook && !step.SetAside(notebookPath)) return false;
    if (!step.AddTrees()) return false;
    if (notebook) {
        Files::File file;
        int error = Files::Open(file, staged, Files::Mode::Create);
        if (error == 0)
            error = Files::CopyBytes(session.DataFile, notebook->Start, notebook->Length, file, 0);
        if (error == 0) error = Files::Flush(file);
        const int closing = Files::Close(file);
        if (error == 0) error = closing;
        if (!step.AddFile(staged, notebookPath)) return false;
        if (error != 0) return StoreFailed(session, NotebookExtension, Files::ErrorText(error), error);
    }
    Bundle::Header header = session.Header;
    if (!step.AddHeader(header, true) ||
        !step.Check(step.Change.SetLength(session.FileName, session.DataEnd)) || !step.Commit())
        return false;
    session.Header = header;
    session.FileKind = Bundle::FileKind::WithHeader;
    return true;
}
