#include "app/FunctionArgumentsPage.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "document/ColumnLetters.h"
#include "functions/FunctionCatalogue.h"
#include "values/Log.h"

namespace sumora::app {

namespace {

const FunctionDef* catalogueEntry(const QString& name) {
    const std::string wanted = name.toStdString();
    for (const FunctionDef& f : sumoraFunctionLibrary())
        if (f.name == wanted) return &f;
    return nullptr;
}

} // namespace

FunctionArgumentsPage::FunctionArgumentsPage(SumoraEditorView& editor, QWidget* parent)
    : QWidget(parent), editor_(editor), title_(new QLabel(this)), description_(new QLabel(this)),
      preview_(new QLabel(this)), slotsBox_(new QWidget(this)) {
    auto* layout = new QVBoxLayout(this);
    title_->setObjectName(QStringLiteral("functionTitle"));
    title_->setStyleSheet(QStringLiteral("font-weight: bold;"));
    description_->setWordWrap(true);
    auto* hint = new QLabel(tr("Click cells in the spreadsheet to fill the selected argument."), this);
    hint->setObjectName(QStringLiteral("argumentHint"));
    hint->setWordWrap(true);
    hint->setStyleSheet(QStringLiteral("color: #555;"));
    slotsLayout_ = new QVBoxLayout(slotsBox_);
    slotsLayout_->setContentsMargins(0, 0, 0, 0);
    preview_->setObjectName(QStringLiteral("formulaPreview"));
    preview_->setWordWrap(true);
    preview_->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto* buttons = new QHBoxLayout();
    auto* cancel = new QPushButton(tr("Cancel"), this);
    auto* insert = new QPushButton(tr("Insert"), this);
    insert->setObjectName(QStringLiteral("commitArgumentsButton"));
    insert->setDefault(true);
    buttons->addStretch(1);
    buttons->addWidget(cancel);
    buttons->addWidget(insert);

    layout->addWidget(title_);
    layout->addWidget(description_);
    layout->addWidget(hint);
    layout->addWidget(slotsBox_);
    layout->addWidget(preview_);
    layout->addStretch(1);
    layout->addLayout(buttons);

    connect(cancel, &QPushButton::clicked, this, &FunctionArgumentsPage::cancel);
    connect(insert, &QPushButton::clicked, this, &FunctionArgumentsPage::commit);
}

void FunctionArgumentsPage::begin(const QString& name, CellPosition target) {
    name_ = name;
    target_ = target;
    const int slotCount = editor_.insertFunction(name.toStdString());
    const FunctionDef* def = catalogueEntry(name);
    const std::vector<std::string> parameters = def ? parameterNames(*def) : std::vector<std::string>();
    title_->setText(def ? QString::fromStdString(def->signature) : name);
    description_->setText(def ? QString::fromStdString(def->description) : QString());

    for (QLineEdit* field : fields_)
        field->parentWidget()->deleteLater();
    fields_.clear();
    for (int i = 0; i < slotCount; ++i) {
        auto* row = new QWidget(slotsBox_);
        auto* rowLayout = new QFormLayout(row);
        rowLayout->setContentsMargins(0, 0, 0, 0);
        auto* field = new QLineEdit(row);
        field->setObjectName(QStringLiteral("argument%1").arg(i));
        const QString label = static_cast<size_t>(i) < parameters.size()
                                  ? QString::fromStdString(parameters[i])
                                  : QStringLiteral("arg%1").arg(i + 1);
        field->setPlaceholderText(label);
        rowLayout->addRow(label, field);
        slotsLayout_->addWidget(row);
        field->installEventFilter(this);
        connect(field, &QLineEdit::textChanged, this, &FunctionArgumentsPage::updatePreview);
        fields_.push_back(field);
    }
    selectField(0);
    updatePreview();
}

void FunctionArgumentsPage::selectField(int index) {
    if (fields_.empty()) return;
    selected_ = std::clamp(index, 0, static_cast<int>(fields_.size()) - 1);
    for (size_t i = 0; i < fields_.size(); ++i)
        fields_[i]->setStyleSheet(
            static_cast<int>(i) == selected_ ? QStringLiteral("border: 2px solid #1E8E3E;") : QString());
    fields_[selected_]->setFocus();
}

void FunctionArgumentsPage::fillSelectedField(const QString& reference) {
    if (fields_.empty()) return;
    fields_[selected_]->setText(reference);
}

QStringList FunctionArgumentsPage::argumentTexts() const {
    QStringList texts;
    for (const QLineEdit* field : fields_)
        texts << field->text();
    return texts;
}

void FunctionArgumentsPage::updatePreview() {
    QStringList args = argumentTexts();
    while (!args.isEmpty() && args.back().trimmed().isEmpty())
        args.removeLast();
    preview_->setText(tr("%1 in %2")
                          .arg(QStringLiteral("=") + name_ + QLatin1Char('(') + args.join(QLatin1Char(',')) +
                                   QLatin1Char(')'),
                               QString::fromStdString(cellAddress(target_))));
}

void FunctionArgumentsPage::commit() {
    std::vector<std::string> args;
    for (const QString& text : argumentTexts())
        args.push_back(text.toStdString());
    editor_.commitFunctionArgs(name_.toStdString(), args, target_);
    emit committed();
}

void FunctionArgumentsPage::cancel() {
    emit cancelled();
}

bool FunctionArgumentsPage::eventFilter(QObject* watched, QEvent* event) {
    auto* field = qobject_cast<QLineEdit*>(watched);
    if (!field) return false;
    if (event->type() == QEvent::FocusIn) {
        for (size_t i = 0; i < fields_.size(); ++i)
            if (fields_[i] == field && static_cast<int>(i) != selected_) selectField(static_cast<int>(i));
        return false;
    }
    if (event->type() != QEvent::KeyPress) return false;
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        enterPressed();
        return true;
    }
    if (key == Qt::Key_Escape) {
        escapePressed();
        return true;
    }
    return false;
}

void FunctionArgumentsPage::enterPressed() {
    Log::debug("Enter pressed - committing function args");
    commit();
}

void FunctionArgumentsPage::escapePressed() {
    Log::debug("Escape pressed - cancelling function args");
    cancel();
}

} // namespace sumora::app
