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

FindRequest FindReplaceBar::request() const {
    FindRequest r;
    r.findText = toStdString(find_->text());
    r.replaceText = toStdString(replace_->text());
    r.matchCase = matchCase_->isChecked();
    r.matchEntireCell = entireCell_->isChecked();
    r.searchInFormulas = formulas_->isChecked();
    r.useRegularExpression = regex_->isChecked();
    return r;
}

void FindReplaceBar::showResult(const FindResult& result, bool changedCells) {
    if (changedCells) refreshAfterCommand(context_);
    followEditorSelection(context_);
    status_->setText(toQString(result.statusText));
}

void FindReplaceBar::findNext() {
    showResult(context_.editor().findNext(request()), false);
}

void FindReplaceBar::findPrevious() {
    showResult(context_.editor().findPrevious(request()), false);
}

void FindReplaceBar::replaceCurrent() {
    showResult(context_.editor().replaceCurrentMatch(request()), true);
}

void FindReplaceBar::replaceAll() {
    const FindResult& result = context_.editor().replaceAllMatches(request());
    showResult(result, true);
    const auto changed = static_cast<qsizetype>(result.replacedCells);
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
