#include "app/tools/SortDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/tools/ToolInputs.h"
#include "app/tools/ToolSupport.h"
#include "values/Log.h"

namespace sumora::app {

SortDialog::SortDialog(DocumentContext& context, QWidget* parent) : QDialog(parent), context_(context) {
    setWindowTitle(tr("Sort"));
    setObjectName(QStringLiteral("sortDialog"));
    auto* layout = new QVBoxLayout(this);

    header_ = new QCheckBox(tr("My data has headers"), this);
    layout->addWidget(header_);
    levelsLayout_ = new QVBoxLayout;
    layout->addLayout(levelsLayout_);

    auto* levelButtons = new QHBoxLayout;
    auto* add = new QPushButton(tr("Add Level"), this);
    auto* remove = new QPushButton(tr("Delete Level"), this);
    levelButtons->addWidget(add);
    levelButtons->addWidget(remove);
    levelButtons->addStretch();
    layout->addLayout(levelButtons);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(tr("Sort"));
    layout->addWidget(buttons);

    connect(add, &QPushButton::clicked, this, [this] { addKey(0, true); });
    connect(remove, &QPushButton::clicked, this, &SortDialog::removeLastKey);
    connect(header_, &QCheckBox::toggled, this, &SortDialog::relabelColumns);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        apply();
        accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    // Start from what the editor last sorted by, else the active column.
    SumoraEditorView& editor = context_.editor();
    const SortRequest& last = context_.toolInputs().sort;
    header_->setChecked(last.hasHeaderRow);
    if (!last.keys.empty()) {
        for (const SortKey& key : last.keys)
            addKey(key.column, key.ascending);
    } else {
        addKey(editor.activeCell ? editor.activeCell->col : 0, true);
    }
}

void SortDialog::addKey(int64_t column, bool ascending) {
    const Sheet* sheet = context_.editor().activeSheet();
    if (!sheet) return;
    auto* row = new QWidget(this);
    auto* rowLayout = new QHBoxLayout(row);
    rowLayout->setContentsMargins(0, 0, 0, 0);
    rowLayout->addWidget(new QLabel(levels_.empty() ? tr("Sort by") : tr("Then by"), row));
    auto* columnBox = new QComboBox(row);
    const int64_t count = std::max(pickerColumnCount(*sheet), column + 1);
    for (int64_t c = 0; c < count; ++c)
        columnBox->addItem(QString(), QVariant::fromValue<qlonglong>(c));
    columnBox->setCurrentIndex(static_cast<int>(std::max<int64_t>(0, column)));
    auto* order = new QComboBox(row);
    order->addItem(tr("Ascending (A to Z, 1 to 9)"), true);
    order->addItem(tr("Descending (Z to A, 9 to 1)"), false);
    order->setCurrentIndex(ascending ? 0 : 1);
    rowLayout->addWidget(columnBox, 1);
    rowLayout->addWidget(order);
    levelsLayout_->addWidget(row);
    levels_.push_back({row, columnBox, order});
    relabelColumns();
}

void SortDialog::removeLastKey() {
    if (levels_.size() <= 1) return;
    delete levels_.back().row;
    levels_.pop_back();
}

void SortDialog::relabelColumns() {
    const Sheet* sheet = context_.editor().activeSheet();
    if (!sheet) return;
    for (const Level& level : levels_)
        for (int i = 0; i < level.column->count(); ++i)
            level.column->setItemText(i, columnLabel(*sheet, i, header_->isChecked()));
}

void SortDialog::apply() {
    SortRequest& request = context_.toolInputs().sort;
    request.keys.clear();
    for (const Level& level : levels_)
        request.keys.push_back(
            {level.column->currentData().toLongLong(), level.order->currentData().toBool()});
    request.hasHeaderRow = header_->isChecked();
    Log::debug("Sort dialog: " + std::to_string(request.keys.size()) + " key(s)");
    context_.editor().performMultiSort(request);
    refreshAfterCommand(context_);
}

} // namespace sumora::app
