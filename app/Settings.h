#pragma once
// The user's preferences: fourteen keys in the per-user store (QSettings,
// organisation and application "Sumora"), each with the default that applies
// until the user changes it. Writing a key stores it at once and emits
// changed(key), so every view bound to the key follows.
#include <QColor>
#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace sumora::app {

namespace settingsKey {
inline const QString newWindowBehavior = QStringLiteral("newWindowBehavior");
inline const QString defaultZoom = QStringLiteral("defaultZoom");
inline const QString fadeToolbarWhileTyping = QStringLiteral("fadeToolbarWhileTyping");
inline const QString autoSaveInterval = QStringLiteral("autoSaveInterval");
inline const QString defaultFontName = QStringLiteral("defaultFontName");
inline const QString defaultFontSize = QStringLiteral("defaultFontSize");
inline const QString showGridLines = QStringLiteral("showGridLines");
inline const QString showRowColHeaders = QStringLiteral("showRowColHeaders");
inline const QString defaultColumnWidth = QStringLiteral("defaultColumnWidth");
inline const QString defaultNumberFormat = QStringLiteral("defaultNumberFormat");
inline const QString defaultFileFormat = QStringLiteral("defaultFileFormat");
inline const QString csvSeparator = QStringLiteral("csvSeparator");
inline const QString measurementUnit = QStringLiteral("measurementUnit");
inline const QString gridLineColorHex = QStringLiteral("gridLineColorHex");
} // namespace settingsKey

class Settings : public QObject {
    Q_OBJECT
  public:
    // The one instance; created on first use, after the application (and a
    // test's QSettings::setPath) is set up.
    static Settings& instance();

    // Every key, in the order the settings window declares them, with
    // "gridLineColorHex" last.
    static const QStringList& keys();
    // The default of a key; an invalid QVariant for an unknown key.
    static QVariant defaultValue(const QString& key);

    // The stored value, or the default when the user never set the key.
    QVariant value(const QString& key) const;
    void setValue(const QString& key, const QVariant& value);
    // Forgets a stored value so the key reads its default again.
    void reset(const QString& key);

    QString text(const QString& key) const { return value(key).toString(); }
    bool flag(const QString& key) const { return value(key).toBool(); }
    int integer(const QString& key) const { return value(key).toInt(); }
    double real(const QString& key) const { return value(key).toDouble(); }

    // Typed readers for the keys several views consult.
    QString measurementUnit() const { return text(settingsKey::measurementUnit); }
    QColor gridLineColor() const;
    double defaultZoomFactor() const;

  signals:
    void changed(const QString& key);

  private:
    Settings() = default;
    // Values read so far: views consult keys on every selection move, and the
    // store is only ever written through this class.
    mutable QHash<QString, QVariant> cache_;
};

} // namespace sumora::app
