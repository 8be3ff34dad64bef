#include "app/tools/ChartInsertion.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "app/tools/ChartLayer.h"
#include "app/tools/ToolSupport.h"
#include "editing/ChartSeries.h"

namespace sumora::app {

const std::vector<ChartPaletteChoice>& chartPaletteChoices() {
    static const std::vector<ChartPaletteChoice> choices = {
        {QObject::tr("Default"), {}},
        {QObject::tr("Ocean"), {"0B3C5D", "328CC1", "1D70A2", "5BC0EB", "9BC1BC", "2E4756"}},
        {QObject::tr("Sunset"), {"F94144", "F3722C", "F8961E", "F9C74F", "90BE6D", "577590"}},
        {QObject::tr("Forest"), {"2D6A4F", "40916C", "52B788", "74C69D", "95D5B2", "1B4332"}},
        {QObject::tr("Grayscale"), {"222222", "555555", "888888", "AAAAAA", "CCCCCC", "444444"}},
    };
    return choices;
}

ChartInsertionDialog::ChartInsertionDialog(DocumentContext& context, QWidget* parent)
    : QDialog(parent), context_(context) {
    build();
    SumoraEditorView& editor = context_.editor();
    EmbeddedChart fresh;
    if (auto range = currentRange(editor)) {
        fresh.dataStartCol = range->minCol();
        fresh.dataStartRow = range->minRow();
        fresh.dataEndCol = range->maxCol();
        fresh.dataEndRow = range->maxRow();
        if (const Sheet* sheet = editor.activeSheet()) {
            const BlockLabels labels = guessBlockLabels(*sheet, fresh.dataStartCol, fresh.dataStartRow,
                                                        fresh.dataEndCol, fresh.dataEndRow);
            fresh.hasHeaderRow = labels.headerRow;
            fresh.hasCategoryColumn = labels.categoryColumn;
        }
        fresh.anchorCol = range->maxCol() + 2;
        fresh.anchorRow = range->minRow();
    }
    base_ = fresh;
    load(fresh);
    setWindowTitle(tr("Insert Chart"));
}

ChartInsertionDialog::ChartInsertionDialog(DocumentContext& context, const EmbeddedChart& chart,
                                           QWidget* parent)
    : QDialog(parent), context_(context), base_(chart), editing_(true) {
    build();
    load(chart);
    setWindowTitle(tr("Edit Chart"));
}

void ChartInsertionDialog::build() {
    setObjectName(QStringLiteral("chartDialog"));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    range_ = new QLineEdit(this);
    type_ = new QComboBox(this);
    for (ChartType t : allChartTypes())
        type_->addItem(toQString(rawText(t)), static_cast<int>(t));
    title_ = new QLineEdit(this);
    header_ = new QCheckBox(tr("First row names the series"), this);
    categories_ = new QCheckBox(tr("First column labels the categories"), this);
    legend_ = new QCheckBox(tr("Legend"), this);
    grid_ = new QCheckBox(tr("Grid lines"), this);
    palette_ = new QComboBox(this);
    for (const ChartPaletteChoice& p : chartPaletteChoices())
        palette_->addItem(p.name);
    trendline_ = new QCheckBox(tr("Trendline"), this);
    trendlineType_ = new QComboBox(this);
    for (TrendlineType t : {TrendlineType::linear, TrendlineType::exponential, TrendlineType::movingAverage})
        trendlineType_->addItem(toQString(rawText(t)), static_cast<int>(t));
    secondary_ = new QCheckBox(tr("Last series on a secondary value axis"), this);
    form->addRow(tr("Data range:"), range_);
    form->addRow(tr("Chart type:"), type_);
    form->addRow(tr("Title:"), title_);
    form->addRow(header_);
    form->addRow(categories_);
    form->addRow(legend_);
    form->addRow(grid_);
    form->addRow(tr("Colours:"), palette_);
    form->addRow(trendline_, trendlineType_);
    form->addRow(secondary_);
    layout->addLayout(form);
    message_ = new QLabel(this);
    message_->setStyleSheet(QStringLiteral("color: #B00020;"));
    layout->addWidget(message_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(trendline_, &QCheckBox::toggled, trendlineType_, &QWidget::setEnabled);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        if (chart()) accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void ChartInsertionDialog::load(const EmbeddedChart& chart) {
    range_->setText(rangeText({chart.dataStartCol, chart.dataStartRow, chart.dataEndCol, chart.dataEndRow}));
    type_->setCurrentIndex(type_->findData(static_cast<int>(chart.chartType)));
    title_->setText(toQString(chart.title));
    header_->setChecked(chart.hasHeaderRow);
    categories_->setChecked(chart.hasCategoryColumn);
    legend_->setChecked(chart.showLegend);
    grid_->setChecked(chart.showGridLines);
    palette_->setCurrentIndex(0);
    const auto& choices = chartPaletteChoices();
    for (size_t i = 0; i < choices.size(); ++i)
        if (choices[i].colors == chart.colorPalette) palette_->setCurrentIndex(static_cast<int>(i));
    trendline_->setChecked(chart.showTrendline);
    trendlineType_->setCurrentIndex(trendlineType_->findData(static_cast<int>(chart.trendlineType)));
    trendlineType_->setEnabled(chart.showTrendline);
    secondary_->setChecked(chart.useSecondaryYAxis);
}

std::optional<EmbeddedChart> ChartInsertionDialog::chart() {
    auto range = parseRangeText(range_->text());
    if (!range) {
        message_->setText(tr("Enter the data range, such as A1:C10."));
        return std::nullopt;
    }
    EmbeddedChart c = base_;
    c.dataStartCol = range->minCol();
    c.dataStartRow = range->minRow();
    c.dataEndCol = range->maxCol();
    c.dataEndRow = range->maxRow();
    c.chartType = static_cast<ChartType>(type_->currentData().toInt());
    c.title = toStdString(title_->text());
    c.hasHeaderRow = header_->isChecked();
    c.hasCategoryColumn = categories_->isChecked();
    c.showLegend = legend_->isChecked();
    c.showGridLines = grid_->isChecked();
    // A palette the dialog does not offer (from a file) stays unless changed.
    const auto& choices = chartPaletteChoices();
    const auto chosen = static_cast<size_t>(std::max(0, palette_->currentIndex()));
    bool known = false;
    for (const auto& p : choices)
        known = known || p.colors == base_.colorPalette;
    if (known || chosen != 0) c.colorPalette = choices[chosen].colors;
    c.showTrendline = trendline_->isChecked();
    c.trendlineType = static_cast<TrendlineType>(trendlineType_->currentData().toInt());
    c.useSecondaryYAxis = secondary_->isChecked();
    message_->clear();
    return c;
}

bool ChartInsertionDialog::apply() {
    auto c = chart();
    if (!c) return false;
    storeChart(context_, *c, editing_ ? "Edit Chart" : "Insert Chart");
    return true;
}

} // namespace sumora::app
