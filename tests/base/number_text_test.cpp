// Number texts, written and read.
#include "base/number_text.h"
#include "vectors.h"

namespace {

std::string Written(const nlohmann::json& in) {
    const std::string format = in["format"];
    if (format == "wave_int") return NumberText::Integer(in["value"], 5);
    const double value = Vectors::Number(in["value"]);
    if (format == "engineering") return NumberText::Engineering(value, in["columns"]);
    if (format == "scientific") return NumberText::Scientific(value, in["columns"]);
    if (format == "wave_real") return NumberText::Scientific(value, 12);
    if (format == "fixed") return NumberText::Fixed(value, in["digits"], in["length"]);
    ADD_FAILURE() << format;
    return {};
}

TEST(NumberTexts, AreWrittenAsTheCasesSay) {
    for (const auto& one : Vectors::Cases("numbers_format"))
        EXPECT_EQ(Written(one["in"]), one["out"]["text"]) << one["id"];
    EXPECT_EQ(NumberText::Fixed(123456.0, 2, 8), " 1.2E+05"); // falls back
    EXPECT_EQ(NumberText::Fixed(-1.0, 2, 4), "***");
    EXPECT_EQ(NumberText::Fixed(1e300, 2, 20).size(), 13U);
    EXPECT_EQ(NumberText::Engineering(999.996, 8), " 1.0000k"); // rounded up over a prefix
    EXPECT_EQ(NumberText::Engineering(1e24, 8), " 1.0000Y");
    EXPECT_EQ(NumberText::Engineering(2.5e-6, 8), " 2.5000µ");
    EXPECT_EQ(NumberText::Hexadecimal(0xAB12, 6), "  AB12");
}

TEST(NumberTexts, AreReadAsTheCasesSay) {
    for (const auto& one : Vectors::Cases("numbers_parse")) {
        const nlohmann::json& in = one["in"];
        const std::string reader = in["reader"];
        if (reader == "entry") continue; // bounds and scale belong to an item of a dialog
        double real = 77;
        std::int64_t whole = 77;
        std::uint64_t hexadecimal = 77;
        const bool ok =
            reader == "integer" ? NumberText::ReadInteger(in["text"].get<std::string>(), whole)
            : reader == "hex"
                ? NumberText::ReadHexadecimal(in["text"].get<std::string>(), hexadecimal)
                : NumberText::ReadEngineering(in["text"].get<std::string>(), real, in.value("comma", false));
        ASSERT_EQ(ok, one["out"]["ok"].get<bool>()) << one["id"];
        const double got = reader == "integer" ? static_cast<double>(whole)
                           : reader == "hex"   ? static_cast<double>(hexadecimal)
                                               : real;
        EXPECT_EQ(got, ok ? one["out"]["value"].get<double>() : 77.0) << one["id"];
    }
    double value = 0;
    for (const char* bad : {"", "-", ".", "5 mm", "1.2.3", "5e", "0x10", "5 m 2", "1,5"})
        EXPECT_FALSE(NumberText::ReadEngineering(bad, value)) << bad;
    EXPECT_TRUE(NumberText::ReadEngineering("- 5E ", value));
    EXPECT_EQ(value, -5e18);
    EXPECT_TRUE(NumberText::ReadEngineering("1,5µ", value, true));
    EXPECT_EQ(value, 1.5 * 0.001 * 0.001);
}

}
