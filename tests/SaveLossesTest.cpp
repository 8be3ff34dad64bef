// What a save will not keep, said before saving: per target format, from
// what each writer writes (CSV: the first sheet's displayed texts; ODS:
// texts, numbers, formulas, fonts, fills, alignment and column widths;
// XLSX: all of the model's sheets but sparklines, pivot tables, row groups
// and scenarios), after what the reader left out of the file.
#include <gtest/gtest.h>

#include "CliTestSupport.h"
#include "TestSupport.h"
#include "XlsxTestSupport.h"
#include "formats/DocumentIO.h"
#include "formats/SaveLosses.h"

namespace sumora {
namespace {

SumoraDocument lossyDocument() {
    SumoraDocument doc;
    Sheet& main = doc.sheets.front();
    main.name = "Main";
    test::putFormula(main, "A1", "1+1", "2");
    CellFormat bold;
    bold.isBold = true;
    test::at(main, "B1").setFormat(bold);
    CellFormat money;
    money.numberFormat = "#,##0.00";
    money.numberFormatId = 4;
    test::at(main, "B2").setFormat(money);
    test::at(main, "B3").setFormat(money);
    main.cellComments["A1"] = "checked";
    main.mergedRegions.push_back({0, 4, 1, 4});
    main.charts.push_back({});
    main.frozenRows = 1;
    main.columnWidths[0] = 120;
    doc.sheets.push_back(SumoraDocument::makeNewSheet("Other"));
    doc.sheets.push_back(SumoraDocument::makeNewSheet("Q1/Q2"));
    doc.droppedOnOpen.push_back("A chart could not be read and was left out.");
    return doc;
}

TEST(SaveLosses, EachFormatNamesWhatItCannotKeep) {
    struct Case {
        FileType type;
        LossReport expected;
    };
    const std::string dropped = "A chart could not be read and was left out.";
    const Case cases[] = {
        {FileType::csv,
         {dropped, "CSV keeps only the first sheet; \"Other\", \"Q1/Q2\" will not be saved.",
          "Formulas (1) will not be kept in CSV; their results are saved instead.",
          "Number formats (2) will not be kept in CSV.",
          "Fonts, fills and alignment (1) will not be kept in CSV.", "Comments (1) will not be kept in CSV.",
          "Merged cells (1) will not be kept in CSV.", "Charts (1) will not be kept in CSV.",
          "Frozen panes (1) will not be kept in CSV.", "Column widths (1) will not be kept in CSV."}},
        {FileType::ods,
         {dropped, "Number formats (2) will not be kept in ODS.", "Comments (1) will not be kept in ODS.",
          "Merged cells (1) will not be kept in ODS.", "Charts (1) will not be kept in ODS.",
          "Frozen panes (1) will not be kept in ODS."}},
        {FileType::xlsx,
         {dropped, "Sheet \"Q1/Q2\" is saved as \"Q1_Q2\": XLSX sheet names cannot contain : \\ / ? * [ ] or "
                   "begin or end with an apostrophe."}},
    };
    SumoraDocument doc = lossyDocument();
    for (const Case& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.type));
        EXPECT_EQ(lossesOnSave(doc, c.type), c.expected);
    }
    SumoraDocument plain;
    test::put(plain.sheets.front(), "A1", "x");
    for (FileType type : {FileType::xlsx, FileType::ods, FileType::csv})
        EXPECT_TRUE(lossesOnSave(plain, type).empty());
}

TEST(SaveLosses, CellsOfLongSheetsAreCountedInEveryRow) {
    // Long enough for the count to be split; the marked cells lie at both
    // ends and around the middle.
    SumoraDocument doc;
    Sheet& sheet = doc.sheets.front();
    CellFormat bordered;
    bordered.borderTop = true;
    for (int64_t r = 0; r < 40000; ++r) {
        sheet.cellForWriting(r, 0).setValue("v");
        if (r % 7 == 0) sheet.cellForWriting(r, 1).setFormula("1");
        if (r % 5 == 0) sheet.cellForWriting(r, 2).setFormat(bordered);
    }
    EXPECT_EQ(lossesOnSave(doc, FileType::csv),
              (LossReport{"Formulas (5715) will not be kept in CSV; their results are saved instead.",
                          "Cell borders (8000) will not be kept in CSV."}));
}

TEST(SaveLosses, PartsKeptFromTheFileAreLostOutsideXlsxAndWithTheirSheet) {
    SumoraDocument doc;
    doc.carriedParts.parts.push_back({"xl/media/image1.png", "image/png", nullptr, {}});
    doc.carriedParts.sheets[doc.sheets.front().id].relationships.push_back({"rIdC1", "image", "", false});
    const std::string sentence =
        "Parts of the original file that Sumora does not edit (pictures, pivot tables, "
        "macros and the like) (1) will not be kept in ODS.";
    EXPECT_EQ(lossesOnSave(doc, FileType::ods), LossReport{sentence});
    EXPECT_TRUE(lossesOnSave(doc, FileType::xlsx).empty());
    doc.sheets.front() = SumoraDocument::makeNewSheet("Replacement"); // the owner is gone
    EXPECT_TRUE(lossesOnSave(doc, FileType::ods).empty());
}

class SaveLossesCli : public test::CliProcessTest {};

TEST_F(SaveLossesCli, StrictRefusesALossySaveAndWritesNothing) {
    SumoraDocument doc;
    doc.sheets.push_back(SumoraDocument::makeNewSheet("Other"));
    test::put(doc.sheets.front(), "A1", "7");
    saveDocumentFile(doc, dir_ / "in.xlsx");
    std::string in = test::shellQuoted((dir_ / "in.xlsx").string());
    std::string out = test::shellQuoted((dir_ / "out.csv").string());
    const std::string warning = "Warning: CSV keeps only the first sheet; \"Other\" will not be saved.\n";

    test::CliRun strict = run("recalc " + in + " -o " + out + " --strict");
    EXPECT_EQ(strict.status, 3);
    EXPECT_NE(strict.err.find(warning), std::string::npos) << strict.err;
    EXPECT_FALSE(std::filesystem::exists(dir_ / "out.csv"));

    test::CliRun lenient = run("recalc " + in + " -o " + out);
    EXPECT_EQ(lenient.status, 0);
    EXPECT_EQ(lenient.err, warning);
    EXPECT_EQ(slurp(dir_ / "out.csv").substr(0, 2), "7,");

    test::CliRun lossless =
        run("--strict recalc " + in + " -o " + test::shellQuoted((dir_ / "out.xlsx").string()));
    EXPECT_EQ(lossless.status, 0) << lossless.err;
}

} // namespace
} // namespace sumora
