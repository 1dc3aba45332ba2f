// The key-and-value engine: forms of values, search of keys, blocks, check sum, files.
#include "setup/config.h"
#include "support/failing_files.h"
#include "support/temp_folder.h"

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
        const char* Reason; // none: the value is taken
        std::vector<std::string> Lines;
    } cases[] = {
        {nullptr,
         {"Flag f", "Int +12 and more", "Int:  12", "Cardinal 4294967295", "Real 1E-8", "Real 1,5x",
          "Text \"", "Tint 1,2,3", "Bytes \"        \""}},
        {": number not found.",
         {"Flag", "Int 12x", "Int x", "Int 2147483648", "Short 32768", "Enum 256", "Enum -1", "Cardinal -1",
          "Real nan", "Real 1e999", "Tint 1, 2", "Tint 1, 2, 65536", "Tint 1 2 3", "Bytes         "}},
        {": encoding error.", {"Flag yes", "Bytes \"   \x1f    \"", "Bytes \"   0    \""}},
        {": starting quotes not found.", {"Text abc", "Bytes 12345678"}},
        {": input buffer overflow.", {"Bytes    \"", "Bytes \"        ", "Bytes \"       \""}},
        {": output buffer overflow.", {"Bytes \"          \""}},
    };
    for (const auto& [reason, lines] : cases)
        for (const std::string& line : lines) {
            SCOPED_TRACE(line);
            Sample sample;
            BeginConfigText(line + "\n");
            ConfigSample(sample);
            EXPECT_EQ(Config.ConfigMissing, 13); // of 14 keys
            EXPECT_EQ(Config.ConfigError, 0);
            EXPECT_EQ(sample == Sample{}, reason != nullptr);
            const std::string key = line.substr(0, line.find_first_of(" :"));
            EXPECT_EQ(Config.ConfigUndecoded,
                      reason ? std::vector{"\"" + key + "\"" + reason} : std::vector<std::string>{});
        }
}

TEST(Config, StringsAreCutAtTheirPlace) {
    for (const auto& [line, wanted] : {std::pair{"Key \"\"", ""},
                                       {"Key   \"abcde\"", "abcde"},
                                       {"Key \"abcdefgh\"", "abcde"},
                                       {"Key \"abcd\"\"", "abcd"},
                                       {"Key \"a\"b\"c\"", "a\"b\"c"},
                                       {"Key \"ab", "ab"}}) {
        std::string text = "?";
        BeginConfigText(line);
        ConfigString("Key", text, 5);
        EXPECT_EQ(text, wanted) << line;
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
    for (const auto& [text, sum] : {std::pair<std::string, std::uint32_t>{"", 0},
                                    {"abcd\n\n\nCRC 17\nCRCode 5\n", 0x64636261},
                                    {"abcd\nabcd\n", 0xC8C6C4C2},
                                    {"abcdab\r\n", 0x64636261 + 0x6261},
                                    {"abcdabc", 0x64636261 + 0x6261 + 0x63},
                                    {"xCRC", 0x43524378}, // it does not start the line
                                    {"\xff\xff\xff\xff\n\x01", 0}}) {
        std::uint32_t stored = 5, computed = 5;
        BeginConfigText(text);
        ConfigCheckSum(stored, computed);
        EXPECT_EQ(computed, sum) << text;
        EXPECT_EQ(stored, text.find("CRC 17") == std::string::npos ? 0u : 17u);
    }
}

TEST(Config, AFailedFileStopsThePassAndLeavesWhatWasThere) {
    const Support::TempFolder folder;
    const std::string path = folder.Write("a.set", "Int 1\n");
    std::int32_t value = 5;
    EXPECT_FALSE(BeginConfig(folder.At("none.set"), false));
    EXPECT_EQ(Config.ConfigText, "No such file or directory");
    ConfigInt("Int", value);
    EXPECT_TRUE(value == 5 && Config.ConfigMissing == 0 && !EndConfig());
    EXPECT_FALSE(BeginConfig(folder.Path + "/none/a.set", true));
    const std::string tooLong(static_cast<std::size_t>(ConfigFileBytesMax) + 1, 'x');
    EXPECT_FALSE(BeginConfig(folder.Write("long", tooLong), false));
    EXPECT_EQ(Config.ConfigText, "File too large");
    const Support::FailingFiles disk;
    Support::TheDisk.FlushError = ENOSPC;
    ASSERT_TRUE(BeginConfig(path, true));
    ConfigInt("Int", value);
    EXPECT_FALSE(EndConfig());
    EXPECT_EQ(Config.ConfigText, "No space left on device");
    EXPECT_EQ(Support::ReadWhole(path), "Int 1\n");
    EXPECT_EQ(folder.Count() + Support::TheDisk.OpenHandles, 2);
}
