#include "app/Settings.h"

#include <QSettings>

namespace sumora::app {

namespace {

struct KeyDefault {
    QString key;
    QVariant value;
};

// Declaration order of the settings window; the grid's colour comes from the
// main view and stands last.
const QList<KeyDefault>& keyDefaults() {
    static const QList<KeyDefault> defaults = {
        {settingsKey::newWindowBehavior, QStringLiteral("blank")},
        {settingsKey::defaultZoom, 100},
        {settingsKey::fadeToolbarWhileTyping, true},
        {settingsKey::autoSaveInterval, 30.0},
        {settingsKey::defaultFontName, QStringLiteral("SF Mono")},
        {settingsKey::defaultFontSize, 12.0},
        {settingsKey::showGridLines, true},
        {settingsKey::showRowColHeaders, true},
        {settingsKey::defaultColumnWidth, 100.0},
        {settingsKey::defaultNumberFormat, QStringLiteral("General")},
        {settingsKey::defaultFileFormat, QStringLiteral("xlsx")},
        {settingsKey::csvSeparator, QStringLiteral("comma")},
        {settingsKey::measurementUnit, QStringLiteral("in")},
        {settingsKey::gridLineColorHex, QStringLiteral("D2D2D7")},
    };
    return defaults;
}

QSettings store() {
    return QSettings(QStringLiteral("Sumora"), QStringLiteral("Sumora"));
}

// Stored values come back from the INI store as text; give them the type of
// their default so callers compare like with like.
QVariant typedLike(const QVariant& stored, const QVariant& fallback) {
    QVariant converted = stored;
    if (fallback.isValid() && converted.metaType() != fallback.metaType() &&
        converted.convert(fallback.metaType()))
        return converted;
    return stored;
}

} // namespace

Settings& Settings::instance() {
    static Settings* settings = new Settings();
    return *settings;
}

const QStringList& Settings::keys() {
    static const QStringList keys = [] {
        QStringList list;
        for (const auto& d : keyDefaults())
            list << d.key;
        return list;
    }();
    return keys;
}

QVariant Settings::defaultValue(const QString& key) {
    for (const auto& d : keyDefaults())
        if (d.key == key) return d.value;
    return {};
}

QVariant Settings::value(const QString& key) const {
    auto cached = cache_.constFind(key);
    if (cached != cache_.constEnd()) return *cached;
    const QVariant fallback = defaultValue(key);
    QSettings s = store();
    const QVariant v = s.contains(key) ? typedLike(s.value(key), fallback) : fallback;
    cache_.insert(key, v);
    return v;
}

void Settings::setValue(const QString& key, const QVariant& value) {
    const QVariant typed = typedLike(value, defaultValue(key));
    if (this->value(key) == typed) return;
    QSettings s = store();
    s.setValue(key, typed);
    s.sync();
    cache_.insert(key, typed);
    emit changed(key);
}

void Settings::reset(const QString& key) {
    QSettings s = store();
    cache_.remove(key);
    if (!s.contains(key)) return;
    s.remove(key);
    s.sync();
    emit changed(key);
}

QColor Settings::gridLineColor() const {
    QString hex = text(settingsKey::gridLineColorHex).trimmed();
    if (hex.startsWith('#')) hex.remove(0, 1);
    QColor color(QStringLiteral("#") + hex);
    return color.isValid() ? color : QColor(0xD2, 0xD2, 0xD7);
}

double Settings::defaultZoomFactor() const {
    const int percent = integer(settingsKey::defaultZoom);
    return percent >= 10 && percent <= 400 ? percent / 100.0 : 1.0;
}

} // namespace sumora::app
