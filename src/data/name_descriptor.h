// Name descriptors: short texts that yield file names. Characters are copied, and a term in "[" and "]", or
// in
// "<" and ">", is replaced:
//
//     DATE, DATE1   28-May-2017        TIME, TIME1   13-07-45
//     DATE2         2017-05-28         TIME2         130745
//     DATE3         17-05-28           USER          the user's name
//     DATE4         170528             USER3         its first 3 characters
//     000           the index, with zeros in front to as many digits as the term has
//
// "[USER]_[DATE4]_[000]" is "Ana_170528_007".
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace NameDescriptor {

inline constexpr std::size_t NameMax = 63; // of the descriptor, and of the name without folder and extension

struct Values {
    std::string_view UserName;
    std::int64_t Index = 0;
    double Time = 0; // of the date and time terms, scale of base/time_scale.h
};

// Builds the name. False when the descriptor yields none; the target then holds the reason. indexed tells
// whether the index is part of the name, so that counting on gives another one; tooLong whether descriptor or
// name have too many characters.
[[nodiscard]] bool MakeFileName(std::string& target, std::string_view descriptor, const Values& values,
                                bool& indexed, bool& tooLong);

}
