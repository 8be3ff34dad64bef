// Interface benchmarks on the offscreen platform:
//  - PaintViewportMillionRows: one full repaint of the grid's viewport
//    (1600 × 1000 window) at scattered places of a 1,000,000-row sheet with
//    numbers, texts, number formats and fills. Target: under 16 ms.
//  - LaunchToShown200kRows: from starting the `sumora` executable on a
//    200,000-row XLSX to its first painted grid (the process reports the
//    moment and quits), measured as wall time around the whole process.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "app/MainWindow.h"
#include "app/SheetGridView.h"
#include "values/Log.h"
#include "formats/XlsxFormat.h"

using namespace sumora;
using namespace sumora::app;

namespace {

// Rows of an order list: id, product, unit price (currency), quantity,
// total (a computed formula) and a date; every tenth row is filled.
SumoraDocument orderBook(int64_t rows) {
    SumoraDocument doc;
    Sheet& sheet = doc.sheets[0];
    sheet.name = "Orders";
    sheet.setGridSize(rows, 26);
    CellFormat currency;
    currency.numberFormat = "$#,##0.00";
    CellFormat date;
    date.numberFormat = "yyyy-mm-dd";
    CellFormat highlighted = currency;
    highlighted.fillColor = "FFF2CC";
    static const char* products[] = {"Widget", "Gadget", "Sprocket", "Gizmo", "Doohickey"};
    for (int64_t r = 0; r < rows; ++r) {
        sheet.reserveRow(r, 6);
        const double price = 1.25 + static_cast<double>(r % 97);
        const int64_t quantity = 1 + r % 13;
        sheet.cellForWriting(r, 0).setValue(std::to_string(r + 1));
        sheet.cellForWriting(r, 1).setValue(products[r % 5]);
        Cell& p = sheet.cellForWriting(r, 2);
        p.setValue(std::to_string(price));
        p.setFormat(r % 10 == 0 ? highlighted : currency);
        sheet.cellForWriting(r, 3).setValue(std::to_string(quantity));
        Cell& total = sheet.cellForWriting(r, 4);
        total.setFormula("C" + std::to_string(r + 1) + "*D" + std::to_string(r + 1));
        total.setComputedValue(std::to_string(price * static_cast<double>(quantity)));
        total.setFormat(currency);
        Cell& d = sheet.cellForWriting(r, 5);
        d.setValue(std::to_string(45000 + r % 365));
        d.setFormat(date);
    }
    return doc;
}

MainWindow* paintWindow() {
    static MainWindow* window = [] {
        auto* w = new MainWindow(orderBook(1'000'000), QStringLiteral("Orders"));
        w->resize(1600, 1000);
        w->show();
        QApplication::processEvents();
        return w;
    }();
    return window;
}

void PaintViewportMillionRows(benchmark::State& state) {
    MainWindow* window = paintWindow();
    SheetGridView* grid = window->grid();
    QScrollBar* bar = grid->verticalScrollBar();
    int step = 0;
    for (auto _ : state) {
        state.PauseTiming();
        bar->setValue(
            static_cast<int>((static_cast<int64_t>(step++) * 61'803) % std::max(1, bar->maximum())));
        QApplication::processEvents();
        state.ResumeTiming();
        grid->viewport()->repaint();
    }
    const QRect r = grid->viewport()->rect();
    state.counters["rows_shown"] = grid->rowAt(r.bottom()) - grid->rowAt(0) + 1;
    state.counters["columns_shown"] = grid->columnAt(r.right()) - grid->columnAt(0) + 1;
}
BENCHMARK(PaintViewportMillionRows)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void LaunchToShown200kRows(benchmark::State& state) {
    QTemporaryDir dir;
    const QString book = dir.filePath(QStringLiteral("orders-200k.xlsx"));
    {
        const std::string bytes = writeXlsx(orderBook(200'000));
        QFile file(book);
        file.open(QIODevice::WriteOnly);
        file.write(bytes.data(), static_cast<qint64>(bytes.size()));
    }
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    env.insert(QStringLiteral("HOME"), dir.path()); // fresh settings, no recovery offer
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), dir.filePath(QStringLiteral("config")));
    env.insert(QStringLiteral("XDG_DATA_HOME"), dir.filePath(QStringLiteral("data")));
    double reported = 0;
    for (auto _ : state) {
        QProcess process;
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(SUMORA_APP_PATH), {QStringLiteral("--quit-when-shown"), book});
        if (!process.waitForFinished(120'000) || process.exitCode() != 0) {
            state.SkipWithError("the application did not start and quit");
            break;
        }
        reported = QString::fromLocal8Bit(process.readAllStandardOutput()).trimmed().toDouble();
    }
    state.counters["in_process_ms"] = reported;
}
BENCHMARK(LaunchToShown200kRows)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QStandardPaths::setTestModeEnabled(true);
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Sumora"));
    QApplication::setApplicationName(QStringLiteral("Sumora"));
    Log::setEnabled(false);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
