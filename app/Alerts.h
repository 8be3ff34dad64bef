#pragma once
// The standard alerts and questions of a document window. Tests replace the
// handlers so that no modal box waits for a click.
#include <QString>
#include <functional>

class QWidget;

namespace sumora::app {

enum class SaveChoice { save, discard, cancel };
enum class LossChoice { keepXlsx, saveAnyway, cancel };

// A critical alert: `title` says what failed, `message` is the reader's or
// writer's own text.
void showAlert(QWidget* parent, const QString& title, const QString& message);
// "Do you want to save the changes…?" before closing unsaved work.
SaveChoice askToSaveChanges(QWidget* parent, const QString& documentName);
// Before a save in `format` that will not keep everything: the losses, one
// per line, with "Save anyway" and, when `offerXlsx`, "Keep using XLSX"
// (else "Cancel").
LossChoice askAboutLosses(QWidget* parent, const QString& format, const QStringList& losses, bool offerXlsx);
// Offered at launch when the previous session ended without quitting.
bool askToRestoreRecoveredWork(QWidget* parent, int documentCount);

struct AlertHandlers {
    std::function<void(const QString& title, const QString& message)> alert;
    std::function<SaveChoice(const QString& documentName)> saveChanges;
    std::function<bool(int documentCount)> restore;
    std::function<LossChoice(const QString& format, const QStringList& losses)> losses;
};
// Replaces the boxes (handlers left empty keep the standard box).
void setAlertHandlers(AlertHandlers handlers);

} // namespace sumora::app
