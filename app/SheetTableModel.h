#pragma once
// The active sheet of an editor as a table model. The model never holds cell
// data of its own: every read goes to the sheet, every write goes through the
// editor (setCellValue), and after any command the window tells the model to
// refresh so the views re-read the document.
#include <QAbstractTableModel>

#include "app/CellAppearance.h"
#include "app/EntryApprover.h"

namespace sumora {
class SumoraEditorView;
class Sheet;
} // namespace sumora

namespace sumora::app {

class SheetTableModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    explicit SheetTableModel(SumoraEditorView& editor, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    // Commits typed text through the editor's setCellValue. Callers that
    // type on the user's behalf ask approveEntry first.
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

    void setEntryApprover(EntryApprover approver) { approver_ = std::move(approver); }
    // Whether `text` may be entered at (row, column); text equal to the
    // cell's present content is not asked about.
    bool approveEntry(int row, int column, const QString& text) const;

    SumoraEditorView& editor() const { return editor_; }
    // The active sheet, or nullptr while the document has none.
    const Sheet* sheet() const;
    CellAppearanceBuilder& appearances() const { return appearances_; }
    CellAppearance appearance(const QModelIndex& index) const;
    // The text the cell editor starts from: "=" + formula, else the value.
    QString editText(int row, int column) const;

    // The active sheet changed, or its rows and columns moved: rebuilds.
    void reload();
    // Cell contents or formats changed: repaints, growing with the grid.
    void refreshCells();

  signals:
    // A cell was committed through setData.
    void cellCommitted(int row, int column);

  private:
    SumoraEditorView& editor_;
    EntryApprover approver_;
    mutable CellAppearanceBuilder appearances_;
    int rows_ = 0;
    int columns_ = 0;
};

} // namespace sumora::app
