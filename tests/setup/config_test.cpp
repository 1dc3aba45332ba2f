// The key-and-value engine: forms of values, search of keys, blocks, check sum, files.
#include "setup/config.h"
#include "support/failing_files.h"
#include "support/temp_folder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>

using namespace Setup;

namespace {

// One place of each kind.
struct Sample {
    bool Flag = true;
    std::uint32_t Cardinal = 4000000000u;
    std::int32_t Int = -70000;
    std::int16_t Short = -5;
    std::uint8_t Enum = 200;
    char Char = 'x', Zero = '\0';
    double Real = 1.0 / 3.0;
    std::string Text = "a \"b\"";
    std::array<char, 8> Field = {'1', '2', '3', '4', '5', '6', '7'};
    Color Tint = {1, 2, 65535};
    std::array<std::uint8_t, 4> Bytes = {0x00, 0xFF, 0x2A, 0x20};
    std::array<double, 2> Values = {-1.5, 1E-300};
    bool operator==(const Sample&) const = default;
};

void ConfigSample(Sample& s) {
    ConfigBool("Flag", s.Flag);
    ConfigCardinal("Cardinal", s.Cardinal);
    ConfigInt("Int", s.Int);
    ConfigShort("Short", s.Short);
    ConfigEnum("Enum", s.Enum);
    ConfigChar("Char", s.Char);
    ConfigChar("Zero", s.Zero);
    ConfigReal("Real", s.Real);
    ConfigString("Text", s.Text, 10);
    ConfigString("Field", s.Field);
    ConfigColor("Tint", s.Tint);
    ConfigBlock("Bytes", s.Bytes);
    Config.ConfigIndex = 1;
    for (int i = 0; i < 2; ++i) ConfigRealAt("Value-", i, s.Values[static_cast<std::size_t>(i)]);
    Config.ConfigIndex = 0;
}

const Sample Blank = {false, 0, 0, 0, 0, 'y', 'z', 0, "", {}, {}, {}, {}};

constexpr const char* Written = "Flag  TRUE\n"
                                "Cardinal 4000000000\n"
                                "Int -70000\n"
                                "Short -5\n"
                                "Enum 200\n"
                                "Char x\n"
                                "Zero \"\"\n"
                                "Real 0.3333333333333333\n"
                                "Text \"a \"b\"\"\n"
                                "Field \"1234567\"\n"
                                "Tint 1, 2, 65535\n"
                                "Bytes \"  //*\" \"\"\n"
                                "Value-1 -1.5\n"
                                "Value-2 1e-300\n";

// What a number key finds in a text, from a start value of 7.
std::int32_t IntIn(const std::string& text, std::string_view key) {
    std::int32_t value = 7;
    BeginConfigText(text);
    ConfigInt(key, value);
    return value;
}

}

TEST(Config, EachKindIsWrittenInItsFormAndReadBack) {
    const Support::TempFolder folder;
    const std::string path = folder.At("a.set");
    ASSERT_TRUE(BeginConfig(path, true));
    Sample sample;
    ConfigSample(sample);
    ASSERT_TRUE(EndConfig());
    EXPECT_EQ(Support::ReadWhole(path), Written);
    Sample empty = Blank;
    ASSERT_TRUE(BeginConfig(path, false));
    ConfigSample(empty);
    EXPECT_EQ(Config.ConfigMissing, 0);
    EXPECT_TRUE(EndConfig());
    EXPECT_EQ(empty, sample);
    // Line ends of other systems, and blanks in front, are no difference.
    for (const char* const end : {"\r\n", "\r", "\n\n\n \t "}) {
        std::string text;
        for (const char* c = Written; *c; ++c) *c == '\n' ? text += end : text += *c;
        Sample again = Blank;
        BeginConfigText(text);
        ConfigSample(again);
        EXPECT_EQ(again, sample);
    }
}

TEST(Config, ValuesThatCannotBeDecodedLeaveTheirPlaceAndTellWhy) {
    const struct {
        const char *Line, *Reason; // none: the value is taken
    } cases[] = {
        {"Flag f", nullptr},
        {"Flag yes", ": encoding error."},
        {"Flag", ": number not found."},
        {"Flag    ", ": number not found."},
        {"Int +12 and more", nullptr},
        {"Int:  12", nullptr}, // to the next blank is skipped
        {"Int 12x", ": number not found."},
        {"Int x", ": number not found."},
        {"Int 2147483648", ": number not found."},
        {"Short 32768", ": number not found."},
        {"Enum 256", ": number not found."},
        {"Enum -1", ": number not found."},
        {"Cardinal 4294967295", nullptr},
        {"Cardinal -1", ": number not found."},
        {"Real 1E-8", nullptr},
        {"Real nan", ": number not found."},
        {"Real inf", ": number not found."},
        {"Real 1e999", ": number not found."},
        {"Real 1,5x", nullptr}, // ends at the comma
        {"Text abc", ": starting quotes not found."},
        {"Text \"", nullptr},
        {"Tint 1,2,3", nullptr},
        {"Tint 1, 2", ": number not found."},
        {"Tint 1, 2, 65536", ": number not found."},
        {"Tint 1 2 3", ": number not found."},
        {"Bytes    \"", ": input buffer overflow."},
        {"Bytes \"        \"", nullptr},
        {"Bytes \"        ", ": input buffer overflow."},
        {"Bytes \"       \"", ": input buffer overflow."},
        {"Bytes \"   \x1f    \"", ": encoding error."},
        {"Bytes \"   0    \"", ": encoding error."},
        {"Bytes \"          \"", ": output buffer overflow."},
        {"Bytes         ", ": number not found."},
        {"Bytes 12345678", ": starting quotes not found."},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.Line);
        const std::string line = one.Line;
        Sample sample;
        BeginConfigText(line + "\n");
        ConfigSample(sample);
        EXPECT_EQ(Config.ConfigMissing, 13); // of 14 keys
        EXPECT_EQ(Config.ConfigError, 0);
        EXPECT_EQ(sample == Sample{}, one.Reason != nullptr);
        const std::string key = line.substr(0, line.find_first_of(" :"));
        EXPECT_EQ(Config.ConfigUndecoded, one.Reason
                                              ? std::vector<std::string>{"\"" + key + "\"" + one.Reason}
                                              : std::vector<std::string>{});
    }
}

TEST(Config, StringsAreCutAtTheirPlace) {
    const struct {
        const char *Line, *Text; // of at most 5 characters
    } cases[] = {{"Key \"abc\"", "abc"},       {"Key \"\"", ""},
                 {"Key   \"abcde\"", "abcde"}, {"Key \"abcdefgh\"", "abcde"},
                 {"Key \"abcd\"\"", "abcd"},   {"Key \"a\"b\"c\"", "a\"b\"c"},
                 {"Key \"ab", "ab"},           {"Key \" a \"", " a "}};
    for (const auto& one : cases) {
        std::string text = "?";
        BeginConfigText(one.Line);
        ConfigString("Key", text, 5);
        EXPECT_EQ(text, one.Text) << one.Line;
    }
    // Characters that would break the line are blanks; a line that would not fit is not written.
    const Support::TempFolder folder;
    ASSERT_TRUE(BeginConfig(folder.At("a"), true));
    std::string lines = "a\nb", huge(ConfigLineBytes, 'x');
    ConfigString("Lines", lines, 5);
    ConfigString("Huge", huge, huge.size());
    EXPECT_EQ(Config.ConfigText, "\"Huge\": output buffer overflow.");
    EXPECT_TRUE(EndConfig());
    EXPECT_EQ(Support::ReadWhole(folder.At("a")), "Lines \"a b\"\n");
}

TEST(Config, AKeyIsFoundByItsWholeWordFromTheLastOneOnAndOnceFromTheStart) {
    const std::string text = "A 1\n\t A 2\nValueName 3\nValue-1 4\nValue1 5\nValue 6\nx B 8\n= B 8\nA-B 9\n";
    EXPECT_EQ(IntIn(text, "Value"), 6);
    EXPECT_EQ(IntIn(text, "Value-"), 7);
    EXPECT_EQ(IntIn(text, "Value-1"), 4);
    EXPECT_EQ(IntIn(text, "B"), 7); // only further to the right
    EXPECT_EQ(Config.ConfigText, "\"B\" not found.");
    EXPECT_EQ(IntIn(text, "a"), 7);

    BeginConfigText(text);
    std::vector<std::int32_t> found(5);
    for (std::int32_t& value : found) {
        ConfigInt("A", value);
        std::int32_t none = 7;
        ConfigInt("None", none); // a search in vain does not move the reader
        EXPECT_EQ(none, 7);
    }
    EXPECT_EQ(found, (std::vector<std::int32_t>{1, 2, 1, 2, 1}));
    EXPECT_EQ(Config.ConfigMissing, 5);
    std::int32_t value = 0;
    ConfigInt("Value", value);
    ConfigInt("A", value);
    EXPECT_EQ(value, 1); // behind Value there is none: from the start
    EXPECT_EQ(IntIn("", "A"), 7);
    EXPECT_EQ(IntIn(std::string(ConfigLineBytes - 1, ' ') + "A 1", "A"), 1); // a long line comes in pieces
}

TEST(Config, BlocksOfManyLinesAreTakenWholeOrNotAtAll) {
    const Support::TempFolder folder;
    for (const std::size_t bytes : {1u, 32u, 33u, 64u, 300u}) {
        std::vector<std::uint8_t> block(bytes), read(bytes);
        std::iota(block.begin(), block.end(), std::uint8_t{1});
        ASSERT_TRUE(BeginConfig(folder.At("a"), true));
        ConfigBlock("Block", block);
        ASSERT_TRUE(EndConfig());
        std::string text = Support::ReadWhole(folder.At("a"));
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), static_cast<long>((bytes + 31) / 32));
        EXPECT_EQ(text.starts_with("Block \""), bytes <= 32);
        BeginConfigText(text);
        ConfigBlock("Block", read);
        EXPECT_EQ(read, block);
        if (bytes <= 32) continue;
        text.replace(text.find("Block2"), 6, "Other2");
        std::fill(read.begin(), read.end(), std::uint8_t{9});
        BeginConfigText(text);
        ConfigBlock("Block", read);
        EXPECT_EQ(read, std::vector<std::uint8_t>(bytes, 9));
        EXPECT_EQ(Config.ConfigMissing, 1);
        EXPECT_EQ(Config.ConfigText, "\"Block2\" not found.");
    }
}

// "abcd" is 0x64636261 as a little-endian word.
TEST(Config, TheCheckSumAddsTheWordsOfEachLine) {
    const struct {
        const char* Text;
        std::uint32_t Sum;
    } cases[] = {
        {"", 0},
        {"abcd", 0x64636261},
        {"abcd\n\n\nCRC 17\nCRCode 5\n", 0x64636261},
        {"abcd\nabcd\n", 0xC8C6C4C2},
        {"abcda", 0x64636261 + 0x61},
        {"abcdab\r\n", 0x64636261 + 0x6261},
        {"abcdabc", 0x64636261 + 0x6261 + 0x63},
        {"xCRC", 0x43524378}, // it does not start the line
        {"\xff\xff\xff\xff\n\x01", 0},
    };
    for (const auto& one : cases) {
        std::uint32_t stored = 5, computed = 5;
        BeginConfigText(one.Text);
        ConfigCheckSum(stored, computed);
        EXPECT_EQ(computed, one.Sum) << one.Text;
        EXPECT_EQ(stored, std::string_view(one.Text).find("CRC 17") == std::string_view::npos ? 0u : 17u);
    }
}

TEST(Config, AFailedFileStopsThePassAndLeavesWhatWasThere) {
    const Support::TempFolder folder;
    const std::string path = folder.Write("a.set", "Int 1\n");
    std::int32_t value = 5;
    EXPECT_FALSE(BeginConfig(folder.At("none.set"), false));
    EXPECT_EQ(Config.ConfigText, "No such file or directory");
    ConfigInt("Int", value);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(Config.ConfigMissing, 0);
    EXPECT_FALSE(EndConfig());
    EXPECT_FALSE(BeginConfig(folder.Path, false));
    EXPECT_FALSE(BeginConfig(folder.Path + "/none/a.set", true));
    EXPECT_FALSE(BeginConfig(
        folder.Write("long", std::string(static_cast<std::size_t>(ConfigFileBytesMax) + 1, 'x')), false));
    EXPECT_EQ(Config.ConfigText, "File too large");
    for (int Support::Disk::*const error : {&Support::Disk::FlushError, &Support::Disk::RenameError}) {
        const Support::FailingFiles disk;
        Support::TheDisk.*error = ENOSPC;
        ASSERT_TRUE(BeginConfig(path, true));
        ConfigInt("Int", value);
        EXPECT_FALSE(EndConfig());
        EXPECT_EQ(Config.ConfigText, "No space left on device");
        EXPECT_EQ(Support::TheDisk.OpenHandles, 0);
    }
    EXPECT_EQ(Support::ReadWhole(path), "Int 1\n");
    EXPECT_EQ(folder.Count(), 2);
}
