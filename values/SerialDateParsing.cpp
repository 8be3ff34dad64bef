// DATEVALUE and TIMEVALUE text parsing through ICU's strict date formatters.
//
// Each formatter works in UTC on a pure (proleptic) Gregorian calendar, so the
// parsed instant maps to a civil day by plain division: the host time zone
// cannot shift the day, and dates before 1582 are not read as Julian dates.
// Formatters are costly to build and not safe to share while parsing, so every
// thread keeps its own set, built on first use.
#include "values/SerialDate.h"

#include "values/Log.h"

#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/parsepos.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <initializer_list>
#include <memory>
#include <vector>

namespace sumora {

namespace {

constexpr double kMillisPerDay = 86'400'000.0;
constexpr double kUnixEpochSerial = 25569.0;
// ICU's earliest representable instant; as the Gregorian change date it makes
// the calendar Gregorian throughout.
constexpr UDate kPureGregorianChange = -184303902528000000.0;

bool hasLetter(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte >= 0x80 || std::isalpha(byte);
    });
}

// A list of strict patterns tried in order; the first that consumes the whole
// text gives the instant.
class StrictPatternList {
  public:
    StrictPatternList(std::initializer_list<const char*> patterns) {
        const icu::Locale posix("en_US_POSIX");
        for (const char* pattern : patterns) {
            // ICU lets a numeric month field (MM) read a month name even when
            // strict, so "1-Mar-24" would pass as "yyyy-MM-dd" in year 1; a
            // pattern without month names or AM/PM therefore only sees texts
            // without letters.
            const std::string_view view(pattern);
            numericOnly_.push_back(view.find("MMM") == std::string_view::npos &&
                                   view.find('a') == std::string_view::npos);
            UErrorCode status = U_ZERO_ERROR;
            auto format = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString(pattern), posix, status);
            auto calendar = std::make_unique<icu::GregorianCalendar>(*icu::TimeZone::getGMT(), posix, status);
            if (U_SUCCESS(status)) calendar->setGregorianChange(kPureGregorianChange, status);
            if (U_FAILURE(status)) {
                Log::info(std::string("Date pattern \"") + pattern +
                          "\" unavailable: " + u_errorName(status));
                numericOnly_.pop_back();
                continue;
            }
            format->adoptCalendar(calendar.release());
            format->setLenient(false);
            formats_.push_back(std::move(format));
        }
    }

    std::optional<UDate> parse(std::string_view text) const {
        const icu::UnicodeString unicodeText =
            icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
        const bool textHasLetter = hasLetter(text);
        for (size_t i = 0; i < formats_.size(); ++i) {
            if (numericOnly_[i] && textHasLetter) continue;
            const auto& format = formats_[i];
            icu::ParsePosition position(0);
            const UDate instant = format->parse(unicodeText, position);
            if (position.getErrorIndex() < 0 && position.getIndex() == unicodeText.length()) return instant;
        }
        return std::nullopt;
    }

  private:
    std::vector<std::unique_ptr<icu::SimpleDateFormat>> formats_;
    std::vector<bool> numericOnly_;
};

} // namespace

std::optional<double> parseDateValueText(std::string_view text) {
    thread_local const StrictPatternList patterns{"yyyy-MM-dd", "MM/dd/yyyy", "dd/MM/yyyy",
                                                  "M/d/yyyy",   "d-MMM-yy",   "MMM d, yyyy"};
    const std::optional<UDate> instant = patterns.parse(text);
    if (!instant) return std::nullopt;
    return std::floor(*instant / kMillisPerDay) + kUnixEpochSerial;
}

std::optional<double> parseTimeValueText(std::string_view text) {
    thread_local const StrictPatternList patterns{"HH:mm:ss", "HH:mm", "h:mm:ss a", "h:mm a"};
    const std::optional<UDate> instant = patterns.parse(text);
    if (!instant) return std::nullopt;
    const double millisOfDay = *instant - std::floor(*instant / kMillisPerDay) * kMillisPerDay;
    return millisOfDay / kMillisPerDay;
}

} // namespace sumora
