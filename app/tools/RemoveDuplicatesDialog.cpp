#include "app/tools/RemoveDuplicatesDialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/tools/ToolInputs.h"
#include "app/tools/ToolSupport.h"

namespace sumora::app {

RemoveDuplicatesDialog::RemoveDuplicatesDialog(DocumentContext& context, QWidget* parent)
    : QDialog(parent), context_(context) {
    setWindowTitle(tr("Remove Duplicates"));
    setObjectName(QStringLiteral("removeDuplicatesDialog"));
    auto* layout = new QVBoxLayout(this);

    header_ = new QCheckBox(tr("My data has headers"), this);
    layout->addWidget(header_);
    layout->addWidget(new QLabel(tr("Select columns to check"), this));
    columns_ = new QListWidget(this);
    layout->addWidget(columns_);
    auto* selection = new QHBoxLayout;
    auto* all = new QPushButton(tr("Select All"), this);
    auto* none = new QPushButton(tr("Unselect All"), this);
    selection->addWidget(all);
    selection->addWidget(none);
    selection->addStretch();
    layout->addLayout(selection);

    message_ = new QLabel(toQString(kRemoveDuplicatesWarningText), this);
    message_->setObjectName(QStringLiteral("removeDuplicatesMessage"));
    message_->setWordWrap(true);
    layout->addWidget(message_);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    remove_ = buttons->addButton(tr("Remove Duplicates"), QDialogButtonBox::AcceptRole);
    layout->addWidget(buttons);

    SumoraEditorView& editor = context_.editor();
    header_->setChecked(context_.toolInputs().removeDuplicates.hasHeaders);
    if (const Sheet* sheet = editor.activeSheet()) {
        const int64_t count = pickerColumnCount(*sheet);
        for (int64_t c = 0; c < count; ++c) {
            auto* item = new QListWidgetItem(columns_);
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
            // Every column counts until the user narrows the comparison.
            item->setCheckState(Qt::Checked);
        }
    }
    relabel();

    connect(header_, &QCheckBox::toggled, this, &RemoveDuplicatesDialog::relabel);
    connect(all, &QPushButton::clicked, this, [this] {
        for (int i = 0; i < columns_->count(); ++i)
            columns_->item(i)->setCheckState(Qt::Checked);
    });
    connect(none, &QPushButton::clicked, this, [this] {
        for (int i = 0; i < columns_->count(); ++i)
            columns_->item(i)->setCheckState(Qt::Unchecked);
    });
    connect(remove_, &QPushButton::clicked, this, &RemoveDuplicatesDialog::apply);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void RemoveDuplicatesDialog::setColumnChecked(int64_t column, bool checked) {
    if (QListWidgetItem* item = columns_->item(static_cast<int>(column)))
        item->setCheckState(checked ? Qt::Checked : Qt::Unchecked);
}

int RemoveDuplicatesDialog::columnCount() const {
    return columns_->count();
}

void RemoveDuplicatesDialog::relabel() {
    const Sheet* sheet = context_.editor().activeSheet();
    if (!sheet) return;
    for (int i = 0; i < columns_->count(); ++i)
        columns_->item(i)->setText(columnLabel(*sheet, i, header_->isChecked()));
}

void RemoveDuplicatesDialog::apply() {
    SumoraEditorView& editor = context_.editor();
    RemoveDuplicatesRequest& request = context_.toolInputs().removeDuplicates;
    request.hasHeaders = header_->isChecked();
    request.columns.clear();
    for (int i = 0; i < columns_->count(); ++i)
        if (columns_->item(i)->checkState() == Qt::Checked) request.columns.insert(i);
    if (request.columns.empty()) {
        message_->setText(tr("Select at least one column."));
        return;
    }
    const RemoveDuplicatesResult result = editor.performRemoveDuplicates(request);
    // Rows moved: calculators learnt positions that are gone.
    editor.invalidateCalculators();
    refreshAfterCommand(context_);
    if (!result.statusText.empty()) message_->setText(toQString(result.statusText));
}

} // namespace sumora::app
