#include "trees/online_tree.h"

#include "base/text.h"

namespace OnlineTree {

namespace {

using namespace Conversion;

constexpr Field RootFields[] = {
    Int32("OnVersion", 0, offsetof(OnlineRoot, OnVersion)),
    Int32("OnMark", 4, offsetof(OnlineRoot, OnMark)),
    Text("OnVersionName", 8, offsetof(OnlineRoot, OnVersionName), 32),
    Byte("OnFlag1", 40, offsetof(OnlineRoot, OnFlag1)),
    Byte("OnFlag2", 41, offsetof(OnlineRoot, OnFlag2)),
    Check("OnCRC", 44, offsetof(OnlineRoot, OnCRC)),
    Block(Kind::Bytes, "OnReserved", 48, offsetof(OnlineRoot, OnReserved), 12),
};

constexpr Field AxisFields[] = {
    Real64("AxMin", 0, offsetof(OnlineAxis, AxMin)),
    Real64("AxMax", 8, offsetof(OnlineAxis, AxMax)),
    Real64("AxZero", 16, offsetof(OnlineAxis, AxZero)),
    Int16("AxTics", 24, offsetof(OnlineAxis, AxTics)),
    Int16("AxGridFactor", 26, offsetof(OnlineAxis, AxGridFactor)),
    Byte("AxType", 28, offsetof(OnlineAxis, AxType), 4),
    Byte("Options", 32, offsetof(OnlineAxis, Options), 7),
};
constexpr std::size_t AxisBytes = 40;

constexpr Field EntryFields[] = {
    Int16("EnXFunction", 0, offsetof(OnlineEntry, EnXFunction)),
    Int16("EnYFunction", 2, offsetof(OnlineEntry, EnYFunction)),
    Int16("EnMarkerSize", 4, offsetof(OnlineEntry, EnMarkerSize)),
    Word16("EnRed", 6, offsetof(OnlineEntry, EnRed)),
    Word16("EnGreen", 8, offsetof(OnlineEntry, EnGreen)),
    Word16("EnBlue", 10, offsetof(OnlineEntry, EnBlue)),
    Byte("EnMarker", 12, offsetof(OnlineEntry, EnMarker)),
    Byte("EnActive", 13, offsetof(OnlineEntry, EnActive)),
    Byte("EnConnect", 14, offsetof(OnlineEntry, EnConnect)),
    Byte("EnTraceColor", 15, offsetof(OnlineEntry, EnTraceColor)),
};
constexpr std::size_t EntryBytes = 16;

constexpr std::size_t EntryAt(std::size_t index) {
    return offsetof(OnlineGraph, Entries) + index * sizeof(OnlineEntry);
}

constexpr Field GraphFields[] = {
    Byte("Flags", 0, offsetof(OnlineGraph, Flags), 4),
    Group("X", 8, offsetof(OnlineGraph, X), AxisFields, AxisBytes, sizeof(OnlineAxis)),
    Group("Y", 48, offsetof(OnlineGraph, Y), AxisFields, AxisBytes, sizeof(OnlineAxis)),
    Group("Entry1", 88, EntryAt(0), EntryFields, EntryBytes, sizeof(OnlineEntry)),
    Group("Entry2", 104, EntryAt(1), EntryFields, EntryBytes, sizeof(OnlineEntry)),
    Group("Entry3", 120, EntryAt(2), EntryFields, EntryBytes, sizeof(OnlineEntry)),
    Group("Entry4", 136, EntryAt(3), EntryFields, EntryBytes, sizeof(OnlineEntry)),
};
constexpr std::size_t GraphBytes = 152;
static_assert(EndOf(AxisFields) <= AxisBytes && EndOf(EntryFields) <= EntryBytes &&
              EndOf(GraphFields) <= GraphBytes);

constexpr std::size_t RangeBytes = OnlineGraphs * sizeof(double);
// A vector a group: its one member has no name of its own.
constexpr Field RangeFields[] = {Real64("", 0, 0, "", OnlineGraphs)};

constexpr Field MethodFields[] = {
    Int32("OmMark", 0, offsetof(OnlineMethod, OmMark)),
    Text("OmName", 4, offsetof(OnlineMethod, OmName), 32),
    Byte("OmFlag1", 36, offsetof(OnlineMethod, OmFlag1)),
    Byte("OmFlag2", 37, offsetof(OnlineMethod, OmFlag2)),
    Group("OmGraphs", 40, offsetof(OnlineMethod, OmGraphs), GraphFields, GraphBytes, sizeof(OnlineGraph),
          OnlineGraphs),
    Check("OmCRC", 1868, offsetof(OnlineMethod, OmCRC)),
    Text("OmGraphLabels", 1872, offsetof(OnlineMethod, OmGraphLabels), 32, OnlineGraphs),
    Group("OmGraphRanges", 2256, offsetof(OnlineMethod, OmGraphRanges), RangeFields, RangeBytes, RangeBytes,
          4),
};

constexpr Field FunctionFields[] = {
    Int32("OfMark", 0, offsetof(OnlineFunction, OfMark)),
    Text("OfName", 4, offsetof(OnlineFunction, OfName), 32),
    Text("OfUnit", 36, offsetof(OnlineFunction, OfUnit), 8),
    Int16("OfArgA", 44, offsetof(OnlineFunction, OfArgA)),
    Int16("OfArgB", 46, offsetof(OnlineFunction, OfArgB)),
    Real64("OfLeftBound", 48, offsetof(OnlineFunction, OfLeftBound)),
    Real64("OfRightBound", 56, offsetof(OnlineFunction, OfRightBound)),
    Real64("OfConstant", 64, offsetof(OnlineFunction, OfConstant)),
    Int32("OfXSegOffset", 72, offsetof(OnlineFunction, OfXSegOffset)),
    Int32("OfYSegOffset", 76, offsetof(OnlineFunction, OfYSegOffset)),
    Int16("OfTrace", 80, offsetof(OnlineFunction, OfTrace)),
    Byte("OfKind", 82, offsetof(OnlineFunction, OfKind)),
    Byte("OfNotebook", 83, offsetof(OnlineFunction, OfNotebook)),
    Byte("OfNoPeakFit", 84, offsetof(OnlineFunction, OfNoPeakFit)),
    Byte("OfRamps", 85, offsetof(OnlineFunction, OfRamps)),
    Int16("OfValueIndex", 86, offsetof(OnlineFunction, OfValueIndex)),
    Check("OfCRC", 92, offsetof(OnlineFunction, OfCRC)),
    Text("OfEquation", 96, offsetof(OnlineFunction, OfEquation), 64),
};

constexpr RecordTree::LevelLayout Levels[] = {
    {"OnlineRoot", 64, sizeof(OnlineRoot), RootFields},
    {"OnlineMethod", 2640, sizeof(OnlineMethod), MethodFields},
    {"OnlineFunction", 160, sizeof(OnlineFunction), FunctionFields},
};
static_assert(EndOf(RootFields) <= 64 && EndOf(MethodFields) == 2640 && EndOf(FunctionFields) == 160);

constexpr std::int32_t VersionWritten = 10;

constexpr RecordTree::LevelSteps Steps[] = {
    {.BeforeWrite = [](void* record) { static_cast<OnlineRoot*>(record)->OnVersion = VersionWritten; }},
    {},
    {},
};

RecordTree::Verdict Judge(std::int32_t version, const std::byte*, bool) {
    if (version == 10 || version == 9) return RecordTree::Verdict::Accept;
    return version >= 1 && version <= 8 ? RecordTree::Verdict::Older : RecordTree::Verdict::Unknown;
}

}

const RecordTree::TreeFormat Format = {
    .Extension = ".onl",
    .Title = "Online",
    .Levels = Levels,
    .Steps = Steps,
    .ReadVersion = RecordTree::ReadVersion32,
    .Judge = Judge,
    .VersionWord = " \"online\"-file version (v",
    .IllegalLevel = "Fatal error: Illegal OnlineTree.Tree level!",
    .CheckFailed = "Loading Online Tree: CRC error !",
};

RecordTree::LoadReport LastLoad;

Tree::Handle* Define(std::string_view heapName, const RecordTree::LoadOptions& options) {
    return RecordTree::Define(Format, heapName, LastLoad, options);
}

OnlineMethod* AppendMethod(Tree::Handle* tree, std::string_view name) {
    if (!Tree::Root(tree)) return nullptr; // what is appended to nothing is a root
    auto* const method = static_cast<OnlineMethod*>(Tree::Append(tree, Tree::Root(tree)));
    if (method) Texts::ToField(method->OmName, name);
    return method;
}

bool EnsureMethod(Tree::Handle* tree) {
    if (!Tree::Root(tree)) return false;
    if (Tree::ChildCount(Tree::Root(tree)) > 0) return true;
    return AppendMethod(tree, DefaultName) != nullptr;
}

}
