#include "trees/solution_tree.h"

namespace SolutionTree {

namespace {

using namespace Conversion;

constexpr Field RootFields[] = {
    Int16("SoVersion", 0, offsetof(SolutionRoot, SoVersion)),
    Text("SoDataBaseName", 2, offsetof(SolutionRoot, SoDataBaseName), 80),
    Check("SoCRC", 84, offsetof(SolutionRoot, SoCRC)),
};

constexpr Field RecordFields[] = {
    Int32("SrNumber", 0, offsetof(SolutionRecord, SrNumber)),
    Text("SrName", 4, offsetof(SolutionRecord, SrName), 80),
    Real32("SrNumeric", 84, offsetof(SolutionRecord, SrNumeric)),
    Text("SrNumericName", 88, offsetof(SolutionRecord, SrNumericName), 30),
    Real32("SrPh", 118, offsetof(SolutionRecord, SrPh)),
    Text("SrPhName", 122, offsetof(SolutionRecord, SrPhName), 30),
    Real32("SrOsmol", 152, offsetof(SolutionRecord, SrOsmol)),
    Check("SrCRC", 156, offsetof(SolutionRecord, SrCRC)),
};

constexpr Field ChemicalFields[] = {
    Real32("CeConcentration", 0, offsetof(ChemicalRecord, CeConcentration)),
    Text("CeName", 4, offsetof(ChemicalRecord, CeName), 30),
    Check("CeCRC", 36, offsetof(ChemicalRecord, CeCRC)),
};

constexpr bool NoMark = false;

constexpr RecordTree::LevelLayout Levels[] = {
    {"SolutionRoot", 88, sizeof(SolutionRoot), RootFields, NoMark},
    {"SolutionRecord", 160, sizeof(SolutionRecord), RecordFields, NoMark},
    {"ChemicalRecord", 40, sizeof(ChemicalRecord), ChemicalFields, NoMark},
};
static_assert(EndOf(RootFields) <= 88 && EndOf(RecordFields) <= 160 && EndOf(ChemicalFields) <= 40);

constexpr std::int16_t VersionWritten = 1;

constexpr RecordTree::LevelSteps Steps[] = {
    {.BeforeWrite = [](void* record) { static_cast<SolutionRoot*>(record)->SoVersion = VersionWritten; }},
    {},
    {},
};

std::int32_t ReadVersion16(const std::byte* rootImage, bool swap) {
    const auto bits = Bytes::Load<std::uint16_t>(rootImage);
    return static_cast<std::int16_t>(swap ? Bytes::Swapped(bits) : bits);
}

// There was never a version below 1, so nothing counts as older.
RecordTree::Verdict Judge(std::int32_t version, const std::byte*, bool) {
    return version == VersionWritten ? RecordTree::Verdict::Accept : RecordTree::Verdict::Unknown;
}

}

const RecordTree::TreeFormat Format = {
    .Extension = ".sol",
    .Title = "Solution",
    .Levels = Levels,
    .Steps = Steps,
    .ReadVersion = ReadVersion16,
    .Judge = Judge,
    .VersionWord = " \"sol\"-file version (v",
    .IllegalLevel = "Fatal error: Illegal Solution.Tree level!",
    .CheckFailed = "Loading Solution Tree: CRC error !",
};

RecordTree::LoadReport LastLoad;

Tree::Handle* Define(std::string_view heapName, const RecordTree::LoadOptions& options) {
    return RecordTree::Define(Format, heapName, LastLoad, options);
}

}
