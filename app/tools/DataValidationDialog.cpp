#include "app/tools/DataValidationDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>
#include <cmath>

#include "app/tools/ToolSupport.h"
#include "editing/DataValidation.h"
#include "engine/FormulaValue.h"
#include "values/StrictNumber.h"

namespace sumora::app {

namespace {

enum TypeIndex { wholeNumber, decimal, list, textLength, date, custom };

QString boundText(std::optional<double> x) {
    return x ? toQString(numberDescription(*x)) : QString();
}
QString boundText(std::optional<int64_t> x) {
    return x ? QString::number(*x) : QString();
}
QString boundText(const std::optional<std::string>& x) {
    return x ? toQString(*x) : QString();
}

std::optional<std::string> optionalText(const QString& text) {
    const QString t = text.trimmed();
    if (t.isEmpty()) return std::nullopt;
    return toStdString(t);
}

bool overlaps(const DataValidationRule& r, const SelectionRange& s) {
    return r.startCol <= s.maxCol() && s.minCol() <= r.endCol && r.startRow <= s.maxRow() &&
           s.minRow() <= r.endRow;
}

} // namespace

DataValidationDialog::DataValidationDialog(DocumentContext& context, QWidget* parent)
    : QDialog(parent), context_(context) {
    setWindowTitle(tr("Data Validation"));
    setObjectName(QStringLiteral("dataValidationDialog"));
    auto* layout = new QVBoxLayout(this);
    auto* tabs = new QTabWidget(this);
    layout->addWidget(tabs);

    auto* settings = new QWidget(tabs);
    auto* form = new QFormLayout(settings);
    range_ = new QLineEdit(settings);
    type_ = new QComboBox(settings);
    type_->addItems(
        {tr("Whole number"), tr("Decimal"), tr("List"), tr("Text length"), tr("Date"), tr("Custom")});
    minimumLabel_ = new QLabel(settings);
    minimum_ = new QLineEdit(settings);
    maximumLabel_ = new QLabel(settings);
    maximum_ = new QLineEdit(settings);
    minimum_->setPlaceholderText(tr("No limit"));
    maximum_->setPlaceholderText(tr("No limit"));
    sourceLabel_ = new QLabel(tr("Source:"), settings);
    source_ = new QLineEdit(settings);
    source_->setPlaceholderText(tr("Low, Medium, High"));
    dropdown_ = new QCheckBox(tr("Show drop-down list in cell"), settings);
    formulaLabel_ = new QLabel(tr("Formula:"), settings);
    formula_ = new QLineEdit(settings);
    formula_->setPlaceholderText(tr("=B2>A2 (written for the first cell of the range)"));
    form->addRow(tr("Range:"), range_);
    form->addRow(tr("Allow:"), type_);
    form->addRow(minimumLabel_, minimum_);
    form->addRow(maximumLabel_, maximum_);
    form->addRow(sourceLabel_, source_);
    form->addRow(dropdown_);
    form->addRow(formulaLabel_, formula_);
    tabs->addTab(settings, tr("Settings"));

    auto* input = new QWidget(tabs);
    auto* inputForm = new QFormLayout(input);
    inputTitle_ = new QLineEdit(input);
    inputMessage_ = new QPlainTextEdit(input);
    inputForm->addRow(tr("Title:"), inputTitle_);
    inputForm->addRow(tr("Input message:"), inputMessage_);
    tabs->addTab(input, tr("Input Message"));

    auto* error = new QWidget(tabs);
    auto* errorForm = new QFormLayout(error);
    errorStyle_ = new QComboBox(error);
    for (ValidationErrorStyle style :
         {ValidationErrorStyle::stop, ValidationErrorStyle::warning, ValidationErrorStyle::information})
        errorStyle_->addItem(toQString(rawText(style)), static_cast<int>(style));
    errorTitle_ = new QLineEdit(error);
    errorMessage_ = new QPlainTextEdit(error);
    errorForm->addRow(tr("Style:"), errorStyle_);
    errorForm->addRow(tr("Title:"), errorTitle_);
    errorForm->addRow(tr("Error message:"), errorMessage_);
    tabs->addTab(error, tr("Error Alert"));

    message_ = new QLabel(this);
    message_->setStyleSheet(QStringLiteral("color: #B00020;"));
    layout->addWidget(message_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    QPushButton* clear = buttons->addButton(tr("Clear All"), QDialogButtonBox::ResetRole);
    layout->addWidget(buttons);

    connect(type_, &QComboBox::currentIndexChanged, this, &DataValidationDialog::showFieldsForType);
    connect(clear, &QPushButton::clicked, this, [this] {
        clearAll();
        accept();
    });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        if (apply()) accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    // Edit the rule of the active cell, else start one over the selection.
    SumoraEditorView& editor = context_.editor();
    const Sheet* sheet = editor.activeSheet();
    const DataValidationRule* existing =
        sheet && editor.activeCell ? validationRuleAt(*sheet, *editor.activeCell) : nullptr;
    if (existing) {
        loadRule(*existing);
    } else {
        DataValidationRule fresh;
        fresh.validationType = validation::WholeNumber{};
        if (auto r = currentRange(editor)) {
            fresh.startCol = r->minCol();
            fresh.startRow = r->minRow();
            fresh.endCol = r->maxCol();
            fresh.endRow = r->maxRow();
        }
        loadRule(fresh);
        editingId_.reset();
    }
}

void DataValidationDialog::showFieldsForType() {
    const int t = type_->currentIndex();
    auto show = [](QWidget* label, QWidget* field, bool on) {
        if (label) label->setVisible(on);
        field->setVisible(on);
    };
    const bool bounded = t == wholeNumber || t == decimal || t == textLength || t == date;
    show(minimumLabel_, minimum_, bounded);
    show(maximumLabel_, maximum_, bounded);
    minimumLabel_->setText(t == date         ? tr("On or after:")
                           : t == textLength ? tr("Minimum length:")
                                             : tr("Minimum:"));
    maximumLabel_->setText(t == date         ? tr("On or before:")
                           : t == textLength ? tr("Maximum length:")
                                             : tr("Maximum:"));
    show(sourceLabel_, source_, t == list);
    show(nullptr, dropdown_, t == list);
    show(formulaLabel_, formula_, t == custom);
}

void DataValidationDialog::loadRule(const DataValidationRule& rule) {
    editingId_ = rule.id;
    range_->setText(rangeText({rule.startCol, rule.startRow, rule.endCol, rule.endRow}));
    type_->setCurrentIndex(static_cast<int>(rule.validationType.index()));
    minimum_->clear();
    maximum_->clear();
    std::visit(
        [this](const auto& v) {
            using V = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<V, validation::Date>) {
                minimum_->setText(boundText(v.after));
                maximum_->setText(boundText(v.before));
            } else if constexpr (std::is_same_v<V, validation::List>) {
                QStringList entries;
                for (const std::string& e : v.entries)
                    entries << toQString(e).trimmed();
                source_->setText(entries.join(QStringLiteral(", ")));
            } else if constexpr (std::is_same_v<V, validation::Custom>) {
                formula_->setText(v.formula.empty() || v.formula.front() == '='
                                      ? toQString(v.formula)
                                      : QLatin1Char('=') + toQString(v.formula));
            } else {
                minimum_->setText(boundText(v.min));
                maximum_->setText(boundText(v.max));
            }
        },
        rule.validationType);
    dropdown_->setChecked(rule.showDropdown ||
                          !std::holds_alternative<validation::List>(rule.validationType));
    inputTitle_->setText(boundText(rule.inputTitle));
    inputMessage_->setPlainText(boundText(rule.inputMessage));
    errorStyle_->setCurrentIndex(errorStyle_->findData(static_cast<int>(rule.errorStyle)));
    errorTitle_->setText(boundText(rule.errorTitle));
    errorMessage_->setPlainText(boundText(rule.errorMessage));
    showFieldsForType();
}

std::optional<DataValidationRule> DataValidationDialog::rule() {
    auto fail = [this](const QString& why) -> std::optional<DataValidationRule> {
        message_->setText(why);
        return std::nullopt;
    };
    auto range = parseRangeText(range_->text());
    if (!range) return fail(tr("Enter a range such as B2:B20."));
    DataValidationRule r;
    if (editingId_) r.id = *editingId_;
    r.startCol = range->minCol();
    r.startRow = range->minRow();
    r.endCol = range->maxCol();
    r.endRow = range->maxRow();

    // Bounds: empty means no limit; anything else must read.
    bool badBound = false;
    auto number = [&badBound](const QLineEdit* field) -> std::optional<double> {
        const QString t = field->text().trimmed();
        if (t.isEmpty()) return std::nullopt;
        auto n = parseStrictNumber(toStdString(t));
        if (!n) badBound = true;
        return n;
    };
    switch (type_->currentIndex()) {
    case wholeNumber:
        r.validationType = validation::WholeNumber{number(minimum_), number(maximum_)};
        break;
    case decimal:
        r.validationType = validation::Decimal{number(minimum_), number(maximum_)};
        break;
    case list: {
        validation::List l;
        for (const QString& entry : source_->text().split(QLatin1Char(','), Qt::SkipEmptyParts))
            if (!entry.trimmed().isEmpty()) l.entries.push_back(toStdString(entry.trimmed()));
        if (l.entries.empty()) return fail(tr("Enter the allowed entries, separated by commas."));
        r.validationType = std::move(l);
        r.showDropdown = dropdown_->isChecked();
        break;
    }
    case textLength: {
        auto low = number(minimum_), high = number(maximum_);
        auto whole = [](std::optional<double> x) {
            return x ? std::optional<int64_t>(static_cast<int64_t>(std::llround(*x))) : std::nullopt;
        };
        r.validationType = validation::TextLength{whole(low), whole(high)};
        break;
    }
    case date:
        r.validationType = validation::Date{optionalText(minimum_->text()), optionalText(maximum_->text())};
        break;
    default: {
        QString formula = formula_->text().trimmed();
        if (formula.startsWith(QLatin1Char('='))) formula.remove(0, 1);
        if (formula.isEmpty()) return fail(tr("Enter a formula."));
        r.validationType = validation::Custom{toStdString(formula)};
        break;
    }
    }
    if (badBound) return fail(tr("The bounds must be numbers."));
    r.inputTitle = optionalText(inputTitle_->text());
    r.inputMessage = optionalText(inputMessage_->toPlainText());
    r.errorStyle = static_cast<ValidationErrorStyle>(errorStyle_->currentData().toInt());
    r.errorTitle = optionalText(errorTitle_->text());
    r.errorMessage = optionalText(errorMessage_->toPlainText());
    message_->clear();
    return r;
}

bool DataValidationDialog::apply() {
    const Sheet* sheet = context_.editor().activeSheet();
    auto edited = rule();
    if (!sheet || !edited) return false;
    std::vector<DataValidationRule> rules = sheet->dataValidations;
    // The edited rule keeps its place; a new one replaces rules over the same block.
    auto same = std::find_if(rules.begin(), rules.end(), [&](const DataValidationRule& r) {
        return (editingId_ && r.id == *editingId_) ||
               (r.startCol == edited->startCol && r.startRow == edited->startRow &&
                r.endCol == edited->endCol && r.endRow == edited->endRow);
    });
    if (same != rules.end())
        *same = std::move(*edited);
    else
        rules.insert(rules.begin(), std::move(*edited)); // the first covering rule is the one checked
    replaceSheetRules(context_, &Sheet::dataValidations, std::move(rules), "Data Validation");
    return true;
}

void DataValidationDialog::clearAll() {
    const Sheet* sheet = context_.editor().activeSheet();
    auto range = parseRangeText(range_->text());
    if (!sheet || !range) return;
    std::vector<DataValidationRule> rules;
    for (const DataValidationRule& r : sheet->dataValidations)
        if (!overlaps(r, *range)) rules.push_back(r);
    if (rules.size() != sheet->dataValidations.size())
        replaceSheetRules(context_, &Sheet::dataValidations, std::move(rules), "Clear Validation");
}

} // namespace sumora::app
