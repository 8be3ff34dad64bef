// Civil-date arithmetic on serial days. The conversions are the well-known
// era-based days-from-civil algorithms (400-year eras of 146097 days), exact
// for every proleptic Gregorian date and free of floating point and time zones.
#include "values/SerialDate.h"

#include <cmath>

namespace sumora {

namespace {

// 1970-01-01 is serial 25569, so day counts relative to the Unix epoch shift
// by this much.
constexpr int64_t kUnixEpochSerial = 25569;
constexpr int64_t kMillisPerDay = 86'400'000;
// Beyond this many days the millisecond count would overflow 64 bits; such
// serials are whole days for every practical purpose.
constexpr double kMaxSerialWithTime = 1e11;

int64_t floorDiv(int64_t a, int64_t b) {
    int64_t q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
    return q;
}

int64_t daysFromCivil(int64_t y, int m, int d) {
    y -= m <= 2 ? 1 : 0;
    const int64_t era = floorDiv(y, 400);
    const int64_t yearOfEra = y - era * 400;
    const int64_t dayOfYear = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

CivilDate civilFromDays(int64_t days) {
    days += 719468;
    const int64_t era = floorDiv(days, 146097);
    const int64_t dayOfEra = days - era * 146097;
    const int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t shiftedMonth = (5 * dayOfYear + 2) / 153;
    const int day = static_cast<int>(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1);
    const int month = static_cast<int>(shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9);
    return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

TimeOfDay timeFromMillis(int64_t millisOfDay) {
    TimeOfDay t;
    t.hour = static_cast<int>(millisOfDay / 3'600'000);
    t.minute = static_cast<int>(millisOfDay / 60'000 % 60);
    t.second = static_cast<int>(millisOfDay / 1000 % 60);
    t.fractionalSecond = static_cast<double>(millisOfDay % 1000) / 1000.0;
    return t;
}

} // namespace

int64_t daysSince1900(const CivilDate& date) {
    return daysFromCivil(date.year, date.month, date.day) + kUnixEpochSerial;
}

CivilDate dateFrom1900(int64_t serial) {
    return civilFromDays(serial - kUnixEpochSerial);
}

bool isLeapYear(int64_t year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysInMonth(int64_t year, int month) {
    static constexpr int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 0;
    return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

bool isValidDate(int64_t year, int64_t month, int64_t day) {
    return month >= 1 && month <= 12 && day >= 1 && day <= daysInMonth(year, static_cast<int>(month));
}

CivilDate normalizeCivil(int64_t year, int64_t month, int64_t day) {
    const int64_t monthIndex = month - 1;
    const int64_t firstOfMonthYear = year + floorDiv(monthIndex, 12);
    const int firstOfMonthMonth = static_cast<int>(monthIndex - floorDiv(monthIndex, 12) * 12) + 1;
    const int64_t serial = daysSince1900({firstOfMonthYear, firstOfMonthMonth, 1}) + (day - 1);
    return dateFrom1900(serial);
}

int dayOfWeek(int64_t serial) {
    // Serial 0 (30 December 1899) was a Saturday.
    const int64_t weekday = (serial + 6) % 7;
    return static_cast<int>(weekday < 0 ? weekday + 7 : weekday);
}

TimeOfDay timeOfDay(double serial) {
    return splitSerial(serial).time;
}

DateTimeParts splitSerial(double serial) {
    DateTimeParts parts;
    if (!std::isfinite(serial)) return parts;
    if (std::fabs(serial) >= kMaxSerialWithTime) {
        parts.date = dateFrom1900(static_cast<int64_t>(std::floor(serial)));
        return parts;
    }
    const auto millis = static_cast<int64_t>(std::llround(serial * static_cast<double>(kMillisPerDay)));
    const int64_t days = floorDiv(millis, kMillisPerDay);
    parts.date = dateFrom1900(days);
    parts.time = timeFromMillis(millis - days * kMillisPerDay);
    return parts;
}

double timeFraction(double hours, double minutes, double seconds) {
    return (hours * 3600.0 + minutes * 60.0 + seconds) / 86400.0;
}

} // namespace sumora
