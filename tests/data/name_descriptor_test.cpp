#include "data/name_descriptor.h"

#include "base/time_scale.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

// 28 May 2017, 13:07:45.9: seconds since 1601 of the day and of the hour.
const double Moment = TimeScale::FromFileTime(13'140'403'200.0 + 13 * 3600 + 7 * 60 + 45.9);

}

TEST(NameDescriptor, TermsAreReplaced) {
    const struct {
        const char *Descriptor, *User;
        std::int64_t Index;
        const char* Name;
        bool Indexed = false;
    } cases[] = {
        {"cell", "", 0, "cell"},
        {"[DATE]_<DATE1>", "", 0, "28-May-2017_28-May-2017"},
        {"[DATE2]_[DATE3]_[DATE4]", "", 0, "2017-05-28_17-05-28_170528"},
        {"[TIME] [TIME1] <TIME2>", "", 0, "13-07-45 13-07-45 130745"},
        {"[USER]", "Anonymous", 0, "Anonymous"},
        {"[USER3]", "Anonymous", 0, "Ano"},
        {"[USER20]<USER0>", "Ana", 0, "Ana"},
        {"[USER99999999999999999999]", "Ana", 0, "Ana"},
        {"[USER2]", "\xC3\x84\xC3\xA4x", 0, "\xC3\x84\xC3\xA4"},
        {"[USER]", "lab/A:b\\c\nd", 0, "lab-A-b-c-d"},
        {"a[000]b", "", 7, "a007b", true},
        {"[9]<12>", "", 5, "505", true},
        {"[00]", "", 99, "99", true},
        {"123456789012345678901234567890123456789012345678901234567890123", "", 0,
         "123456789012345678901234567890123456789012345678901234567890123"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.Descriptor);
        std::string name;
        bool indexed = !one.Indexed, tooLong = true;
        EXPECT_TRUE(NameDescriptor::MakeFileName(name, one.Descriptor, {one.User, one.Index, Moment}, indexed,
                                                 tooLong));
        EXPECT_EQ(name, one.Name);
        EXPECT_EQ(indexed, one.Indexed);
        EXPECT_FALSE(tooLong);
    }
}

TEST(NameDescriptor, WhatYieldsNoNameSaysWhy) {
    const std::string sixtyFour(64, 'a');
    const struct {
        std::string Descriptor;
        std::int64_t Index;
        const char* Reason;
    } cases[] = {
        {"a[b[c]]", 0, "Nesting of \"[\" or \"<\" not allowed in Name Descriptor."},
        {"[<DATE>]", 0, "Nesting of \"[\" or \"<\" not allowed in Name Descriptor."},
        {"DATE]", 0, "\"]\" without preceding \"[\" in Name Descriptor."},
        {"<DATE]", 0, "\"]\" without preceding \"[\" in Name Descriptor."},
        {"DATE>", 0, "\">\" without preceding \"<\" in Name Descriptor."},
        {"[DATE>]", 0, "\">\" without preceding \"<\" in Name Descriptor."},
        {"[DATE5]", 0, "unknown \"[DATE5]\" in Name Descriptor."},
        {"<USERx>", 0, "unknown \"<USERx>\" in Name Descriptor."},
        {"a[]", 0, "unknown \"[]\" in Name Descriptor."},
        {"a[0/]", 0, "unknown \"[0/]\" in Name Descriptor."},
        {"a/b", 0, "Illegal character in Name Descriptor: '/', '\\', ':'"},
        {"a\\b", 0, "Illegal character in Name Descriptor: '/', '\\', ':'"},
        {"a:b", 0, "Illegal character in Name Descriptor: '/', '\\', ':'"},
        {std::string("a\0b", 3), 0, "Illegal character in Name Descriptor: '/', '\\', ':'"},
        {"a[DATE", 0, "Closing \"]\" is missing in Name Descriptor."},
        {"a<", 0, "Closing \">\" is missing in Name Descriptor."},
        {"", 0, "Name is empty."},
        {"[USER0]", 0, "Name is empty."},
        {"[00]", 100, "index overflow."},
        {"[000]", -1, "index overflow."},
        {sixtyFour, 0, "Name is too long (max=63)."},
        {sixtyFour.substr(0, 50) + "[DATE]xxx", 0, "Name is too long (max=63)."},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.Descriptor);
        std::string name = "before";
        bool indexed = true, tooLong = false;
        EXPECT_FALSE(
            NameDescriptor::MakeFileName(name, one.Descriptor, {"Ana", one.Index, Moment}, indexed, tooLong));
        EXPECT_EQ(name, one.Reason);
        EXPECT_FALSE(indexed);
        EXPECT_EQ(tooLong, std::string(one.Reason).starts_with("Name is too long"));
    }
}

TEST(NameDescriptor, ATimeWithoutADateStillYieldsAName) {
    std::string name;
    bool indexed = false, tooLong = false;
    for (const double time : {std::numeric_limits<double>::quiet_NaN(), 1e300, -1e11})
        for (const char* const term : {"[DATE]", "[DATE2]", "[DATE3]", "[DATE4]", "[TIME]", "[TIME2]"})
            EXPECT_TRUE(NameDescriptor::MakeFileName(name, term, {"", 0, time}, indexed, tooLong))
                << term << time;
}
