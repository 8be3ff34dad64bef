#include "app/FormatCellsDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFontComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QSpinBox>
#include <QTabWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/CellAppearance.h"
#include "app/FontResolver.h"
#include "app/Settings.h"
#include "editing/SumoraEditorView.h"
#include "values/NumberFormat.h"
#include "values/StrictNumber.h"

namespace sumora::app {

namespace {

const char* const kCategories[] = {"General", "Number", "Currency", "Percentage", "Scientific",
                                   "Date",    "Time",   "Text",     "Custom"};

// Two rows of the usual office palette.
const char* const kSwatches[] = {"000000", "444444", "888888", "CCCCCC", "FFFFFF", "C00000", "FF0000",
                                 "FFC000", "FFFF00", "92D050", "00B050", "00B0F0", "0070C0", "002060",
                                 "7030A0", "F2DCDB", "FDE9D9", "FFF2CC", "E2EFDA", "DDEBF7"};

QString decimalsPart(int decimals) {
    return decimals > 0 ? QStringLiteral(".") + QString(decimals, QLatin1Char('0')) : QString();
}

void showColor(QLabel* label, const std::optional<std::string>& hex) {
    label->setText(hex ? QString::fromStdString(*hex).prepend(QLatin1Char('#')) : QObject::tr("None"));
    label->setStyleSheet(
        hex ? QStringLiteral("background: #%1; border: 1px solid gray;").arg(QString::fromStdString(*hex))
            : QString());
}

} // namespace

FormatCellsDialog::FormatCellsDialog(SumoraEditorView& editor, QWidget* parent)
    : QDialog(parent), editor_(editor) {
    setObjectName(QStringLiteral("formatCellsDialog"));
    setWindowTitle(tr("Format Cells"));
    if (const Sheet* sheet = editor_.activeSheet(); sheet && editor_.activeCell) {
        const Cell& cell = sheet->cell(editor_.activeCell->row, editor_.activeCell->col);
        start_ = cell.format();
        if (auto number = parseStrictNumber(cell.displayValue())) sample_ = *number;
    }
    fill_ = start_.fillColor;
    fontColor_ = start_.fontColor;
    auto* tabs = new QTabWidget(this);
    tabs->addTab(numberPage(), tr("Number"));
    tabs->addTab(alignmentPage(), tr("Alignment"));
    tabs->addTab(fontPage(), tr("Font"));
    tabs->addTab(borderPage(), tr("Border"));
    auto* fillPage = new QWidget;
    auto* fillLayout = new QVBoxLayout(fillPage);
    fillShown_ = new QLabel(fillPage);
    showColor(fillShown_, fill_);
    fillLayout->addWidget(fillShown_);
    fillLayout->addWidget(swatches([this](auto hex) { chooseFill(hex); }, QStringLiteral("fill")));
    fillLayout->addStretch();
    tabs->addTab(fillPage, tr("Fill"));

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        apply();
        accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    layout->addWidget(buttons);
}

QWidget* FormatCellsDialog::numberPage() {
    auto* page = new QWidget;
    auto* layout = new QGridLayout(page);
    categories_ = new QListWidget(page);
    for (const char* c : kCategories)
        categories_->addItem(tr(c));
    decimals_ = new QSpinBox(page);
    decimals_->setRange(0, 10);
    decimals_->setValue(2);
    thousands_ = new QCheckBox(tr("Use 1000 separator (,)"), page);
    custom_ = new QLineEdit(page);
    custom_->setObjectName(QStringLiteral("numberFormatCode"));
    preview_ = new QLabel(page);
    preview_->setObjectName(QStringLiteral("numberFormatPreview"));
    auto* form = new QFormLayout;
    form->addRow(tr("Sample:"), preview_);
    form->addRow(tr("Decimal places:"), decimals_);
    form->addRow(QString(), thousands_);
    form->addRow(tr("Code:"), custom_);
    layout->addWidget(categories_, 0, 0);
    layout->addLayout(form, 0, 1);
    const QString startCode = QString::fromStdString(start_.numberFormat.value_or(""));
    code_ = startCode == QLatin1String("General") ? QString() : startCode;
    custom_->setText(code_);
    categories_->setCurrentRow(code_.isEmpty() ? 0 : 8);
    preview_->setText(previewText());
    connect(categories_, &QListWidget::currentRowChanged, this, [this] {
        numberChanged_ = true;
        updateCode();
    });
    connect(decimals_, &QSpinBox::valueChanged, this, [this] {
        numberChanged_ = true;
        updateCode();
    });
    connect(thousands_, &QCheckBox::toggled, this, [this] {
        numberChanged_ = true;
        updateCode();
    });
    connect(custom_, &QLineEdit::textEdited, this, [this](const QString& text) {
        numberChanged_ = true;
        categories_->blockSignals(true);
        categories_->setCurrentRow(8);
        categories_->blockSignals(false);
        code_ = text;
        preview_->setText(previewText());
    });
    return page;
}

void FormatCellsDialog::updateCode() {
    const int decimals = decimals_->value();
    const QString integer = thousands_->isChecked() ? QStringLiteral("#,##0") : QStringLiteral("0");
    switch (categories_->currentRow()) {
    case 0:
        code_.clear();
        break;
    case 1:
        code_ = integer + decimalsPart(decimals);
        break;
    case 2:
        code_ = QStringLiteral("$#,##0") + decimalsPart(decimals);
        break;
    case 3:
        code_ = QStringLiteral("0") + decimalsPart(decimals) + QLatin1Char('%');
        break;
    case 4:
        code_ = QStringLiteral("0") + decimalsPart(decimals) + QStringLiteral("E+00");
        break;
    case 5:
        code_ = QStringLiteral("yyyy-mm-dd");
        break;
    case 6:
        code_ = QStringLiteral("hh:mm:ss");
        break;
    case 7:
        code_ = QStringLiteral("@");
        break;
    default:
        code_ = custom_->text();
        break;
    }
    custom_->setText(code_);
    preview_->setText(previewText());
}

QString FormatCellsDialog::previewText() const {
    return QString::fromStdString(formatValue(sample_, code_.toStdString()).text);
}

QWidget* FormatCellsDialog::alignmentPage() {
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    horizontal_ = new QComboBox(page);
    for (const QString& name :
         {tr("General"), tr("Left"), tr("Center"), tr("Right"), tr("Fill"), tr("Justify")})
        horizontal_->addItem(name);
    horizontal_->setCurrentIndex(static_cast<int>(start_.alignment));
    wrap_ = new QCheckBox(tr("Wrap text"), page);
    wrap_->setChecked(start_.wrapText);
    form->addRow(tr("Horizontal:"), horizontal_);
    form->addRow(QString(), wrap_);
    connect(horizontal_, &QComboBox::currentIndexChanged, this, [this] { alignmentChanged_ = true; });
    connect(wrap_, &QCheckBox::toggled, this, [this] { wrapChanged_ = true; });
    return page;
}

QWidget* FormatCellsDialog::fontPage() {
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    family_ = new QFontComboBox(page);
    // A cell without a font of its own shows the settings' font, which a
    // change of size alone must not replace with the list's first family.
    family_->setCurrentFont(QFont(FontResolver::instance().family(
        start_.fontName ? QString::fromStdString(*start_.fontName)
                        : Settings::instance().text(settingsKey::defaultFontName))));
    size_ = new QDoubleSpinBox(page);
    size_->setRange(1, 400);
    size_->setValue(start_.fontSize.value_or(Settings::instance().real(settingsKey::defaultFontSize)));
    bold_ = new QCheckBox(tr("Bold"), page);
    italic_ = new QCheckBox(tr("Italic"), page);
    underline_ = new QCheckBox(tr("Underline"), page);
    strike_ = new QCheckBox(tr("Strikethrough"), page);
    bold_->setChecked(start_.isBold);
    italic_->setChecked(start_.isItalic);
    underline_->setChecked(start_.isUnderline);
    strike_->setChecked(start_.isStrikethrough);
    colorShown_ = new QLabel(page);
    showColor(colorShown_, fontColor_);
    form->addRow(tr("Font:"), family_);
    form->addRow(tr("Size:"), size_);
    for (QCheckBox* box : {bold_, italic_, underline_, strike_}) {
        form->addRow(QString(), box);
        connect(box, &QCheckBox::toggled, this, [this] { styleChanged_ = true; });
    }
    form->addRow(tr("Colour:"), colorShown_);
    form->addRow(QString(), swatches([this](auto hex) { chooseFontColor(hex); }, QStringLiteral("color")));
    connect(family_, &QFontComboBox::currentFontChanged, this, [this] { familyChanged_ = true; });
    connect(size_, &QDoubleSpinBox::valueChanged, this, [this] { sizeChanged_ = true; });
    return page;
}

QWidget* FormatCellsDialog::borderPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    const QString names[] = {tr("Top"), tr("Bottom"), tr("Left"), tr("Right"), tr("Thick bottom")};
    const bool on[] = {start_.borderTop, start_.borderBottom, start_.borderLeft, start_.borderRight,
                       start_.borderThickBottom};
    for (int i = 0; i < 5; ++i) {
        borders_[i] = new QCheckBox(names[i], page);
        borders_[i]->setChecked(on[i]);
        connect(borders_[i], &QCheckBox::toggled, this, [this] { bordersChanged_ = true; });
        layout->addWidget(borders_[i]);
    }
    layout->addStretch();
    return page;
}

QWidget* FormatCellsDialog::swatches(const std::function<void(std::optional<std::string>)>& pick,
                                     const QString& prefix) {
    auto* grid = new QWidget;
    auto* layout = new QGridLayout(grid);
    layout->setSpacing(2);
    int i = 0;
    for (const char* hex : kSwatches) {
        auto* button = new QToolButton(grid);
        button->setObjectName(prefix + QStringLiteral("_") + QLatin1String(hex));
        button->setFixedSize(22, 22);
        button->setToolTip(QStringLiteral("#") + QLatin1String(hex));
        button->setStyleSheet(
            QStringLiteral("background: #%1; border: 1px solid #999;").arg(QLatin1String(hex)));
        connect(button, &QToolButton::clicked, this, [pick, hex] { pick(std::string(hex)); });
        layout->addWidget(button, i / 10, i % 10);
        ++i;
    }
    auto* none = new QToolButton(grid);
    none->setObjectName(prefix + QStringLiteral("_none"));
    none->setText(prefix == QLatin1String("fill") ? tr("No Fill") : tr("Automatic"));
    connect(none, &QToolButton::clicked, this, [pick] { pick(std::nullopt); });
    layout->addWidget(none, 2, 0, 1, 4);
    return grid;
}

void FormatCellsDialog::chooseFill(std::optional<std::string> hex) {
    fill_ = std::move(hex);
    fillChanged_ = true;
    showColor(fillShown_, fill_);
}

void FormatCellsDialog::chooseFontColor(std::optional<std::string> hex) {
    fontColor_ = std::move(hex);
    colorChanged_ = true;
    showColor(colorShown_, fontColor_);
}

void FormatCellsDialog::apply() {
    const std::optional<std::string> code =
        code_.isEmpty() ? std::nullopt : std::optional<std::string>(code_.toStdString());
    const auto alignment = static_cast<CellAlignment>(horizontal_->currentIndex());
    const bool wrap = wrap_->isChecked();
    const std::string family = family_->currentFont().family().toStdString();
    const double size = size_->value();
    const bool style[] = {bold_->isChecked(), italic_->isChecked(), underline_->isChecked(),
                          strike_->isChecked()};
    bool edges[5];
    for (int i = 0; i < 5; ++i)
        edges[i] = borders_[i]->isChecked();
    editor_.withFormattingUndo("Format Cells", [&](CellFormat& f) {
        if (numberChanged_) {
            f.numberFormat = code;
            f.numberFormatId = 0;
        }
        if (alignmentChanged_) f.alignment = alignment;
        if (wrapChanged_) f.wrapText = wrap;
        if (familyChanged_) f.fontName = family;
        if (sizeChanged_) f.fontSize = size;
        if (styleChanged_) {
            f.isBold = style[0];
            f.isItalic = style[1];
            f.isUnderline = style[2];
            f.isStrikethrough = style[3];
        }
        if (bordersChanged_) {
            f.borderTop = edges[0];
            f.borderBottom = edges[1];
            f.borderLeft = edges[2];
            f.borderRight = edges[3];
            f.borderThickBottom = edges[4];
        }
        if (fillChanged_) f.fillColor = fill_;
        if (colorChanged_) f.fontColor = fontColor_;
    });
}

} // namespace sumora::app
