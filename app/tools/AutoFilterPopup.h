#pragma once
// The automatic filter: a toggle, an arrow on each used column's header while
// it is on, and per column a popup listing the column's texts with check
// boxes. Ticked texts become the editor's allowed set for the column; the
// grid hides the rows the editor's filteredRowVisible rejects. The first row
// is taken as the header: its text is always allowed, so it stays in view;
// so are empty rows unless the column's own blanks were unticked.
#include <QFrame>
#include <QObject>
#include <QPointer>
#include <vector>

#include "app/DocumentContext.h"

class QCheckBox;
class QListWidget;
class QToolButton;

namespace sumora::app {

class SheetGridView;

// Turns the filter on or off; off forgets every column's choice.
void toggleAutoFilter(DocumentContext& context);

class AutoFilterPopup : public QFrame {
    Q_OBJECT
  public:
    AutoFilterPopup(DocumentContext& context, int64_t column, QWidget* parent = nullptr);

    // The texts offered, in display order ("" stands for "(Blanks)").
    QStringList texts() const;
    void setTextChecked(const QString& text, bool checked);
    bool isTextChecked(const QString& text) const;
    QCheckBox* selectAllCheck() const { return selectAll_; }
    // Stores the choice in the editor and refreshes the grid.
    void apply();

  private:
    void syncSelectAll();

    DocumentContext& context_;
    int64_t column_;
    QCheckBox* selectAll_;
    QListWidget* list_;
    bool syncing_ = false;
};

// The header arrows of one window's grid, shown while the filter is on.
class AutoFilterButtons : public QObject {
    Q_OBJECT
  public:
    AutoFilterButtons(DocumentContext& context, SheetGridView& grid);
    // Re-reads whether the filter is on and which columns are used.
    void refresh();

  private:
    void place();
    void openPopup(int64_t column);

    DocumentContext& context_;
    SheetGridView& grid_;
    std::vector<QPointer<QToolButton>> buttons_;
};

} // namespace sumora::app
