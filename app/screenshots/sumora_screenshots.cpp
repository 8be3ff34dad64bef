// Renders the documentation screenshots (docs/screenshot-*.png) of a sample
// workbook: the main window, the Insert Function panel filling arguments,
// and the settings window. Run under a display (Xvfb) for real fonts:
//   xvfb-run -a -s "-screen 0 1600x1000x24" build/app/sumora_screenshots docs
// With --sample FILE it only saves the sample workbook (examples/budget.xlsx).
#include <QApplication>
#include <QDir>
#include <QDockWidget>
#include <QLineEdit>
#include <QListWidget>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include "SampleWorkbook.h"
#include "app/FunctionArgumentsPage.h"
#include "app/InsertFunctionPanel.h"
#include "app/MainWindow.h"
#include "app/SettingsWindow.h"
#include "app/SheetGridView.h"
#include "app/SheetTableModel.h"
#include "editing/SumoraEditorView.h"
#include "values/Log.h"
#include "formats/DocumentIO.h"

using namespace sumora;
using namespace sumora::app;

namespace {

void settle() {
    for (int i = 0; i < 5; ++i) {
        QApplication::processEvents();
        QTest::qWait(30);
    }
}

bool save(QWidget* widget, const QString& path) {
    settle();
    const bool ok = widget->grab().save(path);
    std::printf("%s %s\n", ok ? "wrote" : "FAILED", qPrintable(path));
    return ok;
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc == 3 && std::string_view(argv[1]) == "--sample") {
        Log::setEnabled(false);
        saveDocumentFile(sampleWorkbook(), argv[2]);
        std::printf("wrote %s\n", argv[2]);
        return 0;
    }
    QStandardPaths::setTestModeEnabled(true); // the user's own settings stay untouched
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Sumora"));
    QApplication::setApplicationName(QStringLiteral("Sumora"));
    Log::setEnabled(false);
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("docs");
    QDir().mkpath(out);

    auto* window = new MainWindow(sampleWorkbook(), QStringLiteral("Quarterly Budget"));
    window->resize(1280, 720);
    window->show();
    window->grid()->selectRange(3, 1, 6, 4);
    bool ok = save(window, out + QStringLiteral("/screenshot-main.png"));

    window->grid()->selectCell(10, 6);
    window->showInsertFunction();
    InsertFunctionPanel* panel = window->insertFunctionPanel();
    panel->searchField()->setText(QStringLiteral("sum"));
    panel->functionList()->setCurrentRow(1);
    ok = save(window, out + QStringLiteral("/screenshot-insert-function.png")) && ok;
    panel->beginArguments(QStringLiteral("SUMIF"));
    window->grid()->pickPress(window->sheetModel()->index(3, 0));
    window->grid()->pickMove(window->sheetModel()->index(6, 0));
    window->grid()->pickRelease();
    panel->argumentsPage()->selectField(1);
    panel->argumentsPage()->fillSelectedField(QStringLiteral("\"Rent\""));
    panel->argumentsPage()->selectField(2);
    ok = save(window, out + QStringLiteral("/screenshot-function-arguments.png")) && ok;
    panel->argumentsPage()->cancel();

    auto* settings = new SettingsWindow(window);
    settings->sections()->setCurrentIndex(2);
    settings->show();
    ok = save(settings, out + QStringLiteral("/screenshot-settings.png")) && ok;
    window->setWindowModified(false);
    return ok ? 0 : 1;
}
