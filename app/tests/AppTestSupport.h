#pragma once
// Shared set-up of the widget tests: a private settings store and data
// directory (QSettings::setPath + QStandardPaths test mode), alerts captured
// instead of shown, and helpers that type into whatever has the focus.
#include <QApplication>
#include <QContextMenuEvent>
#include <QFile>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <functional>

#include "app/Alerts.h"
#include "app/MainWindow.h"
#include "app/SheetGridView.h"
#include "app/SheetTableModel.h"
#include "editing/SumoraEditorView.h"
#include "values/Log.h"

namespace sumora::app::test {

struct CapturedAlerts {
    QStringList titles;
    QStringList messages;
    SaveChoice saveChoice = SaveChoice::discard;
    int saveQuestions = 0;
    LossChoice lossChoice = LossChoice::saveAnyway;
    QStringList losses; // of the last question about losses
    int lossQuestions = 0;
};

inline CapturedAlerts& alerts() {
    static CapturedAlerts captured;
    return captured;
}

// Alerts are recorded; the unsaved-work question answers alerts().saveChoice;
// recovered work is restored when `restore` says so; a lossy save is
// answered with alerts().lossChoice.
inline void installAlertHandlers(bool restore = false) {
    setAlertHandlers({
        [](const QString& title, const QString& message) {
            alerts().titles << title;
            alerts().messages << message;
        },
        [](const QString&) {
            ++alerts().saveQuestions;
            return alerts().saveChoice;
        },
        [restore](int) { return restore; },
        [](const QString&, const QStringList& losses) {
            ++alerts().lossQuestions;
            alerts().losses = losses;
            return alerts().lossChoice;
        },
    });
}

// Everything a test writes stays in a temporary folder.
inline void isolateUserData(QTemporaryDir& dir) {
    QStandardPaths::setTestModeEnabled(true);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir.path());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir.path());
    installAlertHandlers();
}

// Sends keys to the focused widget, as typing does (the cell editor takes
// over from the grid after the first character).
// The widget that has the focus within `widget`'s window.
inline QWidget* focused(QWidget* widget) {
    QWidget* inWindow = widget->window()->focusWidget();
    return inWindow ? inWindow : widget;
}

inline void typeText(QWidget* widget, const QString& text) {
    for (QChar c : text)
        QTest::keyClick(focused(widget), c.toLatin1());
}

// The cell editor commits on Enter through a queued call: let it run.
inline void pressKey(QWidget* widget, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyClick(focused(widget), key, modifiers);
    QApplication::processEvents();
}

// A shown, active window with the grid focused.
inline MainWindow* openWindow(SumoraDocument document = SumoraDocument()) {
    auto* window = new MainWindow(std::move(document), QStringLiteral("Test"));
    window->show();
    QApplication::setActiveWindow(window);
    if (!QTest::qWaitForWindowActive(window)) qWarning("window not active");
    window->grid()->setFocus();
    return window;
}

// Closes without the unsaved-changes question.
inline void discardWindow(MainWindow* window) {
    alerts().saveChoice = SaveChoice::discard;
    window->close();
    QApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// Runs `answer` on the next modal dialog of type Dialog once it is shown.
template <class Dialog> void whenShown(std::function<void(Dialog*)> answer) {
    QTimer::singleShot(0, [answer] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (!dialog) return whenShown<Dialog>(answer);
        answer(dialog);
    });
}

// Right-clicks `target` at `pos` and chooses the menu entry named `action`
// with the keyboard; false when the menu has no such entry.
inline bool chooseFromContextMenu(QWidget* target, const QPoint& pos, const QString& action) {
    bool chosen = false;
    QTimer::singleShot(0, [&chosen, action] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu) return;
        for (QAction* a : menu->actions())
            if (a->objectName() == action && a->isEnabled()) {
                menu->setActiveAction(a);
                QTest::keyClick(menu, Qt::Key_Return);
                chosen = true;
                return;
            }
        menu->close();
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, pos, target->mapToGlobal(pos));
    QApplication::sendEvent(target, &event);
    QApplication::processEvents();
    return chosen;
}

inline QString shown(MainWindow* window, int row, int column) {
    return window->sheetModel()->data(window->sheetModel()->index(row, column), Qt::DisplayRole).toString();
}

// The middle of a header section: near its edges a press starts a resize.
inline QPoint rowHeaderPoint(SheetGridView* grid, int row) {
    QHeaderView* rows = grid->verticalHeader();
    return {rows->width() / 2, rows->sectionViewportPosition(row) + rows->sectionSize(row) / 2};
}
inline QPoint columnHeaderPoint(SheetGridView* grid, int column) {
    QHeaderView* columns = grid->horizontalHeader();
    return {columns->sectionViewportPosition(column) + columns->sectionSize(column) / 2,
            columns->height() / 2};
}

} // namespace sumora::app::test

// A Qt Test main with the user's data isolated and the log quiet.
#define SUMORA_APP_TEST_MAIN(TestClass)                                                                      \
    int main(int argc, char** argv) {                                                                        \
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");         \
        QTemporaryDir runtime;                                                                               \
        if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) {                                                \
            QFile::setPermissions(runtime.path(),                                                            \
                                  QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner); \
            qputenv("XDG_RUNTIME_DIR", runtime.path().toLocal8Bit());                                        \
        }                                                                                                    \
        /* Recovery files and settings of parallel runs stay apart. */                                       \
        QTemporaryDir userData;                                                                              \
        qputenv("HOME", userData.path().toLocal8Bit());                                                      \
        QApplication app(argc, argv);                                                                        \
        QApplication::setOrganizationName(QStringLiteral("Sumora"));                                         \
        QApplication::setApplicationName(QStringLiteral("Sumora"));                                          \
        sumora::app::test::isolateUserData(userData);                                                        \
        sumora::Log::setEnabled(false);                                                                      \
        TestClass tc;                                                                                        \
        return QTest::qExec(&tc, argc, argv);                                                                \
    }
