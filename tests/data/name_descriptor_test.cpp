#include "data/name_descriptor.h"

#include "base/time_scale.h"
#include "support/fixtures.h"

namespace {

// 28 May 2017, 13:07:45.9: seconds since 1601 of the day and of the hour.
const double Moment = TimeScale::FromFileTime(13'140'403'200.0 + 13 * 3600 + 7 * 60 + 45.9);

}

TEST(NameDescriptor, TermsAreReplaced) {
    for (const auto& one : Support::CaseTable("names")) {
        SCOPED_TRACE(one[0]);
        std::string name;
        const bool isIndexed = one[0].find_first_of("[<") != std::string::npos && one[2] != "0";
        bool indexed = !isIndexed, tooLong = true;
        EXPECT_TRUE(NameDescriptor::MakeFileName(name, one[0], {one[1], std::stoi(one[2]), Moment}, indexed,
                                                 tooLong));
        EXPECT_EQ(name, one[3]);
        EXPECT_EQ(indexed, isIndexed);
        EXPECT_FALSE(tooLong);
    }
}

TEST(NameDescriptor, WhatYieldsNoNameSaysWhy) {
    for (const auto& one : Support::CaseTable("names_refused")) {
        SCOPED_TRACE(one[0]);
        std::string name = "before";
        bool indexed = true, tooLong = false;
        EXPECT_FALSE(
            NameDescriptor::MakeFileName(name, one[0], {"Ana", std::stoi(one[1]), Moment}, indexed, tooLong));
        EXPECT_EQ(name, one[2]);
        EXPECT_FALSE(indexed);
        EXPECT_EQ(tooLong, one[2].starts_with("Name is too long"));
    }
}

TEST(NameDescriptor, ATimeWithoutADateStillYieldsAName) {
    std::string name;
    bool indexed = false, tooLong = false;
    for (const double time : {std::numeric_limits<double>::quiet_NaN(), 1e300, -1e11})
        for (const char* const term : {"[DATE]", "[DATE2]", "[DATE3]", "[DATE4]", "[TIME]", "[TIME2]"})
            EXPECT_TRUE(NameDescriptor::MakeFileName(name, term, {"", 0, time}, indexed, tooLong)) << term;
}
