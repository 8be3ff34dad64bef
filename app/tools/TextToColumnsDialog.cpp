#include "app/tools/TextToColumnsDialog.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "app/tools/ToolInputs.h"
#include "app/tools/ToolSupport.h"

namespace sumora::app {

TextToColumnsDialog::TextToColumnsDialog(DocumentContext& context, QWidget* parent)
    : QDialog(parent), context_(context) {
    setWindowTitle(tr("Text to Columns"));
    setObjectName(QStringLiteral("textToColumnsDialog"));
    auto* layout = new QVBoxLayout(this);

    auto* box = new QGroupBox(tr("Delimiter"), this);
    auto* boxLayout = new QVBoxLayout(box);
    delimiters_ = new QButtonGroup(this);
    const std::pair<TextToColumnsDelimiter, QString> choices[] = {
        {TextToColumnsDelimiter::comma, tr("Comma")},   {TextToColumnsDelimiter::semicolon, tr("Semicolon")},
        {TextToColumnsDelimiter::space, tr("Space")},   {TextToColumnsDelimiter::pipe, tr("Pipe")},
        {TextToColumnsDelimiter::custom, tr("Custom")},
    };
    for (const auto& [delimiter, label] : choices) {
        auto* radio = new QRadioButton(label, box);
        delimiters_->addButton(radio, static_cast<int>(delimiter));
        boxLayout->addWidget(radio);
    }
    custom_ = new QLineEdit(box);
    custom_->setPlaceholderText(tr("Custom delimiter"));
    boxLayout->addWidget(custom_);
    layout->addWidget(box);

    consecutive_ = new QCheckBox(tr("Treat consecutive delimiters as one"), this);
    layout->addWidget(consecutive_);
    preview_ = new QLabel(this);
    preview_->setObjectName(QStringLiteral("textToColumnsPreview"));
    preview_->setWordWrap(true);
    layout->addWidget(preview_);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(tr("Split"));
    layout->addWidget(buttons);

    const TextToColumnsRequest last = context_.toolInputs().textToColumns;
    setDelimiter(last.delimiter);
    custom_->setText(toQString(last.customDelimiter));
    consecutive_->setChecked(last.treatConsecutiveAsOne);

    connect(delimiters_, &QButtonGroup::idClicked, this, &TextToColumnsDialog::updatePreview);
    connect(custom_, &QLineEdit::textChanged, this, [this] {
        setDelimiter(TextToColumnsDelimiter::custom);
        updatePreview();
    });
    connect(consecutive_, &QCheckBox::toggled, this, &TextToColumnsDialog::updatePreview);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        apply();
        accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    updatePreview();
}

void TextToColumnsDialog::setDelimiter(TextToColumnsDelimiter delimiter) {
    if (QAbstractButton* b = delimiters_->button(static_cast<int>(delimiter))) b->setChecked(true);
    updatePreview();
}

void TextToColumnsDialog::syncInputs() {
    TextToColumnsRequest& request = context_.toolInputs().textToColumns;
    request.delimiter = static_cast<TextToColumnsDelimiter>(std::max(0, delimiters_->checkedId()));
    request.customDelimiter = toStdString(custom_->text());
    request.treatConsecutiveAsOne = consecutive_->isChecked();
}

void TextToColumnsDialog::updatePreview() {
    if (!preview_) return; // called while the dialog is being built
    syncInputs();
    SumoraEditorView& editor = context_.editor();
    const Sheet* sheet = editor.activeSheet();
    auto range = currentRange(editor);
    if (!sheet || !range) {
        preview_->setText(tr("Select the cells to split."));
        return;
    }
    const std::string_view text = sheet->cell(range->minRow(), range->minCol()).displayValue();
    QStringList pieces;
    // As written into the cells: each piece trimmed of spaces and tabs.
    for (const std::string& piece : splitText(text, context_.toolInputs().textToColumns))
        pieces << QStringLiteral("[%1]").arg(toQString(piece).trimmed());
    preview_->setText(tr("Preview: %1").arg(pieces.join(QLatin1Char(' '))));
}

void TextToColumnsDialog::apply() {
    syncInputs();
    context_.editor().performTextToColumns(context_.toolInputs().textToColumns);
    refreshAfterCommand(context_);
}

} // namespace sumora::app
