#include "engine/SheetValueCache.h"

#include <gtest/gtest.h>

#include <bit>
#include <string>
#include <vector>

#include "engine/CellResolver.h"

namespace sumora {
namespace {

// The cache reads common number texts without the general parser; whatever
// the text, a cell must read exactly as readCellText reads it (down to the
// sign of zero), whether the text is the cell's value or its computed text.
TEST(SheetValueCache, CellsReadAsTheirTexts) {
    const std::vector<std::string> texts = {
        "0",
        "-0",
        "007",
        "42",
        "-42",
        "123456789012345",
        "1234567890123456",
        "-999999999999999",
        "9.94928e+07",
        "-1.23457e+06",
        "1e+06",
        "1.5e+00",
        "1.2e+01",
        "1.23456789012345e+14",
        "1.234567890123456e+15",
        "1e+15",
        "1.e+05",
        "1e+5",
        "1E+05",
        "1e-05",
        "+5",
        " 5",
        "5 ",
        "-",
        "1.20e+02",
        "0e+00",
        "12e+03",
        "TRUE",
        "text",
        "",
    };
    for (bool computed : {false, true}) {
        Sheet sheet("S", static_cast<int64_t>(texts.size()), 1);
        for (size_t r = 0; r < texts.size(); ++r) {
            Cell& cell = sheet.cellForWriting(static_cast<int64_t>(r), 0);
            if (computed) {
                cell.setFormula("1");
                cell.setComputedValue(texts[r]);
            } else {
                cell.setValue(texts[r]);
            }
        }
        SheetValueCache cache;
        for (size_t r = 0; r < texts.size(); ++r) {
            const Cell& cell = sheet.cell(static_cast<int64_t>(r), 0);
            const FormulaValue expected = readCellText(cell.computedValue(), cell.value());
            const FormulaValue read = cache.value(sheet, 0, static_cast<int64_t>(r));
            ASSERT_EQ(read.kind(), expected.kind()) << texts[r];
            if (read.isNumber()) {
                EXPECT_EQ(std::bit_cast<uint64_t>(read.numberValue()),
                          std::bit_cast<uint64_t>(expected.numberValue()))
                    << texts[r];
            }
        }
    }
}

} // namespace
} // namespace sumora
