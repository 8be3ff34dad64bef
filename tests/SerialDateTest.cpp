// Serial dates and the DATEVALUE / TIMEVALUE parsers. Expected serials were
// computed independently with a proleptic Gregorian calendar (Python's
// datetime), not with this code.
#include "values/SerialDate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

namespace sumora {
namespace {

struct SerialCase {
    int64_t serial;
    CivilDate date;
};

TEST(SerialDate, SerialsMapToRealCalendarDates) {
    const SerialCase cases[] = {
        {0, {1899, 12, 30}},       {1, {1899, 12, 31}},    {2, {1900, 1, 1}},
        {60, {1900, 2, 28}},       {61, {1900, 3, 1}}, // no 29 February 1900: serials run on without a gap
        {25569, {1970, 1, 1}},     {45351, {2024, 2, 29}}, {45723, {2025, 3, 7}},
        {2958465, {9999, 12, 31}}, {-1, {1899, 12, 29}},   {-115863, {1582, 10, 10}}, // proleptic, not Julian
        {-693593, {1, 1, 1}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(dateFrom1900(c.serial), c.date) << c.serial;
        EXPECT_EQ(daysSince1900(c.date), c.serial) << c.serial;
    }
}

TEST(SerialDate, ConsecutiveSerialsAreConsecutiveDays) {
    CivilDate previous = dateFrom1900(-800000);
    for (int64_t serial = -799999; serial <= 3000000; ++serial) {
        const CivilDate date = dateFrom1900(serial);
        const bool nextDay =
            date.day == previous.day + 1 && date.month == previous.month && date.year == previous.year;
        const bool nextMonth = date.day == 1 && previous.day == daysInMonth(previous.year, previous.month) &&
                               (date.month == previous.month + 1 ||
                                (date.month == 1 && previous.month == 12 && date.year == previous.year + 1));
        ASSERT_TRUE(nextDay || nextMonth) << serial;
        ASSERT_EQ(daysSince1900(date), serial);
        previous = date;
    }
}

TEST(SerialDate, NormalizeRollsMonthsAndDaysOverLikeDate) {
    const struct {
        int64_t year, month, day;
        CivilDate expected;
    } cases[] = {
        {2024, 14, 35, {2025, 3, 7}}, {2024, 3, 0, {2024, 2, 29}},   {2024, 0, 1, {2023, 12, 1}},
        {2024, -1, 1, {2023, 11, 1}}, {2024, 1, -1, {2023, 12, 30}}, {2023, 2, 29, {2023, 3, 1}},
        {2024, 2, 29, {2024, 2, 29}}, {2024, 25, 1, {2026, 1, 1}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(normalizeCivil(c.year, c.month, c.day), c.expected)
            << c.year << "-" << c.month << "-" << c.day;
    }
}

TEST(SerialDate, ValidDatesFollowGregorianLeapYears) {
    EXPECT_FALSE(isValidDate(1900, 2, 29));
    EXPECT_TRUE(isValidDate(2000, 2, 29));
    EXPECT_TRUE(isValidDate(2024, 2, 29));
    EXPECT_FALSE(isValidDate(2023, 2, 29));
    EXPECT_FALSE(isValidDate(2024, 4, 31));
    EXPECT_FALSE(isValidDate(2024, 13, 1));
    EXPECT_FALSE(isValidDate(2024, 0, 1));
    EXPECT_FALSE(isValidDate(2024, 1, 0));
}

TEST(SerialDate, DayOfWeekCountsFromSunday) {
    EXPECT_EQ(dayOfWeek(0), 6);       // Saturday 30 December 1899
    EXPECT_EQ(dayOfWeek(45351), 4);   // Thursday 29 February 2024
    EXPECT_EQ(dayOfWeek(-1), 5);      // Friday
    EXPECT_EQ(dayOfWeek(-693593), 1); // Monday 1 January 1
}

TEST(SerialDate, TimeOfDayRoundsToTheMillisecond) {
    EXPECT_EQ(timeOfDay(0.5), (TimeOfDay{12, 0, 0, 0.0}));
    EXPECT_EQ(timeOfDay(45351.604166666667), (TimeOfDay{14, 30, 0, 0.0}));
    EXPECT_EQ(timeOfDay(0.5 - 1e-12), (TimeOfDay{12, 0, 0, 0.0}));
    EXPECT_EQ(timeOfDay(1.5 / 86400), (TimeOfDay{0, 0, 1, 0.5}));
    EXPECT_EQ(timeOfDay(0.9999999999), (TimeOfDay{0, 0, 0, 0.0}));

    const DateTimeParts carried = splitSerial(0.9999999999);
    EXPECT_EQ(carried.date, (CivilDate{1899, 12, 31}));
    const DateTimeParts beforeEpoch = splitSerial(-0.25);
    EXPECT_EQ(beforeEpoch.date, (CivilDate{1899, 12, 29}));
    EXPECT_EQ(beforeEpoch.time, (TimeOfDay{18, 0, 0, 0.0}));
    EXPECT_DOUBLE_EQ(timeFraction(14, 30, 0), 14.5 / 24);
}

TEST(SerialDate, DateValueTriesTheFormatsInOrder) {
    const struct {
        const char* text;
        std::optional<double> serial;
    } cases[] = {
        {"2024-02-29", 45351},
        {"1900-02-29", std::nullopt}, // no such day in the real calendar
        {"03/04/2024", 45355},        // month first wins
        {"25/12/2024", 45651},        // read by dd/MM/yyyy
        {"3/4/2024", 45355},
        {"1-Mar-24", 45352},
        {"Mar 1, 2024", 45352},
        {"1582-10-10", -115863},
        {"31/04/2024", std::nullopt},
        {"2024-13-01", std::nullopt},
        {"2024-02-29 ", std::nullopt}, // the whole text must be read
        {"", std::nullopt},
        {"hello", std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(parseDateValueText(c.text), c.serial) << c.text;
}

TEST(SerialDate, TimeValueReadsTwentyFourAndTwelveHourClocks) {
    const struct {
        const char* text;
        std::optional<double> fraction;
    } cases[] = {
        {"2:30 PM", 14.5 / 24},  {"14:30", 14.5 / 24},    {"14:30:36", (14.5 * 3600 + 36) / 86400},
        {"12:00 AM", 0.0},       {"12:30 PM", 12.5 / 24}, {"2:30:15 AM", (2.5 * 3600 + 15) / 86400},
        {"25:00", std::nullopt}, {"noon", std::nullopt},  {"14:30 ", std::nullopt},
    };
    for (const auto& c : cases) {
        const std::optional<double> parsed = parseTimeValueText(c.text);
        ASSERT_EQ(parsed.has_value(), c.fraction.has_value()) << c.text;
        if (parsed) {
            EXPECT_NEAR(*parsed, *c.fraction, 1e-12) << c.text;
        }
    }
}

TEST(SerialDate, ParsersWorkOnOtherThreads) {
    std::optional<double> date;
    std::optional<double> time;
    std::thread worker([&] {
        date = parseDateValueText("2024-02-29");
        time = parseTimeValueText("14:30");
    });
    worker.join();
    EXPECT_EQ(date, 45351);
    ASSERT_TRUE(time.has_value());
    EXPECT_NEAR(*time, 14.5 / 24, 1e-12);
}

} // namespace
} // namespace sumora
