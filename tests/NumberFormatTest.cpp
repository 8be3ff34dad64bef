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

TEST(NumberFormat, RoundsHalfAwayFromZeroAtTheShownDecimal) {
    expectAll({
        {1234.5, "#,##0.00", "1,234.50"},
        {2.675, "0.00", "2.68"},
        {1.005, "0.00", "1.01"},
        {0.125, "0.00", "0.13"},
        {1.45, "0.0", "1.5"},
        {-1.45, "0.0", "-1.5"},
        {-2.5, "0", "-3"},
        {0.5, "0", "1"},
        {0.0005, "0.000", "0.001"},
        {999.995, "#,##0.00", "1,000.00"},
        {1234.5678, "0", "1235"},
        {0.12345, "0.00%", "12.35%"},
        // Beyond 15 significant digits a spreadsheet shows zeros.
        {123456789012345678.0, "0", "123456789012346000"},
        // LibreOffice hides the sign of a negative number that rounds to zero;
        // the common spreadsheets show it.
        {-0.001, "0.00", "-0.00"},
    });
}

TEST(NumberFormat, DigitPlaceholdersGroupingScalingAndLiterals) {
    expectAll({
        {12, "0000", "0012"},
        {12, "????", "  12"},
        {0.5, "#.##", ".5"},
        {0.5, "0.0#", "0.5"},
        {1.05, "#.##", "1.05"},
        {0, "#,###", ""},
        {0, "#", ""},
        {0.123, ".00", ".12"},
        {12.5, ".00", "12.50"},
        {123456789, "000-00-0000", "123-45-6789"},
        {1e20, "#,##0", "100,000,000,000,000,000,000"},
        {1234567, "#,##0,", "1,235"},
        {1234567, "#,##0,,", "1"},
        {1234567, "0.0,,\"M\"", "1.2M"},
        {1234567, "#,##0.0,", "1,234.6"},
        {0.1234, "0%", "12%"},
        {1234.5, "#,##0.00 \"USD\"", "1,234.50 USD"},
        {1234.5, "[$€-407] #,##0.00", "€ 1,234.50"},
        {1234.5, "[$-409]#,##0.00", "1,234.50"},
        {-3, "0\" units\"", "-3 units"},
        {-3, "\"$\"0", "-$3"},
        {5, "\\$0\\!", "$5!"},
        {5, "(0)_)", "(5) "},
        // The common spreadsheets keep the point when no decimal follows;
        // LibreOffice drops it.
        {12, "#.##", "12."},
        {12, "0.#", "12."},
    });
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
        {5, "[Blue][<10]0;0", "0000FF"},  {50, "[Blue][<10]0;[Red]0", "FF0000"},
        {5, "[Purple]0", std::nullopt},   {-3, "[Red]", "FF0000"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(formatValue(c.value, c.code).colorHex, c.color) << c.code;
}

TEST(NumberFormat, ScientificNotation) {
    expectAll({
        {12345.678, "0.00E+00", "1.23E+04"},
        {0.000123, "0.00E+00", "1.23E-04"},
        {1.5, "0.00E-00", "1.50E00"},
        {1e-10, "0.00E-00", "1.00E-10"},
        {1e100, "0.00E+00", "1.00E+100"},
        {0, "0.00E+00", "0.00E+00"},
        {9.999, "0.00E+00", "1.00E+01"},
        {1234, "0.00e+00", "1.23E+03"},
        {-1234, "0.00E+00", "-1.23E+03"},
        {12, "00.00E+00", "12.00E+00"},
        {0.000012345, "0.00E+0", "1.23E-5"},
        {12345, "##0.0E+0", "12.3E+3"},
        {123456, "##0.0E+0", "123.5E+3"},
        {1234, "##0.0E+0", "1.2E+3"},
        {0.00012, "##0.0E+0", "120.0E-6"},
        {999.96, "##0.0E+0", "1.0E+3"},
        {1234, "#,##0.00E+00", "1,234.00E+00"},
    });
}

TEST(NumberFormat, Fractions) {
    expectAll({
        {0.5, "# ?/?", " 1/2"},
        {2, "# ?/?", "2    "},
        {0, "# ?/?", "0    "},
        {1.25,
         "# ?"
         "?/??",
         "1  1/4 "},
        {0.3333, "?/?", "1/3"},
        {1.75, "?/?", "7/4"},
        {0, "?/?", "0/1"},
        {0.1428571, "# ?/?", " 1/7"},
        {-1.5, "# ?/?", "-1 1/2"},
        {1.3333,
         "# ??"
         "?/??"
         "?",
         "1   1/3  "},
        {2.5, "0 0/0", "2 1/2"},
        {0.5, "# ?/8", " 4/8"},
        {0.3, "# ?/8", " 2/8"},
        {0.4, "?/10", "4/10"},
        {3.999, "# ?/?", "4    "},
        {1234.5, "#,### ?/?", "1,234 1/2"},
    });
}

TEST(NumberFormat, DatesAndTimes) {
    expectAll({
        {45351, "dddd, mmmm d, yyyy", "Thursday, February 29, 2024"},
        {45351, "ddd dd mmm yy", "Thu 29 Feb 24"},
        {45351, "mmmmm", "F"},
        {45351, "m/d/yyyy", "2/29/2024"},
        {45351, "dd/mm", "29/02"},
        {0, "yyyy-mm-dd", "1899-12-30"},
        {1, "yyyy-mm-dd ddd", "1899-12-31 Sun"},
        {60, "yyyy-mm-dd", "1900-02-28"},
        {61, "yyyy-mm-dd", "1900-03-01"},
        {-1, "yyyy-mm-dd", "1899-12-29"},
        {-0.25, "h:mm", "18:00"},
        {2958465, "yyyy-mm-dd", "9999-12-31"},
        {45351.99999999, "yyyy-mm-dd hh:mm:ss", "2024-03-01 00:00:00"},
        {45351.5, "d-mmm-yyyy h:mm:ss", "29-Feb-2024 12:00:00"},
        {45351.25, "mm/dd/yyyy hh:mm", "02/29/2024 06:00"},
        {45351, "\"Date: \"yyyy-mm-dd", "Date: 2024-02-29"},
        {45351, "yyyy\\-mm\\-dd", "2024-02-29"},
        {0.5, "hh:mm:ss AM/PM", "12:00:00 PM"},
        {0, "h AM/PM", "12 AM"},
        {0.25, "h a/p", "6 a"},
        {0.75, "hh:mm a/p", "06:00 p"},
        {0.5003472, "h:mm", "12:00"},
        {0.5, "h:mm:ss.0", "12:00:00.0"},
        {0.5, "hh \"h\" mm \"m\"", "12 h 00 m"},
        {0.5, "mm", "12"}, // a lone m is the month
        {0.5, "h m", "12 0"},
        {0.51, "[mm]:ss", "734:24"},
        {2.5, "[ss]", "216000"},
        {2.5, "[hh]", "60"},
        {0.5, "[m]", "720"},
        {-1, "[h]:mm", "-24:00"},
        // The common spreadsheets write y as a two-digit year and yyy as four
        // digits (LibreOffice shows them literally), round to the shown second
        // (LibreOffice truncates), and print AM/PM markers in the case written.
        {45351, "y", "24"},
        {45351, "yyy", "2024"},
        {0.999999, "h:mm:ss", "0:00:00"},
        {0.500347222222, "h:mm:ss", "12:00:30"},
        {0.0000115740740, "ss.00", "01.00"},
        {0.5, "h am/pm", "12 pm"},
        {0.5, "h A/P", "12 P"},
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
        {5, "[Red", "[Red"}, // not read as a day code
        {5, "\"unterminated", "unterminated"},
        {5, "a;b;c;d;e;f", "a"},
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
