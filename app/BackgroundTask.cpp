#include "app/BackgroundTask.h"

#include <QEventLoop>
#include <QFutureWatcher>
#include <QProgressDialog>
#include <QtConcurrent/QtConcurrentRun>

namespace sumora::app {

std::exception_ptr runWithProgress(QWidget* parent, const QString& label, std::function<void()> work) {
    std::exception_ptr failure;
    QProgressDialog progress(label, QString(), 0, 0, parent);
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(400);
    progress.setAutoClose(false);
    progress.setValue(0);

    QEventLoop loop;
    QFutureWatcher<void> watcher;
    QObject::connect(&watcher, &QFutureWatcher<void>::finished, &loop, &QEventLoop::quit);
    watcher.setFuture(QtConcurrent::run([&failure, work = std::move(work)] {
        try {
            work();
        } catch (...) {
            failure = std::current_exception();
        }
    }));
    if (!watcher.isFinished()) loop.exec(QEventLoop::ExcludeUserInputEvents);
    watcher.waitForFinished();
    return failure;
}

} // namespace sumora::app
