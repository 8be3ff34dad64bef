#include "app/tools/ConditionalRuleEditor.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QVBoxLayout>
#include <type_traits>

#include "app/tools/ColorButton.h"
#include "app/tools/ToolSupport.h"
#include "engine/FormulaValue.h"
#include "values/StrictNumber.h"

namespace sumora::app {

namespace {

// What each rule type asks for, by its index in ConditionalRuleType.
enum class Takes { nothing, value, twoValues, text, count, twoColors, threeColors, oneColor };

struct TypeInfo {
    const char* label;
    Takes takes;
};

constexpr TypeInfo kTypes[] = {
    {QT_TRANSLATE_NOOP("ConditionalRule", "Greater Than"), Takes::value},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Less Than"), Takes::value},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Equal To"), Takes::value},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Between"), Takes::twoValues},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Not Between"), Takes::twoValues},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Text Contains"), Takes::text},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Text Does Not Contain"), Takes::text},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Text Starts With"), Takes::text},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Text Ends With"), Takes::text},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Top N"), Takes::count},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Bottom N"), Takes::count},
    {QT_TRANSLATE_NOOP("ConditionalRule", "2-Color Scale"), Takes::twoColors},
    {QT_TRANSLATE_NOOP("ConditionalRule", "3-Color Scale"), Takes::threeColors},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Data Bar"), Takes::oneColor},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Duplicate Values"), Takes::nothing},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Unique Values"), Takes::nothing},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Is Blank"), Takes::nothing},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Is Not Blank"), Takes::nothing},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Above Average"), Takes::nothing},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Below Average"), Takes::nothing},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Greater Than or Equal To"), Takes::value},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Less Than or Equal To"), Takes::value},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Not Equal To"), Takes::value},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Top N%"), Takes::count},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Bottom N%"), Takes::count},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Formula Is True"), Takes::text},
    // Rules with breakpoints keep the ones they came with; new ones start
    // from the usual thirds (icons) or the lowest and highest values.
    {QT_TRANSLATE_NOOP("ConditionalRule", "Icon Set"), Takes::nothing},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Color Scale with Breakpoints"), Takes::nothing},
    {QT_TRANSLATE_NOOP("ConditionalRule", "Data Bar with Breakpoints"), Takes::nothing},
};
static_assert(std::size(kTypes) == std::variant_size_v<ConditionalRuleType>, "one entry per rule type");

QString number(double x) {
    return toQString(numberDescription(x));
}

// The parameters of a rule as the list shows them.
QString parameters(const ConditionalRuleType& type) {
    return std::visit(
        [](const auto& r) -> QString {
            using R = std::decay_t<decltype(r)>;
            if constexpr (std::is_same_v<R, rule::Between> || std::is_same_v<R, rule::NotBetween>)
                return number(r.low) + QObject::tr(" and ") + number(r.high);
            else if constexpr (requires { r.value; })
                return number(r.value);
            else if constexpr (std::is_same_v<R, rule::TopN> || std::is_same_v<R, rule::BottomN>)
                return QString::number(r.count);
            else if constexpr (requires { r.percent; })
                return QString::number(r.percent) + QLatin1Char('%');
            else if constexpr (std::is_same_v<R, rule::Expression>)
                return QLatin1Char('=') + toQString(r.formula);
            else if constexpr (std::is_same_v<R, rule::IconSet>)
                return toQString(rawText(r.style));
            else if constexpr (std::is_same_v<R, rule::ColorScale3>)
                return QStringLiteral("#%1 → #%2 → #%3")
                    .arg(toQString(r.low), toQString(r.mid), toQString(r.high));
            else if constexpr (std::is_same_v<R, rule::ColorScale2>)
                return QStringLiteral("#%1 → #%2").arg(toQString(r.low), toQString(r.high));
            else if constexpr (std::is_same_v<R, rule::DataBar>)
                return QLatin1Char('#') + toQString(r.color);
            else if constexpr (requires { r.text; })
                return QLatin1Char('"') + toQString(r.text) + QLatin1Char('"');
            else
                return QString();
        },
        type);
}

std::optional<double> readNumber(const QLineEdit* field) {
    return parseStrictNumber(toStdString(field->text().trimmed()));
}

void setTriState(QCheckBox* box, std::optional<bool> value) {
    box->setCheckState(!value ? Qt::PartiallyChecked : *value ? Qt::Checked : Qt::Unchecked);
}

std::optional<bool> triState(const QCheckBox* box) {
    if (box->checkState() == Qt::PartiallyChecked) return std::nullopt;
    return box->checkState() == Qt::Checked;
}

} // namespace

QString ruleTypeLabel(size_t typeIndex) {
    return typeIndex < std::size(kTypes)
               ? QCoreApplication::translate("ConditionalRule", kTypes[typeIndex].label)
               : QString();
}

QString describeRule(const ConditionalFormatRule& rule) {
    QString text = rangeText({rule.startCol, rule.startRow, rule.endCol, rule.endRow}) +
                   QStringLiteral(" — ") + ruleTypeLabel(rule.ruleType.index());
    const QString params = parameters(rule.ruleType);
    return params.isEmpty() ? text : text + QLatin1Char(' ') + params;
}

ConditionalRuleEditor::ConditionalRuleEditor(QWidget* parent) : QDialog(parent) {
    setWindowTitle(tr("Conditional Formatting Rule"));
    setObjectName(QStringLiteral("conditionalRuleEditor"));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    range_ = new QLineEdit(this);
    type_ = new QComboBox(this);
    for (size_t i = 0; i < std::size(kTypes); ++i)
        type_->addItem(ruleTypeLabel(i));
    form->addRow(tr("Apply to range:"), range_);
    form->addRow(tr("Format cells that are:"), type_);
    value1Label_ = new QLabel(tr("Value:"), this);
    value1_ = new QLineEdit(this);
    value2Label_ = new QLabel(tr("And:"), this);
    value2_ = new QLineEdit(this);
    textLabel_ = new QLabel(tr("Text:"), this);
    text_ = new QLineEdit(this);
    countLabel_ = new QLabel(tr("Count:"), this);
    count_ = new QSpinBox(this);
    count_->setRange(1, 1000000);
    count_->setValue(10);
    form->addRow(value1Label_, value1_);
    form->addRow(value2Label_, value2_);
    form->addRow(textLabel_, text_);
    form->addRow(countLabel_, count_);
    const char* defaults[] = {"F8696B", "FFEB84", "63BE7B"};
    for (int i = 0; i < 3; ++i) {
        colorLabels_[i] = new QLabel(this);
        colors_[i] = new ColorButton(QString::fromLatin1(defaults[i]), this);
        form->addRow(colorLabels_[i], colors_[i]);
    }
    layout->addLayout(form);

    auto* formatBox = new QGroupBox(tr("Format"), this);
    auto* formatLayout = new QFormLayout(formatBox);
    fillOn_ = new QCheckBox(tr("Fill"), formatBox);
    fill_ = new ColorButton(QStringLiteral("FFC7CE"), formatBox);
    fontOn_ = new QCheckBox(tr("Font colour"), formatBox);
    font_ = new ColorButton(QStringLiteral("9C0006"), formatBox);
    bold_ = new QCheckBox(tr("Bold"), formatBox);
    italic_ = new QCheckBox(tr("Italic"), formatBox);
    for (QCheckBox* box : {bold_, italic_}) {
        box->setTristate(true);
        box->setToolTip(tr("A partly filled box leaves the cell's own setting."));
    }
    formatLayout->addRow(fillOn_, fill_);
    formatLayout->addRow(fontOn_, font_);
    formatLayout->addRow(bold_);
    formatLayout->addRow(italic_);
    layout->addWidget(formatBox);

    message_ = new QLabel(this);
    message_->setStyleSheet(QStringLiteral("color: #B00020;"));
    layout->addWidget(message_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);

    connect(type_, &QComboBox::currentIndexChanged, this, &ConditionalRuleEditor::showFieldsForType);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        if (rule()) accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    ConditionalFormatRule initial;
    initial.format.fillColor = "FFC7CE";
    initial.format.fontColor = "9C0006";
    setRule(initial);
}

void ConditionalRuleEditor::showFieldsForType() {
    const auto index = static_cast<size_t>(std::max(0, type_->currentIndex()));
    const Takes takes = kTypes[std::min(index, std::size(kTypes) - 1)].takes;
    auto show = [](QWidget* label, QWidget* field, bool on) {
        label->setVisible(on);
        field->setVisible(on);
    };
    show(value1Label_, value1_, takes == Takes::value || takes == Takes::twoValues);
    value1Label_->setText(takes == Takes::twoValues ? tr("From:") : tr("Value:"));
    show(value2Label_, value2_, takes == Takes::twoValues);
    show(textLabel_, text_, takes == Takes::text);
    show(countLabel_, count_, takes == Takes::count);
    const int colorCount = takes == Takes::oneColor      ? 1
                           : takes == Takes::twoColors   ? 2
                           : takes == Takes::threeColors ? 3
                                                         : 0;
    const QString names[3][3] = {{tr("Bar colour:")},
                                 {tr("Lowest:"), tr("Highest:")},
                                 {tr("Lowest:"), tr("Midpoint:"), tr("Highest:")}};
    for (int i = 0; i < 3; ++i) {
        show(colorLabels_[i], colors_[i], i < colorCount);
        if (i < colorCount) colorLabels_[i]->setText(names[colorCount - 1][i]);
    }
}

void ConditionalRuleEditor::setRule(const ConditionalFormatRule& rule) {
    id_ = rule.id;
    kept_ = rule.ruleType;
    range_->setText(rangeText({rule.startCol, rule.startRow, rule.endCol, rule.endRow}));
    std::visit(
        [this](const auto& r) {
            using R = std::decay_t<decltype(r)>;
            if constexpr (std::is_same_v<R, rule::Between> || std::is_same_v<R, rule::NotBetween>) {
                value1_->setText(number(r.low));
                value2_->setText(number(r.high));
            } else if constexpr (requires { r.value; }) {
                value1_->setText(number(r.value));
            } else if constexpr (std::is_same_v<R, rule::TopN> || std::is_same_v<R, rule::BottomN>) {
                count_->setValue(static_cast<int>(r.count));
            } else if constexpr (requires { r.percent; }) {
                count_->setValue(static_cast<int>(r.percent));
            } else if constexpr (std::is_same_v<R, rule::Expression>) {
                text_->setText(toQString(r.formula));
            } else if constexpr (std::is_same_v<R, rule::ColorScale2>) {
                colors_[0]->setHex(r.low);
                colors_[1]->setHex(r.high);
            } else if constexpr (std::is_same_v<R, rule::ColorScale3>) {
                colors_[0]->setHex(r.low);
                colors_[1]->setHex(r.mid);
                colors_[2]->setHex(r.high);
            } else if constexpr (std::is_same_v<R, rule::DataBar>) {
                colors_[0]->setHex(r.color);
            } else if constexpr (requires { r.text; }) {
                text_->setText(toQString(r.text));
            }
        },
        rule.ruleType);
    type_->setCurrentIndex(static_cast<int>(rule.ruleType.index()));
    fillOn_->setChecked(rule.format.fillColor.has_value());
    if (rule.format.fillColor) fill_->setHex(*rule.format.fillColor);
    fontOn_->setChecked(rule.format.fontColor.has_value());
    if (rule.format.fontColor) font_->setHex(*rule.format.fontColor);
    setTriState(bold_, rule.format.isBold);
    setTriState(italic_, rule.format.isItalic);
    showFieldsForType();
    message_->clear();
}

ConditionalRuleType ConditionalRuleEditor::keptOrDefault(int index) const {
    if (kept_.index() == static_cast<size_t>(index)) return kept_;
    const Threshold low = makeThreshold(ThresholdKind::min), high = makeThreshold(ThresholdKind::max);
    switch (index) {
    case 26:
        return rule::IconSet{IconSetStyle::arrows3,
                             {makeThreshold(ThresholdKind::percent, 0),
                              makeThreshold(ThresholdKind::percent, 33),
                              makeThreshold(ThresholdKind::percent, 67)}};
    case 27:
        return rule::CustomColorScale{{{low, colors_[0]->hex()}, {high, colors_[1]->hex()}}};
    default:
        return rule::CustomDataBar{colors_[0]->hex(), low, high};
    }
}

std::optional<ConditionalFormatRule> ConditionalRuleEditor::rule() {
    auto fail = [this](const QString& why) -> std::optional<ConditionalFormatRule> {
        message_->setText(why);
        return std::nullopt;
    };
    auto range = parseRangeText(range_->text());
    if (!range) return fail(tr("Enter a range such as B2:B20."));
    ConditionalFormatRule r;
    if (!id_.empty()) r.id = id_;
    r.startCol = range->minCol();
    r.startRow = range->minRow();
    r.endCol = range->maxCol();
    r.endRow = range->maxRow();

    const int index = type_->currentIndex();
    const Takes takes = kTypes[static_cast<size_t>(std::max(0, index))].takes;
    auto v1 = readNumber(value1_), v2 = readNumber(value2_);
    if ((takes == Takes::value || takes == Takes::twoValues) && !v1) return fail(tr("Enter a number."));
    if (takes == Takes::twoValues && !v2) return fail(tr("Enter a second number."));
    const std::string text = toStdString(text_->text());
    const int64_t count = count_->value();
    switch (index) {
    case 0:
        r.ruleType = rule::GreaterThan{*v1};
        break;
    case 1:
        r.ruleType = rule::LessThan{*v1};
        break;
    case 2:
        r.ruleType = rule::EqualTo{*v1};
        break;
    case 3:
        r.ruleType = rule::Between{std::min(*v1, *v2), std::max(*v1, *v2)};
        break;
    case 4:
        r.ruleType = rule::NotBetween{std::min(*v1, *v2), std::max(*v1, *v2)};
        break;
    case 5:
        r.ruleType = rule::TextContains{text};
        break;
    case 6:
        r.ruleType = rule::TextNotContains{text};
        break;
    case 7:
        r.ruleType = rule::TextStartsWith{text};
        break;
    case 8:
        r.ruleType = rule::TextEndsWith{text};
        break;
    case 9:
        r.ruleType = rule::TopN{count};
        break;
    case 10:
        r.ruleType = rule::BottomN{count};
        break;
    case 11:
        r.ruleType = rule::ColorScale2{colors_[0]->hex(), colors_[1]->hex()};
        break;
    case 12:
        r.ruleType = rule::ColorScale3{colors_[0]->hex(), colors_[1]->hex(), colors_[2]->hex()};
        break;
    case 13:
        r.ruleType = rule::DataBar{colors_[0]->hex()};
        break;
    case 14:
        r.ruleType = rule::DuplicateValues{};
        break;
    case 15:
        r.ruleType = rule::UniqueValues{};
        break;
    case 16:
        r.ruleType = rule::IsBlank{};
        break;
    case 17:
        r.ruleType = rule::IsNotBlank{};
        break;
    case 18:
        r.ruleType = rule::AboveAverage{};
        break;
    case 19:
        r.ruleType = rule::BelowAverage{};
        break;
    case 20:
        r.ruleType = rule::GreaterOrEqual{*v1};
        break;
    case 21:
        r.ruleType = rule::LessOrEqual{*v1};
        break;
    case 22:
        r.ruleType = rule::NotEqualTo{*v1};
        break;
    case 23:
        r.ruleType = rule::TopPercent{std::clamp<int64_t>(count, 1, 100)};
        break;
    case 24:
        r.ruleType = rule::BottomPercent{std::clamp<int64_t>(count, 1, 100)};
        break;
    case 25: {
        std::string formula = text;
        if (!formula.empty() && formula.front() == '=') formula.erase(0, 1);
        if (formula.empty()) return fail(tr("Enter a formula."));
        r.ruleType = rule::Expression{formula};
        break;
    }
    default:
        r.ruleType = keptOrDefault(index);
        break;
    }
    if (fillOn_->isChecked()) r.format.fillColor = fill_->hex();
    if (fontOn_->isChecked()) r.format.fontColor = font_->hex();
    r.format.isBold = triState(bold_);
    r.format.isItalic = triState(italic_);
    message_->clear();
    return r;
}

} // namespace sumora::app
