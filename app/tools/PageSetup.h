#pragma once
// How a sheet goes onto paper: paper size, orientation, margins, scale,
// whether the first row repeats at the top of every page, grid lines and
// charts. Margins are kept in millimetres and shown in the user's
// "measurementUnit" setting ("in" or "cm").
#include <QDialog>
#include <QPageLayout>
#include <QPageSize>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QSpinBox;

namespace sumora::app {

struct PageSetup {
    QPageSize::PageSizeId paper = QPageSize::A4;
    QPageLayout::Orientation orientation = QPageLayout::Portrait;
    double marginTopMm = 19.05, marginBottomMm = 19.05, marginLeftMm = 17.8, marginRightMm = 17.8;
    double scale = 1.0; // 1 = the grid's size at 100 %
    bool repeatHeaderRow = false;
    bool showGridLines = true;
    bool includeCharts = true;

    // Letter with 0.75 in margins where the unit is inches, else A4 with 1.9 cm.
    static PageSetup defaultsFor(const QString& measurementUnit);
    QPageLayout pageLayout() const;
};

// Millimetres in the unit ("in" or "cm", anything else reads as "in") and back.
double fromMillimetres(double mm, const QString& unit);
double toMillimetres(double value, const QString& unit);

class PageSetupDialog : public QDialog {
    Q_OBJECT
  public:
    PageSetupDialog(const PageSetup& setup, const QString& measurementUnit, QWidget* parent = nullptr);

    PageSetup setup() const;
    QDoubleSpinBox* marginField(int index) const { return margins_[index]; } // top, bottom, left, right
    QCheckBox* repeatHeaderCheck() const { return repeat_; }

  private:
    QString unit_;
    QComboBox* paper_;
    QComboBox* orientation_;
    QDoubleSpinBox* margins_[4];
    QSpinBox* scale_;
    QCheckBox* repeat_;
    QCheckBox* grid_;
    QCheckBox* charts_;
};

} // namespace sumora::app
