#pragma once
// A file being read into a new document on a worker thread. A read starts
// as soon as the file is named (at launch, before any window exists), so
// that building and showing the window that will hold the document overlap
// with the reading.
#include <QString>
#include <memory>

#include "app/BackgroundTask.h"
#include "document/SumoraDocument.h"

namespace sumora::app {

class DocumentRead {
  public:
    explicit DocumentRead(const QString& path);

    // The absolute path.
    const QString& path() const { return path_; }
    // Waits for the reader (see BackgroundTask); the exception it threw, if any.
    std::exception_ptr wait(QWidget* parent);
    // The document read; valid once wait() returned no failure.
    SumoraDocument& document() { return *document_; }

  private:
    QString path_;
    std::shared_ptr<SumoraDocument> document_;
    BackgroundTask task_;
};

} // namespace sumora::app
