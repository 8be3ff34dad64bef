#include "app/DocumentWindows.h"

#include <QFileDialog>
#include <QFileInfo>
#include <algorithm>
#include <memory>
#include <vector>

#include "app/Alerts.h"
#include "app/Autosave.h"
#include "app/DocumentRead.h"
#include "app/MainWindow.h"
#include "app/Settings.h"

namespace sumora::app {

namespace {

QList<MainWindow*>& registry() {
    static QList<MainWindow*> list;
    return list;
}

QString nextUntitledName() {
    for (int n = 1;; ++n) {
        const QString name = n == 1 ? QObject::tr("Untitled") : QObject::tr("Untitled %1").arg(n);
        bool taken = false;
        for (MainWindow* w : registry())
            if (w->filePath().isEmpty() && w->documentTitle() == name) taken = true;
        if (!taken) return name;
    }
}

// "1a2b3c4d budget.xlsx.xlsx" → "budget.xlsx (Recovered)".
QString recoveredName(const QString& recoveryPath) {
    QString base = QFileInfo(recoveryPath).completeBaseName();
    const qsizetype space = base.indexOf(QLatin1Char(' '));
    if (space >= 0) base = base.mid(space + 1);
    return QObject::tr("%1 (Recovered)").arg(base);
}

// The window that shows `path` already, raised; null when none does.
MainWindow* windowShowing(const QString& path) {
    const QString absolute = QFileInfo(path).absoluteFilePath();
    for (MainWindow* w : registry())
        if (w->filePath() == absolute) {
            w->show();
            w->raise();
            w->activateWindow();
            return w;
        }
    return nullptr;
}

// The window is shown while the file is still being read: it is there at
// once, and its first layout and paint happen during the read.
MainWindow* openRead(DocumentRead& read, MainWindow* reuse) {
    const bool reusing = reuse && reuse->isPristine();
    MainWindow* window = reusing ? reuse : new MainWindow(SumoraDocument(), nextUntitledName());
    window->show();
    if (!window->loadFile(read)) {
        if (!reusing) window->deleteLater();
        return nullptr;
    }
    window->raise();
    return window;
}

} // namespace

const QList<MainWindow*>& DocumentWindows::windows() {
    return registry();
}

void DocumentWindows::registerWindow(MainWindow* window) {
    if (!registry().contains(window)) registry().append(window);
}

void DocumentWindows::unregisterWindow(MainWindow* window) {
    registry().removeAll(window);
}

MainWindow* DocumentWindows::newWindow() {
    auto* window = new MainWindow(SumoraDocument(), nextUntitledName());
    window->show();
    return window;
}

MainWindow* DocumentWindows::openFile(const QString& path, MainWindow* reuse) {
    if (MainWindow* open = windowShowing(path)) return open;
    DocumentRead read(path);
    return openRead(read, reuse);
}

void DocumentWindows::showOpenDialog(QWidget* parent) {
    const QStringList paths =
        QFileDialog::getOpenFileNames(parent, QObject::tr("Open"), QString(),
                                      QObject::tr("Spreadsheets (*.xlsx *.ods *.csv);;All Files (*)"));
    auto* from = qobject_cast<MainWindow*>(parent);
    for (const QString& path : paths)
        openFile(path, from);
}

bool DocumentWindows::closeAll() {
    const QList<MainWindow*> open = registry();
    for (MainWindow* w : open)
        if (!w->close()) return false;
    return true;
}

QList<MainWindow*> DocumentWindows::startup(const QStringList& files) {
    // Reading starts before anything else, so that it overlaps with the
    // recovery question and with building the windows.
    std::vector<std::unique_ptr<DocumentRead>> reads;
    for (const QString& file : files) {
        const QString absolute = QFileInfo(file).absoluteFilePath();
        if (std::none_of(reads.begin(), reads.end(), [&](const auto& r) { return r->path() == absolute; }))
            reads.push_back(std::make_unique<DocumentRead>(absolute));
    }
    QList<MainWindow*> shown;
    const QStringList recovered = RecoverySession::begin();
    if (!recovered.isEmpty()) {
        if (askToRestoreRecoveredWork(nullptr, static_cast<int>(recovered.size()))) {
            for (const QString& file : recovered) {
                auto* window = new MainWindow(SumoraDocument(), recoveredName(file));
                if (window->loadRecovered(file, recoveredName(file))) {
                    window->show();
                    shown << window;
                } else {
                    window->deleteLater();
                }
            }
        }
        // Restored work now lives in its windows (and autosaves anew).
        for (const QString& file : recovered)
            QFile::remove(file);
    }
    for (const auto& read : reads)
        if (MainWindow* w = openRead(*read, nullptr)) shown << w;
    if (shown.isEmpty()) {
        MainWindow* blank = newWindow();
        shown << blank;
        if (files.isEmpty() &&
            Settings::instance().text(settingsKey::newWindowBehavior) == QLatin1String("openDialog"))
            showOpenDialog(blank);
    }
    return shown;
}

} // namespace sumora::app
