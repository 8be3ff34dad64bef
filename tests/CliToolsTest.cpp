// The reporting commands (check, diff, trace, recalc --profile) run as a
// process over the workbooks of tests/data/tools, whose expected outputs
// (cases.txt) come from LibreOffice's results: make_workbooks.py beside them
// rebuilds both.
#include <gtest/gtest.h>

#include <fnmatch.h>

#include <fstream>
#include <sstream>

#include "engine/WorkbookDependencies.h"
#include "formats/StoredResultCheck.h"
#include "functions/BuiltinFunctions.h"
#include "tests/CliTestSupport.h"

namespace {

namespace fs = std::filesystem;
using namespace sumora;
using sumora::test::CliRun;
using sumora::test::shellQuoted;

const fs::path kData = fs::path(SUMORA_SOURCE_DIR) / "tests" / "data" / "tools";

struct ToolCase {
    std::string args;
    int status = 0;
    std::vector<std::string> lines;
};

std::vector<ToolCase> readCases() {
    std::ifstream in(kData / "cases.txt");
    std::vector<ToolCase> cases;
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind("=== ", 0) == 0) {
            cases.push_back({line.substr(4), 0, {}});
        } else if (!cases.empty() && line.rfind("exit ", 0) == 0 && cases.back().lines.empty()) {
            cases.back().status = std::stoi(line.substr(5));
        } else if (!cases.empty()) {
            cases.back().lines.push_back(line);
        }
    }
    return cases;
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

class ToolCommands : public sumora::test::CliProcessTest {
  protected:
    // Runs with every argument that names a file of the data folder made absolute.
    CliRun runTool(const std::string& args) {
        std::string quoted;
        std::istringstream words(args);
        for (std::string w; words >> w;)
            quoted += " " + shellQuoted(fs::exists(kData / w) ? (kData / w).string() : w);
        return run(quoted);
    }
};

TEST_F(ToolCommands, PrintWhatLibreOfficesResultsPredict) {
    std::vector<ToolCase> cases = readCases();
    ASSERT_GT(cases.size(), 10u);
    for (const ToolCase& c : cases) {
        SCOPED_TRACE(c.args);
        CliRun r = runTool(c.args);
        EXPECT_EQ(r.status, c.status) << r.err;
        std::vector<std::string> got = splitLines(r.out);
        ASSERT_EQ(got.size(), c.lines.size()) << r.out;
        for (size_t i = 0; i < got.size(); ++i)
            EXPECT_EQ(fnmatch(c.lines[i].c_str(), got[i].c_str(), 0), 0) << c.lines[i] << "\n" << got[i];
    }
}

TEST_F(ToolCommands, JsonOutputIsOneDocumentAScriptReads) {
    const struct {
        const char* args;
        const char* python; // prints a summary of the document j
        const char* expected;
    } cases[] = {
        {"check stale.xlsx --json",
         "print(j['agrees'], [(d['cell'], d['stored']) for d in j['differences']])",
         "False [('Calc!A2', '999')]"},
        {"check volatile.xlsx --json",
         "print(j['agrees'], j['formulasChecked'], [d['cell'] for d in j['volatile']])",
         "True 3 ['Vol!A1', 'Vol!B1']"},
        {"diff book.xlsx changed.xlsx --json",
         "print(j['equal'], [(c['cell'], c['kind'], c['before'], c['after']) for c in j['cells']])",
         "False [('Data!A2', 'value', '20', '25'), ('Calc!A2', 'formula', '=A1*3', '=A1*4')]"},
        {"diff book.xlsx renamed.xlsx --json", "print(j['sheetsRenamed'], j['sheetsAdded'], j['cells'])",
         "[{'from': 'Notes', 'to': 'Remarks'}] [] []"},
        {"diff book.xlsx book.ods --json", "print(j['equal'])", "True"},
        {"trace book.xlsx Calc!C1 --depth 2 --json",
         "print(j['cell'], j['direction'], [(n['ref'], n['level'], n['parent'], n['value'], n['more']) "
         "for n in j['nodes']])",
         "Calc!C1 precedents [('Calc!C1', 0, None, '86', False), ('Data!A1:A3', 1, 0, None, False), "
         "('Calc!B1', 1, 0, '26.1429', False), ('Calc!A2', 2, 2, '183', True)]"},
        {"trace cycle.xlsx Loop!A1 --json", "print([(n['formula'], n['seeAbove']) for n in j['nodes']])",
         "[('=B1+1', False), ('=A1+1', False), ('=B1+1', True)]"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        CliRun r = runTool(c.args);
        fs::path json = file("out.json", r.out);
        std::string script = "import json,sys; j=json.load(open(sys.argv[1])); " + std::string(c.python);
        CliRun parsed;
        std::string command = "python3 -c " + shellQuoted(script) + " " + shellQuoted(json.string()) + " > " +
                              shellQuoted((dir_ / "parsed.txt").string()) + " 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0) << r.out;
        EXPECT_EQ(slurp(dir_ / "parsed.txt"), std::string(c.expected) + "\n");
    }
}

TEST_F(ToolCommands, BadInputGivesOneLineAndStatusTwo) {
    fs::path corrupt = file("corrupt.xlsx", "not a zip archive");
    fs::path text = file("notes.txt", "hello");
    const std::string missing = (dir_ / "missing.xlsx").string();
    const std::vector<std::string> cases = {
        "check " + missing,
        "check " + corrupt.string(),
        "check " + text.string(),
        "check book.xlsx --sheet Nope",
        "diff book.xlsx " + missing,
        "diff " + corrupt.string() + " book.xlsx",
        "trace book.xlsx Nope!A1",
        "trace book.xlsx Data!A1048577",
        "trace book.xlsx Data!XFE1",
        "trace book.xlsx Data!11",
        "trace " + missing + " Data!A1",
        "recalc " + corrupt.string() + " --profile",
    };
    const std::vector<std::string> before = entries();
    for (const std::string& args : cases) {
        SCOPED_TRACE(args);
        CliRun r = runTool(args);
        EXPECT_EQ(r.status, 2);
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    }
    EXPECT_EQ(entries(), before);
}

TEST(StoredResults, AgreeAsTheCellsRenderThem) {
    const struct {
        const char* stored;
        const char* computed;
        bool agree;
    } cases[] = {
        {"26.1429", "26.1429", true},
        {"1", "1.0000000001", true}, // within 1e-9, relative
        {"1e+300", "1.0000000001e+300", true},
        {"1", "1.00001", false},
        {"0", "5.551115123125783e-17", true}, // producers store rounding noise as 0
        {"0", "0.001", false},
        {"2024-01-05", "45296", true},    // ODS stores dates as ISO text
        {"#NAME?", "#NAME? (FOO)", true}, // files keep the error code only
        {"#VALUE!", "#CIRC!", false},
        {"TRUE", "true", true},
        {"abc", "ABC", false},
        {"", "0", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(storedResultAgrees(c.stored, c.computed, 1e-9), c.agree) << c.stored << " / " << c.computed;
}

TEST(WorkbookDependencies, LongestChainOfATallColumnNeedsNoRecursion) {
    SumoraDocument doc;
    constexpr int kRows = 50000;
    doc.sheets[0].cellForWriting(0, 0).setValue("1");
    for (int r = 1; r < kRows; ++r)
        doc.sheets[0].cellForWriting(r, 0).setFormula("A" + std::to_string(r) + "+1");
    std::vector<SheetCell> chain = WorkbookDependencies(doc, builtinFunctions()).longestChain();
    ASSERT_EQ(chain.size(), static_cast<size_t>(kRows - 1));
    EXPECT_EQ(chain.front(), (SheetCell{0, 0, kRows - 1}));
    EXPECT_EQ(chain.back(), (SheetCell{0, 0, 1}));
}

} // namespace
