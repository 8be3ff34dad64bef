#pragma once
// Long file work (opening, saving) runs on a worker thread while the window
// keeps repainting; after a short delay a progress dialog names the task and
// blocks input to the window, so the document is never edited meanwhile.
// The work must not touch anything the main thread owns: it gets copies and
// hands back results.
#include <QString>
#include <exception>
#include <functional>

class QWidget;

namespace sumora::app {

// Runs `work` and returns once it finished; the exception it threw, if any.
std::exception_ptr runWithProgress(QWidget* parent, const QString& label, std::function<void()> work);

} // namespace sumora::app
