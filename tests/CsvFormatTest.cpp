// Comma-separated text: the deliberately simple reader and the quoting writer.
#include "formats/CsvFormat.h"

#include <gtest/gtest.h>

#include <random>

#include "formats/FileErrors.h"

namespace sumora {
namespace {

using Fields = std::vector<std::string>;

TEST(CsvLine, QuotesAreDroppedNotUnescaped) {
    const struct {
        const char* line;
        Fields fields;
    } cases[] = {
        {"a,b,c", {"a", "b", "c"}},
        {"", {""}},
        {"a,", {"a", ""}},
        {",,", {"", "", ""}},
        {" a , b ", {" a ", " b "}}, // no trimming
        {"a,\"b,c\",d", {"a", "b,c", "d"}},
        {"a,\"x\"\"y\"", {"a", "xy"}},
        {"\"say \"\"hi\"\"\"", {"say hi"}},
        {"a\"b\"c", {"abc"}},
        {"\"a,b", {"a,b"}}, // unterminated quote runs to the end
        {"\"\",x", {"", "x"}},
        {"\xC3\xA9,\xE6\x97\xA5", {"\xC3\xA9", "\xE6\x97\xA5"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(parseCSVLine(c.line), c.fields) << c.line;
}

// The stored value texts of rows 0..rows-1, columns 0..cols-1.
std::vector<Fields> grid(const SumoraDocument& doc, int64_t rows, int64_t cols) {
    std::vector<Fields> out;
    for (int64_t r = 0; r < rows; ++r) {
        Fields row;
        for (int64_t c = 0; c < cols; ++c)
            row.emplace_back(doc.sheets[0].cell(r, c).displayValue());
        out.push_back(row);
    }
    return out;
}

TEST(CsvRead, EmptyFileIsOneSheetOf500By26) {
    SumoraDocument doc = readCsvDocument("");
    ASSERT_EQ(doc.sheets.size(), 1u);
    EXPECT_EQ(doc.sheets[0].name, "Sheet 1");
    EXPECT_EQ(doc.sheets[0].rowCount(), 500);
    EXPECT_EQ(doc.sheets[0].columnCount(), 26);
    EXPECT_TRUE(doc.sheets[0].cell(0, 0).isDefault());
    EXPECT_EQ(doc.changeCount, 0);
    EXPECT_TRUE(doc.namedRanges.empty());
}

TEST(CsvRead, FieldsBecomeValueAndComputedTextOnly) {
    SumoraDocument doc = readCsvDocument("=1+1,42,abc\n");
    const Sheet& s = doc.sheets[0];
    for (int64_t c = 0; c < 3; ++c) {
        const Cell& cell = s.cell(0, c);
        EXPECT_FALSE(cell.formula());
        EXPECT_EQ(cell.computedValue(), cell.value());
        EXPECT_TRUE(cell.isLocked());
        EXPECT_EQ(cell.format(), CellFormat{});
    }
    EXPECT_EQ(s.cell(0, 0).value(), "=1+1"); // plain text at this point
    EXPECT_EQ(s.cell(0, 1).value(), "42");
}

TEST(CsvRead, LinesSplitAtEveryNewlineAndBlankLinesVanish) {
    const struct {
        const char* name;
        std::string text;
    } cases[] = {
        {"LF", "a,b\nc,d\n"},
        {"CRLF", "a,b\r\nc,d\r\n"},
        {"CR", "a,b\rc,d"},
        {"blank lines", "\n\na,b\n\n\nc,d\n\n"},
        {"vertical tab", "a,b\vc,d"},
        {"form feed", "a,b\fc,d"},
        {"next line", "a,b\u0085c,d"},
        {"line separator", "a,b\u2028c,d"},
        {"paragraph separator", "a,b\u2029c,d"},
    };
    for (const auto& c : cases) {
        SumoraDocument doc = readCsvDocument(c.text);
        EXPECT_EQ(grid(doc, 3, 2), (std::vector<Fields>{{"a", "b"}, {"c", "d"}, {"", ""}})) << c.name;
    }
}

TEST(CsvRead, QuotedNewlinesStillEndTheLine) {
    // The second line then opens a quote, which swallows its comma.
    SumoraDocument doc = readCsvDocument("\"a\nb\",c\n");
    EXPECT_EQ(grid(doc, 2, 2), (std::vector<Fields>{{"a", ""}, {"b,c", ""}}));
}

TEST(CsvRead, QuotesAndEmptyFieldsCountOnTheirOwnLineOnly) {
    const struct {
        std::string text;
        std::vector<Fields> rows; // the first two rows, three columns
        int64_t columns;
    } cases[] = {
        {"x,\"y,z\"\nc,d,e", {{"x", "y,z", ""}, {"c", "d", "e"}}, 26},
        {"\"q\"\nc,,e", {{"q", "", ""}, {"c", "", "e"}}, 26},
        {"a,,\nb", {{"a", "", ""}, {"b", "", ""}}, 26},
        {"a" + std::string(30, ',') + "\nb", {{"a", "", ""}, {"b", "", ""}}, 31},
        {",,\n,a", {{"", "", ""}, {"", "a", ""}}, 26},
    };
    for (const auto& c : cases) {
        SumoraDocument doc = readCsvDocument(c.text);
        const Sheet& sheet = doc.sheets[0];
        EXPECT_EQ(grid(doc, 2, 3), c.rows) << c.text;
        EXPECT_EQ(sheet.columnCount(), c.columns) << c.text;
        // Trailing empty fields are padding, not stored cells.
        EXPECT_LE(sheet.storedColumnCount(0), 3) << c.text;
    }
}

TEST(CsvRead, RaggedLinesArePaddedAndSizesGrowPastTheDefault) {
    std::string text;
    for (int r = 0; r < 700; ++r) {
        for (int c = 0; c < 30; ++c)
            text += (c ? "," : "") + std::to_string(r * 30 + c);
        text += '\n';
    }
    SumoraDocument doc = readCsvDocument(text);
    EXPECT_EQ(doc.sheets[0].rowCount(), 700);
    EXPECT_EQ(doc.sheets[0].columnCount(), 30);
    EXPECT_EQ(doc.sheets[0].cell(699, 29).value(), "20999");

    SumoraDocument ragged = readCsvDocument("a\nb,c,d\n");
    EXPECT_EQ(ragged.sheets[0].columnCount(), 26);
    EXPECT_EQ(grid(ragged, 2, 4), (std::vector<Fields>{{"a", "", "", ""}, {"b", "c", "d", ""}}));
    EXPECT_TRUE(ragged.sheets[0].cell(0, 1).isDefault());
}

TEST(CsvRead, AgreesWithSplittingLinesThenParsingEachOnRandomText) {
    // Long lines whose separators, quotes and multi-byte characters (some
    // sharing a first byte with NEL, LS and PS) fall anywhere: the reader
    // must match the plain definition, lines split at every separator,
    // blank ones dropped, each parsed by parseCSVLine.
    const std::vector<std::string> pieces = {"a",
                                             "bc",
                                             "1234567",
                                             "Customer 12",
                                             ",",
                                             ",",
                                             "\"",
                                             "\n",
                                             "\r",
                                             "\v",
                                             "\f",
                                             "\xC2\x85",
                                             "\xE2\x80\xA8",
                                             "\xE2\x80\xA9",
                                             "\xC2\xA0",
                                             "\xE2\x82\xAC",
                                             "\xC3\xA9"};
    std::mt19937 random(17);
    for (int round = 0; round < 300; ++round) {
        std::string text;
        const size_t count = random() % 300;
        for (size_t i = 0; i < count; ++i)
            text += pieces[random() % pieces.size()];
        std::vector<Fields> lines;
        size_t start = 0;
        auto cut = [&](size_t end) {
            if (end > start) lines.push_back(parseCSVLine(std::string_view(text).substr(start, end - start)));
        };
        for (size_t i = 0; i < text.size();) {
            const std::string_view rest = std::string_view(text).substr(i);
            size_t length = std::string_view("\n\r\v\f").find(rest[0]) != std::string_view::npos ? 1 : 0;
            for (std::string_view separator : {"\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"})
                if (rest.starts_with(separator)) length = separator.size();
            if (length == 0) {
                ++i;
                continue;
            }
            cut(i);
            i += length;
            start = i;
        }
        cut(text.size());
        size_t widest = 0;
        for (const Fields& line : lines)
            widest = std::max(widest, line.size());
        const SumoraDocument doc = readCsvDocument(text);
        const Sheet& sheet = doc.sheets[0];
        ASSERT_EQ(sheet.rowCount(), std::max<int64_t>(static_cast<int64_t>(lines.size()), 500)) << text;
        ASSERT_EQ(sheet.columnCount(), std::max<int64_t>(static_cast<int64_t>(widest), 26)) << text;
        for (size_t r = 0; r < lines.size(); ++r)
            for (size_t c = 0; c < widest; ++c)
                ASSERT_EQ(sheet.cell(static_cast<int64_t>(r), static_cast<int64_t>(c)).value(),
                          c < lines[r].size() ? lines[r][c] : "")
                    << text;
    }
}

TEST(CsvRead, InvalidUtf8IsAnEncodingError) {
    const std::string bad[] = {
        "\xFF", "a,\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "ok\n\x80",
    };
    for (const auto& b : bad) {
        try {
            readCsvDocument(b);
            ADD_FAILURE() << "accepted invalid UTF-8";
        } catch (const FileReadError& e) {
            EXPECT_EQ(e.code(), FileReadError::Code::inapplicableEncoding);
        }
    }
    EXPECT_NO_THROW(readCsvDocument("\xC3\xA9,\xF0\x9F\x98\x80,\xEF\xBF\xBD"));
}

TEST(CsvWrite, NewDocumentIs500LinesOf26EmptyFields) {
    std::string text = writeCsv(SumoraDocument());
    std::string line = std::string(25, ',') + "\n";
    ASSERT_EQ(text.size(), 500 * line.size());
    for (size_t i = 0; i < 500; ++i)
        ASSERT_EQ(text.compare(i * line.size(), line.size(), line), 0) << i;
}

TEST(CsvWrite, FieldsAreQuotedOnlyForCommaQuoteOrLineFeed) {
    const struct {
        const char* text;
        const char* field;
    } cases[] = {
        {"plain", "plain"},       {"He said \"hi\"", "\"He said \"\"hi\"\"\""},
        {"a,b", "\"a,b\""},       {"line\nbreak", "\"line\nbreak\""},
        {"cr\ronly", "cr\ronly"}, {"", ""},
        {" padded ", " padded "},
    };
    for (const auto& c : cases) {
        std::string out;
        appendCsvField(out, c.text);
        EXPECT_EQ(out, c.field) << c.text;
    }
}

TEST(CsvWrite, WritesDisplayValuesOfTheFirstSheetOnly) {
    SumoraDocument doc;
    doc.sheets[0].setGridSize(2, 3);
    Cell& formula = doc.sheets[0].cellForWriting(0, 0);
    formula.setFormula("1+1");
    formula.setComputedValue("2");
    doc.sheets[0].cellForWriting(0, 2).setValue("x,y");
    doc.sheets[0].cellForWriting(1, 1).setValue("cached"); // no computed text: the value shows
    doc.sheets.push_back(SumoraDocument::makeNewSheet("Other"));
    doc.sheets[1].cellForWriting(0, 0).setValue("ignored");
    EXPECT_EQ(writeCsv(doc), "2,,\"x,y\"\n,cached,\n");
    EXPECT_EQ(writeCsv(SumoraDocument::empty()), "");
}

TEST(CsvWrite, LargeSheetsComeOutAsTheGridReadsRowByRow) {
    // Enough rows for the writer to split the work, ragged rows, empty rows,
    // rows past the stored ones, and one stretch of long texts larger than
    // the writer formats ahead at once. The expected text is built cell by
    // cell through the logical grid.
    SumoraDocument doc;
    Sheet& sheet = doc.sheets[0];
    const char* texts[] = {"7", "a,b", "say \"hi\"", "two\nlines", "\xC3\xA9t\xC3\xA9", ""};
    for (int64_t r = 0; r < 9000; ++r)
        for (int64_t c = 0; c < r % 7; ++c)
            sheet.cellForWriting(r, (r + c * 3) % 30).setValue(texts[(r + c) % 6]);
    const std::string longText(1 << 20, 'x');
    for (int64_t r = 4000; r < 4006; ++r)
        sheet.cellForWriting(r, 1).setValue(longText);
    sheet.setGridSize(9500, 31);
    std::string expected;
    for (int64_t r = 0; r < sheet.rowCount(); ++r) {
        for (int64_t c = 0; c < sheet.columnCount(); ++c) {
            if (c > 0) expected += ',';
            appendCsvField(expected, sheet.cell(r, c).displayValue());
        }
        expected += '\n';
    }
    size_t largestPiece = 0;
    std::string written;
    writeCsv(doc, [&](std::string_view piece) {
        largestPiece = std::max(largestPiece, piece.size());
        written += piece;
    });
    ASSERT_EQ(written.size(), expected.size());
    EXPECT_TRUE(written == expected);
    EXPECT_LT(largestPiece, size_t{8} << 20);
}

TEST(CsvRoundTrip, FormulasComeBackAsTheirResults) {
    SumoraDocument doc;
    doc.sheets[0].setGridSize(1, 2);
    doc.sheets[0].cellForWriting(0, 0).setFormula("1+1");
    doc.sheets[0].cellForWriting(0, 0).setComputedValue("2");
    doc.sheets[0].cellForWriting(0, 1).setValue("He said \"hi\", twice");
    SumoraDocument back = readCsvDocument(writeCsv(doc));
    EXPECT_FALSE(back.sheets[0].cell(0, 0).formula());
    EXPECT_EQ(back.sheets[0].cell(0, 0).value(), "2");
    // The writer doubles quotes; the reader drops them: the quotes are gone.
    EXPECT_EQ(back.sheets[0].cell(0, 1).value(), "He said hi, twice");
}

TEST(CsvRoundTrip, PlainTextsSurviveWriteThenRead) {
    const std::string text = "a,b,c\n1,,3\n\xC3\xA9t\xC3\xA9,\"x,y\",\n";
    SumoraDocument doc = readCsvDocument(text);
    SumoraDocument again = readCsvDocument(writeCsv(doc));
    EXPECT_EQ(grid(again, 4, 4), grid(doc, 4, 4));
    EXPECT_EQ(again.sheets[0].cell(2, 1).value(), "x,y");
}

} // namespace
} // namespace sumora
