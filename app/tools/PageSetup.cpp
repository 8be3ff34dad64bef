#include "app/tools/PageSetup.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QSpinBox>
#include <QVBoxLayout>

namespace sumora::app {

namespace {

bool isCentimetres(const QString& unit) {
    return unit == QStringLiteral("cm");
}

} // namespace

double fromMillimetres(double mm, const QString& unit) {
    return isCentimetres(unit) ? mm / 10.0 : mm / 25.4;
}

double toMillimetres(double value, const QString& unit) {
    return isCentimetres(unit) ? value * 10.0 : value * 25.4;
}

PageSetup PageSetup::defaultsFor(const QString& measurementUnit) {
    PageSetup s;
    if (isCentimetres(measurementUnit)) {
        s.paper = QPageSize::A4;
        s.marginTopMm = s.marginBottomMm = s.marginLeftMm = s.marginRightMm = 19;
    } else {
        s.paper = QPageSize::Letter;
        s.marginTopMm = s.marginBottomMm = s.marginLeftMm = s.marginRightMm = 19.05;
    }
    return s;
}

QPageLayout PageSetup::pageLayout() const {
    return QPageLayout(QPageSize(paper), orientation,
                       QMarginsF(marginLeftMm, marginTopMm, marginRightMm, marginBottomMm),
                       QPageLayout::Millimeter);
}

PageSetupDialog::PageSetupDialog(const PageSetup& setup, const QString& measurementUnit, QWidget* parent)
    : QDialog(parent), unit_(measurementUnit) {
    setWindowTitle(tr("Page Setup"));
    setObjectName(QStringLiteral("pageSetupDialog"));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    paper_ = new QComboBox(this);
    for (QPageSize::PageSizeId id :
         {QPageSize::Letter, QPageSize::Legal, QPageSize::A4, QPageSize::A3, QPageSize::A5})
        paper_->addItem(QPageSize::name(id), static_cast<int>(id));
    paper_->setCurrentIndex(std::max(0, paper_->findData(static_cast<int>(setup.paper))));
    orientation_ = new QComboBox(this);
    orientation_->addItem(tr("Portrait"), static_cast<int>(QPageLayout::Portrait));
    orientation_->addItem(tr("Landscape"), static_cast<int>(QPageLayout::Landscape));
    orientation_->setCurrentIndex(setup.orientation == QPageLayout::Landscape ? 1 : 0);
    form->addRow(tr("Paper size:"), paper_);
    form->addRow(tr("Orientation:"), orientation_);

    const QString suffix = isCentimetres(unit_) ? tr(" cm") : tr(" in");
    const double values[4] = {setup.marginTopMm, setup.marginBottomMm, setup.marginLeftMm,
                              setup.marginRightMm};
    const QString labels[4] = {tr("Top margin:"), tr("Bottom margin:"), tr("Left margin:"),
                               tr("Right margin:")};
    for (int i = 0; i < 4; ++i) {
        margins_[i] = new QDoubleSpinBox(this);
        margins_[i]->setDecimals(2);
        margins_[i]->setRange(0, isCentimetres(unit_) ? 10 : 4);
        margins_[i]->setSingleStep(isCentimetres(unit_) ? 0.1 : 0.05);
        margins_[i]->setSuffix(suffix);
        margins_[i]->setValue(fromMillimetres(values[i], unit_));
        form->addRow(labels[i], margins_[i]);
    }
    scale_ = new QSpinBox(this);
    scale_->setRange(10, 400);
    scale_->setSuffix(QStringLiteral(" %"));
    scale_->setValue(static_cast<int>(std::lround(setup.scale * 100)));
    form->addRow(tr("Scale:"), scale_);
    repeat_ = new QCheckBox(tr("Repeat the first row at the top of each page"), this);
    repeat_->setChecked(setup.repeatHeaderRow);
    grid_ = new QCheckBox(tr("Print grid lines"), this);
    grid_->setChecked(setup.showGridLines);
    charts_ = new QCheckBox(tr("Print charts"), this);
    charts_->setChecked(setup.includeCharts);
    form->addRow(repeat_);
    form->addRow(grid_);
    form->addRow(charts_);
    layout->addLayout(form);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

PageSetup PageSetupDialog::setup() const {
    PageSetup s;
    s.paper = static_cast<QPageSize::PageSizeId>(paper_->currentData().toInt());
    s.orientation = static_cast<QPageLayout::Orientation>(orientation_->currentData().toInt());
    s.marginTopMm = toMillimetres(margins_[0]->value(), unit_);
    s.marginBottomMm = toMillimetres(margins_[1]->value(), unit_);
    s.marginLeftMm = toMillimetres(margins_[2]->value(), unit_);
    s.marginRightMm = toMillimetres(margins_[3]->value(), unit_);
    s.scale = scale_->value() / 100.0;
    s.repeatHeaderRow = repeat_->isChecked();
    s.showGridLines = grid_->isChecked();
    s.includeCharts = charts_->isChecked();
    return s;
}

} // namespace sumora::app
