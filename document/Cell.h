#pragma once
// One cell of the grid: its entered text, optional formula, last computed
// text and shared formatting. 32 bytes: the entered text inline (see
// CompactText), the interned format, and the formula and computed text in a
// side record that only formula cells and results need. A computed text equal
// to the entered one (what CSV and constants carry) is a flag, not a copy.
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
    void setValue(std::string_view v);

    // Formula source without its leading "="; absent for constants.
    std::optional<std::string_view> formula() const {
        if (!extras_ || !(extras_->formula.flags() & kFormulaPresent)) return std::nullopt;
        return extras_->formula.view();
    }
    bool hasFormula() const { return extras_ && !extras_->formula.empty(); }
    void setFormula(std::optional<std::string_view> f);

    // Last evaluated result as text; absent for constants and before evaluation.
    std::optional<std::string_view> computedValue() const {
        if (value_.flags() & kComputedIsValue) return value_.view();
        if (!extras_ || !(extras_->computed.flags() & kPresent)) return std::nullopt;
        return extras_->computed.view();
    }
    void setComputedValue(std::optional<std::string_view> v);
    // The formula is an array formula: its result fills the block of spilled
    // cells right of and below it. Set by the file readers and the
    // calculator; kept by new computed values, cleared with the block.
    bool isArrayAnchor() const { return extras_ && (extras_->computed.flags() & kArrayAnchor); }
    void setArrayAnchor(bool anchor);

    // What every view and exporter shows: computedValue when present, else value.
    std::string_view displayValue() const {
        if (extras_ && (extras_->computed.flags() & kPresent)) return extras_->computed.view();
        return value_.view();
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
    // The parts a plain constant does not need.
    struct Extras {
        CompactText computed; // flags: kPresent, kArrayAnchor
        CompactText formula;  // flags: kFormulaPresent
        bool empty() const { return computed.flags() == 0 && formula.flags() == 0; }
    };

    static constexpr uint8_t kPresent = 1;         // on extras_->computed
    static constexpr uint8_t kArrayAnchor = 2;     // on extras_->computed
    static constexpr uint8_t kFormulaPresent = 1;  // on extras_->formula
    static constexpr uint8_t kUnlocked = 1;        // on value_
    static constexpr uint8_t kSpill = 2;           // on value_
    static constexpr uint8_t kComputedIsValue = 4; // on value_: the computed text is value_ itself
    static constexpr uint8_t kSharedFlags = kUnlocked | kSpill;

    void setValueFlag(uint8_t bit, bool on) {
        value_.setFlags(static_cast<uint8_t>(on ? (value_.flags() | bit) : (value_.flags() & ~bit)));
    }
    Extras& extras();
    // Gives the side record up once nothing is left in it.
    void releaseEmptyExtras();
    // Turns a computed text shared with value_ into a copy of its own.
    void unshareComputed();

    CompactText value_;
    const CellFormat* format_ = nullptr;
    std::unique_ptr<Extras> extras_;
};

static_assert(sizeof(Cell) == 32, "a stored cell must stay small");

} // namespace sumora
