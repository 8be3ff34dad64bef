#include "document/Cell.h"

namespace sumora {

Cell::Cell(const Cell& o)
    : value_(o.value_), format_(o.format_),
      extras_(o.extras_ ? std::make_unique<Extras>(*o.extras_) : nullptr) {}

Cell& Cell::operator=(const Cell& o) {
    if (this != &o) {
        value_ = o.value_;
        format_ = o.format_;
        extras_ = o.extras_ ? std::make_unique<Extras>(*o.extras_) : nullptr;
    }
    return *this;
}

Cell::Extras& Cell::extras() {
    if (!extras_) extras_ = std::make_unique<Extras>();
    return *extras_;
}

void Cell::releaseEmptyExtras() {
    if (extras_ && extras_->empty()) extras_.reset();
}

void Cell::unshareComputed() {
    if (!(value_.flags() & kComputedIsValue)) return;
    Extras& e = extras();
    const uint8_t anchor = e.computed.flags() & kArrayAnchor;
    e.computed.assign(value_.view());
    e.computed.setFlags(kPresent | anchor);
    setValueFlag(kComputedIsValue, false);
}

void Cell::setValue(std::string_view v) {
    if (value_.flags() & kComputedIsValue) {
        if (v == value_.view()) return;
        unshareComputed();
    }
    value_.assign(v);
}

void Cell::setFormula(std::optional<std::string_view> f) {
    if (!f) {
        if (!extras_) return;
        extras_->formula.assign({});
        extras_->formula.setFlags(0);
        releaseEmptyExtras();
        return;
    }
    Extras& e = extras();
    e.formula.assign(*f);
    e.formula.setFlags(kFormulaPresent);
}

void Cell::setComputedValue(std::optional<std::string_view> v) {
    if (v && *v == value_.view()) {
        // The common case of constants: the result is the entered text.
        setValueFlag(kComputedIsValue, true);
        if (extras_) {
            extras_->computed.assign({});
            extras_->computed.setFlags(extras_->computed.flags() & kArrayAnchor);
            releaseEmptyExtras();
        }
        return;
    }
    setValueFlag(kComputedIsValue, false);
    if (v) {
        Extras& e = extras();
        const uint8_t anchor = e.computed.flags() & kArrayAnchor;
        e.computed.assign(*v);
        e.computed.setFlags(kPresent | anchor);
    } else if (extras_) {
        extras_->computed.assign({});
        extras_->computed.setFlags(extras_->computed.flags() & kArrayAnchor);
        releaseEmptyExtras();
    }
}

void Cell::setArrayAnchor(bool anchor) {
    if (!anchor && !extras_) return;
    CompactText& computed = extras().computed;
    computed.setFlags(static_cast<uint8_t>(anchor ? (computed.flags() | kArrayAnchor)
                                                  : (computed.flags() & ~kArrayAnchor)));
    releaseEmptyExtras();
}

bool Cell::isDefault() const {
    return value_.empty() && value_.flags() == 0 && !format_ && (!extras_ || extras_->empty());
}

bool Cell::operator==(const Cell& o) const {
    return value_ == o.value_ && (value_.flags() & kSharedFlags) == (o.value_.flags() & kSharedFlags) &&
           formula() == o.formula() && computedValue() == o.computedValue() && format() == o.format();
}

} // namespace sumora
