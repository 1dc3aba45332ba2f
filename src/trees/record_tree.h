// What the six record trees have in common: a table says how each level lies in file and RAM, which versions
// are accepted, and in which words a tree complains. One pair of conversion procedures serves them all.
#pragma once
#include "trees/conversion.h"
#include "trees/tree.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace RecordTree {

struct LevelLayout {
    const char* Record; // name of the record type
    std::uint32_t FileSize;
    std::uint32_t RamSize;
    std::span<const Conversion::Field> Fields;
    bool HasMark = true; // the RAM record begins with a mark word
};

// Beyond the field list: a level's own steps with its image. Any of them may be absent.
struct LevelSteps {
    void (*AfterRead)(void* record, const std::byte* image, bool swap) = nullptr;
    void (*BeforeWrite)(void* record) = nullptr;
    void (*AfterWrite)(const void* record, std::byte* image) = nullptr;
    void (*Copied)(void* record) = nullptr;
};

enum class LoadState : std::uint8_t { None = 0, Native = 1, Swapped = 2, Failed = 3, Cancelled = 5 };

enum class Verdict : std::uint8_t { Accept, Older, Unknown, OtherProduct };

inline constexpr int MaxLevels = 7;

struct TreeFormat {
    const char* Extension; // with its point; also the key of the tree in listings, without it
    const char* Title;     // "Vennic", in messages about the tree
    std::span<const LevelLayout> Levels;
    std::span<const LevelSteps> Steps; // one a level, or empty
    std::int32_t (*ReadVersion)(const std::byte* rootImage, bool swap);
    Verdict (*Judge)(std::int32_t version, const std::byte* rootImage, bool swap);
    const char* VersionWord;  // ' "vnc"-file version (v'
    const char* IllegalLevel; // the messages
    const char* CheckFailed;
    const char* OtherProduct = nullptr;    // of a file that is refused without a question
    LoadState Refused = LoadState::Failed; // what a refused version leaves
};

// The state that a load leaves, one of each kind of tree.
struct LoadReport {
    LoadState State = LoadState::None;
    bool HasChecksums = false; // a record holds a checksum: the file is protected
    std::int32_t Version = 0;
    std::array<int, MaxLevels> Counters{}; // position of the record in hand, a number a level
};

struct LoadOptions {
    bool ForModify = false; // a protected file is then refused
};

inline constexpr std::string_view ProtectedMessage =
    "Files with GLP protection cannot be modified by programs without GLP support.";

[[nodiscard]] Tree::Handle* Define(const TreeFormat& format, std::string_view heapName, LoadReport& report,
                                   const LoadOptions& options = {});

[[nodiscard]] std::uint32_t FileSize(const TreeFormat& format, int level);

// 9, and the older and unknown ones around it: the rule of the trees of a data set.
[[nodiscard]] Verdict JudgeDataSetVersion(std::int32_t version, const std::byte* rootImage, bool swap);
[[nodiscard]] std::int32_t ReadVersion32(const std::byte* rootImage, bool swap);

}
