#include "app/Alerts.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QPushButton>

#include "values/Log.h"

namespace sumora::app {

namespace {

AlertHandlers& handlers() {
    static AlertHandlers h;
    return h;
}

} // namespace

void setAlertHandlers(AlertHandlers h) {
    handlers() = std::move(h);
}

void showAlert(QWidget* parent, const QString& title, const QString& message) {
    Log::info(title.toStdString() + " " + message.toStdString());
    if (handlers().alert) return handlers().alert(title, message);
    QMessageBox box(QMessageBox::Critical, title, title, QMessageBox::Ok, parent);
    box.setInformativeText(message);
    box.exec();
}

SaveChoice askToSaveChanges(QWidget* parent, const QString& documentName) {
    if (handlers().saveChanges) return handlers().saveChanges(documentName);
    QMessageBox box(
        QMessageBox::Warning, QObject::tr("Save Changes"),
        QObject::tr("Do you want to save the changes made to the document “%1”?").arg(documentName),
        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, parent);
    box.setInformativeText(QObject::tr("Your changes will be lost if you don’t save them."));
    box.setDefaultButton(QMessageBox::Save);
    switch (box.exec()) {
    case QMessageBox::Save:
        return SaveChoice::save;
    case QMessageBox::Discard:
        return SaveChoice::discard;
    default:
        return SaveChoice::cancel;
    }
}

LossChoice askAboutLosses(QWidget* parent, const QString& format, const QStringList& losses, bool offerXlsx) {
    Log::info("Save as " + format.toStdString() + " will not keep " + std::to_string(losses.size()) +
              " things");
    if (handlers().losses) return handlers().losses(format, losses);
    QMessageBox box(QMessageBox::Warning, QObject::tr("Save as %1").arg(format),
                    QObject::tr("Some of this document will not be kept in %1.").arg(format),
                    QMessageBox::NoButton, parent);
    box.setInformativeText(losses.join(QLatin1Char('\n')));
    QPushButton* keep = offerXlsx ? box.addButton(QObject::tr("Keep using XLSX"), QMessageBox::RejectRole)
                                  : box.addButton(QMessageBox::Cancel);
    QPushButton* anyway = box.addButton(QObject::tr("Save anyway"), QMessageBox::AcceptRole);
    box.setDefaultButton(offerXlsx ? keep : anyway);
    box.setEscapeButton(keep);
    box.exec();
    if (box.clickedButton() == anyway) return LossChoice::saveAnyway;
    return offerXlsx && box.clickedButton() == keep ? LossChoice::keepXlsx : LossChoice::cancel;
}

bool askToRestoreRecoveredWork(QWidget* parent, int documentCount) {
    if (handlers().restore) return handlers().restore(documentCount);
    const QString text = documentCount == 1
                             ? QObject::tr("Sumora quit unexpectedly while a document had unsaved changes.")
                             : QObject::tr("Sumora quit unexpectedly while %1 documents had unsaved changes.")
                                   .arg(documentCount);
    QMessageBox box(QMessageBox::Question, QObject::tr("Restore Unsaved Work"), text,
                    QMessageBox::Yes | QMessageBox::No, parent);
    box.setInformativeText(QObject::tr("Do you want to restore the automatically saved copies?"));
    box.button(QMessageBox::Yes)->setText(QObject::tr("Restore"));
    box.button(QMessageBox::No)->setText(QObject::tr("Discard"));
    return box.exec() == QMessageBox::Yes;
}

} // namespace sumora::app
