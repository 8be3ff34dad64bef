// Text forms, coercions, ordering and error texts of formula values.
#include "engine/FormulaValue.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <random>
#include <vector>

namespace sumora {
namespace {

TEST(FormulaValueText, NumbersRenderByTheGOrShortestRule) {
    const struct {
        double number;
        const char* text;
    } cases[] = {
        {42, "42"},
        {-5, "-5"},
        {0, "0"},
        {-0.0, "-0"},
        {999999, "999999"},
        {123456, "123456"},
        {1e6, "1e+06"},
        {1234567, "1.23457e+06"},
        {-1234567, "-1.23457e+06"},
        {1e14, "1e+14"},
        {999999999999999, "1e+15"}, // "%g" of a whole number below 10^15
        {1e15, "1e+15"},            // shortest form from 10^15 on
        {1.5e15, "1.5e+15"},
        {1e21, "1e+21"},
        {123456789012345678.0, "1.2345678901234568e+17"},
        {0.1, "0.1"},
        {0.1 + 0.2, "0.30000000000000004"},
        {2.5, "2.5"},
        {-2.5, "-2.5"},
        {123.456, "123.456"},
        {12345678.9, "12345678.9"},
        {0.0001, "0.0001"},
        {0.00001, "1e-05"},
        {1.5e-7, "1.5e-07"},
        {1e100, "1e+100"},
        {5e-324, "5e-324"},
        {std::numeric_limits<double>::infinity(), "inf"},
        {-std::numeric_limits<double>::infinity(), "-inf"},
        {std::nan(""), "nan"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(FormulaValue::number(c.number).description(), c.text) << c.text;
}

// Installs a German locale (decimal comma) for the duration of a test, built
// with localedef when the system has none; the test skips without one.
class GermanNumericLocale {
  public:
    GermanNumericLocale() {
        previous_ = std::setlocale(LC_ALL, nullptr);
        if (std::setlocale(LC_ALL, "de_DE.UTF-8")) {
            active_ = true;
            return;
        }
        auto dir = std::filesystem::temp_directory_path() / "sumora-test-locales";
        std::filesystem::create_directories(dir);
        if (!std::filesystem::exists(dir / "de_DE.UTF-8")) {
            std::string command =
                "localedef -i de_DE -f UTF-8 '" + (dir / "de_DE.UTF-8").string() + "' >/dev/null 2>&1";
            if (std::system(command.c_str()) != 0) return;
        }
        setenv("LOCPATH", dir.c_str(), 1);
        active_ = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    }
    ~GermanNumericLocale() {
        std::setlocale(LC_ALL, previous_.c_str());
        unsetenv("LOCPATH");
    }
    bool active() const { return active_; }

  private:
    std::string previous_;
    bool active_ = false;
};

// Whole numbers of 7 to 15 digits take "%g" as the C library prints it:
// rounded to six digits, ties to even, from random draws and exact ties.
TEST(FormulaValueText, LargeWholeNumbersMatchPrintfG) {
    std::vector<double> numbers = {1e6,           1234565,        1234575,         9999995,
                                   99999950,      999999500000,   999999499999999, 100000050000000,
                                   123456500000,  123457500000,   4294967296,      -1234565,
                                   -999999999999, 549755813888.0, 2000001,         1000005};
    std::mt19937_64 rng(5);
    for (int i = 0; i < 20000; ++i) {
        const int digits = 7 + i % 9;
        const double low = std::pow(10.0, digits - 1);
        double x = std::floor(low + static_cast<double>(rng() % static_cast<uint64_t>(9 * low)));
        if (i % 3 == 0) x = std::floor(x / 1e5) * 1e5 + 5e4; // a tie for some lengths
        numbers.push_back(i % 2 ? x : -x);
    }
    char expected[64];
    for (double x : numbers) {
        std::snprintf(expected, sizeof expected, "%g", x);
        ASSERT_EQ(FormulaValue::number(x).description(), expected) << std::fixed << x;
    }
}

TEST(FormulaValueText, NumberTextIgnoresTheProcessLocale) {
    GermanNumericLocale german;
    if (!german.active()) GTEST_SKIP() << "no German locale available";
    EXPECT_EQ(FormulaValue::number(1234567).description(), "1.23457e+06");
    EXPECT_EQ(FormulaValue::number(0.5).description(), "0.5");
    EXPECT_EQ(FormulaValue::text("2.5").asNumber(), 2.5);
    EXPECT_FALSE(FormulaValue::text("2,5").asNumber());
}

TEST(FormulaValueText, OtherKindsRender) {
    EXPECT_EQ(FormulaValue::text("abc").description(), "abc");
    EXPECT_EQ(FormulaValue::boolean(true).description(), "TRUE");
    EXPECT_EQ(FormulaValue::boolean(false).description(), "FALSE");
    EXPECT_EQ(FormulaValue::empty().description(), "");
    EXPECT_EQ(FormulaValue::error(ErrorKind::notAvailable).description(), "#N/A");
    ValueRows rows{{FormulaValue::number(7), FormulaValue::number(8)}, {FormulaValue::number(9)}};
    EXPECT_EQ(FormulaValue::array(rows).description(), "7");
    EXPECT_EQ(FormulaValue::array({}).description(), "");
    EXPECT_EQ(FormulaValue::array({{}}).description(), "");
    EXPECT_EQ(FormulaValue::array({{FormulaValue::text("x")}}).asString(), "x");
}

TEST(FormulaValueText, AppendDescriptionMatchesDescription) {
    std::string s = ">";
    FormulaValue::number(1234567).appendDescription(s);
    FormulaValue::boolean(true).appendDescription(s);
    EXPECT_EQ(s, ">1.23457e+06TRUE");
}

TEST(FormulaValueNumber, TextMustBeAWholeStrtodLiteral) {
    const struct {
        const char* text;
        std::optional<double> number;
    } cases[] = {
        {"5", 5},
        {"-2.5", -2.5},
        {".5", 0.5},
        {"5.", 5},
        {"1e3", 1000},
        {"1E-2", 0.01},
        {"+5", 5},
        {"0x1p3", 8},
        {"0x10", 16},
        {"1e400", std::numeric_limits<double>::infinity()},
        {"-inf", -std::numeric_limits<double>::infinity()},
        {"Infinity", std::numeric_limits<double>::infinity()},
        {" 5", std::nullopt},
        {"5 ", std::nullopt},
        {"\t5", std::nullopt},
        {"\n5", std::nullopt},
        {"", std::nullopt},
        {"abc", std::nullopt},
        {"1,5", std::nullopt},
        {"1e", std::nullopt},
        {"--5", std::nullopt},
        {"TRUE", std::nullopt},
        {"\xEF\xBC\x91", std::nullopt}, // a full-width digit
    };
    for (const auto& c : cases)
        EXPECT_EQ(FormulaValue::text(c.text).asNumber(), c.number) << c.text;
    auto nan = FormulaValue::text("nan").asNumber();
    ASSERT_TRUE(nan);
    EXPECT_TRUE(std::isnan(*nan));
    EXPECT_FALSE(FormulaValue::text(std::string("5\0", 2)).asNumber());
}

TEST(FormulaValueNumber, LongLiteralsAreStillRead) {
    // Longer than any fixed buffer: strtod reads it as 10^5000, which is +inf.
    EXPECT_EQ(FormulaValue::text("1" + std::string(5000, '0')).asNumber(),
              std::numeric_limits<double>::infinity());
    EXPECT_EQ(FormulaValue::text("+" + std::string(300, '0') + "7").asNumber(), 7);
    EXPECT_EQ(FormulaValue::text("0." + std::string(400, '0') + "1e401").asNumber(), 1);
}

TEST(FormulaValueNumber, OtherKinds) {
    EXPECT_EQ(FormulaValue::number(3).asNumber(), 3);
    EXPECT_EQ(FormulaValue::boolean(true).asNumber(), 1);
    EXPECT_EQ(FormulaValue::boolean(false).asNumber(), 0);
    EXPECT_EQ(FormulaValue::empty().asNumber(), 0);
    EXPECT_FALSE(FormulaValue::error(ErrorKind::divisionByZero).asNumber());
    EXPECT_FALSE(FormulaValue::array({{FormulaValue::number(1)}}).asNumber());
}

TEST(FormulaValueBool, TruthValues) {
    const struct {
        FormulaValue value;
        std::optional<bool> truth;
    } cases[] = {
        {FormulaValue::number(0), false},
        {FormulaValue::number(-0.0), false},
        {FormulaValue::number(2), true},
        {FormulaValue::number(-0.001), true},
        {FormulaValue::number(std::nan("")), true},
        {FormulaValue::text("true"), true},
        {FormulaValue::text("FaLsE"), false},
        {FormulaValue::text("yes"), std::nullopt},
        {FormulaValue::text("1"), std::nullopt},
        {FormulaValue::text(" TRUE"), std::nullopt},
        {FormulaValue::text(""), std::nullopt},
        {FormulaValue::boolean(true), true},
        {FormulaValue::boolean(false), false},
        {FormulaValue::empty(), std::nullopt},
        {FormulaValue::error(ErrorKind::invalidValue), std::nullopt},
        {FormulaValue::array({{FormulaValue::boolean(true)}}), std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.value.asBool(), c.truth) << c.value.description();
    EXPECT_EQ(FormulaValue::text("1").asNumber(), 1);
}

TEST(FormulaValueOrder, NumbersThenTextsThenTheRest) {
    const auto n = FormulaValue::number;
    const auto t = FormulaValue::text;
    const FormulaValue yes = FormulaValue::boolean(true), none = FormulaValue::empty(),
                       error = FormulaValue::error(ErrorKind::notAvailable);
    const struct {
        FormulaValue a, b;
        bool before;
    } cases[] = {
        {n(5), t("a"), true},
        {t("a"), n(5), false},
        {yes, t("a"), false},
        {t("a"), yes, true},
        {n(1), n(2), true},
        {n(2), n(1), false},
        {n(2), n(2), false},
        {n(1e9), t(""), true},
        {t("apple"), t("Banana"), true}, // case does not decide
        {t("b"), t("A"), false},
        {t("a"), t("A"), false},
        {t("A"), t("a"), false},
        {t("item2"), t("item10"), false},
        {yes, none, false},
        {none, yes, false},
        {error, n(1), false},
        {n(1), error, true},
        {t("z"), none, true},
    };
    for (const auto& c : cases)
        EXPECT_EQ(compareValues(c.a, c.b), c.before) << c.a.description() << " vs " << c.b.description();
}

TEST(FormulaErrorText, EveryCaseHasItsText) {
    const struct {
        FormulaError error;
        const char* text;
    } cases[] = {
        {FormulaError::unknownFunction("FOO"), "#NAME? (FOO)"},
        {FormulaError::wrongArgumentCount("ABS", "1", 3), "#VALUE! (ABS expects 1 args, got 3)"},
        {FormulaError::typeMismatch("number", "text"), "#VALUE! (expected number, got text)"},
        {FormulaError::syntaxError("bad"), "#ERROR! bad"},
        {FormulaError::generic("Unexpected token"), "#ERROR: Unexpected token"},
        {FormulaError(ErrorKind::divisionByZero), "#DIV/0!"},
        {FormulaError(ErrorKind::invalidValue), "#VALUE!"},
        {FormulaError(ErrorKind::invalidName), "#NAME?"},
        {FormulaError(ErrorKind::invalidReference), "#REF!"},
        {FormulaError(ErrorKind::invalidNumber), "#NUM!"},
        {FormulaError(ErrorKind::notAvailable), "#N/A"},
        {FormulaError(ErrorKind::nullIntersection), "#NULL!"},
        {FormulaError(ErrorKind::circularReference), "#CIRC!"},
        {FormulaError(ErrorKind::spill), "#SPILL!"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.error.description(), c.text);
        EXPECT_EQ(FormulaValue::error(c.error).description(), c.text);
        EXPECT_TRUE(FormulaValue::error(c.error).isError());
    }
    EXPECT_EQ(FormulaError::generic("x").message(), "x");
    EXPECT_EQ(FormulaError::unknownFunction("FOO").message(), "FOO");
}

TEST(FormulaErrorText, EqualityComparesKindAndPayload) {
    EXPECT_EQ(FormulaError::generic("a"), FormulaError::generic("a"));
    EXPECT_NE(FormulaError::generic("a"), FormulaError::generic("b"));
    EXPECT_NE(FormulaError::generic("a"), FormulaError::syntaxError("a"));
    EXPECT_EQ(FormulaValue::error(ErrorKind::spill), FormulaValue::error(ErrorKind::spill));
    EXPECT_NE(FormulaValue::error(ErrorKind::spill), FormulaValue::text("#SPILL!"));
}

TEST(FormulaValueEquality, NanEqualsItselfAndKindsMatter) {
    EXPECT_EQ(FormulaValue::number(std::nan("")), FormulaValue::number(std::nan("")));
    EXPECT_NE(FormulaValue::number(1), FormulaValue::text("1"));
    EXPECT_NE(FormulaValue::number(1), FormulaValue::boolean(true));
    EXPECT_EQ(FormulaValue::array({{FormulaValue::number(1)}}),
              FormulaValue::array({{FormulaValue::number(1)}}));
    EXPECT_NE(FormulaValue::array({{FormulaValue::number(1)}}),
              FormulaValue::array({{FormulaValue::number(2)}}));
    EXPECT_EQ(FormulaValue::empty(), FormulaValue());
}

} // namespace
} // namespace sumora
