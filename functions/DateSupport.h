#pragma once
// Shared machinery of the date functions (and the dated cash flows of the
// financial family): reading date arguments, working-day calendars, the
// 30/360 and actual day counts, and week numbering. Serials are those of
// SerialDate.h; the valid ones run from 0 (30 December 1899) to the last day
// of the year 9999, as in common spreadsheets.
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "functions/ArgumentValues.h"

namespace sumora {

inline constexpr int64_t kLastSerial = 2958465; // 31 December 9999

// The serial a value stands for: a number, or a text that DATEVALUE (or,
// failing that, TIMEVALUE) reads. Errors pass through; any other text is
// "#VALUE!", a serial outside the valid days "#NUM!". The time is kept.
ArgValue<double> serialOf(const FormulaValue& value);
// Argument i read as by serialOf ("#VALUE!" when missing).
ArgValue<double> serialArg(FunctionContext& c, size_t i);
// Argument i as a whole day: the serial with its time of day dropped.
ArgValue<int64_t> dayArg(FunctionContext& c, size_t i);

// Argument i as a number, `fallback` when it is missing or an empty cell.
ArgValue<double> optionalNumberArg(FunctionContext& c, size_t i, double fallback);

// A number truncated toward zero, when it fits the date arithmetic (a count
// of days, months or years that cannot leave the valid serials).
std::optional<int64_t> wholeCount(double x);

// Weekend days, Monday first (the order of the "0000011" mask texts).
using WeekendMask = std::array<bool, 7>;

// The weekend of a NETWORKDAYS.INTL/WORKDAY.INTL argument: codes 1-7 (two
// days, Saturday and Sunday first), 11-17 (one day, Sunday first) or a mask
// text of seven 0/1 characters. Nothing for anything else.
std::optional<WeekendMask> weekendFromArgument(const FormulaValue& value);

class WorkCalendar {
  public:
    // `holidays` in any order, repeats allowed.
    WorkCalendar(WeekendMask weekend, std::vector<int64_t> holidays);

    bool isWorkday(int64_t serial) const;
    int workdaysPerWeek() const { return workdaysPerWeek_; }
    // Working days from `from` to `to`, both included; negative when `to`
    // comes first (as NETWORKDAYS counts backwards).
    int64_t countWorkdays(int64_t from, int64_t to) const;
    // The working day `days` working days after (before, when negative)
    // `start`; `start` itself when days is 0. Nothing when no day is a working
    // day or the result leaves the valid serials.
    std::optional<int64_t> addWorkdays(int64_t start, int64_t days) const;

  private:
    int64_t countForward(int64_t from, int64_t to) const;
    bool isWeekend(int64_t serial) const;
    bool hasHolidayIn(int64_t from, int64_t to) const;

    WeekendMask weekend_;
    std::vector<int64_t> holidays_; // sorted, distinct
    int workdaysPerWeek_;
};

// Holidays of argument i (a range, an array or one value): numbers or date
// texts, empty cells skipped. Errors pass through; other texts are "#VALUE!".
ArgValue<std::vector<int64_t>> holidaysArg(FunctionContext& c, size_t i);

// Days between two dates on a 30-day-month, 360-day-year calendar: the
// US (NASD) rules of DAYS360, or the European ones (day 31 counts as 30).
int64_t days360(int64_t start, int64_t end, bool european);

// YEARFRAC's fraction of a year between two days for bases 0-4 (start must
// not come after end; the basis must be valid).
double yearFraction(int64_t start, int64_t end, int basis);
// Days from start to end as day-count basis 0-4 counts them: 30/360 US as
// YEARFRAC's basis 0, actual days for 1-3, 30/360 European for 4.
int64_t basisDayCount(int64_t start, int64_t end, int basis);

// WEEKNUM's week of the year for a return type; nothing for an unknown type.
std::optional<int> weekNumber(int64_t serial, int returnType);
// ISO 8601 week of the year (weeks start on Monday; week 1 holds a Thursday).
int isoWeekNumber(int64_t serial);

} // namespace sumora
