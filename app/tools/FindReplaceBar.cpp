#include "app/tools/FindReplaceBar.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "app/tools/ToolSupport.h"
#include "editing/SumoraEditorView.h"

namespace sumora::app {

FindReplaceBar::FindReplaceBar(DocumentContext& context, QWidget* parent)
    : QWidget(parent), context_(context) {
    setObjectName(QStringLiteral("findReplaceBar"));
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(6, 4, 6, 4);

    find_ = new QLineEdit(this);
    find_->setPlaceholderText(tr("Find"));
    find_->setClearButtonEnabled(true);
    replace_ = new QLineEdit(this);
    replace_->setPlaceholderText(tr("Replace with"));
    auto* previous = new QPushButton(tr("Previous"), this);
    auto* next = new QPushButton(tr("Next"), this);
    auto* replaceOne = new QPushButton(tr("Replace"), this);
    auto* replaceEvery = new QPushButton(tr("Replace All"), this);
    auto* done = new QPushButton(tr("Done"), this);
    status_ = new QLabel(this);
    status_->setObjectName(QStringLiteral("findStatus"));
    status_->setMinimumWidth(90);

    matchCase_ = new QCheckBox(tr("Match Case"), this);
    entireCell_ = new QCheckBox(tr("Match Entire Cell"), this);
    formulas_ = new QCheckBox(tr("Search in Formulas"), this);
    regex_ = new QCheckBox(tr("Regular Expression"), this);

    layout->addWidget(find_, 0, 0);
    layout->addWidget(previous, 0, 1);
    layout->addWidget(next, 0, 2);
    layout->addWidget(status_, 0, 3);
    layout->addWidget(done, 0, 5);
    layout->addWidget(replace_, 1, 0);
    layout->addWidget(replaceOne, 1, 1);
    layout->addWidget(replaceEvery, 1, 2);
    auto* options = new QHBoxLayout;
    for (QCheckBox* box : {matchCase_, entireCell_, formulas_, regex_})
        options->addWidget(box);
    options->addStretch();
    layout->addLayout(options, 2, 0, 1, 6);
    layout->setColumnStretch(0, 1);
    layout->setColumnStretch(4, 1);

    connect(find_, &QLineEdit::returnPressed, this, &FindReplaceBar::findNext);
    connect(replace_, &QLineEdit::returnPressed, this, &FindReplaceBar::replaceCurrent);
    connect(next, &QPushButton::clicked, this, &FindReplaceBar::findNext);
    connect(previous, &QPushButton::clicked, this, &FindReplaceBar::findPrevious);
    connect(replaceOne, &QPushButton::clicked, this, &FindReplaceBar::replaceCurrent);
    connect(replaceEvery, &QPushButton::clicked, this, &FindReplaceBar::replaceAll);
    connect(done, &QPushButton::clicked, this, &FindReplaceBar::closeRequested);
    // A changed option is a new search, run at once when there is a text.
    for (QCheckBox* box : {matchCase_, entireCell_, formulas_, regex_})
        connect(box, &QCheckBox::toggled, this, [this] {
            if (!find_->text().isEmpty()) findNext();
        });
}

void FindReplaceBar::activate() {
    find_->setFocus();
    find_->selectAll();
}

bool FindReplaceBar::syncInputs() {
    SumoraEditorView& editor = context_.editor();
    const std::string text = toStdString(find_->text());
    const bool changed = text != editor.findText || matchCase_->isChecked() != editor.findMatchCase ||
                         entireCell_->isChecked() != editor.findMatchEntireCell ||
                         formulas_->isChecked() != editor.findSearchInFormulas ||
                         regex_->isChecked() != editor.findUseRegularExpression;
    editor.findText = text;
    editor.replaceText = toStdString(replace_->text());
    editor.findMatchCase = matchCase_->isChecked();
    editor.findMatchEntireCell = entireCell_->isChecked();
    editor.findSearchInFormulas = formulas_->isChecked();
    editor.findUseRegularExpression = regex_->isChecked();
    return changed;
}

void FindReplaceBar::showResult(bool changedCells) {
    if (changedCells) refreshAfterCommand(context_);
    followEditorSelection(context_);
    status_->setText(toQString(context_.editor().findStatusText));
}

void FindReplaceBar::findNext() {
    SumoraEditorView& editor = context_.editor();
    if (syncInputs())
        editor.performFind();
    else
        editor.findNext();
    showResult(false);
}

void FindReplaceBar::findPrevious() {
    SumoraEditorView& editor = context_.editor();
    if (syncInputs())
        editor.performFind();
    else
        editor.findPrevious();
    showResult(false);
}

void FindReplaceBar::replaceCurrent() {
    SumoraEditorView& editor = context_.editor();
    if (syncInputs()) editor.performFind();
    editor.replaceCurrentMatch();
    showResult(true);
}

void FindReplaceBar::replaceAll() {
    syncInputs();
    SumoraEditorView& editor = context_.editor();
    // The matches and their cells before the replacement, to count what changed.
    editor.performFind();
    std::vector<std::pair<CellPosition, Cell>> before;
    if (const Sheet* sheet = editor.activeSheet())
        for (const CellPosition& at : editor.findMatches)
            before.emplace_back(at, sheet->cell(at.row, at.col));
    editor.replaceAllMatches();
    qsizetype changed = 0;
    if (const Sheet* sheet = editor.activeSheet())
        for (const auto& [at, cell] : before)
            if (!(sheet->cell(at.row, at.col) == cell)) ++changed;
    showResult(true);
    status_->setText(changed == 1 ? tr("Replaced 1 cell") : tr("Replaced %1 cells").arg(changed));
}

void FindReplaceBar::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        emit closeRequested();
        return;
    }
    QWidget::keyPressEvent(event);
}

} // namespace sumora::app
