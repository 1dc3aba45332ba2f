// The amplifier tree: states of the amplifiers of a multiple-amplifier rig. Three levels: root, series,
// record; file ".amp". A series of the Vennic tree finds its child here by AsSeriesCount.
#pragma once
#include "trees/record_tree.h"
#include "trees/vennic_tree.h"

#include <cstdint>

struct AmplRoot {
    std::int32_t AmMark;
    std::int32_t AmVersion;
    char AmVersionName[32];
    char AmAmplifierName[32]; // the amplifier family in use
    std::uint8_t AmAmplifier; // kind
    std::uint8_t AmAdBoard;   // kind of interface
    std::uint8_t AmCreator;   // kind of program plus 1
    std::int32_t AmCRC;
};

struct AmplSeries {
    std::int32_t AsMark;
    std::int32_t AsSeriesCount; // what SeAmplStateRef is compared with
    std::int32_t AsCRC;
};

struct AmplRecord {
    std::int32_t ArMark;
    std::int32_t ArStateCount;
    std::uint8_t ArStateValid;
    double ArScanBlock[7];
    std::byte ArScanBlockLast[4];
    std::byte ArAmplifierState[AmplStateBytes];
    std::int32_t ArKept1, ArKept2;
    std::int32_t ArCRC;
};

namespace AmplTree {

inline constexpr const char* HeapName = "AmplBuf.HE";

extern const RecordTree::TreeFormat Format;
extern RecordTree::LoadReport LastLoad;

[[nodiscard]] Tree::Handle* Define(std::string_view heapName = HeapName,
                                   const RecordTree::LoadOptions& options = {});

}
