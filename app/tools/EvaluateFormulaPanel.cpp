#include "app/tools/EvaluateFormulaPanel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <set>

#include "app/tools/ToolSupport.h"
#include "editing/SumoraEditorView.h"
#include "functions/BuiltinFunctions.h"
#include "functions/ReferenceSupport.h"

namespace sumora::app {

namespace {

// The expression as rich text: [underlineBegin, underlineEnd) underlined on
// a light background, [italicBegin, italicEnd) in italics (byte offsets).
QString styledExpression(const std::string& text, size_t underlineBegin, size_t underlineEnd,
                         size_t italicBegin, size_t italicEnd) {
    std::set<size_t> cuts{0, text.size()};
    for (size_t at : {underlineBegin, underlineEnd, italicBegin, italicEnd})
        cuts.insert(std::min(at, text.size()));
    QString html;
    for (auto it = cuts.begin(); std::next(it) != cuts.end(); ++it) {
        const size_t a = *it, b = *std::next(it);
        QString piece = toQString(std::string_view(text).substr(a, b - a)).toHtmlEscaped();
        if (a >= italicBegin && b <= italicEnd)
            piece = QStringLiteral("<i>") + piece + QStringLiteral("</i>");
        if (a >= underlineBegin && b <= underlineEnd)
            piece = QStringLiteral("<span style=\"text-decoration: underline; background-color: #fff2b3\">") +
                    piece + QStringLiteral("</span>");
        html += piece;
    }
    return QStringLiteral("<span style=\"font-family: monospace\">") + html + QStringLiteral("</span>");
}

} // namespace

EvaluateFormulaPanel::EvaluateFormulaPanel(DocumentContext& context, QWidget* parent)
    : QWidget(parent), context_(context) {
    setObjectName(QStringLiteral("evaluateFormulaPanel"));
    auto* layout = new QVBoxLayout(this);
    reference_ = new QLabel(this);
    reference_->setObjectName(QStringLiteral("evaluateReference"));
    expression_ = new QLabel(this);
    expression_->setObjectName(QStringLiteral("evaluateExpression"));
    expression_->setTextFormat(Qt::RichText);
    expression_->setWordWrap(true);
    expression_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    expression_->setFrameShape(QFrame::StyledPanel);
    expression_->setMinimumHeight(60);
    expression_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    history_ = new QListWidget(this);
    history_->setObjectName(QStringLiteral("evaluateHistory"));
    layout->addWidget(reference_);
    layout->addWidget(new QLabel(tr("Evaluation:"), this));
    layout->addWidget(expression_);
    layout->addWidget(new QLabel(tr("Steps done:"), this));
    layout->addWidget(history_, 1);

    auto* buttons = new QHBoxLayout;
    auto button = [&](const QString& name, const QString& text, void (EvaluateFormulaPanel::*slot)()) {
        auto* b = new QPushButton(text, this);
        b->setObjectName(name);
        connect(b, &QPushButton::clicked, this, slot);
        buttons->addWidget(b);
        return b;
    };
    evaluate_ = button(QStringLiteral("evaluateStep"), tr("Evaluate"), &EvaluateFormulaPanel::evaluate);
    stepIn_ = button(QStringLiteral("evaluateStepIn"), tr("Step In"), &EvaluateFormulaPanel::stepIn);
    stepOut_ = button(QStringLiteral("evaluateStepOut"), tr("Step Out"), &EvaluateFormulaPanel::stepOut);
    restart_ = button(QStringLiteral("evaluateRestart"), tr("Restart"), &EvaluateFormulaPanel::restart);
    layout->addLayout(buttons);
    refresh();
}

void EvaluateFormulaPanel::showCell(size_t sheet, CellPosition at) {
    levels_.clear();
    pushLevel({sheet, at.col, at.row});
}

void EvaluateFormulaPanel::pushLevel(const StepTarget& cell) {
    levels_.push_back({cell, formulaSteps(context_.editor().document, cell.sheet, {cell.col, cell.row},
                                          builtinFunctions())});
    refresh();
}

const FormulaStep* EvaluateFormulaPanel::currentStep() const {
    if (levels_.empty()) return nullptr;
    const Level& level = levels_.back();
    return level.position < level.steps.steps.size() ? &level.steps.steps[level.position] : nullptr;
}

void EvaluateFormulaPanel::evaluate() {
    if (currentStep()) {
        ++levels_.back().position;
        refresh();
    } else if (levels_.size() > 1) {
        stepOut();
    }
}

void EvaluateFormulaPanel::stepIn() {
    const FormulaStep* step = currentStep();
    if (!step || !step->stepIn) return;
    for (const Level& level : levels_)
        if (level.cell == *step->stepIn) return; // a cycle: the cell is already open
    pushLevel(*step->stepIn);
}

void EvaluateFormulaPanel::stepOut() {
    if (levels_.size() < 2) return;
    levels_.pop_back();
    // The reference stepped into now has its value.
    ++levels_.back().position;
    refresh();
}

void EvaluateFormulaPanel::restart() {
    if (levels_.empty()) return;
    showCell(levels_.front().cell.sheet, {levels_.front().cell.col, levels_.front().cell.row});
}

QString EvaluateFormulaPanel::cellLabelOf(const StepTarget& cell) const {
    const SumoraDocument& doc = context_.editor().document;
    if (cell.sheet >= doc.sheets.size()) return {};
    return toQString(sumora::cellLabel(doc.sheets[cell.sheet].name, {cell.col, cell.row}));
}

QString EvaluateFormulaPanel::expressionText() const {
    return shownText_;
}

QString EvaluateFormulaPanel::underlinedPart() const {
    const FormulaStep* step = currentStep();
    return step ? toQString(step->part()) : QString();
}

QStringList EvaluateFormulaPanel::doneSteps() const {
    QStringList out;
    for (int i = 0; i < history_->count(); ++i)
        out << history_->item(i)->text();
    return out;
}

void EvaluateFormulaPanel::refresh() {
    history_->clear();
    if (levels_.empty()) {
        reference_->setText(tr("Select a cell with a formula and choose Evaluate Formula."));
        expression_->clear();
        shownText_.clear();
        for (QPushButton* b : {evaluate_, stepIn_, stepOut_, restart_})
            b->setEnabled(false);
        return;
    }
    QStringList path;
    for (const Level& level : levels_)
        path << cellLabelOf(level.cell);
    reference_->setText(tr("Reference: %1").arg(path.join(QStringLiteral(" › "))));

    const Level& level = levels_.back();
    const std::vector<FormulaStep>& steps = level.steps.steps;
    for (size_t i = 0; i < level.position && i < steps.size(); ++i)
        history_->addItem(toQString(steps[i].part()) + QStringLiteral(" → ") + toQString(steps[i].value));

    std::string shown;
    const FormulaStep* step = currentStep();
    const FormulaStep* previous = level.position > 0 ? &steps[level.position - 1] : nullptr;
    size_t italicBegin = 0, italicEnd = 0;
    if (!level.steps.failure.empty()) {
        shown = level.steps.formula + "  " + level.steps.failure;
        expression_->setText(toQString(shown).toHtmlEscaped());
    } else if (step) {
        shown = step->expression;
        if (previous) {
            // The value just computed sits where its part stood.
            italicBegin = previous->begin;
            italicEnd = previous->begin + previous->value.size();
        }
        expression_->setText(styledExpression(shown, step->begin, step->end, italicBegin, italicEnd));
    } else {
        shown = level.steps.formula.empty() ? level.steps.result : "=" + level.steps.result;
        expression_->setText(styledExpression(shown, 0, 0, previous ? 1 : 0, previous ? shown.size() : 0));
    }
    shownText_ = toQString(shown);

    evaluate_->setEnabled(step != nullptr || levels_.size() > 1);
    bool canStepIn = step && step->stepIn;
    for (const Level& open : levels_)
        canStepIn = canStepIn && !(open.cell == *step->stepIn);
    stepIn_->setEnabled(canStepIn);
    stepOut_->setEnabled(levels_.size() > 1);
    restart_->setEnabled(true);
}

} // namespace sumora::app
