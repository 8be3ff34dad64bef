#pragma once
// Writing OpenDocument spreadsheets (version 1.2). The package carries cell
// texts, numbers, formulas, character and fill formatting, horizontal
// alignment and column widths; everything else the model holds is dropped.
#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "formats/DeflatePieces.h"

namespace sumora {

struct CellFormat;
class Sheet;

class ODSWriter {
  public:
    // The identity of one automatic cell style: cells with equal keys share it.
    struct CellStyleKey {
        bool bold = false;
        bool italic = false;
        bool underline = false;
        bool strike = false;
        std::string fontName;
        double fontSize = 0;
        std::string fontColor;
        std::string fillColor;
        std::string alignment = "general";

        static CellStyleKey of(const CellFormat& format);
        // A key that writes no style.
        bool isPlain() const;
        bool operator==(const CellStyleKey&) const = default;
    };
    struct CellStyleKeyHash {
        size_t operator()(const CellStyleKey& key) const;
    };

    // The package bytes; throws FileWriteError when the archive fails its checks.
    static std::string write(const std::vector<Sheet>& sheets);

    // "content.xml", deflated as it is written.
    static DeflatedPart deflatedContent(const std::vector<Sheet>& sheets);
    // Stamped with `now` (creation and modification are the same moment).
    static std::string metaXML(std::time_t now = std::time(nullptr));
    static std::string cellStyleProperties(const CellStyleKey& key);
};

} // namespace sumora
