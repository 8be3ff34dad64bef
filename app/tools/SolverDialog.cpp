#include "app/tools/SolverDialog.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "app/tools/ToolInputs.h"
#include "app/tools/ToolSupport.h"

namespace sumora::app {

namespace {

const QStringList& operators() {
    static const QStringList ops = {QStringLiteral("<="), QStringLiteral(">="), QStringLiteral("="),
                                    QStringLiteral("int"), QStringLiteral("bin")};
    return ops;
}

} // namespace

SolverDialog::SolverDialog(DocumentContext& context, QWidget* parent) : QDialog(parent), context_(context) {
    setWindowTitle(tr("Solver"));
    setObjectName(QStringLiteral("solverDialog"));
    resize(520, 460);
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    objective_ = new QLineEdit(this);
    form->addRow(tr("Set objective:"), objective_);

    auto* goalRow = new QHBoxLayout;
    goals_ = new QButtonGroup(this);
    const std::pair<QString, QString> choices[] = {{QStringLiteral("max"), tr("Max")},
                                                   {QStringLiteral("min"), tr("Min")},
                                                   {QStringLiteral("value"), tr("Value of:")}};
    for (const auto& [key, label] : choices) {
        auto* radio = new QRadioButton(label, this);
        radio->setObjectName(key);
        goals_->addButton(radio);
        goalRow->addWidget(radio);
    }
    target_ = new QLineEdit(this);
    goalRow->addWidget(target_);
    form->addRow(tr("To:"), goalRow);
    variables_ = new QLineEdit(this);
    variables_->setPlaceholderText(tr("A1, B1, C1"));
    form->addRow(tr("By changing variable cells:"), variables_);
    layout->addLayout(form);

    layout->addWidget(new QLabel(tr("Subject to the constraints:"), this));
    constraints_ = new QTableWidget(0, 3, this);
    constraints_->setHorizontalHeaderLabels({tr("Cell"), tr("Operator"), tr("Value")});
    constraints_->horizontalHeader()->setStretchLastSection(true);
    constraints_->verticalHeader()->hide();
    constraints_->setSelectionBehavior(QAbstractItemView::SelectRows);
    layout->addWidget(constraints_);
    auto* constraintButtons = new QHBoxLayout;
    auto* add = new QPushButton(tr("Add"), this);
    auto* remove = new QPushButton(tr("Delete"), this);
    constraintButtons->addWidget(add);
    constraintButtons->addWidget(remove);
    constraintButtons->addStretch();
    layout->addLayout(constraintButtons);

    status_ = new QLabel(this);
    status_->setObjectName(QStringLiteral("solverStatus"));
    status_->setWordWrap(true);
    layout->addWidget(status_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    QPushButton* solve = buttons->addButton(tr("Solve"), QDialogButtonBox::ActionRole);
    solve->setDefault(true);
    layout->addWidget(buttons);

    const SolverRequest& last = context_.toolInputs().solver;
    objective_->setText(toQString(last.objectiveCell));
    setGoal(toQString(last.goal));
    target_->setText(toQString(last.targetValue));
    variables_->setText(toQString(last.variableCells));
    for (const SolverConstraint& c : last.constraints)
        addConstraint(toQString(c.cellRef), toQString(c.op), toQString(c.value));

    connect(add, &QPushButton::clicked, this,
            [this] { addConstraint(QString(), QStringLiteral("<="), QString()); });
    connect(remove, &QPushButton::clicked, this, &SolverDialog::removeSelectedConstraint);
    connect(solve, &QPushButton::clicked, this, &SolverDialog::apply);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void SolverDialog::setGoal(const QString& goal) {
    for (QAbstractButton* b : goals_->buttons())
        if (b->objectName() == goal) b->setChecked(true);
    // Anything else minimises, as the editor reads it.
    if (!goals_->checkedButton())
        for (QAbstractButton* b : goals_->buttons())
            if (b->objectName() == QStringLiteral("min")) b->setChecked(true);
}

QString SolverDialog::goal() const {
    return goals_->checkedButton() ? goals_->checkedButton()->objectName() : QStringLiteral("max");
}

void SolverDialog::addConstraint(const QString& cell, const QString& op, const QString& value) {
    const int row = constraints_->rowCount();
    constraints_->insertRow(row);
    constraints_->setItem(row, 0, new QTableWidgetItem(cell));
    auto* opBox = new QComboBox(constraints_);
    opBox->addItems(operators());
    opBox->setCurrentIndex(std::max<qsizetype>(0, operators().indexOf(op)));
    constraints_->setCellWidget(row, 1, opBox);
    constraints_->setItem(row, 2, new QTableWidgetItem(value));
}

void SolverDialog::removeSelectedConstraint() {
    int row = constraints_->currentRow();
    if (row < 0) row = constraints_->rowCount() - 1;
    if (row >= 0) constraints_->removeRow(row);
}

int SolverDialog::constraintCount() const {
    return constraints_->rowCount();
}

void SolverDialog::apply() {
    SolverRequest& request = context_.toolInputs().solver;
    request.objectiveCell = toStdString(objective_->text().trimmed());
    request.goal = toStdString(goal());
    request.targetValue = toStdString(target_->text().trimmed());
    request.variableCells = toStdString(variables_->text());
    request.constraints.clear();
    for (int row = 0; row < constraints_->rowCount(); ++row) {
        SolverConstraint c;
        c.cellRef = toStdString(constraints_->item(row, 0) ? constraints_->item(row, 0)->text().trimmed()
                                                           : QString());
        if (auto* opBox = qobject_cast<QComboBox*>(constraints_->cellWidget(row, 1)))
            c.op = toStdString(opBox->currentText());
        c.value = toStdString(constraints_->item(row, 2) ? constraints_->item(row, 2)->text().trimmed()
                                                         : QString());
        if (!c.cellRef.empty()) request.constraints.push_back(std::move(c));
    }
    const SolverResult result = context_.editor().runSolver(request);
    refreshAfterCommand(context_);
    status_->setText(toQString(result.statusText));
}

} // namespace sumora::app
