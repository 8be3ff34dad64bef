#include "app/DocumentRead.h"

#include <QFileInfo>
#include <QObject>

#include "formats/DocumentIO.h"

namespace sumora::app {

namespace {

// The reader gets its own copies: the read outlives nothing it borrows.
BackgroundTask startReading(std::shared_ptr<SumoraDocument> into, std::string file) {
    return BackgroundTask(
        [into = std::move(into), file = std::move(file)] { *into = openDocumentFile(file); });
}

} // namespace

DocumentRead::DocumentRead(const QString& path)
    : path_(QFileInfo(path).absoluteFilePath()),
      document_(std::make_shared<SumoraDocument>(SumoraDocument::empty())),
      task_(startReading(document_, path_.toStdString())) {}

std::exception_ptr DocumentRead::wait(QWidget* parent) {
    return task_.wait(parent, QObject::tr("Opening “%1”…").arg(QFileInfo(path_).fileName()));
}

} // namespace sumora::app
