#pragma once
// The event handler that turns a worksheet's XML stream into a Sheet. Used
// whole for most parts; a big part is read in two halves at once, each by
// its own handler, and the second half's handler is then absorbed into the
// first (see readWorksheet).
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "document/CellArea.h"
#include "document/LineSet.h"
#include "formats/XlsxConditionalFormats.h"
#include "formats/XlsxSharedFormula.h"
#include "formats/XlsxValidations.h"
#include "formats/XlsxWorksheetReader.h"
#include "formats/XmlReader.h"

namespace sumora {
class Cell;
class XmlElementCursor;
struct CellFormat;
class Sheet;
} // namespace sumora

namespace sumora::xlsx {

// The second half of a split part does not match what its first half left
// off with; the part is then read again as a whole.
class SplitMismatch : public std::runtime_error {
  public:
    SplitMismatch() : std::runtime_error("the worksheet's halves do not fit together") {}
};

class WorksheetHandler : public XmlHandler {
  public:
    enum class Role {
        whole,       // the entire part (or its first half plus its end)
        continuation // rows from the middle of sheetData on, wrapped in a synthetic root
    };

    WorksheetHandler(const WorksheetContext& context, Sheet& sheet, Role role = Role::whole);

    void startElement(std::string_view name, const XmlAttributes& attributes) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;
    // Inside sheetData: runs of plain cells, read without their events.
    std::size_t readElements(const char* data, std::size_t size) override;

    // The part's size in bytes: the bound on how many rows its `dimension`
    // may make the reader reserve up front.
    void setPartSize(uint64_t bytes) { partBytes_ = bytes; }

    // Inside sheetData and between two rows: where a split may resume.
    bool betweenRows() const { return inSheetData_ && !inRow_ && !inCell_; }

    // Takes over the rows a continuation handler read into its own sheet:
    // moves the cells, completes shared formulas whose master lies in this
    // half and array results of formulas anchored here.
    void absorb(WorksheetHandler& continuation, Sheet& continuationSheet);

    // Sizes the grid, applies column widths, reads the validations and
    // conditional formats, compacts.
    void finish();

    // Long-text bytes this handler added to the workbook's count.
    int64_t countedTextBytes() const { return countedTextBytes_; }

  private:
    // Corners ordered low to high.
    using Area = CellArea;
    struct ColumnSpan {
        int64_t first = 0, last = 0;
        std::optional<double> pixels;
        bool hidden = false, collapsed = false;
        int64_t level = 0;
    };
    // A cell of a continuation whose shared formula's master lies before it.
    struct PendingFollower {
        int64_t row, col, sharedIndex;
    };
    enum class ValueKind : uint8_t {
        number,
        sharedString,
        inlineString,
        formulaString,
        boolean,
        error,
        date
    };
    enum class FormulaKind : uint8_t { normal, shared, array, dataTable };

    // What a row's start tag says, by the attributes read.
    // What the start tags of a row, a cell and a formula say, one attribute
    // at a time: `take` stores the value of an attribute the record reads
    // and returns its field's number (from 1), 0 for any other name. The
    // events and the markup readers fill them alike.
    struct RowStart {
        std::optional<std::string_view> r, spans, ht, customHeight, hidden, outlineLevel, collapsed;
        int take(std::string_view name, std::string_view value);
    };
    // An attribute left out reads as empty.
    struct CellStart {
        std::string_view reference, type, style;
        bool positioned = false; // has an `r`
        int take(std::string_view name, std::string_view value);
    };
    struct FormulaStart {
        std::string_view type, sharedIndex, ref;
        bool shared = false; // has an `si`
        int take(std::string_view name, std::string_view value);
    };

    static ValueKind valueKind(std::string_view t);
    static std::optional<Area> parseArea(std::string_view ref);

    void startRow(const XmlAttributes& a);
    void openRow(const RowStart& start);
    void endRow();
    void startCell(const XmlAttributes& a);
    void openCell(const CellStart& start);
    void startFormula(const XmlAttributes& a);
    void openFormula(const FormulaStart& start);
    // A plain cell or row as read from the markup (XlsxCellRuns.cpp).
    struct CellMarkup {
        CellStart cell;
        FormulaStart formula;
        std::string_view value, formulaText;
        bool valued = false, formulated = false;
    };
    static bool parseCell(XmlElementCursor& in, CellMarkup& out);
    void applyCell(const CellMarkup& markup);
    bool readRow(XmlElementCursor& in);
    void endCell();
    std::string_view resolvedText();
    // The text of <v>: lent straight from the markup by the fast path (valid
    // until its endCell), copied into value_ by the events.
    std::string_view valueText() const { return valueLent_ ? lentValue_ : std::string_view(value_); }
    // value_ holding that text, for the kinds rewritten in place.
    std::string& ownedValue();
    std::string_view shiftedFrom1904(std::string_view text);
    std::optional<std::string> formulaFor(CellPosition at);
    const SharedFormula* usableMaster(int64_t sharedIndex) const;
    bool insideArray(CellPosition at);
    void countText(size_t bytes);
    Cell& writableCell(CellPosition at);

    void startOther(std::string_view name, const XmlAttributes& a);
    void startInValidation(std::string_view name);
    void endInValidation(std::string_view name);
    void column(const XmlAttributes& a);
    void mergeCell(const XmlAttributes& a);
    void pane(const XmlAttributes& a);
    void hyperlink(const XmlAttributes& a);
    void applyColumns();
    void reportSkipped();
    void protection(const XmlAttributes& a);
    void dimension(const XmlAttributes& a);

    const WorksheetContext& context_;
    Sheet& sheet_;
    Role role_;

    // The cell being read.
    std::optional<CellPosition> position_;
    bool inCell_ = false, unaddressable_ = false;
    ValueKind kind_ = ValueKind::number;
    int64_t style_ = -1;
    std::string value_, inline_, formula_;
    std::string_view lentValue_;
    bool valueLent_ = false;
    bool inValue_ = false, inFormula_ = false, inText_ = false, inInline_ = false;
    bool hasValue_ = false, hasInline_ = false, hasFormula_ = false;
    int phoneticDepth_ = 0;
    FormulaKind formulaKind_ = FormulaKind::normal;
    int64_t sharedIndex_ = -1;
    std::optional<Area> pendingArray_;
    // The formula of the cell being read fills a block as an array formula.
    bool arrayAnchor_ = false;

    // Position and sizes.
    bool inSheetData_ = false, inRow_ = false;
    int64_t currentRow_ = -1, nextRow_ = 0, nextCol_ = 0;
    int64_t expectedWidth_ = 1, rowWidth_ = 0, cellSlots_ = 0;
    bool rowReserved_ = false;
    // Rows the dimension claims, and rows reserved so far: what the storage
    // hints go by.
    int64_t claimedRows_ = 0, reservedRows_ = 0;
    int64_t usedRows_ = 0, usedCols_ = 0;
    int64_t countedTextBytes_ = 0;
    uint64_t partBytes_ = 0;

    std::unordered_map<int64_t, SharedFormula> shared_;
    std::vector<PendingFollower> pendingFollowers_;
    std::unordered_set<int64_t> unusableGroups_; // shared indexes whose cells kept their results
    std::vector<Area> arrays_;
    std::vector<ColumnSpan> columns_;
    // Outline levels and collapsed flags of rows, turned into groups at the end.
    std::map<int64_t, int64_t> rowLevels_;
    std::set<int64_t> collapsedRows_;
    // Rows listed without a hidden flag: the shown ones where rows are
    // hidden by default (sheetFormatPr zeroHeight).
    LineSet listedRows_;
    bool rowsHiddenByDefault_ = false;
    // Rows beyond the grid whose properties were skipped; the first one's number.
    int64_t skippedRowProperties_ = 0;
    std::string firstSkippedRow_;
    int64_t skippedHyperlinks_ = 0;
    std::string firstSkippedHyperlink_;
    ValidationMarkup validations_;
    ConditionalFormatReader conditionalFormats_;
    bool inSheetProperties_ = false, inFirstView_ = false, sawView_ = false;
    std::vector<CellMarkup> rowCells_; // a row's cells, parsed before any is applied
    // The digits of the last cell reference read, and the row they name.
    std::array<char, 8> lastRowDigits_{};
    size_t lastRowDigitsSize_ = 0;
    int64_t lastRowNumber_ = -1;
};

} // namespace sumora::xlsx
