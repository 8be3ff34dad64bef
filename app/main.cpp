// The desktop application: document windows over the files named on the
// command line (or a blank workbook), with the user's settings and recovery
// of unsaved work after a crash.
//
//   sumora [--verbose] [FILE…]
//   sumora --quit-when-shown FILE   prints the milliseconds from launch to
//                                   the first painted grid, then quits
//
// The engine's diagnostic lines (one per SUM, per entry, per part read) go
// to stderr only with --verbose, as with the command line: a big workbook
// would otherwise flood the terminal that launched the window.
#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <cstdio>

#include "app/Autosave.h"
#include "app/DocumentWindows.h"
#include "app/MainWindow.h"
#include "app/SheetGridView.h"
#include "values/Log.h"
#include "app/SumoraApplication.h"
#include "formats/SaveInterruption.h"

int main(int argc, char* argv[]) {
    QElapsedTimer launch;
    launch.start();
    sumora::installSaveSignalHandlers();
    sumora::app::SumoraApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Sumora"));
    QApplication::setApplicationName(QStringLiteral("Sumora"));
    QApplication::setApplicationVersion(QStringLiteral("0.1"));

    QStringList files = QApplication::arguments().mid(1);
    const bool quitWhenShown = files.removeAll(QStringLiteral("--quit-when-shown")) > 0;
    const bool verbose =
        files.removeAll(QStringLiteral("--verbose")) + files.removeAll(QStringLiteral("-v")) > 0;
    sumora::Log::setEnabled(verbose);

    using sumora::app::DocumentWindows;
    const auto windows = DocumentWindows::startup(files);
    QObject::connect(&app, &QApplication::aboutToQuit, [] { sumora::app::RecoverySession::end(); });

    if (quitWhenShown) {
        QTimer::singleShot(0, &app, [&] {
            for (auto* w : windows)
                w->grid()->viewport()->repaint();
            std::printf("%lld\n", static_cast<long long>(launch.elapsed()));
            std::fflush(stdout);
            for (auto* w : windows)
                w->setWindowModified(false);
            QApplication::exit(0);
        });
    }
    return QApplication::exec();
}
