// The command-line front end, run as a separate process: what it prints,
// its exit status, that -o replaces files atomically, and the commands that
// edit through the editor.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

#include "formats/OdsFormat.h"
#include "tests/CliTestSupport.h"
#include "tests/TestSupport.h"

namespace {

namespace fs = std::filesystem;

using sumora::test::CliRun;
using sumora::test::shellQuoted;
using Cli = sumora::test::CliProcessTest;

TEST_F(Cli, EvalPrintsTheCellText) {
    const struct {
        const char* formula;
        const char* printed;
        const char* options = "";
    } cases[] = {
        {"=-2^2", "4\n"},
        {"=1234567&\"\"", "1.23457e+06\n"},
        {"FOO(1)", "#NAME? (FOO)\n"},
        {"=1+", "\n"}, // a formula that does not parse leaves the cell empty
        {"1+1", "2\n"},
        {"=1/0", "#DIV/0!\n"},
        {"=\"a\"&\"b\"", "ab\n"},
        {"=(1+2)*LEN(\"ab\")", "(1+2) → 3\nLEN(\"ab\") → 2\n3*2 → 6\n6\n", "--steps"},
        {"=1+", "#ERROR: Unexpected end of formula\n\n", "--steps"},
    };
    for (const auto& c : cases) {
        CliRun r = run("eval " + shellQuoted(c.formula) + " " + c.options);
        EXPECT_EQ(r.status, 0) << c.formula;
        EXPECT_EQ(r.out, c.printed) << c.formula;
    }
}

TEST_F(Cli, RecalcPrintsResultsThroughTheUsedRange) {
    fs::path in = file("book.csv", "=1+1,abc\n\"x,y\",=A1*3\n");
    CliRun r = run("recalc " + shellQuoted(in.string()));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "2,abc\n\"x,y\",6\n");
    EXPECT_EQ(r.out.find("[Sumora]"), std::string::npos); // diagnostics stay on stderr
}

TEST_F(Cli, UnreadableFilesFailWithTheReadersMessage) {
    CliRun missing = run("recalc " + shellQuoted((dir_ / "absent.csv").string()));
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.out, "");
    EXPECT_NE(missing.err.find("absent.csv"), std::string::npos) << missing.err;

    fs::path bad = file("bad.csv", "\xFF\xFE");
    CliRun encoding = run("recalc " + shellQuoted(bad.string()));
    EXPECT_EQ(encoding.status, 1);
    EXPECT_EQ(encoding.out, "");
    EXPECT_NE(encoding.err.find("text encoding"), std::string::npos) << encoding.err;
}

TEST_F(Cli, OutputIsWrittenAtomically) {
    fs::path in = file("book.csv", "=1+1,abc\n");
    fs::path out = file("out.csv", "previous\n");
    CliRun r = run("recalc " + shellQuoted(in.string()) + " -o " + shellQuoted(out.string()));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "");
    std::string written = slurp(out);
    EXPECT_EQ(written.substr(0, written.find('\n') + 1), "2,abc" + std::string(24, ',') + "\n");
    EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 500);
    EXPECT_EQ(entries(), (std::vector<std::string>{"book.csv", "out.csv"}));
}

TEST_F(Cli, FailedWriteKeepsThePreviousFile) {
    fs::path in = file("book.csv", "=1+1,abc\n");
    fs::path out = file("out.csv", "previous\n");
    // A file-size limit makes the write fail part-way even for root; the
    // signal it raises must not end the process.
    CliRun r = run("recalc " + shellQuoted(in.string()) + " -o " + shellQuoted(out.string()), "ulimit -f 4;");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("larger than this system allows"), std::string::npos) << r.err;
    EXPECT_EQ(slurp(out), "previous\n");
    EXPECT_EQ(entries(), (std::vector<std::string>{"book.csv", "out.csv"}));

    CliRun noDir = run("recalc " + shellQuoted(in.string()) + " -o " +
                       shellQuoted((dir_ / "missing" / "out.csv").string()));
    EXPECT_EQ(noDir.status, 1);
    EXPECT_NE(noDir.err.find("out.csv"), std::string::npos) << noDir.err;
}

TEST_F(Cli, UsageErrorsExitNonZero) {
    EXPECT_NE(run("").status, 0);
    EXPECT_NE(run("eval").status, 0);
    EXPECT_NE(run("frobnicate").status, 0);
}

// ---- the commands that edit through the editor ----------------------------------

using EditorCommandLine = Cli;

TEST_F(EditorCommandLine, SortPrintsTheSortedSheet) {
    const std::string in = shellQuoted(file("in.csv", "name,score\nb,10\na,9\nc,100\n").string());
    CliRun r = run("sort " + in + " B --desc --header");
    EXPECT_EQ(r.out.substr(0, 30), "name,score\nc,100\nb,10\na,9\n");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(run("sort " + in + " 2").status, 2);
}

TEST_F(EditorCommandLine, GoalSeekAndSolvePrintTheirStatus) {
    const std::string in = shellQuoted(file("in.csv", "1,=A1*2,=A1+C2\n,,0\n").string());
    CliRun r = run("goalseek " + in + " B1 10 A1");
    EXPECT_EQ(r.out, "Found solution: 5.000000\n");
    EXPECT_EQ(r.status, 0);
    r = run("goalseek " + in + " B1 ten A1");
    EXPECT_EQ(r.out, "Invalid input. Use cell references like A1, B2.\n");
    EXPECT_EQ(r.status, 2);

    const fs::path out = dir_ / "out.csv";
    r = run("solve " + in + " --objective C1 --goal max --vars A1,C2 --constraint 'A1 <= 3' " +
            "--constraint C2\\<=4 --constraint 'C2 int' -o " + shellQuoted(out.string()));
    EXPECT_EQ(r.out, "Solution found. Objective = 7\n");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(slurp(out).substr(0, 6), "3,6,7,");
    EXPECT_EQ(run("solve " + in + " --objective C1 --vars A1 --constraint 'A1 maybe 3'").status, 2);
}

using EditorSetCommand = Cli;

TEST_F(EditorSetCommand, EntersEachAssignmentAndWritesTheResult) {
    const std::string in = shellQuoted(file("in.csv", "1,2\n").string());
    const fs::path out = dir_ / "out.csv";
    CliRun r = run("set " + in + " 'C1==A1+B1' 'A1=1.234,5' --locale de_DE -o " + shellQuoted(out.string()));
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(slurp(out).substr(0, 16), "1234.5,2,1236.5,");
    EXPECT_NE(run("set " + in + " nonsense").status, 0);
}

TEST_F(EditorSetCommand, RefusesCellsOutsideTheSheetAndTypesItCannotWrite) {
    const std::string in = shellQuoted(file("in.csv", "1,2\n").string());
    const struct {
        const char* args;
        const char* message;
    } cases[] = {
        {"XFE1=1", "outside the sheet"},
        {"A2000000=1", "outside the sheet"},
        {"A1=1 -o out.xls", "Sumora writes .xlsx, .ods and .csv"},
        {"A1=1 -o out", "Sumora writes .xlsx, .ods and .csv"},
    };
    for (const auto& c : cases) {
        CliRun r = run("set " + in + " " + c.args, "cd " + shellQuoted(dir_.string()) + ";");
        EXPECT_EQ(r.status, 2) << c.args;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
    }
    EXPECT_EQ(run("set " + in + " XFD1=1").status, 0); // the last column is inside
    EXPECT_EQ(entries(), std::vector<std::string>{"in.csv"});
}

TEST_F(EditorSetCommand, AFileInUseElsewhereIsNotOverwritten) {
    const std::string in = shellQuoted(file("in.csv", "1,2\n").string());
    file(".~lock.out.csv#", "Jane Doe,jane,host,25.11.2026 10:00,file:///home/jane;");
    const fs::path out = file("out.csv", "theirs\n");
    CliRun r = run("set " + in + " A1=3 -o " + shellQuoted(out.string()));
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("in use by Jane Doe"), std::string::npos) << r.err;
    EXPECT_EQ(slurp(out), "theirs\n");
}

TEST_F(EditorSetCommand, ChangesTheFormatForcesArePrintedAsWarnings) {
    sumora::SumoraDocument doc;
    doc.sheets[0].name = "Quarterly figures for the north region";
    std::ofstream(dir_ / "in.ods", std::ios::binary) << sumora::writeOds(doc.sheets);
    CliRun r = run("set " + shellQuoted((dir_ / "in.ods").string()) + " A1=1 -o " +
                   shellQuoted((dir_ / "out.xlsx").string()));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("Warning: Sheet \"Quarterly figures for the north region\" is saved as "
                         "\"Quarterly figures for the north\""),
              std::string::npos)
        << r.err;
}

} // namespace
