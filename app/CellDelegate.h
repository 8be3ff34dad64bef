#pragma once
// Paints one cell from its CellAppearance (fill, data bar, text through its
// number format, borders, comment mark) and edits it in a line edit with
// formula autocomplete.
#include <QFont>
#include <QPersistentModelIndex>
#include <QStyledItemDelegate>
#include <optional>
#include <vector>

class QLineEdit;

namespace sumora::app {

class SheetTableModel;

class CellDelegate : public QStyledItemDelegate {
    Q_OBJECT
  public:
    explicit CellDelegate(SheetTableModel& model, QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;

    // Text that ran on over empty neighbours during the last paint of a
    // view. The view draws its grid lines after the cells, so it redraws
    // these runs where they cross a column's grid line.
    struct OverflowRun {
        int row = 0;
        QRect area; // the cells the text covers
        QRect textRect;
        int flags = 0;
        QString text;
        QFont font;
        QColor color;
    };
    std::vector<OverflowRun> takeOverflowRuns(const QWidget* view) const;

    // The translucent blue laid over selected cells.
    static QColor selectionTint() { return QColor(0x1A, 0x73, 0xE8, 40); }

    // The next editor starts from this text instead of the cell's content
    // (type-to-edit replaces what the cell held).
    void setPendingText(std::optional<QString> text) { pendingText_ = std::move(text); }

  signals:
    // The cell editor's text while typing (the formula bar mirrors it).
    void editorTextChanged(const QString& text);
    void editingStarted();
    // An arrow key committed a new entry: the grid moves by this step.
    void moveRequested(int dRow, int dCol);

  protected:
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    // Enter or Tab in an editor: asks the model's approver; a refused entry
    // keeps the editor open with its text selected for correction.
    bool approveTypedEntry(QLineEdit* edit);
    // Arrows, and Ctrl+; or Ctrl+Shift+;, in the editor; true when consumed.
    bool handleEditorKey(QLineEdit* edit, QKeyEvent* key);

    void noteOverflowRun(const QWidget* view, OverflowRun run) const;

    SheetTableModel& model_;
    mutable std::vector<std::pair<const QWidget*, OverflowRun>> overflowRuns_;
    mutable std::optional<QString> pendingText_;
    mutable QPersistentModelIndex editedIndex_;
    // Typing over a cell starts an entry, whose arrows commit and move; F2 and
    // double-click edit the content, whose arrows move the caret.
    mutable bool entryMode_ = false;
    // While an approval dialog is up, the editor's focus loss must not commit.
    bool approving_ = false;
    // The text last approved through a key, so the commit does not ask twice.
    std::optional<QString> approvedText_;
};

} // namespace sumora::app
