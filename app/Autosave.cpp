#include "app/Autosave.h"

#include <QDir>
#include <QLockFile>
#include <QStandardPaths>
#include <QUuid>
#include <QtConcurrent/QtConcurrentRun>

#include "document/SumoraDocument.h"
#include "values/Log.h"
#include "formats/DocumentIO.h"

namespace sumora::app {

namespace {

std::unique_ptr<QLockFile>& sessionLock() {
    static std::unique_ptr<QLockFile> lock;
    return lock;
}

QString dataDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}

QString safeFileName(QString name) {
    static const QString forbidden = QStringLiteral("/\\:*?\"<>|");
    for (QChar& c : name)
        if (forbidden.contains(c) || c.unicode() < 32) c = QLatin1Char('_');
    return name.left(60);
}

} // namespace

QString RecoverySession::recoveryDirectory() {
    return dataDirectory() + QStringLiteral("/recovery");
}

QStringList RecoverySession::begin() {
    QDir().mkpath(recoveryDirectory());
    const QString lockPath = dataDirectory() + QStringLiteral("/session.lock");
    const bool leftBehind = QFile::exists(lockPath);
    auto lock = std::make_unique<QLockFile>(lockPath);
    lock->setStaleLockTime(0);        // only a dead owner makes the lock stale
    if (!lock->tryLock(0)) return {}; // another instance is running: its files are its own
    sessionLock() = std::move(lock);
    if (!leftBehind) return {};
    QStringList files;
    for (const QFileInfo& info :
         QDir(recoveryDirectory()).entryInfoList({QStringLiteral("*.xlsx")}, QDir::Files, QDir::Time))
        files << info.absoluteFilePath();
    if (!files.isEmpty())
        Log::info("Found " + std::to_string(files.size()) + " recovery file(s) from an unfinished session");
    return files;
}

void RecoverySession::end() {
    if (auto& lock = sessionLock()) {
        lock->unlock();
        lock.reset();
    }
}

Autosaver::Autosaver(std::function<std::shared_ptr<const SumoraDocument>()> snapshot, QString displayName,
                     QObject* parent)
    : QObject(parent), snapshot_(std::move(snapshot)), displayName_(std::move(displayName)) {
    connect(&timer_, &QTimer::timeout, this, [this] { saveNow(); });
    connect(&writer_, &QFutureWatcher<bool>::finished, this, [this] {
        if (writer_.result()) emit recoveryWritten(path_);
    });
}

Autosaver::~Autosaver() {
    waitForWrite();
}

void Autosaver::setInterval(double seconds) {
    if (seconds <= 0) {
        timer_.stop();
        return;
    }
    timer_.start(static_cast<int>(std::max(1.0, seconds) * 1000));
}

bool Autosaver::saveNow() {
    if (!pending_ || writer_.isRunning()) return false;
    if (path_.isEmpty())
        path_ = RecoverySession::recoveryDirectory() + QLatin1Char('/') +
                QUuid::createUuid().toString(QUuid::WithoutBraces).left(8) + QLatin1Char(' ') +
                safeFileName(displayName_) + QStringLiteral(".xlsx");
    QDir().mkpath(RecoverySession::recoveryDirectory());
    pending_ = false;
    std::shared_ptr<const SumoraDocument> copy = snapshot_();
    const std::string target = path_.toStdString();
    writer_.setFuture(QtConcurrent::run([copy, target] {
        try {
            saveDocumentFile(*copy, target, FileType::xlsx);
            return true;
        } catch (const std::exception& e) {
            Log::info(std::string("Autosave failed: ") + e.what());
            return false;
        }
    }));
    return true;
}

void Autosaver::waitForWrite() {
    if (writer_.isRunning()) writer_.waitForFinished();
}

void Autosaver::discardRecovery() {
    waitForWrite();
    pending_ = false;
    if (!path_.isEmpty()) QFile::remove(path_);
}

} // namespace sumora::app
