#pragma once
// Check Workbook: the check of `sumora-cli check` on the window's file. The
// file is read again from disk as stored (the results its producer saved),
// recalculated, and every formula whose result differs is listed, a click
// away from its cell; formulas that change by themselves (volatile ones and
// those reading them) are listed apart and do not count as differences.
// Reading the file again, rather than keeping every stored result from the
// opening, costs memory only while a check runs; the check is of the file as
// saved, which the panel says when the window has unsaved changes.
#include <QWidget>

#include "app/DocumentContext.h"
#include "formats/StoredResultCheck.h"

class QLabel;
class QTreeWidget;
class QTreeWidgetItem;

namespace sumora::app {

class CheckWorkbookPanel : public QWidget {
    Q_OBJECT
  public:
    CheckWorkbookPanel(DocumentContext& context, QWidget* parent = nullptr);

    // Checks the file (on a worker thread, with progress) and lists the result.
    void check(const QString& path);
    // Lists a report made on `checked`, a document opened from the file as stored.
    void showReport(const SumoraDocument& checked, const ResultCheckReport& report);

    QLabel* summary() const { return summary_; }
    QTreeWidget* list() const { return list_; }
    // Selects the cell of a listed difference in the window.
    void goTo(QTreeWidgetItem* item);

  private:
    DocumentContext& context_;
    QLabel* summary_;
    QTreeWidget* list_;
};

} // namespace sumora::app
