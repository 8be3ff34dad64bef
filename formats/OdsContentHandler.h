#pragma once
// The event handler that turns an OpenDocument content part into Sheets.
// Used whole for most parts; a big part is read in two halves at once, the
// second half by a continuation handler whose rows the first one then takes
// over (see OdsReader.cpp). Under the fast scanner, rows and cells of the
// plain shape are read from the bytes without their events (OdsPlainCell.h).
#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/SumoraDocument.h"
#include "formats/OdsConditionalFormats.h"
#include "formats/OdsPlainCell.h"
#include "formats/OdsStyles.h"
#include "formats/OutlineLevels.h"
#include "formats/XmlReader.h"

namespace sumora::ods {

// Whether handlers read plain rows and cells without their XML events (on
// by default); tests switch it off to compare the two ways.
void setPlainCellsEnabled(bool enabled);

class OdsContentHandler : public XmlHandler {
  public:
    enum class Role {
        whole,       // the entire part (or its first half plus its end)
        continuation // rows from the middle of one table on, relative to the cut
    };

    explicit OdsContentHandler(Role role = Role::whole) : role_(role) {}

    // By local name, then by the prefixed name ("number-columns-repeated",
    // then "table:number-columns-repeated").
    static std::optional<std::string_view> attr(const XmlAttributes& a, std::string_view qualifiedName);

    void startElement(std::string_view name, const XmlAttributes& a) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;

    // Reads the rows and cells of the plain shape (OdsPlainCell.h) in a table.
    std::size_t readElements(const char* data, std::size_t size) override;

    // Inside a table and between two rows: where a split may resume.
    bool betweenRows() const {
        return inTable && !inTableRow && !inTableCell && nestedTables_ == 0 && !styles_.inStyle();
    }
    // A continuation that read its rows up to the end of its table.
    bool continuationComplete() const { return continuationComplete_; }

    // Takes over the rows a continuation read after this handler's last row.
    void absorb(OdsContentHandler& continuation);

    std::vector<Sheet> takeSheets() { return std::move(sheets); }

    // The named styles conditional formats apply (from the style part).
    void setConditionalStyles(const ConditionalStyles* styles) { conditionalFormats_.setStyles(styles); }
    // Where sentences about what a table could not keep go.
    void reportDroppedTo(std::vector<std::string>* droppedOnOpen) { droppedOnOpen_ = droppedOnOpen; }

    // Handlers reading parts of one document count their text together
    // against kMaxStoredTextBytes; by default each counts its own.
    void shareTextCount(std::atomic<int64_t>& counter) { textBytes_ = &counter; }

  private:
    struct ColumnRun {
        int64_t start = 0, count = 0;
        std::optional<double> width;
        const CellFormat* defaultFormat = nullptr;
        bool hidden = false;
    };
    // A block of cells: formatted empty cells, or (in a continuation) cells
    // without a style of their own, which take their column's default later.
    struct CellRun {
        int64_t row, rows, col, cols;
        const CellFormat* format;
    };
    // The block an array formula's result fills.
    using MatrixArea = CellArea;
    struct PendingComment {
        int64_t row, col;
        std::string text;
    };
    struct PendingLink {
        int64_t row, col;
        CellHyperlink link;
    };
    // Rows of one <table:table-row> with their height and visibility.
    struct RowRun {
        int64_t start, count;
        std::optional<double> height;
        bool hidden;
    };
    struct OpenGroup {
        int64_t start;
        bool collapsed;
    };
    enum class ValueSource { text, attribute, percentage };

    void startTable(const XmlAttributes& a);
    void endTable();
    void startColumn(const XmlAttributes& a);
    void startRow(const XmlAttributes& a);
    void startCell(const XmlAttributes& a);
    void startCell(const CellTag& tag);
    void startGroup(std::string_view name, const XmlAttributes& a);
    void endGroup(std::string_view name);
    void applyRowRuns(int64_t rows);
    void endCell();
    void endRow();
    std::size_t readPlainRow(const char* data, std::size_t size);
    void applyPlainCell(const PlainCell& cell);
    void startParagraph();
    void startParagraphPiece(std::string_view name, const XmlAttributes& a);
    void placeCell(int64_t columns);
    void noteUnstyled(int64_t columns);
    void applyColumnDefaults(const std::vector<CellRun>& unstyled);
    bool insideMatrix(CellPosition at) const;
    static void markSpilled(Cell& cell);
    const CellFormat* columnDefaultFormat(int64_t col) const;
    const CellFormat* styleFormat(std::string_view name);
    // Slots a write at `at` adds to the stored grid.
    int64_t slotsFor(CellPosition at) const {
        return std::max<int64_t>(0, at.col + 1 - currentSheet_.storedColumnCount(at.row));
    }
    Cell& storeCell(CellPosition at);
    // Appends cell or comment text, counting it against the document's bound.
    void appendText(std::string& target, std::string_view text);
    void appendText(std::string& target, size_t count, char c);
    void countText(size_t bytes);

    Role role_;
    std::atomic<int64_t> ownTextBytes_{0};
    std::atomic<int64_t>* textBytes_ = &ownTextBytes_;
    std::vector<Sheet> sheets;
    StyleCollector styles_;
    ConditionalFormatCollector conditionalFormats_;
    std::vector<std::string>* droppedOnOpen_ = nullptr;

    // The table being read.
    bool inTable = false;
    int nestedTables_ = 0;
    bool continuationComplete_ = false;
    Sheet currentSheet_;
    int64_t nextColumn_ = 0; // of <table:table-column>
    int64_t nextRow_ = 0, currentRow_ = 0, rowCopies_ = 0;
    int64_t nextCol_ = 0;
    int64_t usedRows_ = 0, usedCols_ = 0;
    int64_t expectedWidth_ = 1;
    bool rowReserved_ = false;
    bool anyColumnFormat_ = false;
    std::vector<ColumnRun> columns_;
    std::vector<CellRun> formatRuns_;
    std::vector<CellRun> unstyledRuns_;
    std::vector<PendingComment> pendingComments_;
    std::vector<PendingLink> pendingLinks_;
    std::vector<RowRun> rowRuns_;
    std::vector<OpenGroup> openRowGroups_, openColumnGroups_;
    std::vector<OutlineSpan> rowGroups_, columnGroups_;
    std::vector<MatrixArea> matrixAreas_;

    // The cells of a plain row, read before any is applied.
    std::vector<PlainCell> plainCells_;

    // The cell being read.
    bool inTableRow = false, inTableCell = false, inTextP = false;
    Cell currentCell;
    std::string currentText;
    int64_t repeatCount = 1, rowRepeatCount = 1;
    int64_t spannedColumns_ = 1, spannedRows_ = 1;
    int64_t matrixColumns_ = 1, matrixRows_ = 1;
    bool explicitStyle_ = false;
    ValueSource valueSource_ = ValueSource::text;
    int paragraphs_ = 0;
    int foreignDepth_ = 0;
    bool inAnnotation_ = false, inAnnotationP_ = false;
    int annotationParagraphs_ = 0;
    std::string annotationText_;
    std::optional<CellHyperlink> currentLink_;

    // Last style looked up: neighbouring cells mostly share one.
    std::string lastStyleName_;
    const CellFormat* lastStyleFormat_ = nullptr;

    int64_t cellSlots_ = 0;
    int64_t copyBytesLeft_;
    int64_t formattedEmptyLeft_;
    bool reportedCopyLimit_ = false;
};

} // namespace sumora::ods
