// The distributions, hypothesis tests, descriptive statistics and regressions
// beyond the first statistical set, against the table that
// tests/data/statistics_extra_generate.py builds with LibreOffice as the
// oracle (departures, where the published definitions differ, are listed
// with their reasons in the script).
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "TestSupport.h"

namespace sumora {
namespace {

struct Table {
    test::TestBook book;
    std::vector<std::string> formulas, expected;
};

// "A1<TAB>value" fills a cell, "=FORMULA<TAB>expected" is a case, "#" a comment.
Table readTable(const std::string& path) {
    Table t;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        const size_t tab = line.find('\t');
        if (line.empty() || line.front() == '#' || tab == std::string::npos) continue;
        std::string left = line.substr(0, tab), right = line.substr(tab + 1);
        if (left.front() == '=') {
            t.formulas.push_back(std::move(left));
            t.expected.push_back(std::move(right));
        } else {
            t.book.set(left, right);
        }
    }
    return t;
}

TEST(StatisticalExtraFunctions, AgreeWithOracleTable) {
    Table t = readTable(std::string(SUMORA_SOURCE_DIR) + "/tests/data/statistics_extra.tsv");
    ASSERT_GT(t.formulas.size(), 200u);
    for (size_t i = 0; i < t.formulas.size(); ++i)
        test::expectFormulaResult(t.book, {t.formulas[i], t.expected[i]});
}

} // namespace
} // namespace sumora
