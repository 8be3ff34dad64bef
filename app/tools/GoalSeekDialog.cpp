#include "app/tools/GoalSeekDialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/tools/ToolInputs.h"
#include "app/tools/ToolSupport.h"
#include "document/ColumnLetters.h"

namespace sumora::app {

GoalSeekDialog::GoalSeekDialog(DocumentContext& context, QWidget* parent)
    : QDialog(parent), context_(context) {
    setWindowTitle(tr("Goal Seek"));
    setObjectName(QStringLiteral("goalSeekDialog"));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    setCell_ = new QLineEdit(this);
    target_ = new QLineEdit(this);
    changing_ = new QLineEdit(this);
    form->addRow(tr("Set cell:"), setCell_);
    form->addRow(tr("To value:"), target_);
    form->addRow(tr("By changing cell:"), changing_);
    layout->addLayout(form);
    status_ = new QLabel(this);
    status_->setObjectName(QStringLiteral("goalSeekStatus"));
    status_->setWordWrap(true);
    layout->addWidget(status_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    QPushButton* solve = buttons->addButton(tr("Solve"), QDialogButtonBox::ActionRole);
    solve->setDefault(true);
    layout->addWidget(buttons);

    // The last inputs, else the active cell as the formula to watch.
    SumoraEditorView& editor = context_.editor();
    const GoalSeekRequest& last = context_.toolInputs().goalSeek;
    QString setCell = toQString(last.setCell);
    if (setCell.isEmpty() && editor.activeCell) setCell = toQString(cellAddress(*editor.activeCell));
    setCell_->setText(setCell);
    target_->setText(toQString(last.targetValue));
    changing_->setText(toQString(last.changingCell));

    connect(solve, &QPushButton::clicked, this, &GoalSeekDialog::apply);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void GoalSeekDialog::apply() {
    GoalSeekRequest& request = context_.toolInputs().goalSeek;
    request.setCell = toStdString(setCell_->text().trimmed());
    request.targetValue = toStdString(target_->text().trimmed());
    request.changingCell = toStdString(changing_->text().trimmed());
    const GoalSeekResult result = context_.editor().performGoalSeek(request);
    refreshAfterCommand(context_);
    status_->setText(toQString(result.statusText));
}

} // namespace sumora::app
