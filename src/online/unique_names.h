// Names that must differ from each other. A name that is taken gets a number behind it: "Peak" becomes
// "Peak-2", "OA-1" becomes the next free "OA-" of a higher number. Upper and lower case differ.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

struct UniqueNames {
    std::unordered_set<std::string> Taken;
    // Where the search for a free number goes on; so many equal names do not cost their square.
    std::unordered_map<std::string, std::int64_t> NextNumber;

    // The name itself or the first free one after it, of at most maxLength characters; it counts as taken
    // from then on.
    [[nodiscard]] std::string Take(std::string_view wanted, std::size_t maxLength);
};
