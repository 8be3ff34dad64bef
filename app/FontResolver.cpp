#include "app/FontResolver.h"

#include <QFontDatabase>
#include <QFontInfo>

#include "values/Log.h"

namespace sumora::app {

FontResolver& FontResolver::instance() {
    static FontResolver resolver;
    return resolver;
}

QString FontResolver::family(const QString& requested) {
    auto it = resolved_.constFind(requested);
    if (it != resolved_.constEnd()) return *it;

    // The fixed-width system font may be an alias ("monospace"); name the real family.
    const QString fixed = QFontInfo(QFontDatabase::systemFont(QFontDatabase::FixedFont)).family();
    QString family = fixed;
    if (!requested.isEmpty()) {
        QFont probe(requested);
        if (probe.exactMatch() || QFontDatabase::hasFamily(requested)) {
            family = requested;
        } else {
            ++fallbacks_;
            Log::info("Font \"" + requested.toStdString() + "\" is not installed; using \"" +
                      fixed.toStdString() + "\"");
        }
    }
    resolved_.insert(requested, family);
    return family;
}

QFont FontResolver::cellFont(const QString& requested, double pointSize) {
    QFont f(requested);
    f.setPointSizeF(pointSize > 0 ? pointSize : 12.0);
    if (!substituted_.contains(requested)) {
        const bool installed = QFontDatabase::hasFamily(requested);
        substituted_.insert(requested, !installed);
        if (!installed) {
            ++fallbacks_;
            Log::info("Font \"" + requested.toStdString() + "\" is not installed; drawing with \"" +
                      QFontInfo(f).family().toStdString() + "\"");
        }
    }
    return f;
}

QFont FontResolver::font(const QString& requested, double pointSize) {
    QFont f(family(requested));
    f.setPointSizeF(pointSize > 0 ? pointSize : 12.0);
    return f;
}

} // namespace sumora::app
