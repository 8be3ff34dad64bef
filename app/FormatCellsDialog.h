#pragma once
// Format Cells: number (categories with a live preview drawn by the number
// format renderer), alignment and wrap, font, borders and fill with colour
// swatches. The dialog starts from the active cell's format; on OK only the
// parts the user changed are applied to every selected cell, as one undo
// step named "Format Cells".
#include <QDialog>
#include <functional>
#include <optional>
#include <string>

#include "document/CellFormat.h"

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QFontComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QSpinBox;

namespace sumora {
class SumoraEditorView;
}

namespace sumora::app {

class FormatCellsDialog : public QDialog {
    Q_OBJECT
  public:
    explicit FormatCellsDialog(SumoraEditorView& editor, QWidget* parent = nullptr);

    // The number-format code the Number page describes now ("" for General).
    QString numberFormatCode() const { return code_; }
    QString previewText() const;
    QListWidget* categories() const { return categories_; }
    QSpinBox* decimals() const { return decimals_; }
    QComboBox* horizontalAlignment() const { return horizontal_; }
    QCheckBox* wrapText() const { return wrap_; }
    QCheckBox* bold() const { return bold_; }
    QCheckBox* border(int edge) const { return borders_[edge]; } // top, bottom, left, right, thick bottom
    // Picks a fill (or no fill) as a swatch click does.
    void chooseFill(std::optional<std::string> hex);
    void chooseFontColor(std::optional<std::string> hex);
    // Applies the changed parts to the selection.
    void apply();

  private:
    QWidget* numberPage();
    QWidget* alignmentPage();
    QWidget* fontPage();
    QWidget* borderPage();
    QWidget* swatches(const std::function<void(std::optional<std::string>)>& pick, const QString& prefix);
    void updateCode();

    SumoraEditorView& editor_;
    CellFormat start_;
    double sample_ = 1234.5678;
    QString code_;
    QListWidget* categories_ = nullptr;
    QSpinBox* decimals_ = nullptr;
    QCheckBox* thousands_ = nullptr;
    QLineEdit* custom_ = nullptr;
    QLabel* preview_ = nullptr;
    QComboBox* horizontal_ = nullptr;
    QCheckBox* wrap_ = nullptr;
    QFontComboBox* family_ = nullptr;
    QDoubleSpinBox* size_ = nullptr;
    QCheckBox *bold_ = nullptr, *italic_ = nullptr, *underline_ = nullptr, *strike_ = nullptr;
    QCheckBox* borders_[5] = {};
    QLabel* fillShown_ = nullptr;
    QLabel* colorShown_ = nullptr;
    // What the user touched: only these are applied.
    bool numberChanged_ = false, alignmentChanged_ = false, wrapChanged_ = false, familyChanged_ = false,
         sizeChanged_ = false, styleChanged_ = false, bordersChanged_ = false, fillChanged_ = false,
         colorChanged_ = false;
    std::optional<std::string> fill_, fontColor_;
};

} // namespace sumora::app
