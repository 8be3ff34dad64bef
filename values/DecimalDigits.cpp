#include "values/DecimalDigits.h"

#include <charconv>

namespace sumora {

namespace {
constexpr int kSignificantDigits = 15;
}

DecimalDigits DecimalDigits::fromDouble(double nonNegative) {
    DecimalDigits result;
    if (!(nonNegative > 0.0)) return result;
    // "d.ddddddddddddddde+XX": one leading digit and 14 more.
    char buffer[40];
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, nonNegative,
                                            std::chars_format::scientific, kSignificantDigits - 1);
    if (error != std::errc()) return result;
    const char* cursor = buffer;
    for (; cursor != end && *cursor != 'e'; ++cursor) {
        if (*cursor != '.') result.digits_.push_back(*cursor);
    }
    int exponent = 0;
    if (cursor != end) {
        const char* digits = cursor + 1;
        if (digits != end && *digits == '+') ++digits; // from_chars takes '-' but not '+'
        std::from_chars(digits, end, exponent);
    }
    result.pointPosition_ = exponent + 1;
    while (!result.digits_.empty() && result.digits_.back() == '0')
        result.digits_.pop_back();
    return result;
}

void DecimalDigits::roundToPlaces(int places) {
    if (isZero()) return;
    const long keep = static_cast<long>(pointPosition_) + places;
    if (keep >= static_cast<long>(digits_.size())) return;
    if (keep < 0) {
        digits_.clear();
        pointPosition_ = 0;
        return;
    }
    const bool roundUp = digits_[static_cast<size_t>(keep)] >= '5';
    digits_.resize(static_cast<size_t>(keep));
    if (roundUp) {
        long i = keep - 1;
        while (i >= 0 && digits_[static_cast<size_t>(i)] == '9')
            digits_[static_cast<size_t>(i--)] = '0';
        if (i >= 0) {
            ++digits_[static_cast<size_t>(i)];
        } else {
            digits_.insert(digits_.begin(), '1');
            ++pointPosition_;
        }
    }
    while (!digits_.empty() && digits_.back() == '0')
        digits_.pop_back();
    if (digits_.empty()) pointPosition_ = 0;
}

std::string DecimalDigits::integerDigits() const {
    if (isZero() || pointPosition_ <= 0) return {};
    std::string result = digits_.substr(0, static_cast<size_t>(pointPosition_));
    result.resize(static_cast<size_t>(pointPosition_), '0');
    return result;
}

std::string DecimalDigits::fractionDigits(int places) const {
    std::string result(static_cast<size_t>(places > 0 ? places : 0), '0');
    for (int i = 0; i < places; ++i) {
        const long index = static_cast<long>(pointPosition_) + i;
        if (index >= 0 && index < static_cast<long>(digits_.size()))
            result[static_cast<size_t>(i)] = digits_[static_cast<size_t>(index)];
    }
    return result;
}

} // namespace sumora
