// The analysis tree: what fits, measurements and event runs left behind, as tables. Seven levels; file
// ".ana", always a file of its own.
//
//     root, group, series      mirror the Vennic tree by position
//       record                 one stored analysis: a table
//         entry                a column
//           value              a row: the n-th child belongs to the n-th sweep of the series
//             cycle value      a sub-row of a cyclic fit
//
// Only the first two levels have a mark word.
#pragma once
#include "trees/fit_types.h"
#include "trees/record_tree.h"

#include <cstdint>

inline constexpr int ResultCount = 20;

struct AnalysisRoot {
    std::int32_t Mark;
    std::int32_t Version; // 1
    std::int32_t CRC;
};

struct AnalysisGroup {
    std::int32_t Mark;
    double Time;          // clock time of the fit
    std::int16_t FitType; // SeriesFitType
    char ResultNames[ResultCount][32];
    char ResultUnits[ResultCount][8];
    FitParam ResultValues[ResultCount];
    std::int32_t CRC;
};

struct AnalysisSeries {
    double Time;
    std::int16_t FitType; // SeriesFitType
    char Equation[256];
    char ResultNames[ResultCount][32];
    char ResultUnits[ResultCount][8];
    FitParam ResultValues[ResultCount];
    std::int32_t CRC;
};

struct AnalysisRecord {
    double Time;
    std::int16_t FitType;    // SweepFitType
    char Text[256];          // equation, where the type has one
    std::int16_t EntryCount; // the first children are the fit's own columns
    std::int16_t Trace;
    std::int16_t SegOffset; // low word of FitSegOffset
    double LeftBound;       // fraction of the segment
    double RightBound;
    char OnlineName[32];
    std::int16_t OnlineCount; // further children: columns of the online method
    std::uint8_t Cyclic;
    std::int16_t Cycles;
    std::int16_t CycleSegSkip;
    std::int32_t CRC;
};

struct AnalysisEntry {
    char Name[32];
    char Unit[8];
    std::int32_t CRC;
};

struct AnalysisValue {
    double Value;
    FitParamState State; // Off: an empty cell
    std::uint8_t Store;
    std::int32_t CRC;
};

struct AnalysisCycleValue {
    double Value;
    FitParamState State;
    std::int32_t CRC;
};

namespace AnalysisTree {

inline constexpr const char* HeapName = "AnalBuf.HE";

extern const RecordTree::TreeFormat Format;
extern RecordTree::LoadReport LastLoad;

[[nodiscard]] Tree::Handle* Define(std::string_view heapName = HeapName,
                                   const RecordTree::LoadOptions& options = {});

}
