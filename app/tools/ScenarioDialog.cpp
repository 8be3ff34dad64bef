#include "app/tools/ScenarioDialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/tools/ToolInputs.h"
#include "app/tools/ToolSupport.h"

namespace sumora::app {

namespace {

QString scenarioLabel(const Scenario& s) {
    QStringList cells;
    for (const auto& [reference, value] : s.changingCells)
        cells << toQString(reference);
    QString label = toQString(s.name) + QStringLiteral(" — ") + cells.join(QStringLiteral(", "));
    if (!s.comment.empty()) label += QStringLiteral(" (") + toQString(s.comment) + QLatin1Char(')');
    return label;
}

} // namespace

ScenarioDialog::ScenarioDialog(DocumentContext& context, QWidget* parent)
    : QDialog(parent), context_(context) {
    setWindowTitle(tr("Scenarios"));
    setObjectName(QStringLiteral("scenarioDialog"));
    resize(520, 440);
    auto* layout = new QVBoxLayout(this);
    list_ = new QListWidget(this);
    layout->addWidget(list_);

    auto* form = new QFormLayout;
    name_ = new QLineEdit(this);
    cells_ = new QLineEdit(this);
    cells_->setPlaceholderText(tr("B2, B3, B4"));
    comment_ = new QPlainTextEdit(this);
    comment_->setMaximumHeight(60);
    form->addRow(tr("Scenario name:"), name_);
    form->addRow(tr("Changing cells:"), cells_);
    form->addRow(tr("Comment:"), comment_);
    layout->addLayout(form);

    auto* actions = new QGridLayout;
    auto* add = new QPushButton(tr("Add"), this);
    auto* save = new QPushButton(tr("Save Changes"), this);
    auto* remove = new QPushButton(tr("Delete"), this);
    auto* show = new QPushButton(tr("Show"), this);
    auto* restore = new QPushButton(tr("Restore Original Values"), this);
    actions->addWidget(add, 0, 0);
    actions->addWidget(save, 0, 1);
    actions->addWidget(remove, 0, 2);
    actions->addWidget(show, 1, 0);
    actions->addWidget(restore, 1, 1, 1, 2);
    layout->addLayout(actions);
    status_ = new QLabel(this);
    status_->setObjectName(QStringLiteral("scenarioStatus"));
    layout->addWidget(status_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    layout->addWidget(buttons);

    cells_->setText(toQString(context_.toolInputs().scenarioChangingCells));
    reloadList(0);

    connect(list_, &QListWidget::currentRowChanged, this, &ScenarioDialog::fillFields);
    connect(list_, &QListWidget::itemDoubleClicked, this, &ScenarioDialog::showSelected);
    connect(add, &QPushButton::clicked, this, &ScenarioDialog::addScenario);
    connect(save, &QPushButton::clicked, this, &ScenarioDialog::saveSelected);
    connect(remove, &QPushButton::clicked, this, &ScenarioDialog::deleteSelected);
    connect(show, &QPushButton::clicked, this, &ScenarioDialog::showSelected);
    connect(restore, &QPushButton::clicked, this, &ScenarioDialog::restoreOriginals);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void ScenarioDialog::reloadList(int select) {
    list_->blockSignals(true);
    list_->clear();
    for (const Scenario& s : context_.editor().document.scenarios)
        list_->addItem(scenarioLabel(s));
    list_->blockSignals(false);
    if (select >= 0 && select < list_->count()) list_->setCurrentRow(select);
}

void ScenarioDialog::fillFields() {
    const auto& scenarios = context_.editor().document.scenarios;
    const int row = list_->currentRow();
    if (row < 0 || row >= static_cast<int>(scenarios.size())) return;
    const Scenario& s = scenarios[static_cast<size_t>(row)];
    QStringList cells;
    for (const auto& [reference, value] : s.changingCells)
        cells << toQString(reference);
    name_->setText(toQString(s.name));
    cells_->setText(cells.join(QStringLiteral(", ")));
    comment_->setPlainText(toQString(s.comment));
}

void ScenarioDialog::save(std::optional<std::string> id) {
    if (name_->text().trimmed().isEmpty()) {
        status_->setText(tr("Give the scenario a name."));
        return;
    }
    SumoraEditorView& editor = context_.editor();
    ScenarioRequest request;
    request.name = toStdString(name_->text().trimmed());
    request.changingCells = toStdString(cells_->text());
    request.comment = toStdString(comment_->toPlainText());
    request.editingScenarioId = std::move(id);
    context_.toolInputs().scenarioChangingCells = request.changingCells;
    editor.saveScenario(request);
    context_.markEdited();

    int row = static_cast<int>(editor.document.scenarios.size()) - 1;
    for (size_t i = 0; i < editor.document.scenarios.size(); ++i)
        if (editor.document.scenarios[i].name == request.name) row = static_cast<int>(i);
    reloadList(row);
    status_->setText(tr("Scenario \"%1\" saved.").arg(name_->text().trimmed()));
}

void ScenarioDialog::addScenario() {
    save(std::nullopt);
}

void ScenarioDialog::saveSelected() {
    const auto& scenarios = context_.editor().document.scenarios;
    const int row = list_->currentRow();
    if (row < 0 || row >= static_cast<int>(scenarios.size())) return addScenario();
    save(scenarios[static_cast<size_t>(row)].id);
}

void ScenarioDialog::showSelected() {
    SumoraEditorView& editor = context_.editor();
    const int row = list_->currentRow();
    if (row < 0 || row >= static_cast<int>(editor.document.scenarios.size())) return;
    // A copy: applying writes cells, which must not disturb the record read.
    const Scenario scenario = editor.document.scenarios[static_cast<size_t>(row)];
    editor.applyScenario(scenario);
    refreshAfterCommand(context_);
    status_->setText(tr("Showing \"%1\".").arg(toQString(scenario.name)));
}

void ScenarioDialog::restoreOriginals() {
    SumoraEditorView& editor = context_.editor();
    if (editor.savedOriginalValues().empty()) {
        status_->setText(tr("No scenario is shown."));
        return;
    }
    editor.restoreOriginalValues();
    refreshAfterCommand(context_);
    status_->setText(tr("Original values restored."));
}

void ScenarioDialog::deleteSelected() {
    auto& scenarios = context_.editor().document.scenarios;
    const int row = list_->currentRow();
    if (row < 0 || row >= static_cast<int>(scenarios.size())) return;
    scenarios.erase(scenarios.begin() + row);
    context_.markEdited();
    reloadList(std::min(row, static_cast<int>(scenarios.size()) - 1));
}

} // namespace sumora::app
