#include "app/FormulaBar.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QToolButton>

#include "app/Alerts.h"
#include "app/FormulaAutocomplete.h"
#include "document/ColumnLetters.h"
#include "editing/GoToTarget.h"
#include "editing/SumoraEditorView.h"

namespace sumora::app {

FormulaBar::FormulaBar(SumoraEditorView& editor, QWidget* parent)
    : QWidget(parent), editor_(editor), address_(new QLineEdit(this)), function_(new QToolButton(this)),
      formula_(new QLineEdit(this)) {
    setObjectName(QStringLiteral("formulaBar"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(4, 2, 4, 2);
    layout->setSpacing(4);

    address_->setObjectName(QStringLiteral("addressField"));
    address_->setFixedWidth(90);
    address_->setAlignment(Qt::AlignCenter);
    address_->setToolTip(tr("Cell address: type a cell or range to go there"));

    function_->setObjectName(QStringLiteral("insertFunctionButton"));
    function_->setText(QStringLiteral("ƒx"));
    function_->setToolTip(tr("Insert Function"));
    function_->setAutoRaise(true);

    formula_->setObjectName(QStringLiteral("formulaField"));
    formula_->setPlaceholderText(tr("Value or formula"));
    autocomplete_ = new FormulaAutocomplete(formula_);

    layout->addWidget(address_);
    layout->addWidget(function_);
    layout->addWidget(formula_, 1);

    connect(address_, &QLineEdit::returnPressed, this, &FormulaBar::goToAddress);
    connect(function_, &QToolButton::clicked, this, &FormulaBar::insertFunctionRequested);
    formula_->installEventFilter(this);
    refresh();
}

void FormulaBar::refresh() {
    const auto& cell = editor_.activeCell;
    const Sheet* sheet = editor_.activeSheet();
    if (!cell || !sheet) {
        address_->clear();
        formula_->clear();
        return;
    }
    QString address = QString::fromStdString(cellAddress(*cell));
    if (editor_.selection && !editor_.selection->isSingleCell()) {
        const SelectionRange& s = *editor_.selection;
        address = QString::fromStdString(cellAddress({s.minCol(), s.minRow()}) + ":" +
                                         cellAddress({s.maxCol(), s.maxRow()}));
    }
    address_->setText(address);
    const Cell& c = sheet->cell(cell->row, cell->col);
    if (auto f = c.formula())
        formula_->setText(QStringLiteral("=") + QString::fromUtf8(f->data(), f->size()));
    else
        formula_->setText(QString::fromUtf8(c.value().data(), static_cast<qsizetype>(c.value().size())));
    formula_->setCursorPosition(0);
}

void FormulaBar::showEditorText(const QString& text) {
    if (!formula_->hasFocus()) formula_->setText(text);
}

void FormulaBar::commit() {
    autocomplete_->hidePopup();
    if (editor_.activeCell) {
        const QString text = formula_->text();
        if (approver_) {
            approving_ = true;
            const bool keep = approver_(*editor_.activeCell, text);
            approving_ = false;
            if (!keep) {
                formula_->setFocus();
                formula_->selectAll();
                return;
            }
        }
        editor_.setCellValue(*editor_.activeCell, text.toStdString());
        emit committed();
    }
    emit editingChanged(false);
}

void FormulaBar::goToAddress() {
    goTo(address_->text());
}

bool FormulaBar::goTo(const QString& text) {
    const auto target = resolveGoToTarget(editor_.document,
                                          static_cast<size_t>(std::max<int64_t>(0, editor_.activeSheetIndex)),
                                          text.toStdString());
    if (!target || editor_.document.sheets[target->sheetIndex].isHidden) {
        refresh();
        showAlert(window(), tr("“%1” is not a cell reference or a defined name.").arg(text.trimmed()),
                  tr("Type a cell such as AB1000, a range such as B2:D9, a sheet and cell such as Sheet2!C3, "
                     "or the name of a named range."));
        return false;
    }
    if (static_cast<int64_t>(target->sheetIndex) != editor_.activeSheetIndex)
        emit sheetEntered(static_cast<int>(target->sheetIndex));
    const CellArea& area = target->area;
    emit rangeEntered(static_cast<int>(area.startRow), static_cast<int>(area.startCol),
                      static_cast<int>(area.endRow), static_cast<int>(area.endCol));
    return true;
}

bool FormulaBar::eventFilter(QObject* watched, QEvent* event) {
    if (watched != formula_) return false;
    if (event->type() == QEvent::FocusIn) emit editingChanged(true);
    if (event->type() == QEvent::FocusOut && !approving_) emit editingChanged(false);
    if (event->type() != QEvent::KeyPress) return false;
    auto* key = static_cast<QKeyEvent*>(event);
    // While the autocomplete popup is open, Enter and Escape are its keys.
    if (autocomplete_->isPopupVisible()) return false;
    if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
        commit();
        return true;
    }
    if (key->key() == Qt::Key_Escape) {
        refresh();
        emit editingChanged(false);
        emit cancelled();
        return true;
    }
    return false;
}

} // namespace sumora::app
