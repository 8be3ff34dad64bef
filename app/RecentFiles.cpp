#include "app/RecentFiles.h"

#include <QFileInfo>
#include <QSettings>

namespace sumora::app {

namespace {

const QString kKey = QStringLiteral("recentFiles");

} // namespace

RecentFiles& RecentFiles::instance() {
    static RecentFiles* files = new RecentFiles();
    return *files;
}

QStringList RecentFiles::paths() const {
    return QSettings(QStringLiteral("Sumora"), QStringLiteral("Sumora")).value(kKey).toStringList();
}

void RecentFiles::store(const QStringList& paths) {
    QSettings s(QStringLiteral("Sumora"), QStringLiteral("Sumora"));
    s.setValue(kKey, paths);
    s.sync();
    emit changed();
}

void RecentFiles::add(const QString& path) {
    const QString absolute = QFileInfo(path).absoluteFilePath();
    QStringList list = paths();
    list.removeAll(absolute);
    list.prepend(absolute);
    while (list.size() > kMaximum)
        list.removeLast();
    store(list);
}

void RecentFiles::remove(const QString& path) {
    QStringList list = paths();
    if (list.removeAll(QFileInfo(path).absoluteFilePath()) > 0) store(list);
}

void RecentFiles::clear() {
    store({});
}

} // namespace sumora::app
