// The date and time family. Dates are serials (SerialDate.h): a date
// argument may be a number or a text that DATEVALUE reads, and every result
// stays within the valid days (30 December 1899 to 31 December 9999).
#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <ctime>

#include "engine/FunctionRegistry.h"
#include "functions/DateSupport.h"
#include "values/SerialDate.h"

namespace sumora {

namespace {

FormulaValue serialResult(int64_t serial) {
    if (serial < 0 || serial > kLastSerial) return err(ErrorKind::invalidNumber);
    return num(static_cast<double>(serial));
}

FormulaValue civilResult(const CivilDate& date) {
    return serialResult(daysSince1900(date));
}

// Argument i as a whole count (months, days, a type code); "#NUM!" when it is
// too large for any date.
ArgValue<int64_t> countArg(FunctionContext& c, size_t i, std::optional<double> fallback = std::nullopt) {
    ArgValue<double> x = fallback ? optionalNumberArg(c, i, *fallback) : numberArg(c, i);
    if (!x) return {std::nullopt, std::move(x.failure)};
    if (auto n = wholeCount(*x)) return {*n, {}};
    return {std::nullopt, err(ErrorKind::invalidNumber)};
}

// ---- the clock -----------------------------------------------------------

struct LocalNow {
    int64_t day;
    double fraction;
};

LocalNow localNow() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&seconds, &local);
    const auto millis =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    const int64_t day = daysSince1900({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday});
    const double fraction =
        timeFraction(local.tm_hour, local.tm_min, local.tm_sec + static_cast<double>(millis) / 1000.0);
    return {day, fraction};
}

// TODAY() — the current local date
FormulaValue today(FunctionContext&) {
    return num(static_cast<double>(localNow().day));
}

// NOW() — the current local date and time
FormulaValue now(FunctionContext&) {
    const LocalNow n = localNow();
    return num(static_cast<double>(n.day) + n.fraction);
}

// ---- building and taking apart -------------------------------------------

// DATE(year, month, day) — months and days roll over; years below 1900 count from 1900
FormulaValue date(FunctionContext& c) {
    auto year = countArg(c, 0);
    if (!year) return year.failure;
    auto month = countArg(c, 1);
    if (!month) return month.failure;
    auto day = countArg(c, 2);
    if (!day) return day.failure;
    int64_t y = *year;
    if (y < 0 || y > 9999) return err(ErrorKind::invalidNumber);
    if (y < 1900) y += 1900;
    return civilResult(normalizeCivil(y, *month, *day));
}

// TIME(hour, minute, second) — fraction of a day, whole days dropped
FormulaValue timeOfParts(FunctionContext& c) {
    auto hour = countArg(c, 0);
    if (!hour) return hour.failure;
    auto minute = countArg(c, 1);
    if (!minute) return minute.failure;
    auto second = countArg(c, 2);
    if (!second) return second.failure;
    const int64_t seconds = *hour * 3600 + *minute * 60 + *second;
    if (seconds < 0) return err(ErrorKind::invalidNumber);
    return num(static_cast<double>(seconds % 86400) / 86400.0);
}

enum class DatePart { year, month, day };

FormulaValue datePart(FunctionContext& c, DatePart part) {
    auto day = dayArg(c, 0);
    if (!day) return day.failure;
    const CivilDate d = dateFrom1900(*day);
    switch (part) {
    case DatePart::year:
        return num(static_cast<double>(d.year));
    case DatePart::month:
        return num(d.month);
    case DatePart::day:
        return num(d.day);
    }
    return num(d.day);
}

// YEAR(serial_number) — year of the date
FormulaValue year(FunctionContext& c) {
    return datePart(c, DatePart::year);
}
// MONTH(serial_number) — month of the date, 1-12
FormulaValue month(FunctionContext& c) {
    return datePart(c, DatePart::month);
}
// DAY(serial_number) — day of the month
FormulaValue day(FunctionContext& c) {
    return datePart(c, DatePart::day);
}

enum class TimePart { hour, minute, second };

FormulaValue timePart(FunctionContext& c, TimePart part) {
    auto serial = serialArg(c, 0);
    if (!serial) return serial.failure;
    // Hours and minutes are those of the clock time to the millisecond, so a
    // time a hair before the hour still reads as that hour; the second alone
    // is rounded (12:00:59.6 has minute 0 and second 0, as in common
    // spreadsheets).
    const TimeOfDay t = timeOfDay(*serial);
    switch (part) {
    case TimePart::hour:
        return num(t.hour);
    case TimePart::minute:
        return num(t.minute);
    case TimePart::second:
        return num((t.second + (t.fractionalSecond >= 0.5 ? 1 : 0)) % 60);
    }
    return num(0);
}

// HOUR(serial_number) — hour of the time, 0-23
FormulaValue hour(FunctionContext& c) {
    return timePart(c, TimePart::hour);
}
// MINUTE(serial_number) — minute of the time
FormulaValue minute(FunctionContext& c) {
    return timePart(c, TimePart::minute);
}
// SECOND(serial_number) — second of the time
FormulaValue second(FunctionContext& c) {
    return timePart(c, TimePart::second);
}

// WEEKDAY(serial_number, type) — 1: Sunday=1; 2: Monday=1; 3: Monday=0; 11-17: 1 on Monday … Sunday
FormulaValue weekday(FunctionContext& c) {
    auto day = dayArg(c, 0);
    if (!day) return day.failure;
    auto type = countArg(c, 1, 1.0);
    if (!type) return type.failure;
    const int sunday0 = dayOfWeek(*day); // 0 = Sunday
    int firstDay;                        // the day (0 = Sunday) that counts as `base`
    int base = 1;
    switch (*type) {
    case 1:
        firstDay = 0;
        break;
    case 2:
        firstDay = 1;
        break;
    case 3:
        firstDay = 1;
        base = 0;
        break;
    default:
        if (*type < 11 || *type > 17) return err(ErrorKind::invalidNumber);
        firstDay = static_cast<int>(*type - 10) % 7;
    }
    return num((sunday0 - firstDay + 7) % 7 + base);
}

// ---- differences and offsets ---------------------------------------------

// DATEDIF(start, end, unit) — whole years, months or days between the dates
FormulaValue dateDif(FunctionContext& c) {
    auto start = dayArg(c, 0);
    if (!start) return start.failure;
    auto end = dayArg(c, 1);
    if (!end) return end.failure;
    auto unitText = textArg(c, 2);
    if (!unitText) return unitText.failure;
    if (*start > *end) return err(ErrorKind::invalidNumber);
    std::string unit = *unitText;
    for (char& ch : unit)
        ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    const CivilDate a = dateFrom1900(*start), b = dateFrom1900(*end);
    // Whole months: the day of the month must be reached.
    const int64_t months = (b.year - a.year) * 12 + (b.month - a.month) - (b.day < a.day ? 1 : 0);
    if (unit == "D") return num(static_cast<double>(*end - *start));
    if (unit == "M") return num(static_cast<double>(months));
    if (unit == "Y") return num(static_cast<double>(months / 12));
    if (unit == "YM") return num(static_cast<double>(months % 12));
    if (unit == "MD") {
        if (a.day <= b.day) return num(b.day - a.day);
        // The start's day in the month before the end; a day that month lacks
        // rolls over, which can make the result negative (as common
        // spreadsheets report it).
        return num(static_cast<double>(*end - daysSince1900(normalizeCivil(b.year, b.month - 1, a.day))));
    }
    if (unit == "YD") {
        const bool reachedInEndYear = b.month > a.month || (b.month == a.month && b.day >= a.day);
        const int64_t yearOfStart = reachedInEndYear ? b.year : b.year - 1;
        return num(static_cast<double>(*end - daysSince1900(normalizeCivil(yearOfStart, a.month, a.day))));
    }
    return err(ErrorKind::invalidNumber);
}

// The start's month moved by `months`, as (year, month).
std::pair<int64_t, int> shiftedMonth(const CivilDate& start, int64_t months) {
    const CivilDate first = normalizeCivil(start.year, start.month + months, 1);
    return {first.year, first.month};
}

// EOMONTH(start_date, months) — last day of the month `months` after the start
FormulaValue eomonth(FunctionContext& c) {
    auto start = dayArg(c, 0);
    if (!start) return start.failure;
    auto months = countArg(c, 1);
    if (!months) return months.failure;
    auto [y, m] = shiftedMonth(dateFrom1900(*start), *months);
    if (y < 1899 || y > 9999) return err(ErrorKind::invalidNumber);
    return civilResult({y, m, daysInMonth(y, m)});
}

// EDATE(start_date, months) — same day `months` later, clamped to the month's end
FormulaValue edate(FunctionContext& c) {
    auto start = dayArg(c, 0);
    if (!start) return start.failure;
    auto months = countArg(c, 1);
    if (!months) return months.failure;
    const CivilDate s = dateFrom1900(*start);
    auto [y, m] = shiftedMonth(s, *months);
    if (y < 1899 || y > 9999) return err(ErrorKind::invalidNumber);
    return civilResult({y, m, std::min(s.day, daysInMonth(y, m))});
}

// DAYS(end_date, start_date) — days from start to end (times of day count)
FormulaValue days(FunctionContext& c) {
    auto end = serialArg(c, 0);
    if (!end) return end.failure;
    auto start = serialArg(c, 1);
    if (!start) return start.failure;
    return num(*end - *start);
}

// DAYS360(start_date, end_date, method) — days on a 360-day year; FALSE: US (NASD), TRUE: European
FormulaValue days360Function(FunctionContext& c) {
    auto start = dayArg(c, 0);
    if (!start) return start.failure;
    auto end = dayArg(c, 1);
    if (!end) return end.failure;
    auto european = boolArgOr(c, 2, false);
    if (!european) return european.failure;
    return num(static_cast<double>(days360(*start, *end, *european)));
}

// YEARFRAC(start_date, end_date, basis) — fraction of a year between the dates
FormulaValue yearFrac(FunctionContext& c) {
    auto start = dayArg(c, 0);
    if (!start) return start.failure;
    auto end = dayArg(c, 1);
    if (!end) return end.failure;
    auto basis = countArg(c, 2, 0.0);
    if (!basis) return basis.failure;
    if (*basis < 0 || *basis > 4) return err(ErrorKind::invalidNumber);
    const auto [from, to] = std::minmax(*start, *end);
    return num(yearFraction(from, to, static_cast<int>(*basis)));
}

// WEEKNUM(serial_number, return_type) — week of the year; 1: weeks from Sunday, 2/11-17: other days, 21: ISO
FormulaValue weekNum(FunctionContext& c) {
    auto day = dayArg(c, 0);
    if (!day) return day.failure;
    auto type = countArg(c, 1, 1.0);
    if (!type) return type.failure;
    const std::optional<int> week = weekNumber(*day, static_cast<int>(std::clamp<int64_t>(*type, -1, 100)));
    if (!week) return err(ErrorKind::invalidNumber);
    return num(*week);
}

// ISOWEEKNUM(date) — ISO 8601 week of the year
FormulaValue isoWeekNum(FunctionContext& c) {
    auto day = dayArg(c, 0);
    if (!day) return day.failure;
    return num(isoWeekNumber(*day));
}

// ---- working days --------------------------------------------------------

// The calendar of a working-day call: the weekend argument (when the
// function has one) and the holidays after it.
ArgValue<WorkCalendar> workCalendar(FunctionContext& c, std::optional<size_t> weekendIndex,
                                    size_t holidayIndex) {
    WeekendMask weekend{};
    weekend[5] = weekend[6] = true;
    if (weekendIndex && c.hasArg(*weekendIndex)) {
        FormulaValue v = scalarOf(c.evaluate(*weekendIndex));
        if (v.isError()) return {std::nullopt, std::move(v)};
        auto mask = weekendFromArgument(v);
        if (!mask) return {std::nullopt, err(ErrorKind::invalidValue)};
        weekend = *mask;
    }
    auto holidays = holidaysArg(c, holidayIndex);
    if (!holidays) return {std::nullopt, std::move(holidays.failure)};
    return {WorkCalendar(weekend, std::move(*holidays.value)), {}};
}

FormulaValue networkDaysWith(FunctionContext& c, std::optional<size_t> weekendIndex) {
    auto start = dayArg(c, 0);
    if (!start) return start.failure;
    auto end = dayArg(c, 1);
    if (!end) return end.failure;
    auto calendar = workCalendar(c, weekendIndex, weekendIndex ? 3 : 2);
    if (!calendar) return calendar.failure;
    return num(static_cast<double>(calendar->countWorkdays(*start, *end)));
}

FormulaValue workdayWith(FunctionContext& c, std::optional<size_t> weekendIndex) {
    auto start = dayArg(c, 0);
    if (!start) return start.failure;
    auto offset = countArg(c, 1);
    if (!offset) return offset.failure;
    auto calendar = workCalendar(c, weekendIndex, weekendIndex ? 3 : 2);
    if (!calendar) return calendar.failure;
    if (calendar->workdaysPerWeek() == 0) return err(ErrorKind::invalidValue);
    auto result = calendar->addWorkdays(*start, *offset);
    if (!result) return err(ErrorKind::invalidNumber);
    return num(static_cast<double>(*result));
}

// NETWORKDAYS(start, end, holidays) — working days (Monday to Friday) from start to end, both included
FormulaValue networkDays(FunctionContext& c) {
    return networkDaysWith(c, std::nullopt);
}
// NETWORKDAYS.INTL(start, end, weekend, holidays) — as NETWORKDAYS with a weekend code or mask
FormulaValue networkDaysIntl(FunctionContext& c) {
    return networkDaysWith(c, 2);
}
// WORKDAY(start, days, holidays) — the date `days` working days away
FormulaValue workday(FunctionContext& c) {
    return workdayWith(c, std::nullopt);
}
// WORKDAY.INTL(start, days, weekend, holidays) — as WORKDAY with a weekend code or mask
FormulaValue workdayIntl(FunctionContext& c) {
    return workdayWith(c, 2);
}

// ---- text ----------------------------------------------------------------

// DATEVALUE(date_text) — serial of a date text
FormulaValue dateValue(FunctionContext& c) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    auto serial = parseDateValueText(*text);
    if (!serial) return err(ErrorKind::invalidValue);
    return serialResult(static_cast<int64_t>(*serial));
}

// TIMEVALUE(time_text) — fraction of a day of a time text
FormulaValue timeValue(FunctionContext& c) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    auto fraction = parseTimeValueText(*text);
    if (!fraction) return err(ErrorKind::invalidValue);
    return num(*fraction);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kDateFunctions[] = {
    {"TODAY", today, exactly(0), numberArgRule, listed | volatileResult, "TODAY()", "Returns the current date."},
    {"NOW", now, exactly(0), numberArgRule, listed | volatileResult, "NOW()", "Returns the current date and time."},
    {"DATE", date, anyCount, numberArgRule, listed, "DATE(year, month, day)", "Creates a date from year, month, and day."},
    {"TIME", timeOfParts, anyCount, numberArgRule, listed, "TIME(hour, minute, second)", "Creates a time from hours, minutes, and seconds."},
    {"YEAR", year, anyCount, numberArgRule, listed, "YEAR(serial_number)", "Returns the year from a date."},
    {"MONTH", month, anyCount, numberArgRule, listed, "MONTH(serial_number)", "Returns the month from a date (1-12)."},
    {"DAY", day, anyCount, numberArgRule, listed, "DAY(serial_number)", "Returns the day of the month from a date."},
    {"HOUR", hour, anyCount, numberArgRule, listed, "HOUR(serial_number)", "Returns the hour from a time value."},
    {"MINUTE", minute, anyCount, numberArgRule, listed, "MINUTE(serial_number)", "Returns the minute from a time value."},
    {"SECOND", second, anyCount, numberArgRule, listed, "SECOND(serial_number)", "Returns the second from a time value."},
    {"WEEKDAY", weekday, anyCount, numberArgRule, listed, "WEEKDAY(serial_number, type)", "Returns the day of the week (1-7)."},
    {"DATEDIF", dateDif, anyCount, numberArgRule, listed, "DATEDIF(start, end, unit)", "Returns the difference between two dates."},
    {"EOMONTH", eomonth, anyCount, numberArgRule, listed, "EOMONTH(start_date, months)", "Returns the last day of a month offset."},
    {"EDATE", edate, anyCount, numberArgRule, listed, "EDATE(start_date, months)", "Returns a date offset by a number of months."},
    {"NETWORKDAYS", networkDays, anyCount, numberArgRule, listed, "NETWORKDAYS(start, end, holidays)", "Returns the number of working days between dates."},
    {"WORKDAY", workday, anyCount, numberArgRule, listed, "WORKDAY(start, days, holidays)", "Returns a date offset by working days."},
    {"DATEVALUE", dateValue, anyCount, numberArgRule, listed, "DATEVALUE(date_text)", "Converts a date string to a serial number."},
    {"TIMEVALUE", timeValue, anyCount, numberArgRule, listed, "TIMEVALUE(time_text)", "Converts a time string to a serial number."},
    {"DAYS", days, anyCount, numberArgRule, none},
    {"DAYS360", days360Function, anyCount, numberArgRule, none},
    {"YEARFRAC", yearFrac, anyCount, numberArgRule, none},
    {"WEEKNUM", weekNum, anyCount, numberArgRule, none},
    {"ISOWEEKNUM", isoWeekNum, anyCount, numberArgRule, none},
    {"NETWORKDAYS.INTL", networkDaysIntl, anyCount, numberArgRule, none},
    {"WORKDAY.INTL", workdayIntl, anyCount, numberArgRule, none},
};
// clang-format on

} // namespace

void registerDateFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::date, kDateFunctions);
}

} // namespace sumora
