// Bundling and un-bundling: the trees and the notebook as items behind the samples, or as files beside them.
#pragma once
#include "data/session.h"

// Stores what an open-for-changes session holds.
//   makeIt   as a bundle, if the file has a header and Setup.Settings.UseBundle asks for bundles; the files
//            beside it that the bundle then holds are deleted
//   else, or where that fails: the trees as files beside the data file, whose header says so
//   alert    says when only that succeeded
// Until the new state is on the disk the old one stays; see docs/durability.md.
[[nodiscard]] bool MakeBundle(DataSession& session, bool makeIt, bool alert);

// Makes of a bundle that was just opened a data file with its trees and its notebook beside it. Files that
// lie there already keep their content under names with ".old".
[[nodiscard]] bool UnBundle(DataSession& session);

// The notebook's file beside the data file.
[[nodiscard]] std::string NotebookName(const DataSession& session);
