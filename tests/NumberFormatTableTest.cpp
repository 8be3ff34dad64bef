// Every row of tests/data/number_formats.tsv (format, value, expected text)
// through TEXT() and through the renderer the grid uses. The table is rebuilt
// by tests/data/number_formats_generate.py; a value written 'abc is a text.
#include "TestSupport.h"
#include "values/NumberFormat.h"

#include <charconv>
#include <fstream>

namespace sumora {
namespace {

struct Row {
    int line = 0;
    std::string code;
    std::string value;
    std::string expected;
};

std::vector<Row> readTable() {
    std::ifstream in(std::string(SUMORA_SOURCE_DIR) + "/tests/data/number_formats.tsv");
    std::vector<Row> rows;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (number == 1 || line.empty()) continue; // the first line names the columns
        Row row{number, {}, {}, {}};
        std::string* fields[] = {&row.code, &row.value, &row.expected};
        size_t start = 0;
        for (std::string* field : fields) {
            const size_t tab = line.find('\t', start);
            *field = line.substr(start, tab == std::string::npos ? std::string::npos : tab - start);
            start = tab == std::string::npos ? line.size() : tab + 1;
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

std::string describe(const Row& row) {
    return "line " + std::to_string(row.line) + ": format [" + row.code + "] value [" + row.value + "]";
}

TEST(NumberFormatTable, GridRendererMatchesEveryRow) {
    const std::vector<Row> rows = readTable();
    ASSERT_GE(rows.size(), 600u);
    for (const Row& row : rows) {
        std::string got;
        if (row.value.front() == '\'') {
            got = formatText(std::string_view(row.value).substr(1), row.code).text;
        } else {
            double number = 0;
            std::from_chars(row.value.data(), row.value.data() + row.value.size(), number);
            got = formatValue(number, row.code).text;
        }
        EXPECT_EQ(got, row.expected) << describe(row);
    }
}

// The code goes into the formula as a string literal: a cell holding "0.00"
// would be read back as the number 0.
std::string stringLiteral(std::string_view text) {
    std::string literal = "\"";
    for (char c : text)
        literal += c == '"' ? std::string("\"\"") : std::string(1, c);
    return literal + '"';
}

TEST(NumberFormatTable, TextFunctionMatchesEveryRow) {
    test::TestBook book;
    for (const Row& row : readTable()) {
        book.set("A1", row.value.front() == '\'' ? std::string_view(row.value).substr(1) : row.value);
        EXPECT_EQ(book.eval("TEXT(A1," + stringLiteral(row.code) + ")"), row.expected) << describe(row);
    }
}

} // namespace
} // namespace sumora
