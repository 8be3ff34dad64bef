#pragma once
// One cell of the grid: its entered text, optional formula, last computed
// text and shared formatting. 48 bytes; see CompactText for how texts and
// flags are packed.
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "document/CellFormat.h"
#include "document/CompactText.h"

namespace sumora {

class Cell {
public:
    Cell() = default;
    Cell(const Cell& o);
    Cell(Cell&&) noexcept = default;
    Cell& operator=(const Cell& o);
    Cell& operator=(Cell&&) noexcept = default;

    // The constant as entered ("" for a formula cell typed in the editor).
    std::string_view value() const { return value_.view(); }
    void setValue(std::string_view v) { value_.assign(v); }

    // Formula source without its leading "="; absent for constants.
    std::optional<std::string_view> formula() const {
        if (!formula_) return std::nullopt;
        return std::string_view(*formula_);
    }
    bool hasFormula() const { return formula_ && !formula_->empty(); }
    void setFormula(std::optional<std::string_view> f);

    // Last evaluated result as text; absent for constants and before evaluation.
    std::optional<std::string_view> computedValue() const {
        if (!(computed_.flags() & kPresent)) return std::nullopt;
        return computed_.view();
    }
    void setComputedValue(std::optional<std::string_view> v);
    // The formula is an array formula: its result fills the block of spilled
    // cells right of and below it. Set by the file readers and the
    // calculator; kept by new computed values, cleared with the block.
    bool isArrayAnchor() const { return computed_.flags() & kArrayAnchor; }
    void setArrayAnchor(bool anchor) {
        computed_.setFlags(static_cast<uint8_t>(anchor ? (computed_.flags() | kArrayAnchor)
                                                       : (computed_.flags() & ~kArrayAnchor)));
    }

    // What every view and exporter shows: computedValue when present, else value.
    std::string_view displayValue() const {
        return (computed_.flags() & kPresent) ? computed_.view() : value_.view();
    }

    const CellFormat& format() const { return format_ ? *format_ : CellFormat::defaultFormat(); }
    // The interned pointer (nullptr for the default format): equal formats give
    // equal pointers, which writers use as a cheap style key.
    const CellFormat* formatHandle() const { return format_; }
    void setFormat(const CellFormat& f) { format_ = CellFormat::intern(f); }
    void setFormatHandle(const CellFormat* f) { format_ = f; }
    template <class F> void updateFormat(F&& change) {
        CellFormat f = format();
        change(f);
        setFormat(f);
    }

    // Locked is the default; the bit stored is "unlocked" so a zeroed cell is locked.
    bool isLocked() const { return !(value_.flags() & kUnlocked); }
    void setLocked(bool locked) { setValueFlag(kUnlocked, !locked); }
    bool isSpillResult() const { return value_.flags() & kSpill; }
    void setSpillResult(bool spill) { setValueFlag(kSpill, spill); }

    // Non-empty value or formula: what blocks a spill and counts as "used".
    bool hasContent() const { return !value_.empty() || hasFormula(); }
    // Equal to a freshly made default cell.
    bool isDefault() const;

    bool operator==(const Cell& o) const;

private:
    static constexpr uint8_t kPresent = 1;  // on computed_
    static constexpr uint8_t kArrayAnchor = 2; // on computed_
    static constexpr uint8_t kUnlocked = 1; // on value_
    static constexpr uint8_t kSpill = 2;    // on value_

    void setValueFlag(uint8_t bit, bool on) {
        value_.setFlags(static_cast<uint8_t>(on ? (value_.flags() | bit) : (value_.flags() & ~bit)));
    }

    CompactText value_;
    CompactText computed_;
    std::unique_ptr<std::string> formula_;
    const CellFormat* format_ = nullptr;
};

static_assert(sizeof(Cell) == 48, "a stored cell must stay small");

} // namespace sumora
