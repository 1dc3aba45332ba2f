// The trees of a data set in the order in which they are read and stored.
#pragma once
#include "data/session.h"
#include "trees/record_tree.h"

#include <span>
#include <string>

namespace SetTrees {

struct Row {
    SessionTree DataSession::*Tree;
    const RecordTree::TreeFormat& Format;
    const RecordTree::LoadReport& LastLoad;
    Tree::Handle* (*Define)(std::string_view heapName, const RecordTree::LoadOptions& options);
    const char* HeapName;
    const char* MergeHeapName;
    std::int32_t Version; // of files written here
    bool Required;        // a data set without it does not open
};

[[nodiscard]] std::span<const Row> Rows();

// A data file with its trees in it or beside it.
struct Source {
    Files::File& DataFile;
    const Bundle::Header& Header;
    Bundle::FileKind Kind;
    const std::string& FileName;
    bool ForModify;
};

[[nodiscard]] bool Has(const Source& source, const Row& row);
// Defines the tree in the heap and loads it. False with the reason.
[[nodiscard]] bool Read(const Source& source, const Row& row, const char* heapName, SessionTree& tree,
                        std::string& reason);

// The tree's file beside the data file.
[[nodiscard]] std::string FileName(const std::string& dataFile, const Row& row);

}
