#pragma once
// The second page of the Insert Function panel: one field per argument slot
// of the chosen function. Clicking or dragging on the grid fills the selected
// field; Enter commits the formula into the target cell, Escape cancels.
#include <QWidget>
#include <vector>

#include "editing/SumoraEditorView.h"

class QLabel;
class QLineEdit;
class QVBoxLayout;

namespace sumora::app {

class FunctionArgumentsPage : public QWidget {
    Q_OBJECT
  public:
    explicit FunctionArgumentsPage(SumoraEditorView& editor, QWidget* parent = nullptr);

    // Opens the slots for a catalogue entry, targeting `target`.
    void begin(const QString& name, CellPosition target);
    const QString& functionName() const { return name_; }
    CellPosition target() const { return target_; }
    const std::vector<QLineEdit*>& fields() const { return fields_; }
    int selectedField() const { return selected_; }
    void selectField(int index);
    // Writes a cell or range reference into the selected field.
    void fillSelectedField(const QString& reference);
    QStringList argumentTexts() const;

    // Enter: stores the formula through the editor.
    void commit();
    // Escape: leaves the cell as it was.
    void cancel();
    // The keys, from a field or from the grid while it picks cells.
    void enterPressed();
    void escapePressed();

  signals:
    void committed();
    void cancelled();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void updatePreview();

    SumoraEditorView& editor_;
    QString name_;
    CellPosition target_;
    QLabel* title_;
    QLabel* description_;
    QLabel* preview_;
    QVBoxLayout* slotsLayout_;
    QWidget* slotsBox_;
    std::vector<QLineEdit*> fields_;
    int selected_ = 0;
};

} // namespace sumora::app
