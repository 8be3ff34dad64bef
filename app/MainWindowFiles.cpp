// Opening, saving and closing a document window. Reading and writing run on
// a worker thread (runWithProgress): the reader builds a new document that
// only the main thread then moves into the window; the writer works on a
// copy taken on the main thread.
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QMimeData>

#include "app/Alerts.h"
#include "app/Autosave.h"
#include "app/BackgroundTask.h"
#include "app/DocumentRead.h"
#include "app/DocumentWindows.h"
#include "app/MainWindow.h"
#include "app/RecentFiles.h"
#include "app/SaveAsTarget.h"
#include "app/Settings.h"
#include "app/SheetGridView.h"
#include "engine/Recalculation.h"
#include "formats/FileErrors.h"
#include "formats/SaveLosses.h"
#include "functions/BuiltinFunctions.h"
#include "values/Log.h"

namespace sumora::app {

namespace {

QString messageOf(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& e) {
        return QString::fromStdString(e.what());
    } catch (...) {
        return QObject::tr("An unknown error occurred.");
    }
}

} // namespace

bool MainWindow::loadFile(const QString& path) {
    DocumentRead read(path);
    return loadFile(read);
}

bool MainWindow::loadFile(DocumentRead& read) {
    const QString name = QFileInfo(read.path()).fileName();
    // A window shown while the file is still being read names it already.
    setWindowTitle(name + QStringLiteral(" — Sumora"));
    // Writing the list syncs the settings file to disk: done while the file
    // is read. A file that cannot be opened leaves the list again.
    RecentFiles::instance().add(read.path());
    if (std::exception_ptr failure = read.wait(this)) {
        RecentFiles::instance().remove(read.path());
        updateTitle();
        showAlert(this, tr("The document “%1” could not be opened.").arg(name), messageOf(failure));
        return false;
    }
    replaceDocument(std::move(read.document()));
    acceptedLosses_.clear();
    filePath_ = read.path();
    fileType_ = fileTypeForPath(read.path().toStdString());
    edited_ = false;
    document_->changeCount = 0;
    autosaver_->discardRecovery();
    updateTitle();
    Log::info("Opened " + read.path().toStdString());
    return true;
}

bool MainWindow::loadRecovered(const QString& recoveryPath, const QString& name) {
    auto loaded = std::make_shared<SumoraDocument>(SumoraDocument::empty());
    const std::string file = recoveryPath.toStdString();
    std::exception_ptr failure = runWithProgress(this, tr("Restoring “%1”…").arg(name),
                                                 [loaded, file] { *loaded = openDocumentFile(file); });
    if (failure) {
        showAlert(this, tr("The recovered document “%1” could not be opened.").arg(name), messageOf(failure));
        return false;
    }
    replaceDocument(std::move(*loaded));
    untitledName_ = name;
    filePath_.clear();
    fileType_.reset();
    edited_ = false;
    markEdited(); // recovered work is unsaved work
    updateTitle();
    return true;
}

bool MainWindow::save() {
    if (filePath_.isEmpty() || !fileType_) return saveAs();
    return saveTo(filePath_, *fileType_);
}

bool MainWindow::saveAs(std::optional<FileType> preferredType) {
    QString preferred = Settings::instance().text(settingsKey::defaultFileFormat);
    for (const SaveFilter& f : saveFilters())
        if (preferredType && f.type == *preferredType) preferred = f.settingValue;
    QStringList filters;
    QString selected = saveFilters().front().filter;
    for (const SaveFilter& f : saveFilters()) {
        filters << f.filter;
        if (f.settingValue == preferred) selected = f.filter;
    }
    QString start = filePath_.isEmpty() ? documentTitle() : filePath_;
    if (filePath_.isEmpty()) {
        for (const SaveFilter& f : saveFilters())
            if (f.filter == selected) start += QLatin1Char('.') + f.suffix;
    } else if (preferredType) {
        for (const SaveFilter& f : saveFilters())
            if (f.type == *preferredType)
                start = QFileInfo(filePath_).path() + QLatin1Char('/') +
                        QFileInfo(filePath_).completeBaseName() + QLatin1Char('.') + f.suffix;
    }
    QString path = QFileDialog::getSaveFileName(this, tr("Save As"), start,
                                                filters.join(QStringLiteral(";;")), &selected);
    if (path.isEmpty()) return false;
    const SaveAsTarget target = saveAsTarget(path, selected);
    return saveTo(target.path, target.type);
}

bool MainWindow::saveTo(const QString& path, FileType type) {
    if (grid_->isEditing()) grid_->setFocus(); // commits the cell being typed
    const LossReport losses = lossesOnSave(*document_, type);
    if (!losses.empty() && !acceptedLosses_.count(type)) {
        QStringList lines;
        for (const std::string& loss : losses)
            lines << QString::fromStdString(loss);
        QString format;
        for (const SaveFilter& f : saveFilters())
            if (f.type == type) format = f.settingValue.toUpper();
        switch (askAboutLosses(this, format, lines, type != FileType::xlsx)) {
        case LossChoice::keepXlsx:
            return saveAs(FileType::xlsx);
        case LossChoice::cancel:
            return false;
        case LossChoice::saveAnyway:
            acceptedLosses_.insert(type);
            break;
        }
    }
    const auto snapshot = std::make_shared<const SumoraDocument>(*document_);
    const std::string file = path.toStdString();
    const QString name = QFileInfo(path).fileName();
    std::exception_ptr failure = runWithProgress(this, tr("Saving “%1”…").arg(name), [snapshot, file, type] {
        saveDocumentFile(*snapshot, file, type);
    });
    if (failure) {
        showAlert(this, tr("The document “%1” could not be saved.").arg(name), messageOf(failure));
        return false;
    }
    filePath_ = QFileInfo(path).absoluteFilePath();
    fileType_ = type;
    edited_ = false;
    autosaver_->discardRecovery();
    updateTitle();
    RecentFiles::instance().add(filePath_);
    Log::info("Saved " + file);
    return true;
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (edited_) {
        switch (askToSaveChanges(this, documentTitle())) {
        case SaveChoice::cancel:
            event->ignore();
            return;
        case SaveChoice::save:
            if (!save()) {
                event->ignore();
                return;
            }
            break;
        case SaveChoice::discard:
            break;
        }
    }
    autosaver_->discardRecovery();
    event->accept();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls())
        for (const QUrl& url : event->mimeData()->urls())
            if (url.isLocalFile()) return event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile()) DocumentWindows::openFile(url.toLocalFile(), this);
    event->acceptProposedAction();
}

} // namespace sumora::app
