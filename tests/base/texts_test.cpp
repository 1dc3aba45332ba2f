#include "base/time_scale.h"
#include "base/units.h"
#include "support/testing.h"

TEST(Texts, BytesThatAreNoUtf8AreTakenForLatin1) {
    const struct {
        std::string_view Bytes, Text;
    } cases[] = {
        {"\xC2\xB5m", "\xC2\xB5m"},                   // UTF-8 already
        {"\xB5m", "\xC2\xB5m"},                       // Latin-1
        {"\xC2\xB5\xB5", "\xC3\x82\xC2\xB5\xC2\xB5"}, // one stray byte decides for all
        {"\xE2\x82\xAC\xF0\x9F\x90\x9F", "\xE2\x82\xAC\xF0\x9F\x90\x9F"},
        {"\xC0\x80", "\xC3\x80\xC2\x80"},                         // overlong
        {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xC2\x80"},             // a surrogate
        {"\xF4\x90\x80\x80", "\xC3\xB4\xC2\x90\xC2\x80\xC2\x80"}, // beyond the last code point
        {"a\xE2\x82", "a\xC3\xA2\xC2\x82"},                       // cut by its field
    };
    for (const auto& one : cases) EXPECT_EQ(Texts::Utf8(one.Bytes), one.Text);
}

TEST(Texts, FieldsEndAtTheFirstZeroOrAtTheirEnd) {
    std::array<char, 6> field = {'f', 'u', 'l', 'l', 'e', 'r'};
    EXPECT_EQ(Texts::FromField(field), "fuller");
    Texts::ToField(field, "ab");
    EXPECT_EQ(std::string_view(field.data(), 6), std::string_view("ab\0\0\0\0", 6));
    Texts::ToField(field, "abcdefgh");
    EXPECT_EQ(std::string_view(field.data(), 6), std::string_view("abcde\0", 6));
    EXPECT_TRUE(Texts::SameFolded("Tau-1", "tAU-1") && !Texts::SameFolded("Tau", "Tau1"));
}

TEST(TimeScale, KnownMomentsBothWays) {
    const struct {
        double Time, FileTime; // s
        const char *Date, *OfDay;
    } cases[] = {
        {5159768865.25, 13140450465.25, "2017/05/28", "13:07:45.250"},
        {5362761600.0 - 0.001, 13343443200.0 - 0.001, "2023/11/02", "23:59:59.999"},
        {5362761600.0, 13343443200.0, "2023/11/03", "00:00:00.000"},
        {1580970496.0, 9561652096.0, "1904/01/01", "06:28:16.000"},
        {1580970495.0, 13856619391.0, "2040/02/06", "06:28:15.000"}, // the scale wraps below its shift
        {0.0, 12275648896.0, "1990/01/01", "00:00:00.000"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.Date);
        EXPECT_EQ(TimeScale::ToFileTime(one.Time), one.FileTime);
        EXPECT_EQ(TimeScale::DateText(one.Time), one.Date);
        EXPECT_EQ(TimeScale::TimeText(one.Time, true), one.OfDay);
        EXPECT_EQ(TimeScale::TimeText(one.Time), std::string(one.OfDay).substr(0, 8));
        if (one.Time < 1580970496.0) continue;
        EXPECT_NEAR(TimeScale::FromFileTime(one.FileTime), one.Time, 1e-5); // a double at this size
    }
    for (const double bad : {std::numeric_limits<double>::quiet_NaN(), HUGE_VAL, -HUGE_VAL, 1e300})
        EXPECT_EQ(TimeScale::DateText(bad), "**********");
    EXPECT_EQ(TimeScale::TimeText(HUGE_VAL, true), "************");
    EXPECT_EQ(TimeScale::TimeText(-1), "23:59:59");
    EXPECT_GT(TimeScale::Now(), 5362761600.0);
}

TEST(Texts, CharactersGoToUtf8AndBack) {
    for (std::uint32_t character = 0; character <= 0x110000; ++character) {
        const std::string text = Texts::Utf8Of(character);
        const bool none = (character >= 0xD800 && character <= 0xDFFF) || character > 0x10FFFF;
        ASSERT_EQ(text.empty(), none) << character;
        if (none) continue;
        const std::string before = text + "x";
        std::string_view rest = before;
        ASSERT_EQ(Texts::TakeCharacter(rest), character);
        ASSERT_EQ(rest, "x") << character;
    }
    std::string_view broken = "\xE2\x82";
    EXPECT_EQ(Texts::TakeCharacter(broken), 0xE2u);
    EXPECT_EQ(broken.size(), 1u);
}

namespace {

std::string Started;

template <char Letter, bool Result = true>
bool Starts() {
    Started += Letter;
    return Result;
}

}

TEST(Units, ImportsStartFirstAndOnceACycleEndsAndAFailureKeepsImportersFromStarting) {
    Units::Unit a{"A", {}, Starts<'a'>}, b{"B", {&a}, Starts<'b'>}, c{"C", {&a, &b}, Starts<'c'>};
    a.Imports = {&c};
    EXPECT_TRUE(Units::Initialise(c) && Units::Initialise(c));
    Units::Unit bad{"Bad", {}, Starts<'x', false>}, good{"Good", {}, Starts<'g'>};
    Units::Unit top{"Top", {&bad, &good}, Starts<'t'>};
    EXPECT_FALSE(Units::Initialise(top) || Units::Initialise(top));
    EXPECT_EQ(Started, "abcxg");
}
