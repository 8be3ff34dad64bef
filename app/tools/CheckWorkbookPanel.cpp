#include "app/tools/CheckWorkbookPanel.h"

#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/BackgroundTask.h"
#include "app/tools/FormulaAuditing.h"
#include "app/tools/ToolSupport.h"
#include "editing/SumoraEditorView.h"
#include "formats/DocumentIO.h"
#include "functions/ReferenceSupport.h"
#include "values/Log.h"

namespace sumora::app {

namespace {

enum ItemRole { sheetNameRole = Qt::UserRole, colRole, rowRole };

void addGroup(QTreeWidget* list, const QString& title, const SumoraDocument& checked,
              const std::vector<ResultDifference>& differences) {
    if (differences.empty()) return;
    auto* group = new QTreeWidgetItem(list, {title.arg(differences.size())});
    group->setFirstColumnSpanned(true);
    for (const ResultDifference& d : differences) {
        const std::string& sheet = checked.sheets[d.sheet].name;
        auto* item = new QTreeWidgetItem(
            group, {toQString(cellLabel(sheet, {d.col, d.row})), toQString(d.stored), toQString(d.computed)});
        item->setData(0, sheetNameRole, toQString(sheet));
        item->setData(0, colRole, QVariant::fromValue<qlonglong>(d.col));
        item->setData(0, rowRole, QVariant::fromValue<qlonglong>(d.row));
    }
    group->setExpanded(true);
}

} // namespace

CheckWorkbookPanel::CheckWorkbookPanel(DocumentContext& context, QWidget* parent)
    : QWidget(parent), context_(context) {
    setObjectName(QStringLiteral("checkWorkbookPanel"));
    auto* layout = new QVBoxLayout(this);
    summary_ = new QLabel(tr("Check Workbook compares the results stored in the file with Sumora's."), this);
    summary_->setObjectName(QStringLiteral("checkSummary"));
    summary_->setWordWrap(true);
    list_ = new QTreeWidget(this);
    list_->setObjectName(QStringLiteral("checkList"));
    list_->setHeaderLabels({tr("Cell"), tr("Stored"), tr("Computed")});
    list_->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    layout->addWidget(summary_);
    layout->addWidget(list_, 1);
    connect(list_, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) { goTo(item); });
    connect(list_, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem* item) { goTo(item); });
}

void CheckWorkbookPanel::check(const QString& path) {
    list_->clear();
    if (path.isEmpty()) {
        summary_->setText(tr("Save the workbook first: the check compares the results stored in its file."));
        return;
    }
    SumoraDocument checked;
    ResultCheckReport report;
    const std::string file = path.toStdString();
    std::exception_ptr failure = runWithProgress(context_.window(), tr("Checking the workbook…"), [&] {
        checked = openDocumentFile(file, OpenMode::asStored);
        report = checkStoredResults(checked);
    });
    if (failure) {
        QString message;
        try {
            std::rethrow_exception(failure);
        } catch (const std::exception& e) {
            message = QString::fromUtf8(e.what());
        } catch (...) {
        }
        Log::info("Check Workbook could not read " + file + ": " + message.toStdString());
        summary_->setText(tr("The file could not be checked: %1").arg(message));
        return;
    }
    showReport(checked, report);
    if (context_.window()->isWindowModified())
        summary_->setText(summary_->text() + QLatin1Char(' ') +
                          tr("This is the file as saved; unsaved changes are not part of it."));
}

void CheckWorkbookPanel::showReport(const SumoraDocument& checked, const ResultCheckReport& report) {
    list_->clear();
    addGroup(list_, tr("Differences (%1)"), checked, report.differences);
    addGroup(list_, tr("Volatile, not counted (%1)"), checked, report.volatileDifferences);
    auto formulas = [](size_t n) {
        return n == 1 ? tr("1 formula") : tr("%1 formulas").arg(static_cast<qulonglong>(n));
    };
    QString text = report.agrees() ? tr("All agree: %1 checked against the results stored in the file.")
                                         .arg(formulas(report.formulasChecked))
                                   : tr("%1 of %2 differ from the results stored in the file.")
                                         .arg(static_cast<qulonglong>(report.differences.size()))
                                         .arg(formulas(report.formulasChecked));
    if (report.withoutStoredResult > 0)
        text += QLatin1Char(' ') + tr("%1 had no stored result.").arg(formulas(report.withoutStoredResult));
    summary_->setText(text);
}

void CheckWorkbookPanel::goTo(QTreeWidgetItem* item) {
    if (!item || !item->data(0, sheetNameRole).isValid()) return;
    const SumoraDocument& doc = context_.editor().document;
    auto sheet = doc.sheetIndex(item->data(0, sheetNameRole).toString().toStdString());
    if (!sheet) return; // renamed or deleted since the file was saved
    const int32_t col = clampCoordinate(item->data(0, colRole).toLongLong());
    const int32_t row = clampCoordinate(item->data(0, rowRole).toLongLong());
    selectOnSheet(context_, *sheet, CellRect::cell(col, row));
}

} // namespace sumora::app
