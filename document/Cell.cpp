#include "document/Cell.h"

namespace sumora {

Cell::Cell(const Cell& o)
    : value_(o.value_), computed_(o.computed_),
      formula_(o.formula_ ? std::make_unique<std::string>(*o.formula_) : nullptr), format_(o.format_) {}

Cell& Cell::operator=(const Cell& o) {
    if (this != &o) {
        value_ = o.value_;
        computed_ = o.computed_;
        formula_ = o.formula_ ? std::make_unique<std::string>(*o.formula_) : nullptr;
        format_ = o.format_;
    }
    return *this;
}

void Cell::setFormula(std::optional<std::string_view> f) {
    if (!f) {
        formula_.reset();
    } else if (formula_) {
        formula_->assign(*f);
    } else {
        formula_ = std::make_unique<std::string>(*f);
    }
}

void Cell::setComputedValue(std::optional<std::string_view> v) {
    const uint8_t anchor = computed_.flags() & kArrayAnchor;
    if (v) {
        computed_.assign(*v);
        computed_.setFlags(kPresent | anchor);
    } else {
        computed_.assign({});
        computed_.setFlags(anchor);
    }
}

bool Cell::isDefault() const {
    return value_.empty() && value_.flags() == 0 && !formula_ && !(computed_.flags() & kPresent) && !format_;
}

bool Cell::operator==(const Cell& o) const {
    return value_ == o.value_ && value_.flags() == o.value_.flags() && formula() == o.formula() &&
           computedValue() == o.computedValue() && format() == o.format();
}

} // namespace sumora
