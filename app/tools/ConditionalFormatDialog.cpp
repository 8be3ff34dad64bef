#include "app/tools/ConditionalFormatDialog.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/tools/ConditionalRuleEditor.h"
#include "app/tools/ToolSupport.h"

namespace sumora::app {

ConditionalFormatDialog::ConditionalFormatDialog(DocumentContext& context, QWidget* parent)
    : QDialog(parent), context_(context) {
    setWindowTitle(tr("Conditional Formatting"));
    setObjectName(QStringLiteral("conditionalFormatDialog"));
    resize(520, 380);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Rules are applied from top to bottom; later rules win."), this));
    list_ = new QListWidget(this);
    layout->addWidget(list_);
    auto* actions = new QGridLayout;
    auto* add = new QPushButton(tr("Add Rule…"), this);
    auto* edit = new QPushButton(tr("Edit Rule…"), this);
    auto* remove = new QPushButton(tr("Delete Rule"), this);
    auto* up = new QPushButton(tr("Move Up"), this);
    auto* down = new QPushButton(tr("Move Down"), this);
    actions->addWidget(add, 0, 0);
    actions->addWidget(edit, 0, 1);
    actions->addWidget(remove, 0, 2);
    actions->addWidget(up, 1, 0);
    actions->addWidget(down, 1, 1);
    layout->addLayout(actions);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    editor_ = new ConditionalRuleEditor(this);

    if (const Sheet* sheet = context_.editor().activeSheet()) rules_ = sheet->conditionalFormats;
    reloadList(rules_.empty() ? -1 : 0);

    connect(add, &QPushButton::clicked, this, [this] { addRule(); });
    connect(edit, &QPushButton::clicked, this, [this] { editSelectedRule(); });
    connect(list_, &QListWidget::itemDoubleClicked, this, [this] { editSelectedRule(); });
    connect(remove, &QPushButton::clicked, this, &ConditionalFormatDialog::deleteSelectedRule);
    connect(up, &QPushButton::clicked, this, [this] { moveSelectedRule(-1); });
    connect(down, &QPushButton::clicked, this, [this] { moveSelectedRule(1); });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        apply();
        accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void ConditionalFormatDialog::reloadList(int select) {
    list_->clear();
    for (const ConditionalFormatRule& rule : rules_)
        list_->addItem(describeRule(rule));
    if (select >= 0 && select < list_->count()) list_->setCurrentRow(select);
}

bool ConditionalFormatDialog::addRule(bool interactive) {
    if (interactive) {
        // A new rule over the selection, with the editor's last type and format.
        ConditionalFormatRule fresh;
        if (auto held = editor_->rule()) fresh = *held;
        fresh.id = newIdentifier();
        if (auto range = currentRange(context_.editor())) {
            fresh.startCol = range->minCol();
            fresh.startRow = range->minRow();
            fresh.endCol = range->maxCol();
            fresh.endRow = range->maxRow();
        }
        editor_->setRule(fresh);
        if (editor_->exec() != QDialog::Accepted) return false;
    }
    auto rule = editor_->rule();
    if (!rule) return false;
    rule->id = newIdentifier();
    rules_.push_back(std::move(*rule));
    reloadList(static_cast<int>(rules_.size()) - 1);
    return true;
}

bool ConditionalFormatDialog::editSelectedRule(bool interactive) {
    const int row = list_->currentRow();
    if (row < 0 || row >= static_cast<int>(rules_.size())) return false;
    if (interactive) {
        editor_->setRule(rules_[static_cast<size_t>(row)]);
        if (editor_->exec() != QDialog::Accepted) return false;
    }
    auto rule = editor_->rule();
    if (!rule) return false;
    rules_[static_cast<size_t>(row)] = std::move(*rule);
    reloadList(row);
    return true;
}

void ConditionalFormatDialog::deleteSelectedRule() {
    const int row = list_->currentRow();
    if (row < 0 || row >= static_cast<int>(rules_.size())) return;
    rules_.erase(rules_.begin() + row);
    reloadList(std::min(row, static_cast<int>(rules_.size()) - 1));
}

void ConditionalFormatDialog::moveSelectedRule(int delta) {
    const int row = list_->currentRow();
    const int target = row + delta;
    if (row < 0 || target < 0 || target >= static_cast<int>(rules_.size())) return;
    std::swap(rules_[static_cast<size_t>(row)], rules_[static_cast<size_t>(target)]);
    reloadList(target);
}

void ConditionalFormatDialog::apply() {
    const Sheet* sheet = context_.editor().activeSheet();
    if (!sheet || sheet->conditionalFormats == rules_) return;
    replaceSheetRules(context_, &Sheet::conditionalFormats, rules_, "Conditional Formatting");
}

} // namespace sumora::app
