// Recalculation at scale, on a generated sheet of 100,000 rows:
//   A = numbers, B = A*2+1, C = B + C of the row above (a 100,000-long chain),
//   D = SUM of the 100-row window of B ending on the row, E1 = SUM(C1:C100000).
// Prints the time and memory of a full recalculation from formula texts, the
// time of incremental recalculations after editing the last A cell and A1,
// and the whole-process time of `sumora-cli recalc` on the same workload as CSV.
//
// A plain program rather than a Google Benchmark fixture: each figure is one
// stateful step (a full recalculation builds what the edits then use), and
// peak memory is part of the result.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include "engine/FunctionRegistry.h"
#include "engine/SheetCalculator.h"
#include "functions/BuiltinFunctions.h"
#include "values/Log.h"

extern char** environ;

namespace {

using namespace sumora;
using Clock = std::chrono::steady_clock;

constexpr int kRows = 100000;
constexpr int kWindow = 100;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Processor time of this process: the machine is shared, and wall time
// includes waiting for a core.
double cpuMilliseconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

double peakRssMb() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

double currentRssMb() {
    long pages = 0, resident = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
        std::fclose(f);
    }
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

// The formula texts of row n (one-based) of columns B, C and D.
std::string formulaB(int n) {
    return "A" + std::to_string(n) + "*2+1";
}
std::string formulaC(int n) {
    return n == 1 ? "B1" : "B" + std::to_string(n) + "+C" + std::to_string(n - 1);
}
std::string formulaD(int n) {
    return "SUM(B" + std::to_string(std::max(1, n - kWindow + 1)) + ":B" + std::to_string(n) + ")";
}
const std::string kTotal = "SUM(C1:C" + std::to_string(kRows) + ")";
std::string numberA(int n) {
    return std::to_string(n % 100 + 1);
}

SumoraDocument makeWorkload() {
    SumoraDocument doc;
    Sheet& sheet = doc.sheets[0];
    for (int n = 1; n <= kRows; ++n) {
        int r = n - 1;
        sheet.reserveRow(r, n == 1 ? 5 : 4);
        Cell& a = sheet.cellForWriting(r, 0);
        a.setValue(numberA(n));
        a.setComputedValue(numberA(n));
        sheet.cellForWriting(r, 1).setFormula(formulaB(n));
        sheet.cellForWriting(r, 2).setFormula(formulaC(n));
        sheet.cellForWriting(r, 3).setFormula(formulaD(n));
    }
    sheet.cellForWriting(0, 4).setFormula(kTotal);
    return doc;
}

void writeWorkloadCsv(const std::string& path) {
    std::ofstream out(path);
    for (int n = 1; n <= kRows; ++n) {
        out << numberA(n) << ",=" << formulaB(n) << ",=" << formulaC(n) << ",=" << formulaD(n);
        if (n == 1) out << ",=" << kTotal;
        out << '\n';
    }
}

std::string shown(const SumoraDocument& doc, int64_t row, int64_t col) {
    return std::string(doc.sheets[0].cell(row, col).displayValue());
}

void setNumber(SumoraDocument& doc, int64_t row, int64_t col, const std::string& text) {
    Cell& c = doc.sheets[0].cellForWriting(row, col);
    c.setValue(text);
    c.setComputedValue(text);
}

struct Timing {
    double best = 0, median = 0;
};

template <class F> Timing repeat(int times, F&& step) {
    std::vector<double> ms;
    for (int i = 0; i < times; ++i)
        ms.push_back(step(i));
    std::sort(ms.begin(), ms.end());
    return {ms.front(), ms[ms.size() / 2]};
}

// Runs the command-line front end on a file; wall time and the child's peak RSS.
bool timeCli(const std::string& csv, double& ms, double& peakMb) {
    std::string cli = SUMORA_CLI_PATH;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    std::vector<std::string> args = {cli, "recalc", csv};
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    auto start = Clock::now();
    pid_t pid = 0;
    int rc = posix_spawn(&pid, cli.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) return false;
    int status = 0;
    rusage usage{};
    if (wait4(pid, &status, 0, &usage) < 0) return false;
    ms = millisecondsSince(start);
    peakMb = static_cast<double>(usage.ru_maxrss) / 1024.0;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

int main() {
    Log::setEnabled(false); // SUM logs every call; that is not what is measured here
    if (!builtinFunctions().find("SUM")) {
        std::printf("SUM is not registered: the workload would measure #NAME? errors\n");
        return 1;
    }
    std::printf("Workload: %d rows; A numbers, B = A*2+1, C = B + C above, D = SUM of a %d-row window of B, "
                "E1 = SUM(C1:C%d)\n\n",
                kRows, kWindow, kRows);

    SumoraDocument doc = makeWorkload();
    double rssBefore = currentRssMb();
    double peakBefore = peakRssMb();
    SheetCalculator calc(doc, 0, builtinFunctions());
    auto start = Clock::now();
    double cpuStart = cpuMilliseconds();
    calc.recalculateAll();
    double fullMs = millisecondsSince(start), fullCpuMs = cpuMilliseconds() - cpuStart;
    double peakAfter = peakRssMb();
    std::printf("Full recalculation (300,001 formulas from text):  %8.1f ms (%.1f ms of processor time)\n",
                fullMs, fullCpuMs);
    std::printf("  process peak RSS %.0f MB (document alone %.0f MB, peak before recalculation %.0f MB); "
                "RSS growth over the recalculation %.0f MB\n",
                peakAfter, rssBefore, peakBefore, currentRssMb() - rssBefore);
    std::printf("  C%d = %s, D%d = %s, E1 = %s\n", kRows, shown(doc, kRows - 1, 2).c_str(), kRows,
                shown(doc, kRows - 1, 3).c_str(), shown(doc, 0, 4).c_str());

    Timing lastA = repeat(21, [&](int i) {
        setNumber(doc, kRows - 1, 0, std::to_string(1000 + i));
        auto t = Clock::now();
        calc.recalculate(0, kRows - 1);
        return millisecondsSince(t);
    });
    std::printf("Incremental after editing A%d (4 formulas):       %8.3f ms best, %.3f ms median\n", kRows,
                lastA.best, lastA.median);
    std::printf("  D%d = %s, E1 = %s\n", kRows, shown(doc, kRows - 1, 3).c_str(), shown(doc, 0, 4).c_str());

    Timing firstA = repeat(7, [&](int i) {
        setNumber(doc, 0, 0, std::to_string(500 + i));
        auto t = Clock::now();
        calc.recalculate(0, 0);
        return millisecondsSince(t);
    });
    std::printf("Incremental after editing A1 (100,102 formulas):  %8.1f ms best, %.1f ms median\n",
                firstA.best, firstA.median);
    std::printf("  C%d = %s, E1 = %s\n", kRows, shown(doc, kRows - 1, 2).c_str(), shown(doc, 0, 4).c_str());

    const std::string csv = "/tmp/sumora_recalc_bench.csv";
    writeWorkloadCsv(csv);
    double cliMs = 0, cliPeak = 0, bestMs = 1e300, bestPeak = 0;
    bool ok = true;
    for (int i = 0; i < 3 && ok; ++i) {
        ok = timeCli(csv, cliMs, cliPeak);
        if (cliMs < bestMs) {
            bestMs = cliMs;
            bestPeak = cliPeak;
        }
    }
    if (ok)
        std::printf("sumora-cli recalc %s (whole process, best of 3): %.0f ms, peak RSS %.0f MB\n",
                    csv.c_str(), bestMs, bestPeak);
    else
        std::printf("sumora-cli recalc %s failed (%s)\n", csv.c_str(), SUMORA_CLI_PATH);
    std::remove(csv.c_str());
    return 0;
}
