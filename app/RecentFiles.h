#pragma once
// The File ▸ Open Recent list, newest first, kept in the user's settings
// store beside the preferences.
#include <QObject>
#include <QStringList>

namespace sumora::app {

class RecentFiles : public QObject {
    Q_OBJECT
  public:
    static RecentFiles& instance();
    static constexpr int kMaximum = 10;

    QStringList paths() const;
    // Moves (or adds) a file to the top.
    void add(const QString& path);
    void remove(const QString& path);
    void clear();

  signals:
    void changed();

  private:
    RecentFiles() = default;
    void store(const QStringList& paths);
};

} // namespace sumora::app
