// The command-line front end, run as a separate process: what it prints,
// its exit status, and that -o replaces files atomically.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct CliRun {
    int status = -1;
    std::string out;
    std::string err;
};

std::string slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string shellQuoted(std::string_view s) {
    std::string q = "'";
    for (char c : s)
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

class Cli : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() / ("sumora-cli-" + std::to_string(::getpid()) + "-" +
                                            ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir_);
        fs::create_directories(dir_);
    }
    void TearDown() override { fs::remove_all(dir_); }

    // Runs the CLI with `args` (already shell-quoted), after an optional shell
    // prefix such as a resource limit.
    CliRun run(const std::string& args, const std::string& prefix = "") {
        const fs::path out = dir_ / ".stdout", err = dir_ / ".stderr";
        std::string command = prefix + " exec " + shellQuoted(SUMORA_CLI_PATH) + " " + args + " >" +
                              shellQuoted(out.string()) + " 2>" + shellQuoted(err.string());
        int raw = std::system(("bash -c " + shellQuoted(command)).c_str());
        CliRun r;
        r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        r.out = slurp(out);
        r.err = slurp(err);
        fs::remove(out);
        fs::remove(err);
        return r;
    }
    fs::path file(const std::string& name, std::string_view text) {
        std::ofstream(dir_ / name, std::ios::binary) << text;
        return dir_ / name;
    }
    std::vector<std::string> entries() const {
        std::vector<std::string> names;
        for (const auto& e : fs::directory_iterator(dir_))
            names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    fs::path dir_;
};

TEST_F(Cli, EvalPrintsTheCellText) {
    const struct {
        const char* formula;
        const char* printed;
    } cases[] = {
        {"=-2^2", "4\n"},
        {"=1234567&\"\"", "1.23457e+06\n"},
        {"FOO(1)", "#NAME? (FOO)\n"},
        {"=1+", "\n"}, // a formula that does not parse leaves the cell empty
        {"1+1", "2\n"},
        {"=1/0", "#DIV/0!\n"},
        {"=\"a\"&\"b\"", "ab\n"},
    };
    for (const auto& c : cases) {
        CliRun r = run("eval " + shellQuoted(c.formula));
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
    // signal it raises is ignored so that write() reports the error.
    CliRun r = run("recalc " + shellQuoted(in.string()) + " -o " + shellQuoted(out.string()),
                   "trap '' XFSZ; ulimit -f 4;");
    EXPECT_EQ(r.status, 1);
    EXPECT_FALSE(r.err.empty());
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

} // namespace
