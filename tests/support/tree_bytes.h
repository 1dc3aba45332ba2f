// Trees to and from byte strings, through a file as the engine wants it.
#pragma once
#include "support/temp_folder.h"
#include "trees/tree.h"

#include <memory>

namespace Support {

// A defined tree that goes with its scope.
class OwnedTree {
public:
    explicit OwnedTree(Tree::Handle* handle) : Handle(handle) {}
    ~OwnedTree() { Tree::Dispose(Handle); }
    OwnedTree(OwnedTree&&) = delete;
    operator Tree::Handle*() const { return Handle; } // NOLINT: it stands for its handle

    Tree::Handle* Handle;
};

inline std::string StoredImage(Tree::Handle* tree) {
    const TempFolder folder{Memory()};
    const std::string path = folder.At("image");
    return Tree::Store(path, tree, true) == Tree::Success ? ReadWhole(path) : std::string();
}

inline int LoadImage(Tree::Handle* tree, std::string_view bytes, Tree::FileInfo& info) {
    const TempFolder folder{Memory()};
    return Tree::Load(folder.Write("image", bytes), tree, info);
}

inline int LoadImage(Tree::Handle* tree, std::string_view bytes) {
    Tree::FileInfo info;
    return LoadImage(tree, bytes, info);
}

template <class T>
inline void Patch(std::string& bytes, std::size_t at, T value) {
    bytes.replace(at, sizeof value, std::string(reinterpret_cast<const char*>(&value), sizeof value));
}

}
