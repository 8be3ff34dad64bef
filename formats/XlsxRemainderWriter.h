#pragma once
// Writing back the parts of an opened XLSX package that the model does not
// describe (the document's PackageRemainder): only those reached from a
// sheet that still exists, from the workbook or from the package, with
// their relationships, content types and the elements of the worksheet and
// workbook parts that name them.
//
// A sheet whose kept drawing holds pictures or charts the model cannot hold
// and that also has charts of the model gets one drawing: the writer's
// chart anchors are added to the kept drawing, so no chart is written twice
// and no picture is lost.
#include <set>
#include <string>
#include <vector>

#include "document/PackageRemainder.h"
#include "document/Sheet.h"

namespace sumora {
class ZipWriter;
}

namespace sumora::xlsx {

struct WorksheetLinks;

class RemainderWriter {
  public:
    RemainderWriter(const PackageRemainder& remainder, const std::vector<Sheet>& sheets);

    // The carried elements of sheet i, placed around the writer's own
    // drawing elements (which win over carried ones of the same kind).
    void addWorksheetElements(size_t sheet, WorksheetLinks& links) const;
    // The sheet's relationships: the writer's (`written`, "" when it has
    // none) with the carried ones added; "" when there are none at all.
    // Carried drawings and note shapes give way to the writer's own.
    std::string sheetRelationships(size_t sheet, std::string written, bool writerDraws, bool writerNotes,
                                   const std::string& sheetPath) const;
    // The writer's drawing of sheet i and its relationships merged into the
    // sheet's carried drawing, when it has one (else unchanged).
    std::string drawing(size_t sheet, std::string written) const;
    std::string drawingRelationships(size_t sheet, std::string written, const std::string& drawingPath) const;

    std::string contentTypes(std::string written, const std::vector<bool>& drawingSheets) const;
    std::string packageRelationships(std::string written) const;
    std::string workbook(std::string written) const;
    std::string workbookRelationships(std::string written) const;

    // Adds every reached part and its relationship part; `drawingSheets[i]`
    // says the writer writes sheet i's drawing itself (a carried one is
    // merged into it instead).
    void addParts(ZipWriter& zip, const std::vector<bool>& drawingSheets) const;

  private:
    const CarriedLinks* linksOf(size_t sheet) const;
    const CarriedPart* carriedDrawing(size_t sheet) const;
    std::set<const CarriedPart*> mergedDrawings(const std::vector<bool>& drawingSheets) const;

    const PackageRemainder& remainder_;
    const std::vector<Sheet>& sheets_;
    std::vector<const CarriedPart*> reached_;
};

} // namespace sumora::xlsx
