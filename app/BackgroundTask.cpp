#include "app/BackgroundTask.h"

#include <QEventLoop>
#include <QFutureWatcher>
#include <QProgressDialog>
#include <QtConcurrent/QtConcurrentRun>

namespace sumora::app {

BackgroundTask::BackgroundTask(std::function<void()> work)
    : failure_(std::make_shared<std::exception_ptr>()),
      future_(QtConcurrent::run([failure = failure_, work = std::move(work)] {
          try {
              work();
          } catch (...) {
              *failure = std::current_exception();
          }
      })) {}

std::exception_ptr BackgroundTask::wait(QWidget* parent, const QString& label) {
    if (!future_.isFinished()) {
        QProgressDialog progress(label, QString(), 0, 0, parent);
        progress.setWindowModality(Qt::WindowModal);
        progress.setMinimumDuration(400);
        progress.setAutoClose(false);
        progress.setValue(0);

        QEventLoop loop;
        QFutureWatcher<void> watcher;
        QObject::connect(&watcher, &QFutureWatcher<void>::finished, &loop, &QEventLoop::quit);
        watcher.setFuture(future_);
        if (!watcher.isFinished()) loop.exec(QEventLoop::ExcludeUserInputEvents);
    }
    future_.waitForFinished();
    return *failure_;
}

std::exception_ptr runWithProgress(QWidget* parent, const QString& label, std::function<void()> work) {
    return BackgroundTask(std::move(work)).wait(parent, label);
}

} // namespace sumora::app
