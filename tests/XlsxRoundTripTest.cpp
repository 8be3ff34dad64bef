// Saving as XLSX and opening the result again: everything the format can
// carry comes back as it was, and a save that fails leaves the old file.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "XlsxTestSupport.h"
#include "engine/Recalculation.h"
#include "formats/DocumentIO.h"
#include "formats/FileErrors.h"
#include "formats/XlsxFormat.h"
#include "functions/BuiltinFunctions.h"
#include "values/BuiltInNumberFormats.h"
#include "values/Log.h"

namespace sumora {
namespace {

using test::at;
using test::put;

SumoraDocument reopened(const SumoraDocument& doc) {
    Log::setEnabled(false);
    SumoraDocument back = readXlsxDocument(writeXlsx(doc));
    Log::setEnabled(true);
    return back;
}

// Every stored cell of `expected` is equal in `actual`, and `actual` holds
// nothing more.
void expectSameCells(const Sheet& expected, const Sheet& actual) {
    size_t compared = 0;
    expected.forEachStoredCell([&](int64_t row, int64_t col, const Cell& cell) {
        if (cell.isDefault()) return;
        ++compared;
        const Cell& back = actual.cell(row, col);
        EXPECT_EQ(back.value(), cell.value()) << cellAddress({col, row});
        EXPECT_EQ(back.formula(), cell.formula()) << cellAddress({col, row});
        EXPECT_EQ(back.computedValue(), cell.computedValue()) << cellAddress({col, row});
        EXPECT_EQ(back.isLocked(), cell.isLocked()) << cellAddress({col, row});
        EXPECT_EQ(back.isSpillResult(), cell.isSpillResult()) << cellAddress({col, row});
        EXPECT_TRUE(back.format() == cell.format()) << cellAddress({col, row});
    });
    actual.forEachStoredCell([&](int64_t row, int64_t col, const Cell& cell) {
        if (!cell.isDefault()) {
            EXPECT_FALSE(expected.cell(row, col).isDefault()) << "extra " << cellAddress({col, row});
        }
    });
    EXPECT_GT(compared, 0u);
}

TEST(XlsxRoundTrip, ValuesAndFormulasWithTheirResults) {
    SumoraDocument doc;
    doc.sheets.reserve(2);
    Sheet& s = doc.sheets[0];
    s.name = "Data";
    const char* texts[] = {"Name",
                           " leading space",
                           "trailing ",
                           "_x0041_ stays literal",
                           "line\nbreak\ttab",
                           "Größe € 漢字",
                           "a<b & \"c\" 'd'",
                           "\x01"
                           "control",
                           "TRUE",
                           "#N/A",
                           "0x1F",
                           "007",
                           "1e5",
                           "-0.25",
                           "12345678901234567890",
                           "=not a formula"};
    int row = 0;
    for (const char* t : texts)
        put(s, "A" + std::to_string(++row), t);
    put(s, "B1", "10");
    put(s, "B2", "2.5");
    put(s, "B3", "-4");
    at(s, "C1").setFormula("SUM(B1:B3)");
    at(s, "C2").setFormula("B1>B2");
    at(s, "C3").setFormula("B1/0");
    at(s, "C4").setFormula("A1&\" total\"");
    at(s, "C5").setFormula("\"\"");
    at(s, "C6").setFormula("SEQUENCE(3)"); // spills into C7:C8
    at(s, "C9").setFormula("IFS(B1>5,\"big\",TRUE,\"small\")");
    Sheet& other = doc.sheets.emplace_back(SumoraDocument::makeNewSheet("Other sheet"));
    at(other, "A1").setFormula("Data!B1*2");
    at(other, "A2").setFormula("A1+1");
    at(other, "A3").setFormula("'Other sheet'!A1");
    recalculateDocument(doc, builtinFunctions());
    ASSERT_EQ(s.cell(7, 2).computedValue(), "3");

    SumoraDocument back = reopened(doc);
    ASSERT_EQ(back.sheets.size(), 2u);
    EXPECT_EQ(back.sheets[0].name, "Data");
    EXPECT_EQ(back.sheets[1].name, "Other sheet");
    expectSameCells(doc.sheets[0], back.sheets[0]);
    expectSameCells(doc.sheets[1], back.sheets[1]);
    EXPECT_EQ(back.sheets[1].cell(1, 0).computedValue(), "21");
}

TEST(XlsxRoundTrip, EveryCellFormatFieldAndTheLock) {
    std::vector<CellFormat> formats(20);
    formats[0].isBold = true;
    formats[1].isItalic = true;
    formats[2].isUnderline = true;
    formats[3].isStrikethrough = true;
    formats[4].fontName = "Arial";
    formats[5].fontSize = 14.5;
    formats[6].fontColor = "C00000";
    formats[7].fillColor = "FFFF00";
    formats[8].alignment = CellAlignment::left;
    formats[9].alignment = CellAlignment::center;
    formats[10].alignment = CellAlignment::right;
    formats[11].alignment = CellAlignment::fill;
    formats[12].alignment = CellAlignment::justify;
    formats[13].numberFormat = "0.00";
    formats[13].numberFormatId = 2;
    formats[14].numberFormat = "#,##0.000 \"m\"";
    formats[14].numberFormatId = 164; // the first custom record's id
    formats[15].wrapText = true;
    formats[16].borderTop = formats[16].borderLeft = formats[16].borderRight = true;
    formats[17].borderBottom = true;
    formats[18].borderThickBottom = true;
    formats[19] = formats[0];
    formats[19].fontName = "Courier New";
    formats[19].fontSize = 9;
    formats[19].fontColor = "0000FF";
    formats[19].fillColor = "E2EFDA";
    formats[19].numberFormat = "mm-dd-yy";
    formats[19].numberFormatId = 14;
    formats[19].alignment = CellAlignment::center;
    formats[19].borderBottom = true;

    SumoraDocument doc;
    Sheet& s = doc.sheets[0];
    for (size_t i = 0; i < formats.size(); ++i) {
        Cell& c = s.cellForWriting(static_cast<int64_t>(i), 0);
        c.setValue(std::to_string(i + 1));
        c.setFormat(formats[i]);
        s.cellForWriting(static_cast<int64_t>(i), 1).setFormat(formats[i]); // formatted but empty
    }
    s.cellForWriting(0, 3).setLocked(false);
    s.cellForWriting(1, 3).setValue("open");
    s.cellForWriting(1, 3).setLocked(false);
    s.cellForWriting(1, 3).setFormat(formats[0]);

    expectSameCells(doc.sheets[0], reopened(doc).sheets[0]);
}

TEST(XlsxRoundTrip, SheetLayoutProtectionAndVisibility) {
    SumoraDocument doc;
    doc.sheets.reserve(3);
    Sheet& s = doc.sheets[0];
    put(s, "A1", "x");
    s.frozenRows = 2;
    s.frozenColumns = 1;
    s.columnWidths = {{0, 150}, {3, 64}, {20, 12}};
    s.rowHeights = {{1, 30}, {6, 45.5}, {900, 21}};
    s.mergedRegions = {{0, 0, 2, 0}, {4, 10, 5, 14}};
    s.tabColorHex = "FF8800";
    s.isProtected = true;
    s.protectionOptions.allowFormatCells = true;
    s.protectionOptions.allowSelectLockedCells = false;
    s.protectionOptions.allowDeleteRows = true;
    s.cellComments = {{"A1", "First note"}, {"C3", "Line one\nline two & <more>"}};
    Sheet& hidden = doc.sheets.emplace_back(SumoraDocument::makeNewSheet("Hidden"));
    hidden.isHidden = true;
    hidden.tabColorHex = "00B050";
    Sheet& plain = doc.sheets.emplace_back(SumoraDocument::makeNewSheet("Plain"));
    plain.frozenRows = 1;

    SumoraDocument back = reopened(doc);
    ASSERT_EQ(back.sheets.size(), 3u);
    const Sheet& b = back.sheets[0];
    EXPECT_EQ(b.frozenRows, 2);
    EXPECT_EQ(b.frozenColumns, 1);
    EXPECT_EQ(b.columnWidths, s.columnWidths);
    EXPECT_EQ(b.rowHeights, s.rowHeights);
    EXPECT_EQ(b.mergedRegions, s.mergedRegions);
    EXPECT_EQ(b.tabColorHex, "FF8800");
    EXPECT_TRUE(b.isProtected);
    EXPECT_EQ(b.protectionOptions, s.protectionOptions);
    EXPECT_EQ(b.cellComments, s.cellComments);
    EXPECT_FALSE(b.isHidden);
    EXPECT_TRUE(back.sheets[1].isHidden);
    EXPECT_EQ(back.sheets[1].tabColorHex, "00B050");
    EXPECT_FALSE(back.sheets[2].isHidden);
    EXPECT_EQ(back.sheets[2].frozenRows, 1);
    EXPECT_EQ(back.sheets[2].frozenColumns, 0);
    EXPECT_FALSE(back.sheets[2].isProtected);
}

TEST(XlsxRoundTrip, DataValidationsOfEveryType) {
    SumoraDocument doc;
    std::vector<DataValidationRule> rules(6);
    rules[0].validationType = validation::WholeNumber{1, 10};
    rules[0].inputTitle = "Quantity";
    rules[0].inputMessage = "Between 1 and 10, \"inclusive\"";
    rules[1].validationType = validation::Decimal{0.5, std::nullopt};
    rules[1].errorStyle = ValidationErrorStyle::warning;
    rules[1].errorTitle = "Too small";
    rules[1].errorMessage = "At least 0.5";
    rules[2].validationType = validation::List{{"Yes", "No", "Maybe"}};
    rules[2].showDropdown = true;
    rules[3].validationType = validation::TextLength{std::nullopt, 5};
    rules[3].errorStyle = ValidationErrorStyle::information;
    rules[4].validationType = validation::Date{"2024-01-31", "2024-12-31"};
    rules[5].validationType = validation::Custom{"AND(A1>0,A1<100)"};
    for (size_t i = 0; i < rules.size(); ++i) {
        rules[i].startCol = static_cast<int64_t>(i);
        rules[i].endCol = static_cast<int64_t>(i);
        rules[i].startRow = 1;
        rules[i].endRow = 20;
    }
    rules[2].showDropdown = true;
    DataValidationRule hiddenArrow = rules[2];
    hiddenArrow.showDropdown = false;
    hiddenArrow.startCol = hiddenArrow.endCol = 8;
    rules.push_back(hiddenArrow);
    doc.sheets[0].dataValidations = rules;

    EXPECT_EQ(reopened(doc).sheets[0].dataValidations, rules);
}

TEST(XlsxRoundTrip, DefinedNamesTravelWithTheDocument) {
    SumoraDocument doc;
    doc.sheets[0].name = "Sales 2024";
    NamedRange total;
    total.name = "Totals";
    total.sheetName = "Sales 2024";
    total.startCol = 1, total.startRow = 1, total.endCol = 3, total.endRow = 12;
    NamedRange rate;
    rate.name = "Rate";
    rate.sheetName = "Sales 2024";
    rate.startCol = 5, rate.startRow = 0, rate.endCol = 5, rate.endRow = 0;
    doc.namedRanges = {total, rate};
    EXPECT_EQ(reopened(doc).namedRanges, doc.namedRanges);
}

TEST(XlsxRoundTrip, ALargeSheetComesBackCellForCell) {
    SumoraDocument doc;
    Sheet& s = doc.sheets[0];
    CellFormat money;
    money.numberFormat = "#,##0.00";
    money.numberFormatId = 4;
    for (int64_t r = 0; r < 30000; ++r) {
        s.cellForWriting(r, 0).setValue(std::to_string(r + 1));
        s.cellForWriting(r, 1).setValue("Item " + std::to_string(r % 713));
        Cell& amount = s.cellForWriting(r, 2);
        amount.setValue(std::to_string(r * 0.25));
        if (r % 3 == 0) amount.setFormat(money);
        if (r % 5 == 0) s.cellForWriting(r, 3).setFormula("A" + std::to_string(r + 1) + "*2");
    }
    recalculateDocument(doc, builtinFunctions());
    SumoraDocument back = reopened(doc);
    expectSameCells(s, back.sheets[0]);
    EXPECT_EQ(back.sheets[0].usedExtent().rows, 30000);
}

// A cell's content and format in one line, for failure messages.
std::string describe(const Cell& c) {
    const CellFormat& f = c.format();
    std::ostringstream out;
    out << '"' << c.value() << "\" =" << c.formula().value_or("") << " [" << c.computedValue().value_or("-")
        << "]" << (c.isLocked() ? "" : " unlocked") << (c.isSpillResult() ? " spill" : "") << " b" << f.isBold
        << f.isItalic << f.isUnderline << f.isStrikethrough << " font " << f.fontName.value_or("-") << "/"
        << f.fontSize.value_or(0) << "/" << f.fontColor.value_or("-") << " fill " << f.fillColor.value_or("-")
        << " align " << static_cast<int>(f.alignment) << " fmt " << f.numberFormatId << ":"
        << f.numberFormat.value_or("-") << " wrap " << f.wrapText << " borders " << f.borderTop
        << f.borderBottom << f.borderLeft << f.borderRight << f.borderThickBottom;
    return out.str();
}

std::optional<std::string_view> formulaOf(const Cell& c) {
    return c.hasFormula() ? c.formula() : std::nullopt;
}

// A format as saving keeps it: a code of its own keeps its text but may get
// another id, and a "General" code is no code at all.
CellFormat comparableFormat(CellFormat f) {
    if (f.numberFormat) {
        std::string lower = *f.numberFormat;
        std::transform(lower.begin(), lower.end(), lower.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        auto builtIn = builtInNumberFormats().find(static_cast<int>(f.numberFormatId));
        if (lower == "general")
            f.numberFormat.reset(), f.numberFormatId = 0;
        else if (builtIn == builtInNumberFormats().end() || builtIn->second != *f.numberFormat)
            f.numberFormatId = -1;
    }
    return f;
}

// Workbooks other programs wrote: what our reader took from them survives a
// save and a second read. Cells are compared by content and format; results of
// formulas are recalculated on both reads and are left out (volatile functions).
TEST(XlsxRoundTrip, CorpusWorkbooksSurviveSavingAgain) {
    namespace fs = std::filesystem;
    fs::path root = SUMORA_CORPUS_DIR;
    if (!fs::is_directory(root)) GTEST_SKIP() << "no corpus at " << root;
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        if (entry.is_regular_file() && entry.path().extension() == ".xlsx" && entry.file_size() < (2 << 20))
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    Log::setEnabled(false);
    size_t compared = 0;
    for (const fs::path& path : files) {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream bytes;
        bytes << in.rdbuf();
        SumoraDocument first;
        try {
            first = readXlsxDocument(bytes.str());
        } catch (const std::exception&) {
            continue; // broken on purpose; the reader's tests cover these
        }
        SumoraDocument second = readXlsxDocument(writeXlsx(first));
        ++compared;
        SCOPED_TRACE(path.string());
        ASSERT_EQ(second.sheets.size(), first.sheets.size());
        EXPECT_EQ(second.namedRanges, first.namedRanges);
        for (size_t i = 0; i < first.sheets.size(); ++i) {
            const Sheet& a = first.sheets[i];
            const Sheet& b = second.sheets[i];
            EXPECT_EQ(b.name, a.name);
            EXPECT_EQ(b.isHidden, a.isHidden);
            EXPECT_EQ(b.tabColorHex, a.tabColorHex);
            EXPECT_EQ(b.frozenRows, a.frozenRows);
            EXPECT_EQ(b.frozenColumns, a.frozenColumns);
            EXPECT_EQ(b.columnWidths, a.columnWidths);
            EXPECT_EQ(b.rowHeights, a.rowHeights);
            EXPECT_EQ(b.cellComments, a.cellComments);
            EXPECT_EQ(b.dataValidations, a.dataValidations);
            EXPECT_EQ(b.conditionalFormats, a.conditionalFormats);
            EXPECT_EQ(b.isProtected, a.isProtected);
            EXPECT_EQ(b.protectionOptions, a.protectionOptions);
            std::vector<MergedRegion> merges = a.mergedRegions; // a one-cell merge is no merge
            std::erase_if(merges, [](const MergedRegion& m) {
                return m.startCol == m.endCol && m.startRow == m.endRow;
            });
            EXPECT_EQ(b.mergedRegions, merges);
            size_t mismatches = 0;
            a.forEachStoredCell([&](int64_t row, int64_t col, const Cell& cell) {
                const Cell& back = b.cell(row, col);
                bool same = back.value() == cell.value() && formulaOf(back) == formulaOf(cell) &&
                            back.isLocked() == cell.isLocked() &&
                            comparableFormat(back.format()) == comparableFormat(cell.format()) &&
                            (cell.hasFormula() || cell.isSpillResult() ||
                             back.computedValue() == cell.computedValue());
                if (!same && ++mismatches <= 3)
                    ADD_FAILURE() << a.name << "!" << cellAddress({col, row}) << ": " << describe(cell)
                                  << "\n came back as " << describe(back);
            });
            EXPECT_EQ(mismatches, 0u) << a.name;
        }
    }
    Log::setEnabled(true);
    EXPECT_GT(compared, files.size() / 2);
}

// Saving writes beside the old file and renames, so a failed write leaves it.
class XlsxSaveFailure : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/sumora-xlsx-save-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
        target_ = dir_ / "book.xlsx";
        std::ofstream(target_) << "previous contents";
        SumoraDocument doc;
        for (int r = 0; r < 2000; ++r)
            doc.sheets[0].cellForWriting(r, 0).setValue("row " + std::to_string(r));
        doc_ = doc;
    }
    void TearDown() override {
        std::filesystem::permissions(dir_, std::filesystem::perms::owner_all);
        std::filesystem::remove_all(dir_);
    }
    std::string contents() const {
        std::ifstream in(target_);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    size_t fileCount() const {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(dir_), {}));
    }

    std::filesystem::path dir_, target_;
    SumoraDocument doc_;
};

TEST_F(XlsxSaveFailure, FileSizeLimitKeepsThePreviousFile) {
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    rlimit small = old;
    small.rlim_cur = 1024;
    auto previous = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_THROW(saveDocumentFile(doc_, target_), FileWriteError);
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, previous);
    EXPECT_EQ(contents(), "previous contents");
    EXPECT_EQ(fileCount(), 1u);
}

// Folder permissions do not bind root, so as root the save runs in a child
// that has become an unprivileged user.
TEST_F(XlsxSaveFailure, ReadOnlyFolderKeepsThePreviousFile) {
    using std::filesystem::perms;
    std::filesystem::permissions(dir_, perms::owner_read | perms::owner_exec | perms::others_read |
                                           perms::others_exec);
    if (geteuid() != 0) {
        EXPECT_THROW(saveDocumentFile(doc_, target_), FileWriteError);
    } else {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            if (setgid(65534) != 0 || setuid(65534) != 0) _exit(3);
            try {
                saveDocumentFile(doc_, target_);
            } catch (const FileWriteError&) {
                _exit(0);
            } catch (...) {
                _exit(2);
            }
            _exit(1); // the save claimed success
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 0)
            << "1: the save succeeded, 2: another error, 3: no unprivileged user";
    }
    EXPECT_EQ(contents(), "previous contents");
    EXPECT_EQ(fileCount(), 1u);
}

} // namespace
} // namespace sumora
