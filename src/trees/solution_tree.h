// The solution tree: named chemical solutions with their ingredients. Three levels: root, solution, chemical;
// file ".sol". Traces name their solutions by SrNumber. None of its records has a mark word.
#pragma once
#include "trees/record_tree.h"

#include <cstdint>

struct SolutionRoot {
    std::int16_t SoVersion; // 1
    char SoDataBaseName[80];
    std::int32_t SoCRC;
};

struct SolutionRecord {
    std::int32_t SrNumber;
    char SrName[80];
    double SrNumeric;
    char SrNumericName[30];
    double SrPh;
    char SrPhName[30];
    double SrOsmol;
    std::int32_t SrCRC;
};

struct ChemicalRecord {
    double CeConcentration;
    char CeName[30];
    std::int32_t CeCRC;
};

namespace SolutionTree {

inline constexpr const char* HeapName = "SolutionBuf.HE";

extern const RecordTree::TreeFormat Format;
extern RecordTree::LoadReport LastLoad;

[[nodiscard]] Tree::Handle* Define(std::string_view heapName = HeapName,
                                   const RecordTree::LoadOptions& options = {});

}
