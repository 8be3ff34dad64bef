#pragma once
// "Remove Duplicates": "My data has headers", "Select columns to check" with
// a check box per used column, and the warning that the removal cannot be
// undone. Removing runs performRemoveDuplicates with the choices and shows
// its status text in place of the warning.
#include <QDialog>

#include "app/DocumentContext.h"

class QCheckBox;
class QLabel;
class QListWidget;
class QPushButton;

namespace sumora::app {

class RemoveDuplicatesDialog : public QDialog {
    Q_OBJECT
  public:
    explicit RemoveDuplicatesDialog(DocumentContext& context, QWidget* parent = nullptr);

    QCheckBox* headerCheck() const { return header_; }
    void setColumnChecked(int64_t column, bool checked);
    int columnCount() const;
    QLabel* messageLabel() const { return message_; }
    void apply();

  private:
    void relabel();

    DocumentContext& context_;
    QCheckBox* header_;
    QListWidget* columns_;
    QLabel* message_;
    QPushButton* remove_;
};

} // namespace sumora::app
