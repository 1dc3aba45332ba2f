#include "trees/stim_tree.h"

#include "base/messages.h"

#include <type_traits>

namespace StimTree {

namespace {

// The tree engine hands records over as bytes and finds the mark word at their start.
static_assert(offsetof(StimRoot, StMark) == 0 && std::is_trivially_copyable_v<StimRoot>);
static_assert(offsetof(StimStimulation, SsMark) == 0 && std::is_trivially_copyable_v<StimStimulation>);
static_assert(offsetof(StimChannel, ChMark) == 0 && std::is_trivially_copyable_v<StimChannel>);
static_assert(offsetof(StimSegment, SgMark) == 0 && std::is_trivially_copyable_v<StimSegment>);

constexpr std::array<std::span<const Conversion::Field>, Levels> Lists{RootFields, StimulationFields,
                                                                       ChannelFields, SegmentFields};

bool IsLevel(int level) {
    if (level >= 0 && level < Levels) return true;
    Messages::Alert("Fatal error: Illegal Stim.Tree level!");
    return false;
}

}

std::size_t FileSize(int level) {
    return IsLevel(level) ? FileSizes[static_cast<std::size_t>(level)] : 0;
}

std::span<const Conversion::Field> FieldsOf(int level) {
    return IsLevel(level) ? Lists[static_cast<std::size_t>(level)] : std::span<const Conversion::Field>{};
}

}
