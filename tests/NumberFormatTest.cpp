// Number-format rendering. Expected texts were produced by another
// spreadsheet (LibreOffice Calc's TEXT function, en-US) unless a comment says
// that the common desktop spreadsheets behave otherwise and that behaviour is
// the one kept.
#include "values/NumberFormat.h"
#include "values/BuiltInNumberFormats.h"

#include <gtest/gtest.h>

#include <random>

namespace sumora {
namespace {

struct Case {
    double value;
    const char* code;
    const char* expected;
};

void expectAll(std::initializer_list<Case> cases) {
    for (const Case& c : cases) {
        EXPECT_EQ(formatValue(c.value, c.code).text, c.expected) << c.value << " with " << c.code;
    }
}

TEST(NumberFormat, BuiltInTableHasExactlyTheTwentyNineCodes) {
    const auto& formats = builtInNumberFormats();
    EXPECT_EQ(formats.size(), 29u);
    for (int id : {5, 6, 7, 8, 23, 36, 41, 42, 43, 50})
        EXPECT_EQ(formats.count(id), 0u) << id;
    EXPECT_EQ(formats.at(13), "# ?"
                              "?/??");
    EXPECT_EQ(formats.at(14), "mm-dd-yy");
    EXPECT_EQ(formats.at(44), "_($* #,##0.00_)");
    EXPECT_EQ(formats.at(49), "@");
}

TEST(NumberFormat, EveryBuiltInFormatRendersAsSpreadsheetsDo) {
    const struct {
        int id;
        double value;
        const char* expected;
        const char* color;
    } cases[] = {
        {0, 1234.5, "1234.5", nullptr},
        {1, 1234.5, "1235", nullptr},
        {2, -1234.567, "-1234.57", nullptr},
        {3, 1234567.8, "1,234,568", nullptr},
        {4, 1234.5, "1,234.50", nullptr},
        {9, 0.125, "13%", nullptr},
        {10, 0.12345, "12.35%", nullptr},
        {11, 12345.678, "1.23E+04", nullptr},
        {12, 1.5, "1 1/2", nullptr},
        {13, 3.14159, "3 14/99", nullptr},
        {14, 45351, "02-29-24", nullptr},
        {15, 45351, "29-Feb-24", nullptr},
        {16, 45351, "29-Feb", nullptr},
        {17, 45351, "Feb-24", nullptr},
        {18, 0.604166666666667, "2:30 PM", nullptr},
        {19, 0.250057870370370, "6:00:05 AM", nullptr},
        {20, 0.604166666666667, "14:30", nullptr},
        {21, 0.999988425925926, "23:59:59", nullptr},
        {22, 45351.604166666667, "2/29/24 14:30", nullptr},
        {37, 1234, "1,234 ", nullptr},
        {37, -1234, "(1,234)", nullptr},
        {38, -1234, "(1,234)", "FF0000"},
        {39, -1234.5, "(1,234.50)", nullptr},
        {40, -1234.5, "(1,234.50)", "FF0000"},
        {40, 1234.5, "1,234.50", nullptr},
        {44, 1234.5, " $1,234.50 ", nullptr}, // the fill after "$" shows nothing
        {44, -1234.5, "- $1,234.50 ", nullptr},
        {45, 0.0208333333333333, "30:00", nullptr},
        {46, 1.5, "36:00:00", nullptr},
        {47, 0.000965277777777778, "0123.4", nullptr},
        {48, 12345, "12.3E+3", nullptr},
        {49, 42, "42", nullptr},
    };
    for (const auto& c : cases) {
        const FormattedText result = formatValue(c.value, builtInNumberFormats().at(c.id));
        EXPECT_EQ(result.text, c.expected) << "id " << c.id << " value " << c.value;
        EXPECT_EQ(result.colorHex, c.color ? std::optional<std::string>(c.color) : std::nullopt)
            << "id " << c.id;
    }
    EXPECT_EQ(formatText("abc", builtInNumberFormats().at(49)).text, "abc");
}

TEST(NumberFormat, SectionsConditionsAndSigns) {
    expectAll({
        {0, "0;-0;;@", ""},
        {0, "0;-0;\"zero\"", "zero"},
        {-3, "0;-0;\"zero\"", "-3"},
        {-3, "\"x\";\"y\"", "y"},
        {-3, "\"x\"", "x"}, // a section without placeholders shows no sign
        {-1234.5, "#,##0.00;-#,##0.00", "-1,234.50"},
        {0, "0.00;-0.00;0", "0"},
        {5, ";;;", ""},
        {5, "[>=100]0.0;0", "5"},
        {150, "[>=100]0.0;0", "150.0"},
        {-5, "[>=100]0.0;0", "5"},    // the second section shows magnitudes
        {0, "[>=100]0;0;\"z\"", "z"}, // ... and takes only negatives when a third follows
        {-5, "[>=100]0;0;\"z\"", "5"},
        {-5, "[<0]\"neg \"0;\"pos \"0", "neg 5"},
        {-5, "[<=0]0;0", "5"},
        {-20, "[<-5]0;0", "-20"}, // a first section keeps the sign unless it tests < 0
        {-5, "[=-5]0;0", "-5"},
        {-50, "[<5]0;0.0", "-50"},
        {-200, "[>100]0;[<-100]0", "200"},
        {5, "[>100]0;[<-100]0;0.00", "5.00"},
        {-5, "[>0]0;[<-10]0;0", "5"},
        {-5, "[>=100]0;[>=-10]0.0;0.00", "5.0"},
        {5, "[>100]0;[<-100]0", "5"}, // no section takes it: General
        {1500, "[<1000]0;[<1000000]0.0,\"K\";0.0,,\"M\"", "1.5K"},
        {1500000, "[<1000]0;[<1000000]0.0,\"K\";0.0,,\"M\"", "1.5M"},
        {5, "General;[Red]-General", "5"},
        {-5, "General;[Red]-General", "-5"},
        {5, "\"Total: \"General", "Total: 5"},
    });
}

TEST(NumberFormat, ColoursComeBackAsHex) {
    const struct {
        double value;
        const char* code;
        std::optional<std::string> color;
    } cases[] = {
        {-5, "[Red]0;[Blue]0", "0000FF"}, {5, "[Red]0;[Blue]0", "FF0000"},
        {5, "[GREEN]0", "00FF00"},        {5, "[Black]0", "000000"},
        {5, "[White]0", "FFFFFF"},        {5, "[Yellow]0", "FFFF00"},
        {5, "[Magenta]0", "FF00FF"},      {5, "[Cyan]0", "00FFFF"},
        {5, "[Color1]0", "000000"},       {5, "[Color3]0", "FF0000"},
        {5, "[Color8]0", "00FFFF"},       {5, "[color10]0", "008000"},
        {5, "[Color56]0", "333333"},      {5, "[Color57]0", std::nullopt},
        {5, "[Color 10]0", "008000"},     {5, "[Color 1 0]0", std::nullopt},
        {5, "[Blue][<10]0;0", "0000FF"},  {50, "[Blue][<10]0;[Red]0", "FF0000"},
        {5, "[Purple]0", std::nullopt},   {-3, "[Red]", "FF0000"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(formatValue(c.value, c.code).colorHex, c.color) << c.code;
}

TEST(NumberFormat, FillsComeBackApartFromTheText) {
    const struct {
        double value;
        const char* code;
        const char* text;
        std::optional<FormatFill> fill;
    } cases[] = {
        {1234.5, "_($* #,##0.00_)", " $1,234.50 ", FormatFill{" ", 2}},
        {5, "0*-", "5", FormatFill{"-", 1}},
        {-5, "*\u20ac0", "-5", FormatFill{"\u20ac", 1}}, // after the sign
        {5, "**0*x", "5", FormatFill{"*", 0}},           // only the first fill counts
        {0.5, "h:mm*.", "12:00", FormatFill{".", 5}},
        {5, "0.00", "5.00", std::nullopt},
    };
    for (const auto& c : cases) {
        const FormattedText result = formatValue(c.value, c.code);
        EXPECT_EQ(result.text, c.text) << c.code;
        EXPECT_EQ(result.fill, c.fill) << c.code;
    }
    EXPECT_EQ(formatText("abc", "@*-").fill, (FormatFill{"-", 3}));
}

TEST(NumberFormat, DatesAndTimes) {
    expectAll({
        {45351, "ddd dd mmm yy", "Thu 29 Feb 24"},
        {45351, "yyyy\\-mm\\-dd", "2024-02-29"},
        {0.5, "mm", "12"}, // a lone m is the month
        {0.5, "h m", "12 0"},
        {45351.99999999, "yyyy-mm-dd hh:mm:ss", "2024-03-01 00:00:00"},
        {2958465.999999999, "yyyy-mm-dd", "########"}, // rounds past 9999-12-31
        {-0.25, "h:mm;h:mm", "6:00"},                  // the negative section shows the magnitude
        // y is a two-digit year and yyy a four-digit one; LibreOffice shows
        // them literally.
        {45351, "y", "24"},
        {45351, "yyy", "2024"},
        // System long date and time.
        {45351.5, "[$-F800]", "Thursday, February 29, 2024"},
        {45351.5, "[$-F400]", "12:00:00 PM"},
    });
}
TEST(NumberFormat, GeneralShowsAtMostElevenCharacters) {
    const struct {
        double value;
        const char* expected;
    } cases[] = {
        {0, "0"},
        {123, "123"},
        {-123.456, "-123.456"},
        {0.1 + 0.2, "0.3"},
        {1.0 / 3, "0.333333333"},
        {-1.0 / 3, "-0.333333333"},
        {1234567890123, "1.23457E+12"},
        {12345.6789012345, "12345.6789"},
        {1234567890.5, "1234567891"},
        {12345678901, "12345678901"},
        {99999999999.5, "1E+11"},
        {1e15, "1E+15"},
        {1e100, "1E+100"},
        {0.00001, "0.00001"},
        {0.0000123456, "1.23456E-05"},
        {0.000123456789, "0.000123457"},
        {1e-10, "1E-10"},
        {-2.5e-20, "-2.5E-20"},
        {9.9999999e-5, "0.0001"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formatGeneralNumber(c.value), c.expected) << c.value;
        EXPECT_EQ(formatValue(c.value, "General").text, c.expected) << c.value;
    }
    EXPECT_EQ(formatValue(0.1, "GENERAL").text, "0.1");
    EXPECT_EQ(formatValue(1.0 / 3, "").text, "0.333333333");
    EXPECT_EQ(formatValue(42, "@").text, "42");
}

TEST(NumberFormat, TextGoesThroughTheTextSection) {
    const struct {
        const char* text;
        const char* code;
        const char* expected;
        std::optional<std::string> color;
    } cases[] = {
        {"abc", "\"x\"@", "xabc", std::nullopt},
        {"hello", "@", "hello", std::nullopt},
        {"t", "0;[Red]0;[Blue]0;[Green]@", "t", "00FF00"},
        {"t", "[Red]0", "t", std::nullopt}, // no text section: shown as is
        {"t", "0;0;0;\"lit\"", "lit", std::nullopt},
        {"t", "0.00;@\" units\"", "t units", std::nullopt},
        {"t", "[Red]@", "t", "FF0000"},
        {"t", "", "t", std::nullopt},
    };
    for (const auto& c : cases) {
        const FormattedText result = formatText(c.text, c.code);
        EXPECT_EQ(result.text, c.expected) << c.code;
        EXPECT_EQ(result.colorHex, c.color) << c.code;
    }
}

TEST(NumberFormat, MalformedCodesRenderSomethingSensible) {
    expectAll({
        // Codes that cannot be read show the number in General.
        {5.5, "[Red", "5.5"},
        {5.5, "0.0\"unterminated", "5.5"},
        {5.5, "a;b;c;d;e", "5.5"},
        {5.5, "0\\", "5.5"},
        {5.5, "0*", "5.5"},
        {5.5, "0.00 ?/?", "5.5"}, // a fraction has no decimals
        {5, "[>=]0", "5"},
        {5, "0/", "5/"},
        {5, "E+0", "E+5"},
    });
    // Any mix of format characters renders, terminates and stays short.
    const std::string alphabet = "0#?.,%E+-/@\"\\_*[]<>=;:hmsdyAMP/ $()Red1";
    std::mt19937 random(12345);
    for (int i = 0; i < 3000; ++i) {
        std::string code;
        const int length = 1 + static_cast<int>(random() % 24);
        for (int j = 0; j < length; ++j)
            code += alphabet[random() % alphabet.size()];
        for (double value : {0.0, -1.5, 45351.25, 1e300, -1e-300, 123456.789}) {
            const FormattedText result = formatValue(value, code);
            ASSERT_LT(result.text.size(), 1000u) << code;
        }
        ASSERT_LT(formatText("text", code).text.size(), 200u) << code;
    }
}

TEST(NumberFormat, RecognisesDateAndTimeCodes) {
    for (const char* code :
         {"mm-dd-yy", "h:mm", "[h]:mm:ss", "[$-F800]", "yyyy", "d-mmm", "[Red]hh:mm AM/PM"})
        EXPECT_TRUE(isDateTimeFormat(code)) << code;
    for (const char* code : {"General", "0.00", "#,##0", "@", "\"d\"0", "\\h0", "0.00E+00", ""})
        EXPECT_FALSE(isDateTimeFormat(code)) << code;
}

} // namespace
} // namespace sumora
