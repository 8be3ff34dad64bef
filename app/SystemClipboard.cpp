#include "app/SystemClipboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace sumora::app {

std::optional<std::string> SystemClipboard::text() const {
    const QString text = QGuiApplication::clipboard()->text();
    if (text.isNull()) return std::nullopt;
    return text.toStdString();
}

void SystemClipboard::setText(std::string text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

} // namespace sumora::app
