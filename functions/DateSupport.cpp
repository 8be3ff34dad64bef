#include "functions/DateSupport.h"

#include <algorithm>
#include <cmath>

#include "values/SerialDate.h"

namespace sumora {

namespace {

// Day of the week with Monday as 0, the index of a WeekendMask.
int mondayIndex(int64_t serial) {
    return (dayOfWeek(serial) + 6) % 7;
}

bool isLastDayOfFebruary(const CivilDate& d) {
    return d.month == 2 && d.day == daysInMonth(d.year, 2);
}

int64_t serialOfCivil(int64_t year, int month, int day) {
    return daysSince1900({year, month, day});
}

// Whether a 29 February lies between two days, both included.
bool spansLeapDay(int64_t start, int64_t end) {
    const CivilDate a = dateFrom1900(start), b = dateFrom1900(end);
    for (int64_t year = a.year; year <= b.year; ++year) {
        if (!isLeapYear(year)) continue;
        const int64_t leapDay = serialOfCivil(year, 2, 29);
        if (start <= leapDay && leapDay <= end) return true;
    }
    return false;
}

// The US 30/360 rules as YEARFRAC's basis 0 applies them; unlike DAYS360,
// an end on the last day of February moves to the 30th when the start does.
int64_t yearFracDays360(const CivilDate& a, const CivilDate& b) {
    int d1 = a.day, d2 = b.day;
    if (d1 == 31 && d2 == 31) {
        d1 = 30;
        d2 = 30;
    } else if (d1 == 31) {
        d1 = 30;
    } else if (d1 == 30 && d2 == 31) {
        d2 = 30;
    } else if (isLastDayOfFebruary(a) && isLastDayOfFebruary(b)) {
        d1 = 30;
        d2 = 30;
    } else if (isLastDayOfFebruary(a)) {
        d1 = 30;
    }
    return (b.year - a.year) * 360 + (b.month - a.month) * 30 + (d2 - d1);
}

// Actual/actual: the length of the year the span falls in, or the mean
// length of the calendar years it touches when it is longer than a year.
double actualYearFraction(int64_t start, int64_t end) {
    const CivilDate a = dateFrom1900(start), b = dateFrom1900(end);
    const double days = static_cast<double>(end - start);
    const bool withinAYear =
        a.year == b.year ||
        (a.year + 1 == b.year && (a.month > b.month || (a.month == b.month && a.day >= b.day)));
    if (withinAYear) {
        const bool leap = a.year == b.year ? isLeapYear(a.year) : spansLeapDay(start, end);
        return days / (leap ? 366.0 : 365.0);
    }
    const double years = static_cast<double>(b.year - a.year + 1);
    const double daysInYears =
        static_cast<double>(serialOfCivil(b.year + 1, 1, 1) - serialOfCivil(a.year, 1, 1));
    return days / (daysInYears / years);
}

} // namespace

ArgValue<double> serialOf(const FormulaValue& value) {
    FormulaValue v = scalarOf(value);
    if (v.isError()) return {std::nullopt, std::move(v)};
    std::optional<double> serial = v.asNumber();
    if (!serial && v.isText()) {
        serial = parseDateValueText(v.textValue());
        if (!serial) serial = parseTimeValueText(v.textValue());
    }
    if (!serial) return {std::nullopt, err(ErrorKind::invalidValue)};
    if (!(*serial >= 0 && *serial < static_cast<double>(kLastSerial + 1)))
        return {std::nullopt, err(ErrorKind::invalidNumber)};
    return {serial, {}};
}

ArgValue<double> serialArg(FunctionContext& c, size_t i) {
    if (!c.hasArg(i)) return {std::nullopt, err(ErrorKind::invalidValue)};
    return serialOf(c.evaluate(i));
}

ArgValue<int64_t> dayArg(FunctionContext& c, size_t i) {
    ArgValue<double> serial = serialArg(c, i);
    if (!serial) return {std::nullopt, std::move(serial.failure)};
    return {static_cast<int64_t>(std::floor(*serial)), {}};
}

ArgValue<double> optionalNumberArg(FunctionContext& c, size_t i, double fallback) {
    if (!c.hasArg(i)) return {fallback, {}};
    FormulaValue v = scalarOf(c.evaluate(i));
    if (v.isError()) return {std::nullopt, std::move(v)};
    if (v.isEmpty()) return {fallback, {}};
    if (auto x = v.asNumber()) return {*x, {}};
    return {std::nullopt, err(ErrorKind::invalidValue)};
}

std::optional<int64_t> wholeCount(double x) {
    // Far beyond any span of valid serials, yet safe from overflow when added.
    constexpr double kLimit = 1e9;
    if (!(std::fabs(x) < kLimit)) return std::nullopt;
    return static_cast<int64_t>(std::trunc(x));
}

std::optional<WeekendMask> weekendFromArgument(const FormulaValue& value) {
    WeekendMask mask{};
    if (value.isEmpty()) {
        mask[5] = mask[6] = true;
        return mask;
    }
    if (value.isText()) {
        const std::string& text = value.textValue();
        if (text.size() != 7) return std::nullopt;
        for (size_t i = 0; i < 7; ++i) {
            if (text[i] != '0' && text[i] != '1') return std::nullopt;
            mask[i] = text[i] == '1';
        }
        return mask;
    }
    if (!value.isNumber()) return std::nullopt;
    const double code = std::trunc(value.numberValue());
    if (code >= 1 && code <= 7) {
        // 1 is Saturday and Sunday, 2 Sunday and Monday, … 7 Friday and Saturday.
        const int first = (static_cast<int>(code) + 4) % 7;
        mask[first] = mask[(first + 1) % 7] = true;
        return mask;
    }
    if (code >= 11 && code <= 17) {
        // 11 is Sunday alone, 12 Monday, … 17 Saturday.
        mask[(static_cast<int>(code) - 12 + 7) % 7] = true;
        return mask;
    }
    return std::nullopt;
}

WorkCalendar::WorkCalendar(WeekendMask weekend, std::vector<int64_t> holidays)
    : weekend_(weekend), holidays_(std::move(holidays)) {
    std::sort(holidays_.begin(), holidays_.end());
    holidays_.erase(std::unique(holidays_.begin(), holidays_.end()), holidays_.end());
    workdaysPerWeek_ = static_cast<int>(std::count(weekend_.begin(), weekend_.end(), false));
}

bool WorkCalendar::isWeekend(int64_t serial) const {
    return weekend_[mondayIndex(serial)];
}

bool WorkCalendar::isWorkday(int64_t serial) const {
    return !isWeekend(serial) && !std::binary_search(holidays_.begin(), holidays_.end(), serial);
}

bool WorkCalendar::hasHolidayIn(int64_t from, int64_t to) const {
    auto it = std::lower_bound(holidays_.begin(), holidays_.end(), from);
    return it != holidays_.end() && *it <= to;
}

int64_t WorkCalendar::countForward(int64_t from, int64_t to) const {
    const int64_t span = to - from + 1;
    const int64_t weeks = span / 7;
    int64_t count = weeks * workdaysPerWeek_;
    for (int64_t day = from + weeks * 7; day <= to; ++day)
        if (!isWeekend(day)) ++count;
    for (auto it = std::lower_bound(holidays_.begin(), holidays_.end(), from);
         it != holidays_.end() && *it <= to; ++it)
        if (!isWeekend(*it)) --count;
    return count;
}

int64_t WorkCalendar::countWorkdays(int64_t from, int64_t to) const {
    return from <= to ? countForward(from, to) : -countForward(to, from);
}

std::optional<int64_t> WorkCalendar::addWorkdays(int64_t start, int64_t days) const {
    if (days == 0) return start;
    if (workdaysPerWeek_ == 0) return std::nullopt;
    const int64_t step = days > 0 ? 1 : -1;
    int64_t left = days > 0 ? days : -days;
    int64_t day = start;
    while (left > 0) {
        // A holiday-free week is skipped whole; the last, partial week and
        // weeks with holidays go day by day.
        const int64_t weekFrom = step > 0 ? day + 1 : day - 7;
        if (left > workdaysPerWeek_ && !hasHolidayIn(weekFrom, weekFrom + 6)) {
            day += 7 * step;
            left -= workdaysPerWeek_;
        } else {
            day += step;
            if (isWorkday(day)) --left;
        }
        if (day < 0 || day > kLastSerial) return std::nullopt;
    }
    return day;
}

ArgValue<std::vector<int64_t>> holidaysArg(FunctionContext& c, size_t i) {
    std::vector<int64_t> days;
    if (!c.hasArg(i)) return {std::move(days), {}};
    for (const FormulaValue& v : c.resolveValues(i)) {
        if (v.isEmpty()) continue;
        ArgValue<double> serial = serialOf(v);
        if (!serial) return {std::nullopt, std::move(serial.failure)};
        days.push_back(static_cast<int64_t>(std::floor(*serial)));
    }
    return {std::move(days), {}};
}

int64_t days360(int64_t start, int64_t end, bool european) {
    const CivilDate a = dateFrom1900(start), b = dateFrom1900(end);
    int d1 = a.day, d2 = b.day;
    if (european) {
        d1 = std::min(d1, 30);
        d2 = std::min(d2, 30);
    } else {
        // The start's last day of the month counts as the 30th; an end on the
        // 31st keeps its day (it spills into the next month) only when the
        // start is before the 30th.
        if (d1 == 31 || isLastDayOfFebruary(a)) d1 = 30;
        if (d2 == 31 && d1 == 30) d2 = 30;
    }
    return (b.year - a.year) * 360 + (b.month - a.month) * 30 + (d2 - d1);
}

int64_t basisDayCount(int64_t start, int64_t end, int basis) {
    if (basis == 0) return yearFracDays360(dateFrom1900(start), dateFrom1900(end));
    if (basis == 4) return days360(start, end, true);
    return end - start;
}

double yearFraction(int64_t start, int64_t end, int basis) {
    const double days = static_cast<double>(end - start);
    switch (basis) {
    case 0:
        return static_cast<double>(yearFracDays360(dateFrom1900(start), dateFrom1900(end))) / 360.0;
    case 1:
        return actualYearFraction(start, end);
    case 2:
        return days / 360.0;
    case 3:
        return days / 365.0;
    default:
        return static_cast<double>(days360(start, end, true)) / 360.0;
    }
}

std::optional<int> weekNumber(int64_t serial, int returnType) {
    if (returnType == 21) return isoWeekNumber(serial);
    // The day of the week (0 = Sunday) on which weeks begin.
    int weekStart;
    if (returnType == 1 || returnType == 17)
        weekStart = 0;
    else if (returnType == 2 || returnType == 11)
        weekStart = 1;
    else if (returnType >= 12 && returnType <= 16)
        weekStart = returnType - 10;
    else
        return std::nullopt;
    // Week 1 is the one holding 1 January.
    const int64_t newYear = serialOfCivil(dateFrom1900(serial).year, 1, 1);
    const int64_t lead = (dayOfWeek(newYear) - weekStart + 7) % 7;
    return static_cast<int>((serial - newYear + lead) / 7 + 1);
}

int isoWeekNumber(int64_t serial) {
    // The week belongs to the year of its Thursday.
    const int64_t thursday = serial - mondayIndex(serial) + 3;
    const int64_t newYear = serialOfCivil(dateFrom1900(thursday).year, 1, 1);
    return static_cast<int>((thursday - newYear) / 7 + 1);
}

} // namespace sumora
