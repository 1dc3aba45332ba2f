// What a data set holds, wherever it lies: all records of all trees and all samples, as one text. Equal texts
// are equal data sets; where the samples lie in the file, and in which order of bytes, plays no part.
#pragma once
#include "base/messages.h"
#include "data/raw_data.h"
#include "data/session.h"
#include "trees/tree.h"

#include <string>

namespace Support {

inline void AddRecords(const Tree::Handle* tree, void* record, std::string& content) {
    if (!record) return;
    const int level = Tree::Level(record);
    const std::byte* const image = tree->Procs.RamToFile(record, level);
    content.append(reinterpret_cast<const char*>(image), tree->FileSizes[static_cast<std::size_t>(level)]);
    content += '(';
    for (int i = 1; i <= Tree::ChildCount(record); ++i) AddRecords(tree, Tree::Child(record, i), content);
    content += ')';
}

inline bool AddSamples(DataSession& session, std::string& content) {
    return RawData::ForEachStored(Tree::Root(session.Vennic.Handle), [&](VennicTrace& trace) {
        const std::size_t size = RawData::SampleSize(trace.TrDataFormat);
        const auto points = static_cast<std::size_t>(trace.TrDataPoints);
        std::string samples(points * size, '\0');
        if (!RawData::ReadSamples(trace, session.DataFile, trace.TrFileOffset,
                                  std::as_writable_bytes(std::span(samples)), points, size,
                                  RawData::NeedsSwap(trace), true))
            return false;
        content += samples;
        trace.TrFileOffset = trace.TrInterleaveSize = trace.TrInterleaveSkip = 0;
        trace.TrDataKind &= ~DataKind::LittleEndian;
        return true;
    });
}

// The content, or the words of the refusal. Opens for reading, which completes an interrupted change.
inline std::string ContentOf(const std::string& path) {
    Messages::Recorder said;
    DataSession session;
    std::string content;
    if (!OpenDataFile(session, path) || !AddSamples(session, content)) {
        (void)CloseDataFile(session);
        return "refused: " + said.Alerts;
    }
    for (const SessionTree* tree :
         {&session.Vennic, &session.Stim, &session.Ampl, &session.Solution, &session.Analysis}) {
        content += '\n';
        if (tree->FromFile) AddRecords(tree->Handle, Tree::Root(tree->Handle), content);
    }
    (void)CloseDataFile(session);
    return content;
}

}
