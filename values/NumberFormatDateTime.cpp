// Rendering of date and time sections. The serial is first rounded to the
// precision the section shows (whole seconds, or the digits of ss.00), so
// that 23:59:59.7 shown without fractions reads as the next day's 00:00:00,
// as in the common spreadsheets; the parts are then cut from the rounded
// value. Serials below 0 or past 31 December 9999 have no date to show, so
// every date or time code, elapsed times included, shows them as a run of
// "#", as the grid does for a value too wide for its column.
#include "values/NumberFormatCode.h"
#include "values/SerialDate.h"

#include <cmath>
#include <cstdint>

namespace sumora::numberformat {

namespace {

constexpr const char* kMonthNames[12] = {"January",   "February", "March",    "April",
                                         "May",       "June",     "July",     "August",
                                         "September", "October",  "November", "December"};
constexpr const char* kDayNames[7] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                      "Thursday", "Friday", "Saturday"};
constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kLastDay = 2958465; // 31 December 9999
constexpr const char* kOutOfRange = "########";
constexpr int kMaxSubSecondDigits = 3;

int64_t floorDiv(int64_t a, int64_t b) {
    int64_t q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
    return q;
}

std::string padded(int64_t value, int width) {
    std::string digits = std::to_string(value < 0 ? -value : value);
    if (static_cast<int>(digits.size()) < width)
        digits.insert(0, static_cast<size_t>(width) - digits.size(), '0');
    return value < 0 ? "-" + digits : digits;
}

struct Moment {
    int64_t totalSeconds = 0; // whole seconds since serial 0
    int64_t subUnits = 0;     // the rest, in 10^-digits of a second
    int64_t days = 0;
    CivilDate date;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

Moment momentOf(double serial, int subSecondDigits) {
    int64_t unitsPerSecond = 1;
    for (int i = 0; i < subSecondDigits; ++i)
        unitsPerSecond *= 10;
    const auto units =
        static_cast<int64_t>(std::llround(serial * static_cast<double>(kSecondsPerDay * unitsPerSecond)));
    Moment m;
    m.totalSeconds = floorDiv(units, unitsPerSecond);
    m.subUnits = units - m.totalSeconds * unitsPerSecond;
    m.days = floorDiv(m.totalSeconds, kSecondsPerDay);
    const int64_t secondOfDay = m.totalSeconds - m.days * kSecondsPerDay;
    m.date = dateFrom1900(m.days);
    m.hour = static_cast<int>(secondOfDay / 3600);
    m.minute = static_cast<int>(secondOfDay / 60 % 60);
    m.second = static_cast<int>(secondOfDay % 60);
    return m;
}

std::string monthText(int month, int letters) {
    const std::string name = kMonthNames[month - 1];
    switch (letters) {
    case 1:
        return std::to_string(month);
    case 2:
        return padded(month, 2);
    case 3:
        return name.substr(0, 3);
    case 5:
        return name.substr(0, 1);
    default:
        return name;
    }
}

std::string dayText(const Moment& m, int letters) {
    const std::string name = kDayNames[dayOfWeek(m.days)];
    if (letters <= 2) return padded(m.date.day, letters);
    return letters == 3 ? name.substr(0, 3) : name;
}

} // namespace

std::string renderDateTime(const Section& section, double serial) {
    if (!(serial >= 0 && serial < static_cast<double>(kLastDay + 1))) return kOutOfRange;
    const int subSecondDigits = std::min(section.subSecondDigits, kMaxSubSecondDigits);
    const Moment m = momentOf(serial, subSecondDigits);
    if (m.days > kLastDay) return kOutOfRange; // 23:59:59.9 on the last day rounds past it

    std::string out;
    for (const Token& token : section.tokens) {
        const int width = token.count >= 2 ? 2 : 1;
        switch (token.kind) {
        case TokenKind::year:
            out += token.count <= 2 ? padded(((m.date.year % 100) + 100) % 100, 2) : padded(m.date.year, 4);
            break;
        case TokenKind::month:
            out += monthText(m.date.month, token.count);
            break;
        case TokenKind::day:
            out += dayText(m, token.count);
            break;
        case TokenKind::hour: {
            const int hour = section.twelveHour ? (m.hour % 12 == 0 ? 12 : m.hour % 12) : m.hour;
            out += padded(hour, width);
            break;
        }
        case TokenKind::minute:
            out += padded(m.minute, width);
            break;
        case TokenKind::second:
            out += padded(m.second, width);
            break;
        case TokenKind::subSecond: {
            std::string digits = padded(m.subUnits, subSecondDigits);
            digits.resize(static_cast<size_t>(token.count), '0');
            out += "." + digits;
            break;
        }
        case TokenKind::elapsedHours:
            out += padded(floorDiv(m.totalSeconds, 3600), token.count);
            break;
        case TokenKind::elapsedMinutes:
            out += padded(floorDiv(m.totalSeconds, 60), token.count);
            break;
        case TokenKind::elapsedSeconds:
            out += padded(m.totalSeconds, token.count);
            break;
        case TokenKind::amPm:
            out += m.hour < 12 ? token.text : token.alternate;
            break;
        default:
            out += token.text;
            break;
        }
    }
    return out;
}

} // namespace sumora::numberformat
