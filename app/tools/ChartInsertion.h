#pragma once
// Inserting and editing a chart: the source block (the selection when
// inserting), the chart type, title, whether the block's first row names the
// series and its first column labels the categories (guessed from the
// cells), legend, grid lines, palette, trendline and secondary value axis.
// A new chart is anchored to the right of its block.
#include <QDialog>

#include "app/DocumentContext.h"
#include "document/WorkbookRecords.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QLabel;

namespace sumora::app {

// Named palettes offered by the dialog, each a list of "RRGGBB" colours;
// the first is empty (the default palette).
struct ChartPaletteChoice {
    QString name;
    std::vector<std::string> colors;
};
const std::vector<ChartPaletteChoice>& chartPaletteChoices();

class ChartInsertionDialog : public QDialog {
    Q_OBJECT
  public:
    // Inserting: starts from the selection.
    explicit ChartInsertionDialog(DocumentContext& context, QWidget* parent = nullptr);
    // Editing an existing chart.
    ChartInsertionDialog(DocumentContext& context, const EmbeddedChart& chart, QWidget* parent = nullptr);

    QLineEdit* rangeField() const { return range_; }
    QComboBox* typeBox() const { return type_; }
    QLineEdit* titleField() const { return title_; }
    QCheckBox* headerCheck() const { return header_; }
    QCheckBox* categoryCheck() const { return categories_; }
    QCheckBox* legendCheck() const { return legend_; }
    QCheckBox* gridCheck() const { return grid_; }
    QComboBox* paletteBox() const { return palette_; }
    QCheckBox* trendlineCheck() const { return trendline_; }
    QComboBox* trendlineBox() const { return trendlineType_; }
    QCheckBox* secondaryAxisCheck() const { return secondary_; }

    // The chart as entered; nothing when the range does not read.
    std::optional<EmbeddedChart> chart();
    // Stores the chart ("Insert Chart" or "Edit Chart").
    bool apply();

  private:
    void build();
    void load(const EmbeddedChart& chart);

    DocumentContext& context_;
    EmbeddedChart base_;
    bool editing_ = false;
    QLineEdit* range_;
    QComboBox* type_;
    QLineEdit* title_;
    QCheckBox* header_;
    QCheckBox* categories_;
    QCheckBox* legend_;
    QCheckBox* grid_;
    QComboBox* palette_;
    QCheckBox* trendline_;
    QComboBox* trendlineType_;
    QCheckBox* secondary_;
    QLabel* message_;
};

} // namespace sumora::app
