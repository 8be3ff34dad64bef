#include "app/tools/ValidationGuard.h"

#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QScrollBar>
#include <QToolButton>

#include "app/FormulaBar.h"
#include "app/SheetGridView.h"
#include "app/SheetTableModel.h"
#include "app/tools/ToolSupport.h"
#include "values/Log.h"

namespace sumora::app {

namespace {

ValidationGuard::Prompter& prompter() {
    static ValidationGuard::Prompter p;
    return p;
}

} // namespace

void ValidationGuard::setPrompter(Prompter p) {
    prompter() = std::move(p);
}

ValidationGuard::ValidationGuard(DocumentContext& context, SheetGridView* grid)
    : QObject(grid ? static_cast<QObject*>(grid) : context.window()), context_(context), grid_(grid) {
    if (grid) {
        QWidget* viewport = grid->viewport();
        prompt_ = new QLabel(viewport);
        prompt_->setObjectName(QStringLiteral("validationPrompt"));
        prompt_->setWordWrap(true);
        prompt_->setMaximumWidth(260);
        prompt_->setStyleSheet(QStringLiteral(
            "QLabel { background: #FFFBE6; border: 1px solid #C9B458; padding: 4px; color: #222; }"));
        prompt_->hide();
        dropdown_ = new QToolButton(viewport);
        dropdown_->setObjectName(QStringLiteral("validationDropdown"));
        dropdown_->setArrowType(Qt::DownArrow);
        dropdown_->hide();
        connect(dropdown_, &QToolButton::clicked, this, &ValidationGuard::openDropdown);
        connect(grid, &SheetGridView::selectionMoved, this, &ValidationGuard::showCellAids);
        connect(grid->verticalScrollBar(), &QScrollBar::valueChanged, this, &ValidationGuard::showCellAids);
        connect(grid->horizontalScrollBar(), &QScrollBar::valueChanged, this, &ValidationGuard::showCellAids);
        SheetTableModel& model = grid->sheetModel();
        model.setEntryApprover([this](CellPosition at, const QString& text) { return approve(at, text); });
        // The formula bar asks through the model, which lets unchanged text pass.
        if (QWidget* window = context.window())
            if (auto* bar = window->findChild<FormulaBar*>())
                bar->setEntryApprover([&model](CellPosition at, const QString& text) {
                    return model.approveEntry(static_cast<int>(at.row), static_cast<int>(at.col), text);
                });
    }
}

bool ValidationGuard::ask(const ValidationVerdict& verdict) const {
    if (prompter()) {
        const bool answer = prompter()(verdict);
        // Only a warning leaves the choice to the user.
        if (verdict.outcome == ValidationOutcome::askToContinue) return answer;
        return verdict.outcome != ValidationOutcome::refuse;
    }
    QWidget* parent = context_.window();
    const QString title = toQString(verdict.title), message = toQString(verdict.message);
    switch (verdict.outcome) {
    case ValidationOutcome::refuse:
        QMessageBox::critical(parent, title, message);
        return false;
    case ValidationOutcome::askToContinue:
        return QMessageBox::warning(parent, title, message + QStringLiteral("\n\n") + tr("Continue?"),
                                    QMessageBox::Yes | QMessageBox::No, QMessageBox::No) == QMessageBox::Yes;
    case ValidationOutcome::inform:
        QMessageBox::information(parent, title, message);
        return true;
    case ValidationOutcome::accept:
        return true;
    }
    return true;
}

bool ValidationGuard::approve(CellPosition at, const QString& text) {
    const auto [col, row] = at;
    SumoraEditorView& editor = context_.editor();
    const Sheet* sheet = editor.activeSheet();
    // Most cells have no rule: spare them the entry's locale reading.
    if (!sheet || !validationRuleAt(*sheet, {col, row})) return true;
    // A locked cell of a protected sheet refuses the entry by itself.
    if (sheet->isProtected && row < sheet->rowCount() && col < sheet->columnCount() &&
        sheet->cell(row, col).isLocked())
        return true;
    const ValidationVerdict verdict =
        checkEntry(editor.document, static_cast<size_t>(editor.activeSheetIndex), {col, row},
                   editor.storedEntryText(toStdString(text)));
    if (verdict.outcome == ValidationOutcome::accept) return true;
    const bool keep = ask(verdict);
    if (!keep) Log::debug("Validation refused the entry in " + toStdString(rangeText({col, row, col, row})));
    return keep;
}

void ValidationGuard::showCellAids() {
    if (!grid_ || !prompt_) return;
    SumoraEditorView& editor = context_.editor();
    const Sheet* sheet = editor.activeSheet();
    const auto& cell = editor.activeCell;
    const bool single = !editor.selection || editor.selection->isSingleCell();
    std::optional<InputPrompt> prompt;
    std::optional<std::vector<std::string>> entries;
    if (sheet && cell && single) {
        prompt = inputPromptAt(*sheet, *cell);
        entries = dropdownEntriesAt(*sheet, *cell);
    }
    const QRect rect = cell ? grid_->visualRect(grid_->model()->index(static_cast<int>(cell->row),
                                                                      static_cast<int>(cell->col)))
                            : QRect();
    const bool onScreen = rect.isValid() && grid_->viewport()->rect().intersects(rect);

    if (prompt && onScreen) {
        QString html;
        if (!prompt->title.empty())
            html += QStringLiteral("<b>%1</b>").arg(toQString(prompt->title).toHtmlEscaped());
        if (!prompt->message.empty()) {
            if (!html.isEmpty()) html += QStringLiteral("<br>");
            html +=
                toQString(prompt->message).toHtmlEscaped().replace(QLatin1Char('\n'), QStringLiteral("<br>"));
        }
        prompt_->setText(html);
        prompt_->adjustSize();
        prompt_->move(rect.left() + 8, rect.bottom() + 4);
        prompt_->show();
        prompt_->raise();
    } else {
        prompt_->hide();
    }
    if (entries && onScreen) {
        const int side = std::max(12, rect.height() - 2);
        dropdown_->setGeometry(rect.right() - side, rect.top() + 1, side, side);
        dropdown_->show();
        dropdown_->raise();
    } else {
        dropdown_->hide();
    }
}

void ValidationGuard::openDropdown() {
    SumoraEditorView& editor = context_.editor();
    const Sheet* sheet = editor.activeSheet();
    if (!sheet || !editor.activeCell) return;
    auto entries = dropdownEntriesAt(*sheet, *editor.activeCell);
    if (!entries) return;
    QMenu menu(dropdown_);
    for (const std::string& entry : *entries) {
        QAction* a = menu.addAction(toQString(entry).replace(QLatin1Char('&'), QStringLiteral("&&")));
        a->setData(toQString(entry));
    }
    if (QAction* chosen = menu.exec(dropdown_->mapToGlobal(QPoint(0, dropdown_->height()))))
        chooseEntry(chosen->data().toString());
}

void ValidationGuard::chooseEntry(const QString& entry) {
    SumoraEditorView& editor = context_.editor();
    if (!editor.activeCell) return;
    editor.setCellValue(*editor.activeCell, toStdString(entry));
    refreshAfterCommand(context_);
}

} // namespace sumora::app
