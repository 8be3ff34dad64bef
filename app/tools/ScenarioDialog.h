#pragma once
// The scenario manager: the workbook's scenarios in a list; a name, the
// changing cells and a comment to save the cells' present values as a new
// scenario or over the selected one; Show applies the selected scenario and
// Restore puts back the values it replaced. Each button calls the matching
// editor command (saving with a ScenarioRequest made of the fields).
#include <QDialog>
#include <optional>
#include <string>

#include "app/DocumentContext.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QPlainTextEdit;

namespace sumora::app {

class ScenarioDialog : public QDialog {
    Q_OBJECT
  public:
    explicit ScenarioDialog(DocumentContext& context, QWidget* parent = nullptr);

    QListWidget* scenarioList() const { return list_; }
    QLineEdit* nameField() const { return name_; }
    QLineEdit* cellsField() const { return cells_; }
    QPlainTextEdit* commentField() const { return comment_; }
    QLabel* statusLabel() const { return status_; }

    void addScenario();
    // Saves over the selected scenario.
    void saveSelected();
    void showSelected();
    void restoreOriginals();
    void deleteSelected();

  private:
    void reloadList(int select = -1);
    void fillFields();
    void save(std::optional<std::string> id);

    DocumentContext& context_;
    QListWidget* list_;
    QLineEdit* name_;
    QLineEdit* cells_;
    QPlainTextEdit* comment_;
    QLabel* status_;
};

} // namespace sumora::app
