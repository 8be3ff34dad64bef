#pragma once
// Automatic saving of unsaved work to recovery files, and their offer after
// a crash. Every "autoSaveInterval" seconds a window with unsaved changes
// writes a copy of its document to AppDataLocation/recovery/ as XLSX (on a
// worker thread). A lock file marks the running session; it is released on
// a clean exit, so a lock left by a dead process at the next launch means
// the recovery files are work that would otherwise be lost.
#include <QFutureWatcher>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <functional>
#include <memory>

class QLockFile;

namespace sumora {
class SumoraDocument;
}

namespace sumora::app {

class RecoverySession {
  public:
    static QString recoveryDirectory();
    // Takes the session lock. Returns the recovery files of a previous
    // session that ended without releasing it (empty after a clean exit, or
    // while another live instance holds the lock).
    static QStringList begin();
    // Releases the lock: the session ended cleanly.
    static void end();
};

class Autosaver : public QObject {
    Q_OBJECT
  public:
    // `snapshot` copies the window's document (called on the main thread);
    // `displayName` names the recovery file.
    Autosaver(std::function<std::shared_ptr<const SumoraDocument>()> snapshot, QString displayName,
              QObject* parent = nullptr);
    ~Autosaver() override;

    void setInterval(double seconds);
    void setDisplayName(const QString& name) { displayName_ = name; }
    // The document changed since it was last saved or autosaved.
    void markEdited() { pending_ = true; }
    // The user saved (or discarded) the work: the recovery copy is obsolete.
    void discardRecovery();
    // Writes the recovery copy now when there are unsaved changes; false when
    // nothing was started.
    bool saveNow();
    // Waits for a running write (tests, closing).
    void waitForWrite();
    QString recoveryPath() const { return path_; }

  signals:
    void recoveryWritten(const QString& path);

  private:
    std::function<std::shared_ptr<const SumoraDocument>()> snapshot_;
    QString displayName_;
    QString path_;
    QTimer timer_;
    QFutureWatcher<bool> writer_;
    bool pending_ = false;
};

} // namespace sumora::app
