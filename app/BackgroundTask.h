#pragma once
// Long file work (opening, saving) runs on a worker thread while the window
// keeps repainting; after a short delay a progress dialog names the task and
// blocks input to the window, so the document is never edited meanwhile.
// The work must not touch anything the main thread owns: it gets copies and
// hands back results.
#include <QFuture>
#include <QString>
#include <exception>
#include <functional>
#include <memory>

class QWidget;

namespace sumora::app {

// Work started on a worker thread at once and waited for later, so that the
// main thread can build what will show the result in the meantime.
class BackgroundTask {
  public:
    explicit BackgroundTask(std::function<void()> work);
    // Returns once the work finished; the exception it threw, if any.
    std::exception_ptr wait(QWidget* parent, const QString& label);

  private:
    std::shared_ptr<std::exception_ptr> failure_;
    QFuture<void> future_;
};

// Runs `work` and returns once it finished; the exception it threw, if any.
std::exception_ptr runWithProgress(QWidget* parent, const QString& label, std::function<void()> work);

} // namespace sumora::app
