#pragma once
// The package's small parts: content types, relationships, document
// properties and the workbook part, built from fixed literals and the list
// of parts each sheet brings.
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "document/Sheet.h"
#include "document/WorkbookRecords.h"

namespace sumora::xlsx {

// The parts that belong to sheet N beside its worksheet part, and the
// relationship ids its worksheet uses for them.
struct SheetParts {
    int64_t number = 0;                // N in "sheetN.xml", from 1
    std::vector<int64_t> chartNumbers; // K in "chartK.xml", numbered across the workbook
    bool hasComments = false;
    std::optional<std::string> drawingId, commentsId, legacyDrawingId;
    // Id and address of each hyperlink that leaves the workbook, in the sheet's order.
    std::vector<std::pair<std::string, std::string>> hyperlinks;

    bool hasRelationships() const { return drawingId || commentsId || !hyperlinks.empty(); }
    std::vector<std::string> hyperlinkIds() const;
};

// Numbers every sheet's parts in workbook order.
std::vector<SheetParts> planSheetParts(const std::vector<Sheet>& sheets);

// What the workbook part says beyond its sheets (absent when only sheets are written).
struct WorkbookExtras {
    const std::vector<NamedRange>* namedRanges = nullptr;
    bool isProtected = false;
    std::optional<std::string> password;
};

std::string contentTypesXml(const std::vector<SheetParts>& sheets);
std::string rootRelsXml();
std::string appPropertiesXml();
std::string corePropertiesXml(std::time_t now);
std::string workbookXml(const std::vector<Sheet>& sheets, const WorkbookExtras& extras);
std::string workbookRelsXml(size_t sheetCount);
std::string sheetRelsXml(const SheetParts& parts);

// The checks on a finished archive: throws FileWriteError when it is empty or
// does not begin with the ZIP signature.
void verifyPackageBytes(std::string_view bytes);

} // namespace sumora::xlsx
