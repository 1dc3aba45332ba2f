// The analysis tree of the open data set: building it in parallel to the Vennic tree, loading it from the
// ".ana" file beside the data, checking that both have the same shape, keeping it in step, storing it.
#pragma once
#include "data/session.h"

#include <string>

namespace AnalysisFile {

// Defines an empty tree; with an alert on failure.
[[nodiscard]] bool CreateAnalysisTree(DataSession& session);
// Appends the root, and a group and series for each of the Vennic tree.
[[nodiscard]] bool BuildAnalysisTree(DataSession& session);
// Both of the above; the former tree goes.
[[nodiscard]] bool NewEmptyAnalysis(DataSession& session);

// Loads the file if it exists and fits the data set. In every other case an empty analysis stands afterwards,
// and the file stays as it is. False only when there is no memory for a tree.
[[nodiscard]] bool LoadAnalysisFile(DataSession& session, const std::string& path);

// What opening a data set does: loads the ".ana" file of its name.
[[nodiscard]] bool LinkAnalysis(DataSession& session);

// Compares the shape of both trees down to the series; verbose writes the comparison to the notebook.
[[nodiscard]] bool AnalysisTreeCheck(const DataSession& session, bool verbose);

// Keep the tree in step with the Vennic tree; the records given are those of the Vennic tree. A deletion
// leaves no current analysis records: GetRelatives finds them anew.
[[nodiscard]] bool AppendGroup(DataSession& session);
[[nodiscard]] bool AppendSeries(DataSession& session, const VennicGroup* group);
void DeleteGroup(DataSession& session, const VennicGroup* group);
void DeleteSeries(DataSession& session, const VennicGroup* group, const VennicSeries* series);
void DeleteSweepValues(DataSession& session, const VennicGroup* group, const VennicSeries* series,
                       const VennicSweep* sweep);

[[nodiscard]] std::string FileName(const DataSession& session);

// Stores the tree beside the data file. A file that could not be used at opening is kept under a name with
// ".old" behind it. False with an alert, also when the data set was opened without the right to.
[[nodiscard]] bool SaveAnalysis(DataSession& session);

}
