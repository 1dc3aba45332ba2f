#include "data/rebuild.h"

#include "base/messages.h"
#include "data/raw_data.h"
#include "data/set_store.h"
#include "data/trace_copier.h"

#include <algorithm>
#include <cerrno>

namespace Rebuild {

namespace {

// What is wrong with a file, and what is done about it.
struct Finding {
    const char* Question; // behind "This data file "
    const char* LogLine;  // none for an old format
    bool NeedsCopy;       // else only the byte order changes
};
constexpr Finding OldFormat = {"has an old format:", nullptr, true};
constexpr Finding NotSequential = {
    "is not sequential anymore:", "  ## This data file is not sequential anymore: ## ", true};
constexpr Finding IsInterleaved = {"is interleaved:", "  ## This data file is interleaved:            ## ",
                                   true};
constexpr Finding NotNative = {
    "is not native anymore:", "  ## This data file is not \"native\" anymore:   ## ", false};

bool Refuse(DataSession& session, std::string_view text, int error) {
    if (error == ENOSPC) session.DiskWasFull = true;
    Messages::Alert(Bundle::FileMessage(text, error));
    return false;
}

// The copy, and the step that puts it and the trees in place.
bool WriteAnew(DataSession& session, bool freshHeader, bool little) {
    const FileState state = CheckFile(session);
    Messages::Progress progress(freshHeader ? "rebuilding" : "swapping bytes", state.UsedBytes);
    NewDataFile file(session);
    std::vector<Moved> moved;
    if (!file.Begin(freshHeader)) return false;
    std::int64_t end = file.Start;
    if (!CopySamples(session, session, file.File, little, moved, end, progress) || !file.Flush())
        return false;
    Redirection redirection(moved, little);
    const std::int64_t formerEnd = session.DataEnd;
    session.DataEnd = end;
    SetStore::Step step(session);
    if (step.Begin() && step.AddTrees() && step.AddFile(file.Path, session.FileName) && step.Commit()) {
        file.TakeOver(end);
        return true;
    }
    session.DataEnd = formerEnd;
    if (session.MustClose)
        file.Leave();
    else
        redirection.Undo();
    return false;
}

}

FileState CheckFile(const DataSession& session) {
    FileState state;
    std::int64_t end = Bundle::DataStart(session.FileKind);
    bool anyNative = false, anyForeign = false;
    RawData::ForEachStored(Tree::Root(session.Vennic.Handle), [&](const VennicTrace& trace) {
        (RawData::NeedsSwap(trace) ? anyForeign : anyNative) = true;
        const std::int64_t bytes = std::int64_t{trace.TrDataPoints} *
                                   static_cast<std::int64_t>(RawData::SampleSize(trace.TrDataFormat));
        state.UsedBytes += bytes;
        state.UsedEnd = std::max(state.UsedEnd, trace.TrFileOffset + bytes);
        if (RawData::IsInterleaved(trace)) {
            state.Interleaved = true;
            if (Tree::IndexOf(&trace) == 1 && trace.TrFileOffset < end) state.Sequential = false;
            end = std::max(end, RawData::EndOf(trace));
        } else {
            if (trace.TrFileOffset != end) state.Sequential = false;
            end = trace.TrFileOffset + bytes;
        }
        return true;
    });
    state.SeqEnd = end;
    state.Native = !anyForeign;
    if (anyForeign && anyNative) state.Sequential = false;
    return state;
}

bool IsNative(const DataSession& session) {
    const FileState state = CheckFile(session);
    return state.Sequential && state.Native && !state.Interleaved;
}

bool IsCompact(const DataSession& session) {
    return session.FileKind >= Bundle::FileKind::WithHeader && IsNative(session) &&
           CheckFile(session).SeqEnd == session.DataEnd;
}

bool NeedsCompacting(const DataSession& session) {
    const FileState state = CheckFile(session);
    if (state.Sequential) return false;
    constexpr double WellUsed = 0.9;
    return state.UsedEnd - state.UsedBytes >= SpareBytes &&
           static_cast<double>(state.UsedBytes) / static_cast<double>(state.UsedEnd) < WellUsed;
}

bool HasRoomFor(const DataSession& session, std::int64_t bytes) {
    std::int64_t space = 0;
    // A disk that does not tell is tried.
    if (Files::FreeSpace(session.FileName, space) != 0 || space > bytes + SpareBytes) return true;
    Messages::Log("  ## Insufficient disk space to rebuild file.  ## ");
    Messages::Alert("There is not enough disk space to rebuild this data file!");
    return false;
}

bool RebuildDataFile(DataSession& session, bool makeLittle) {
    if (session.FileName.empty() || !session.Modify) {
        Messages::Alert("Cannot modify: data file opened read-only.");
        return false;
    }
    const FileState state = CheckFile(session);
    const bool hasHeader = session.FileKind >= Bundle::FileKind::WithHeader;
    const bool inOrder = state.Sequential && !state.Interleaved;
    if (hasHeader && inOrder && state.Native && makeLittle == Bytes::MachineIsLittle) {
        Messages::Log("  ## This data file does not need to be rebuild. ## ");
        return true;
    }
    const Finding& finding = !hasHeader          ? OldFormat
                             : !state.Sequential ? NotSequential
                             : state.Interleaved ? IsInterleaved
                                                 : NotNative;
    if (finding.LogLine) Messages::Log(finding.LogLine);
    std::int64_t length = 0;
    if (const int error = Files::Length(session.DataFile, length); error != 0)
        return Refuse(session, "Error getting filelength", error);
    if (!HasRoomFor(session, length)) return true;
    const char* const buttons[] = {"No Change", finding.NeedsCopy ? "Rebuild" : "Byte Swap"};
    enum { NoChange, Action };
    if (Messages::AskChoice(std::string("This data file ") + finding.Question,
                            {.Buttons = buttons, .Default = Action, .Yes = Action, .No = NoChange}) != Action)
        return true;
    Messages::Log("  ## The file is going to be rebuild...        ## ");
    const bool done =
        SetStore::WithReserve(session, [&] { return WriteAnew(session, finding.NeedsCopy, makeLittle); });
    if (!finding.NeedsCopy && done) {
        Messages::Log("  ## This data file has successfully been made native. ## ");
    } else {
        if (!done)
            Messages::Alert(finding.NeedsCopy ? "Compacting Data File failed." : "Make Native failed.");
        Messages::Log(done ? "  ## Rebuild was successful.                   ## "
                           : "  ## Rebuild failed!                           ## ");
    }
    session.Native = IsNative(session);
    return done;
}

NewDataFile::~NewDataFile() {
    if (Taken || Path.empty()) return;
    Files::Close(File);
    if (const int error = Files::Remove(Path); error != 0)
        Messages::Note(Bundle::FileMessage("Temporary file not deleted", error));
}

bool NewDataFile::Begin(bool freshHeader) {
    const std::string path = Files::WithExtension(Session.FileName, ".da0");
    int error = Files::Open(File, path, Files::Mode::Create);
    if (error != 0) return Refuse(Session, "Temporary file not created", error);
    Path = path;
    Files::TakePermissions(File, Session.FileName);
    // The lock of the old file goes with it.
    error = Files::Lock(File, Files::LockKind::Writer);
    Header = Session.Header;
    if (freshHeader) {
        constexpr bool Fresh = true;
        const bool keepTime = Session.FileKind >= Bundle::FileKind::WithHeader;
        const auto image = Bundle::HeaderImage(Header, Fresh, keepTime, Session.ProgramVersion);
        if (error == 0) error = Files::WriteAt(File, 0, image);
        Start = Bundle::HeaderBytes;
    } else {
        Start = Bundle::DataStart(Session.FileKind);
        std::array<std::byte, Bundle::HeaderBytes> image{};
        const std::span<std::byte> head = std::span(image).first(static_cast<std::size_t>(Start));
        std::size_t got = 0;
        if (error == 0) error = Files::ReadAt(Session.DataFile, 0, head, got);
        if (error == 0) error = Files::WriteAt(File, 0, head.first(got));
    }
    return error == 0 || Refuse(Session, "Cannot write to temporary file", error);
}

bool NewDataFile::Flush() {
    const int error = Files::Flush(File);
    return error == 0 || Refuse(Session, "Cannot write to temporary file", error);
}

void NewDataFile::TakeOver(std::int64_t dataEnd) {
    Taken = true;
    File.Name = Session.FileName;
    Session.DataFile = std::move(File);
    if (Start == Bundle::HeaderBytes) {
        Session.Header = Header;
        Session.FileKind = Bundle::BundleKind({Header.Signature, 4});
    }
    Session.DataEnd = Session.DiskDataEnd = dataEnd;
}

bool CopySamples(DataSession& from, DataSession& session, Files::File& file, bool toLittle,
                 std::vector<Moved>& moved, std::int64_t& end, Messages::Progress& progress) {
    RawData::TraceCopier copier(from.DataFile, file, toLittle, end);
    copier.Shown = &progress;
    const bool copied = RawData::ForEachStored(Tree::Root(from.Vennic.Handle), [&](VennicTrace& trace) {
        std::int64_t position = 0;
        if (!copier.Add(trace, position)) return false;
        moved.push_back({&trace, position});
        return true;
    });
    const bool done = copied && copier.Finish();
    if (copier.LastError == ENOSPC) session.DiskWasFull = true;
    end = copier.End;
    return done;
}

Redirection::Redirection(const std::vector<Moved>& moved, bool little) {
    Records.reserve(moved.size());
    for (const auto& [trace, to] : moved) {
        Records.push_back({trace, trace->TrFileOffset, trace->TrInterleaveSize, trace->TrInterleaveSkip,
                           trace->TrDataKind});
        trace->TrFileOffset = static_cast<std::int32_t>(to);
        RawData::DescribeCopied(*trace, little);
    }
}

void Redirection::Undo() {
    for (const Former& former : Records) {
        former.Trace->TrFileOffset = former.FileOffset;
        former.Trace->TrInterleaveSize = former.InterleaveSize;
        former.Trace->TrInterleaveSkip = former.InterleaveSkip;
        former.Trace->TrDataKind = former.DataKind;
    }
}

}
