#include "app/SumoraApplication.h"

#include <exception>
#include <new>

#include "app/Alerts.h"
#include "app/Autosave.h"
#include "app/DocumentWindows.h"
#include "app/MainWindow.h"
#include "values/Log.h"

namespace sumora::app {

bool SumoraApplication::notify(QObject* receiver, QEvent* event) {
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::bad_alloc&) {
        Log::info("A command ran out of memory");
        recoverFromFailedCommand(true);
    } catch (const std::exception& e) {
        Log::info(std::string("A command failed: ") + e.what());
        recoverFromFailedCommand(false);
    } catch (...) {
        Log::info("A command failed");
        recoverFromFailedCommand(false);
    }
    return false;
}

void recoverFromFailedCommand(bool outOfMemory) {
    // The alert runs an event loop; a failure inside it must not recurse.
    static bool recovering = false;
    if (recovering) return;
    recovering = true;
    bool saved = false;
    for (MainWindow* window : DocumentWindows::windows()) {
        Autosaver* autosaver = window->autosaver();
        if (!autosaver) continue;
        try {
            if (autosaver->saveNow()) saved = true;
            autosaver->waitForWrite();
        } catch (...) {
            // Copying the document may need the memory that ran out.
        }
    }
    QString message = outOfMemory ? QStringLiteral("There was not enough memory to finish the last command.")
                                  : QStringLiteral("The last command failed and was stopped.");
    if (saved)
        message += QStringLiteral(" Unsaved work was written to a recovery copy, which is offered again if "
                                  "Sumora has to be restarted.");
    message += QStringLiteral(" Save your work under a new name to keep it.");
    showAlert(QApplication::activeWindow(), QStringLiteral("The command could not be finished"), message);
    recovering = false;
}

} // namespace sumora::app
