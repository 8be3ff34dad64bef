#pragma once
// The workbook value a window edits and the file formats read and write.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "document/PackageRemainder.h"
#include "document/Sheet.h"
#include "document/WorkbookRecords.h"

namespace sumora {

class SumoraDocument {
  public:
    // A new document: one sheet "Sheet 1" of 500 × 26 default cells.
    SumoraDocument();
    // A document with no sheets (readers fill it).
    static SumoraDocument empty();

    static constexpr int64_t kNewSheetRows = 500;
    static constexpr int64_t kNewSheetColumns = 26;
    static Sheet makeNewSheet(std::string name);

    int64_t changeCount = 0;
    std::vector<Sheet> sheets;
    std::vector<NamedRange> namedRanges;
    std::vector<Scenario> scenarios;
    bool isWorkbookProtected = false;
    std::optional<std::string> workbookPassword;
    // What the reader found in the file but could not keep (a part that did
    // not parse, a row beyond the grid…), one sentence each. Logged once when
    // read; every save's loss report repeats them. Not part of equality.
    std::vector<std::string> droppedOnOpen;
    // The parts of the opened XLSX package that the model does not describe,
    // written back by the XLSX writer for the sheets that still exist. Not
    // part of equality.
    PackageRemainder carriedParts;

    // Grows a sheet so it holds at least `rows` × `cols`; never shrinks; an
    // invalid index does nothing.
    void ensureGridSize(int64_t sheetIndex, int64_t rows, int64_t cols);

    // Index of the sheet with this name (exact first, then ignoring case).
    std::optional<size_t> sheetIndex(std::string_view name) const;
    // Index of the sheet with this id. Undo steps name their sheet by id, so
    // adding or moving tabs does not send them to another sheet.
    std::optional<size_t> sheetIndexById(std::string_view id) const;

    bool operator==(const SumoraDocument& o) const;

    // Blends two hexadecimal colours: pct 0 gives `a`, 1 gives `b`; "RRGGBB".
    static std::string blendHex(std::string_view a, std::string_view b, double pct);
    // Later rules override earlier ones field by field.
    static void mergeFormat(std::optional<ConditionalFormat>& into, const ConditionalFormat& from);
    // After a sheet is deleted: references to it in the remaining formulas
    // become "#REF!" (and show "#REF!"); all other formulas stay untouched.
    static void cleanupReferencesToDeletedSheet(std::string_view deletedName, std::vector<Sheet>& sheets);
};

} // namespace sumora
