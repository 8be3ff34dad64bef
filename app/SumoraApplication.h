#pragma once
// The application object. Every event and command runs inside notify(), so
// this is where a failure that escaped its command ends: rather than the
// process ending (and the user's unsaved work with it), each window's work is
// written to its recovery copy first, then a message says what happened.
#include <QApplication>

class QEvent;
class QObject;

namespace sumora::app {

class SumoraApplication : public QApplication {
  public:
    using QApplication::QApplication;
    bool notify(QObject* receiver, QEvent* event) override;
};

// Saves every window's unsaved work to its recovery copy and tells the user
// that the last command failed; `outOfMemory` picks the wording.
void recoverFromFailedCommand(bool outOfMemory);

} // namespace sumora::app
