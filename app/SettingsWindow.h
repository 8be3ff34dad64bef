#pragma once
// The settings window: General, Grid and Format sections over the user's
// preferences. Every control writes its key at once and follows the key when
// it changes elsewhere (another window, a reset).
#include <QDialog>
#include <QHash>
#include <functional>

class QTabWidget;

namespace sumora::app {

class SettingsWindow : public QDialog {
    Q_OBJECT
  public:
    explicit SettingsWindow(QWidget* parent = nullptr);

    QTabWidget* sections() const { return sections_; }
    // The control bound to a key (tests, focus).
    QWidget* control(const QString& key) const { return controls_.value(key); }

    // The one window, shown and raised.
    static void showShared(QWidget* parent);

  private:
    QWidget* buildGeneral();
    QWidget* buildGrid();
    QWidget* buildFormat();
    // Remembers how to show `key` in `control`, and shows it now.
    void bind(const QString& key, QWidget* control, std::function<void()> show);

    QTabWidget* sections_;
    QHash<QString, QWidget*> controls_;
    QHash<QString, std::function<void()>> shows_;
};

} // namespace sumora::app
