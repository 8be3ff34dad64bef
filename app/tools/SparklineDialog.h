#pragma once
// Inserting or changing the sparkline of a cell: its type, data range,
// location, colour, line width and the high, low, first and last markers.
// Stored in the sheet's sparklines as one undoable step; a sparkline already
// in the location cell is replaced.
#include <QDialog>

#include "app/DocumentContext.h"
#include "document/WorkbookRecords.h"

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QLineEdit;

namespace sumora::app {

class ColorButton;

class SparklineDialog : public QDialog {
    Q_OBJECT
  public:
    explicit SparklineDialog(DocumentContext& context, QWidget* parent = nullptr);

    QComboBox* typeBox() const { return type_; }
    QLineEdit* dataField() const { return data_; }
    QLineEdit* locationField() const { return location_; }
    ColorButton* colorButton() const { return color_; }
    QDoubleSpinBox* lineWidthField() const { return width_; }
    QCheckBox* highCheck() const { return high_; }
    QCheckBox* lowCheck() const { return low_; }
    QCheckBox* firstCheck() const { return first_; }
    QCheckBox* lastCheck() const { return last_; }

    std::optional<Sparkline> sparkline();
    bool apply();

  private:
    DocumentContext& context_;
    std::string id_;
    QComboBox* type_;
    QLineEdit* data_;
    QLineEdit* location_;
    ColorButton* color_;
    QDoubleSpinBox* width_;
    QCheckBox* high_;
    QCheckBox* low_;
    QCheckBox* first_;
    QCheckBox* last_;
    QLabel* message_;
};

// Removes the sparkline of the active cell, if it has one.
void removeSparklineAtActiveCell(DocumentContext& context);

} // namespace sumora::app
