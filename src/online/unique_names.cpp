#include "online/unique_names.h"

#include <algorithm>
#include <charconv>

namespace {

constexpr std::size_t DigitsMax = 10; // of a number that is counted on

struct Numbered {
    std::string_view Stem;
    std::int64_t Number;
};

// "OA-12" is the stem "OA" with the number 12; a name without a number is the first of its stem.
Numbered Split(std::string_view name) {
    const std::size_t dash = name.rfind('-');
    if (dash == std::string_view::npos || name.size() - dash > DigitsMax) return {name, 1};
    std::int64_t number = 0;
    const char* const end = name.data() + name.size();
    const auto [rest, error] = std::from_chars(name.data() + dash + 1, end, number);
    if (error != std::errc() || rest != end || number < 0) return {name, 1};
    return {name.substr(0, dash), number};
}

}

std::string UniqueNames::Take(std::string_view wanted, std::size_t maxLength) {
    wanted = wanted.substr(0, maxLength);
    if (Taken.emplace(wanted).second) return std::string(wanted);
    const Numbered parts = Split(wanted);
    // Stems that are cut to the same text count together.
    const std::size_t shortest = maxLength - std::min(maxLength, DigitsMax + 1);
    std::int64_t& next = NextNumber[std::string(parts.Stem.substr(0, shortest))];
    for (next = std::max(next, parts.Number + 1);; ++next) {
        const std::string suffix = "-" + std::to_string(next);
        std::string name(parts.Stem.substr(0, maxLength - std::min(maxLength, suffix.size())));
        name += suffix;
        if (Taken.insert(name).second) return name;
    }
}
