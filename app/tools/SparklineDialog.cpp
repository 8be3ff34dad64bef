#include "app/tools/SparklineDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "app/tools/ColorButton.h"
#include "app/tools/ToolSupport.h"
#include "editing/ChartSeries.h"

namespace sumora::app {

SparklineDialog::SparklineDialog(DocumentContext& context, QWidget* parent)
    : QDialog(parent), context_(context) {
    setWindowTitle(tr("Sparkline"));
    setObjectName(QStringLiteral("sparklineDialog"));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    type_ = new QComboBox(this);
    for (SparklineType t : {SparklineType::line, SparklineType::bar, SparklineType::winLoss})
        type_->addItem(toQString(rawText(t)), static_cast<int>(t));
    data_ = new QLineEdit(this);
    location_ = new QLineEdit(this);
    color_ = new ColorButton(QStringLiteral("007AFF"), this);
    width_ = new QDoubleSpinBox(this);
    width_->setRange(0.25, 6);
    width_->setSingleStep(0.25);
    width_->setSuffix(tr(" pt"));
    form->addRow(tr("Type:"), type_);
    form->addRow(tr("Data range:"), data_);
    form->addRow(tr("Location:"), location_);
    form->addRow(tr("Colour:"), color_);
    form->addRow(tr("Line width:"), width_);
    layout->addLayout(form);
    auto* markers = new QGroupBox(tr("Markers"), this);
    auto* grid = new QGridLayout(markers);
    high_ = new QCheckBox(tr("High point"), markers);
    low_ = new QCheckBox(tr("Low point"), markers);
    first_ = new QCheckBox(tr("First point"), markers);
    last_ = new QCheckBox(tr("Last point"), markers);
    grid->addWidget(high_, 0, 0);
    grid->addWidget(low_, 0, 1);
    grid->addWidget(first_, 1, 0);
    grid->addWidget(last_, 1, 1);
    layout->addWidget(markers);
    message_ = new QLabel(this);
    message_->setStyleSheet(QStringLiteral("color: #B00020;"));
    layout->addWidget(message_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        if (apply()) accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    // The active cell's sparkline when it has one; else a row of data
    // selected is drawn in the cell to its right.
    SumoraEditorView& editor = context_.editor();
    const Sheet* sheet = editor.activeSheet();
    Sparkline s;
    const Sparkline* existing =
        sheet && editor.activeCell ? sparklineAt(*sheet, *editor.activeCell) : nullptr;
    if (existing) {
        s = *existing;
    } else if (auto range = currentRange(editor)) {
        s.dataStartCol = range->minCol();
        s.dataStartRow = range->minRow();
        s.dataEndCol = range->maxCol();
        s.dataEndRow = range->maxRow();
        s.locationCol = range->maxCol() + 1;
        s.locationRow = range->minRow();
    }
    id_ = s.id;
    type_->setCurrentIndex(type_->findData(static_cast<int>(s.type)));
    data_->setText(rangeText({s.dataStartCol, s.dataStartRow, s.dataEndCol, s.dataEndRow}));
    location_->setText(rangeText({s.locationCol, s.locationRow, s.locationCol, s.locationRow}));
    color_->setHex(s.colorHex);
    width_->setValue(s.lineWidth);
    high_->setChecked(s.showHighPoint);
    low_->setChecked(s.showLowPoint);
    first_->setChecked(s.showFirstPoint);
    last_->setChecked(s.showLastPoint);
}

std::optional<Sparkline> SparklineDialog::sparkline() {
    auto data = parseRangeText(data_->text());
    auto location = parseRangeText(location_->text());
    if (!data || !location || !location->isSingleCell()) {
        message_->setText(tr("Enter a data range such as B2:M2 and one cell for the location."));
        return std::nullopt;
    }
    Sparkline s;
    s.id = id_;
    s.type = static_cast<SparklineType>(type_->currentData().toInt());
    s.dataStartCol = data->minCol();
    s.dataStartRow = data->minRow();
    s.dataEndCol = data->maxCol();
    s.dataEndRow = data->maxRow();
    s.locationCol = location->minCol();
    s.locationRow = location->minRow();
    s.colorHex = color_->hex();
    s.lineWidth = width_->value();
    s.showHighPoint = high_->isChecked();
    s.showLowPoint = low_->isChecked();
    s.showFirstPoint = first_->isChecked();
    s.showLastPoint = last_->isChecked();
    message_->clear();
    return s;
}

bool SparklineDialog::apply() {
    const Sheet* sheet = context_.editor().activeSheet();
    auto s = sparkline();
    if (!sheet || !s) return false;
    std::vector<Sparkline> list;
    for (const Sparkline& other : sheet->sparklines)
        if (other.id != s->id &&
            !(other.locationCol == s->locationCol && other.locationRow == s->locationRow))
            list.push_back(other);
    list.push_back(*s);
    replaceSheetRules(context_, &Sheet::sparklines, std::move(list), "Sparkline");
    return true;
}

void removeSparklineAtActiveCell(DocumentContext& context) {
    SumoraEditorView& editor = context.editor();
    const Sheet* sheet = editor.activeSheet();
    if (!sheet || !editor.activeCell) return;
    std::vector<Sparkline> list;
    for (const Sparkline& s : sheet->sparklines)
        if (!(s.locationCol == editor.activeCell->col && s.locationRow == editor.activeCell->row))
            list.push_back(s);
    if (list.size() != sheet->sparklines.size())
        replaceSheetRules(context, &Sheet::sparklines, std::move(list), "Remove Sparkline");
}

} // namespace sumora::app
