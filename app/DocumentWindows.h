#pragma once
// The application's document windows: one window per document, a new window
// per New or Open (an untouched blank window is reused by Open), files given
// on the command line, and the offer of recovered work at launch.
#include <QList>
#include <QString>
#include <QStringList>

class QWidget;

namespace sumora::app {

class MainWindow;

class DocumentWindows {
  public:
    static const QList<MainWindow*>& windows();
    static void registerWindow(MainWindow* window);
    static void unregisterWindow(MainWindow* window);

    // A new window with a blank document ("Untitled", "Untitled 2", …).
    static MainWindow* newWindow();
    // The window showing `path`: raised when one exists already, otherwise
    // `reuse` when it is pristine, otherwise a new window. Null when the file
    // could not be opened (the reader's message was shown).
    static MainWindow* openFile(const QString& path, MainWindow* reuse = nullptr);
    static void showOpenDialog(QWidget* parent);
    // Closes every window (each may ask about unsaved work); true when all closed.
    static bool closeAll();

    // At launch: offers recovered work, opens `files`, and otherwise starts
    // as "newWindowBehavior" says. Returns the windows it showed.
    static QList<MainWindow*> startup(const QStringList& files);
};

} // namespace sumora::app
