#pragma once
// Serial dates: whole days since 30 December 1899 (serial 0) in the proleptic
// Gregorian calendar, with the time of day as the fraction. Because the
// calendar is the real one there is no 29 February 1900: serial 60 is
// 28 February 1900 and serial 61 is 1 March 1900, so serials from March 1900 on
// agree with the common spreadsheet convention and earlier ones are one day
// earlier. The arithmetic is pure integer work; only the text parsers
// (DATEVALUE, TIMEVALUE) use ICU.
#include <cstdint>
#include <optional>
#include <string_view>

namespace sumora {

struct CivilDate {
    int64_t year = 1899;
    int month = 12; // 1-12
    int day = 30;   // 1-31

    bool operator==(const CivilDate&) const = default;
};

// Clock time within one day; fractionalSecond is in [0, 1), a whole number of
// milliseconds.
struct TimeOfDay {
    int hour = 0;
    int minute = 0;
    int second = 0;
    double fractionalSecond = 0.0;

    bool operator==(const TimeOfDay&) const = default;
};

struct DateTimeParts {
    CivilDate date;
    TimeOfDay time;
};

// Serial of a valid civil date (the day must exist in its month; use
// normalizeCivil first for out-of-range months and days).
int64_t daysSince1900(const CivilDate& date);

// The civil date `serial` whole days after 30 December 1899 (negative serials
// lie before it).
CivilDate dateFrom1900(int64_t serial);

bool isLeapYear(int64_t year);
int daysInMonth(int64_t year, int month);
bool isValidDate(int64_t year, int64_t month, int64_t day);

// Rolls months and days over the way the spreadsheet DATE function does:
// month 14 of 2024 is February 2025, day 0 is the last day of the previous
// month, day 35 spills into the next month. Year offsets such as DATE's
// "years below 1900 count from 1900" rule are the caller's business.
CivilDate normalizeCivil(int64_t year, int64_t month, int64_t day);

// Day of the week of a serial: 0 = Sunday ... 6 = Saturday (serial 0 is a
// Saturday).
int dayOfWeek(int64_t serial);

// Time of day of a serial's fraction, rounded to the nearest millisecond so
// that values such as 0.5 - 1e-12 read 12:00:00 rather than 11:59:59.999...
// A fraction that rounds up to a whole day gives 00:00:00 (the day carries
// over; splitSerial shows the carried day).
TimeOfDay timeOfDay(double serial);

// Date and time of a serial after the same millisecond rounding, the carry
// included: splitSerial(0.9999999999) is 31 December 1899 00:00:00.
DateTimeParts splitSerial(double serial);

// Serial of a time of day given as hours, minutes and seconds (no rollover
// limits: 25 hours is 1.0416...).
double timeFraction(double hours, double minutes, double seconds);

// DATEVALUE: the serial of the date that text spells in one of the formats
// "yyyy-MM-dd", "MM/dd/yyyy", "dd/MM/yyyy", "M/d/yyyy", "d-MMM-yy",
// "MMM d, yyyy" (tried in that order, locale en_US_POSIX, strict; the first
// format that reads the whole text wins). No value when none does.
std::optional<double> parseDateValueText(std::string_view text);

// TIMEVALUE: the fraction of a day that text spells in one of "HH:mm:ss",
// "HH:mm", "h:mm:ss a", "h:mm a" (same rules as parseDateValueText).
std::optional<double> parseTimeValueText(std::string_view text);

} // namespace sumora
