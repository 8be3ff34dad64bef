#pragma once
// Font families named by settings and cells may be missing on this system
// (the default "SF Mono" is not a Debian font). Each name is resolved once:
// an installed family is used as it is, a missing one falls back to the
// system's fixed-width font, and the fallback is logged once per name rather
// than on every cell painted.
#include <QFont>
#include <QHash>
#include <QString>

namespace sumora::app {

class FontResolver {
  public:
    static FontResolver& instance();

    // The family to draw with for `requested` (which may be empty: the
    // system's fixed-width family).
    QString family(const QString& requested);
    // A font of the resolved family at `pointSize`.
    QFont font(const QString& requested, double pointSize);
    // A cell's font as its file names it: the family is kept (the font
    // system substitutes a close match for a missing one, so the name
    // survives saving and draws as well as the system can); a missing
    // family is logged once.
    QFont cellFont(const QString& requested, double pointSize);
    // How many names fell back so far (each is logged once).
    int fallbackCount() const { return fallbacks_; }

  private:
    QHash<QString, QString> resolved_;
    QHash<QString, bool> substituted_;
    int fallbacks_ = 0;
};

} // namespace sumora::app
