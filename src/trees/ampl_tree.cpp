#include "trees/ampl_tree.h"

namespace AmplTree {

namespace {

using namespace Conversion;

constexpr Field RootFields[] = {
    Int32("AmVersion", 0, offsetof(AmplRoot, AmVersion)),
    Int32("AmMark", 4, offsetof(AmplRoot, AmMark)),
    Text("AmVersionName", 8, offsetof(AmplRoot, AmVersionName), 32),
    Text("AmAmplifierName", 40, offsetof(AmplRoot, AmAmplifierName), 32),
    Byte("AmAmplifier", 72, offsetof(AmplRoot, AmAmplifier)),
    Byte("AmAdBoard", 73, offsetof(AmplRoot, AmAdBoard)),
    Byte("AmCreator", 74, offsetof(AmplRoot, AmCreator)),
    Check("AmCRC", 76, offsetof(AmplRoot, AmCRC)),
};

constexpr Field SeriesFields[] = {
    Int32("AsMark", 0, offsetof(AmplSeries, AsMark)),
    Int32("AsSeriesCount", 4, offsetof(AmplSeries, AsSeriesCount)),
    Check("AsCRC", 12, offsetof(AmplSeries, AsCRC)),
};

constexpr Field RecordFields[] = {
    Int32("ArMark", 0, offsetof(AmplRecord, ArMark)),
    Int32("ArStateCount", 4, offsetof(AmplRecord, ArStateCount)),
    Byte("ArStateValid", 8, offsetof(AmplRecord, ArStateValid)),
    Real64("ArScanBlock", 16, offsetof(AmplRecord, ArScanBlock), "", 7),
    Block(Kind::Bytes, "ArScanBlockLast", 80, offsetof(AmplRecord, ArScanBlockLast), 4),
    // The amplifier's own block: kept byte for byte, whatever the file's order.
    Block(Kind::Bytes, "ArAmplifierState", 112, offsetof(AmplRecord, ArAmplifierState), AmplStateBytes),
    Int32("ArKept1", 512, offsetof(AmplRecord, ArKept1)),
    Int32("ArKept2", 516, offsetof(AmplRecord, ArKept2)),
    Check("ArCRC", 556, offsetof(AmplRecord, ArCRC)),
};

constexpr RecordTree::LevelLayout Levels[] = {
    {"AmplRoot", 80, sizeof(AmplRoot), RootFields},
    {"AmplSeries", 16, sizeof(AmplSeries), SeriesFields},
    {"AmplRecord", 560, sizeof(AmplRecord), RecordFields},
};
static_assert(EndOf(RootFields) <= 80 && EndOf(SeriesFields) <= 16 && EndOf(RecordFields) <= 560);

constexpr std::int32_t VersionWritten = 9;

constexpr RecordTree::LevelSteps Steps[] = {
    {.BeforeWrite = [](void* record) { static_cast<AmplRoot*>(record)->AmVersion = VersionWritten; }},
    {},
    {},
};

}

const RecordTree::TreeFormat Format = {
    .Extension = ".amp",
    .Title = "Amplifier",
    .Levels = Levels,
    .Steps = Steps,
    .ReadVersion = RecordTree::ReadVersion32,
    .Judge = RecordTree::JudgeDataSetVersion,
    .VersionWord = " \"amp\"-file version (v",
    .IllegalLevel = "Fatal error: Illegal Amplifier.Tree level!",
    .CheckFailed = "Loading Amplifier Tree: CRC error !",
};

RecordTree::LoadReport LastLoad;

Tree::Handle* Define(std::string_view heapName, const RecordTree::LoadOptions& options) {
    return RecordTree::Define(Format, heapName, LastLoad, options);
}

}
