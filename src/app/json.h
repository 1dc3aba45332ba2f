// JSON as the command line prints it: one document, fields in the order and under the names of their records.
#pragma once
#include "base/text.h"
#include "trees/record_tree.h"

#include <nlohmann/json.hpp>

#include <span>
#include <string_view>

namespace Json {

using Value = nlohmann::ordered_json;

// A number that is not finite is the text "INF", "-INF" or "NAN".
[[nodiscard]] Value Number(double value);
[[nodiscard]] Value Numbers(std::span<const float> values);
[[nodiscard]] Value String(std::string_view bytes);

// The fields of a record as its list names them; blocks that belong to others are left out.
[[nodiscard]] Value Fields(std::span<const Conversion::Field> fields, const void* record);

// Prints a record with all that is below it, in "Children", record by record: a tree of any size takes no
// memory.
void PrintRecord(const RecordTree::TreeFormat& format, const void* record);

// One document and a line end to standard output. False when it could not be written.
[[nodiscard]] bool Print(const Value& value);

}
