#pragma once
// The sort dialog: one or more keys (a column and an order each), tried in
// turn, and whether the first row is a header that stays in place. It runs
// performMultiSort with them and keeps them for the next time it opens.
#include <QDialog>

#include "app/DocumentContext.h"

class QCheckBox;
class QComboBox;
class QVBoxLayout;

namespace sumora::app {

class SortDialog : public QDialog {
    Q_OBJECT
  public:
    explicit SortDialog(DocumentContext& context, QWidget* parent = nullptr);

    // One more "Then by" level; the first level is "Sort by".
    void addKey(int64_t column, bool ascending);
    void removeLastKey();
    int keyCount() const { return static_cast<int>(levels_.size()); }
    QCheckBox* headerCheck() const { return header_; }
    // Sorts by the levels.
    void apply();

  private:
    struct Level {
        QWidget* row;
        QComboBox* column;
        QComboBox* order;
    };
    void relabelColumns();

    DocumentContext& context_;
    QCheckBox* header_;
    QVBoxLayout* levelsLayout_;
    std::vector<Level> levels_;
};

} // namespace sumora::app
