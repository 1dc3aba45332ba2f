// The online tree: methods of functions that reduce each sweep to a row of numbers, and their graphs.
// Three levels: root, method, function; file ".onl". A file of version 10 or 9 is taken as it is.
#pragma once
#include "trees/record_tree.h"

#include <cstdint>

inline constexpr int OnlineGraphs = 12;

struct OnlineRoot {
    std::int32_t OnMark;
    std::int32_t OnVersion; // 10
    char OnVersionName[32];
    std::uint8_t OnFlag1, OnFlag2;
    std::int32_t OnCRC;
    std::byte OnReserved[12];
};

struct OnlineAxis {
    double AxMin, AxMax;
    double AxZero; // position of the zero line
    std::int16_t AxTics;
    std::int16_t AxGridFactor;
    std::uint8_t AxType[4];  // scale type, tic direction and label options
    std::uint8_t Options[7]; // "Zero-line", "Nice Values", "Centered", "Labels", grid
};

struct OnlineEntry {
    std::int16_t EnXFunction, EnYFunction; // indices of functions of the method
    std::int16_t EnMarkerSize;
    std::uint16_t EnRed, EnGreen, EnBlue;
    std::uint8_t EnMarker;
    std::uint8_t EnActive;
    std::uint8_t EnConnect;
    std::uint8_t EnTraceColor;
};

struct OnlineGraph {
    std::uint8_t Flags[4]; // enabled, active, two options
    OnlineAxis X, Y;
    OnlineEntry Entries[4];
};

struct OnlineMethod {
    std::int32_t OmMark;
    char OmName[32]; // unique in the file
    std::uint8_t OmFlag1, OmFlag2;
    OnlineGraph OmGraphs[OnlineGraphs];
    std::int32_t OmCRC;
    char OmGraphLabels[OnlineGraphs][32];
    double OmGraphRanges[4][OnlineGraphs];
};

struct OnlineFunction {
    std::int32_t OfMark;
    char OfName[32];
    char OfUnit[8];
    std::int16_t OfArgA, OfArgB;      // operand functions, or what the kind makes of them
    double OfLeftBound, OfRightBound; // fractions of the segment
    double OfConstant;
    std::int32_t OfXSegOffset, OfYSegOffset;
    std::int16_t OfTrace; // trace count, from 1
    std::uint8_t OfKind;
    std::uint8_t OfNotebook;
    std::uint8_t OfNoPeakFit;
    std::uint8_t OfRamps;
    std::int16_t OfValueIndex; // value 1 to 32 that keeps the result, 0 for none
    std::int32_t OfCRC;
    char OfEquation[64];
};

namespace OnlineTree {

inline constexpr const char* HeapName = "Online.HE";

extern const RecordTree::TreeFormat Format;
extern RecordTree::LoadReport LastLoad;

[[nodiscard]] Tree::Handle* Define(std::string_view heapName = HeapName,
                                   const RecordTree::LoadOptions& options = {});

inline constexpr const char* DefaultName = "OA-1";

// A method of that name without functions, at the end; none without memory.
[[nodiscard]] OnlineMethod* AppendMethod(Tree::Handle* tree, std::string_view name);

// A tree without methods gets the default one.
[[nodiscard]] bool EnsureMethod(Tree::Handle* tree);

}
