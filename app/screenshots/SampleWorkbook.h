#pragma once
// A small household budget that shows what the grid draws: a merged title,
// bold headers with fills and borders, currency and percent formats,
// formulas, a comment, conditional formats and a frozen header.
#include <string>

#include "document/SumoraDocument.h"
#include "engine/Recalculation.h"
#include "functions/BuiltinFunctions.h"

namespace sumora::app {

inline SumoraDocument sampleWorkbook() {
    SumoraDocument doc;
    Sheet& s = doc.sheets[0];
    s.name = "Budget";
    auto put = [&](int64_t row, int64_t col, const std::string& text) {
        Cell& c = s.cellForWriting(row, col);
        if (!text.empty() && text[0] == '=')
            c.setFormula(std::string_view(text).substr(1));
        else {
            c.setValue(text);
            c.setComputedValue(text);
        }
    };
    auto format = [&](int64_t r1, int64_t c1, int64_t r2, int64_t c2, auto change) {
        for (int64_t r = r1; r <= r2; ++r)
            for (int64_t c = c1; c <= c2; ++c)
                s.cellForWriting(r, c).updateFormat(change);
    };

    put(0, 0, "Household Budget 2024");
    format(0, 0, 0, 0, [](CellFormat& f) {
        f.isBold = true;
        f.fontSize = 18.0;
    });
    s.mergedRegions.push_back({0, 0, 5, 0});
    s.rowHeights[0] = 36;

    const char* headers[] = {"Item", "Q1", "Q2", "Q3", "Q4", "Total"};
    for (int c = 0; c < 6; ++c)
        put(2, c, headers[c]);
    format(2, 0, 2, 5, [](CellFormat& f) {
        f.isBold = true;
        f.fillColor = "DDEBF7";
        f.borderThickBottom = true;
        f.alignment = CellAlignment::center;
    });

    const char* items[] = {"Rent", "Food", "Travel", "Utilities", "Insurance", "Savings"};
    const double amounts[6][4] = {{1200, 1200, 1250, 1250}, {430.5, 410.25, 455, 470}, {0, 220, 640, 90},
                                  {180, 165, 120, 175},     {95, 95, 95, 95},          {300, 250, -120, 400}};
    for (int i = 0; i < 6; ++i) {
        const int64_t row = 3 + i;
        put(row, 0, items[i]);
        for (int q = 0; q < 4; ++q) {
            char text[32];
            std::snprintf(text, sizeof text, "%g", amounts[i][q]);
            put(row, 1 + q, text);
        }
        put(row, 5, "=SUM(B" + std::to_string(row + 1) + ":E" + std::to_string(row + 1) + ")");
    }
    put(9, 0, "Total");
    for (int c = 1; c <= 5; ++c) {
        const std::string col(1, static_cast<char>('A' + c));
        put(9, c, "=SUM(" + col + "4:" + col + "9)");
    }
    format(9, 0, 9, 5, [](CellFormat& f) {
        f.isBold = true;
        f.borderTop = true;
    });
    format(3, 1, 9, 5, [](CellFormat& f) {
        f.numberFormat = "$#,##0.00;[Red]-$#,##0.00";
        f.numberFormatId = 0;
    });
    put(10, 0, "Share of rent");
    for (int c = 1; c <= 5; ++c) {
        const std::string col(1, static_cast<char>('A' + c));
        put(10, c, "=" + col + "4/" + col + "10");
    }
    format(10, 0, 10, 5, [](CellFormat& f) { f.isItalic = true; });
    format(10, 1, 10, 5, [](CellFormat& f) {
        f.numberFormat = "0.0%";
        f.numberFormatId = 0;
    });
    put(12, 0, "Biggest quarter");
    put(12, 1, "=INDEX(B3:E3,MATCH(MAX(B10:E10),B10:E10,0))");
    format(12, 1, 12, 1, [](CellFormat& f) {
        f.fontColor = "1F4E79";
        f.isBold = true;
    });

    s.cellComments["A4"] = "Rent rises in Q3.";
    ConditionalFormatRule scale;
    scale.ruleType = rule::ColorScale2{"FFFFFF", "F8CBAD"};
    scale.startCol = 5;
    scale.startRow = 3;
    scale.endCol = 5;
    scale.endRow = 8;
    s.conditionalFormats.push_back(scale);
    ConditionalFormatRule bars;
    bars.ruleType = rule::DataBar{"5B9BD5"};
    bars.startCol = 4;
    bars.startRow = 3;
    bars.endCol = 4;
    bars.endRow = 8;
    s.conditionalFormats.push_back(bars);
    s.columnWidths[0] = 160;
    s.frozenRows = 3;

    Sheet notes = SumoraDocument::makeNewSheet("Notes");
    notes.cellForWriting(0, 0).setValue("Amounts are in US dollars.");
    notes.tabColorHex = "70AD47";
    doc.sheets.push_back(std::move(notes));
    recalculateDocument(doc, builtinFunctions());
    return doc;
}

} // namespace sumora::app
