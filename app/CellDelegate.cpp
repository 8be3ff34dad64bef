#include "app/CellDelegate.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPainterPath>
#include <QTableView>

#include "app/CellOverlayPainters.h"
#include "app/ConditionalIconPainter.h"
#include "app/FormulaAutocomplete.h"
#include "app/GridKeyMap.h"
#include "app/SheetTableModel.h"
#include "app/TextOverflow.h"

namespace sumora::app {

namespace {

std::vector<CellOverlayPainter>& painters() {
    static std::vector<CellOverlayPainter> list;
    return list;
}

constexpr int kTextPadding = 4;

void drawBorders(QPainter& p, const QRect& r, const CellAppearance& a) {
    if (!(a.borderTop || a.borderBottom || a.borderLeft || a.borderRight || a.thickBottom)) return;
    p.save();
    p.setPen(QPen(Qt::black, 1));
    if (a.borderTop) p.drawLine(r.topLeft(), r.topRight());
    if (a.borderLeft) p.drawLine(r.topLeft(), r.bottomLeft());
    if (a.borderRight) p.drawLine(r.topRight(), r.bottomRight());
    if (a.thickBottom) {
        p.setPen(QPen(Qt::black, 2));
        p.drawLine(r.left(), r.bottom(), r.right(), r.bottom());
    } else if (a.borderBottom) {
        p.drawLine(r.bottomLeft(), r.bottomRight());
    }
    p.restore();
}

void drawCommentMark(QPainter& p, const QRect& r) {
    const int size = std::min(7, std::min(r.width(), r.height()) / 2);
    QPainterPath triangle;
    triangle.moveTo(r.right() - size, r.top());
    triangle.lineTo(r.right() + 1, r.top());
    triangle.lineTo(r.right() + 1, r.top() + size);
    triangle.closeSubpath();
    p.fillPath(triangle, QColor(0xE0, 0x2B, 0x2B));
}

} // namespace

void registerCellOverlayPainter(CellOverlayPainter painter) {
    painters().push_back(std::move(painter));
}

const std::vector<CellOverlayPainter>& cellOverlayPainters() {
    return painters();
}

CellDelegate::CellDelegate(SheetTableModel& model, QObject* parent)
    : QStyledItemDelegate(parent), model_(model) {}

// A run is noted by its source cell and by each empty cell it crosses; one note is kept.
void CellDelegate::noteOverflowRun(const QWidget* view, OverflowRun run) const {
    for (const auto& [noted, existing] : overflowRuns_)
        if (noted == view && existing.row == run.row && existing.area == run.area) return;
    overflowRuns_.emplace_back(view, std::move(run));
}

// Frozen panes share this delegate: each view takes only its own runs.
std::vector<CellDelegate::OverflowRun> CellDelegate::takeOverflowRuns(const QWidget* view) const {
    std::vector<OverflowRun> runs;
    for (auto& [noted, run] : overflowRuns_)
        if (noted == view) runs.push_back(std::move(run));
    std::erase_if(overflowRuns_, [view](const auto& noted) { return noted.first == view; });
    return runs;
}

void CellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const {
    const CellAppearance a = model_.appearance(index);
    const QRect r = option.rect;
    QPainter& p = *painter;

    if (a.fill.isValid()) p.fillRect(r, a.fill);
    if (a.dataBarFraction) {
        QRect bar = r.adjusted(1, 2, -1, -2);
        bar.setWidth(static_cast<int>(bar.width() * std::clamp(*a.dataBarFraction, 0.0, 1.0)));
        QColor color = a.dataBarColor;
        color.setAlpha(170);
        p.fillRect(bar, color);
    }
    if (a.icon) paintConditionalIcon(p, r, *a.icon);

    const auto* view = qobject_cast<const QTableView*>(option.widget);
    const Sheet* sheet = model_.sheet();
    if (!a.text.isEmpty()) {
        p.save();
        p.setFont(a.font);
        p.setPen(a.textColor);
        const int iconWidth = a.icon ? conditionalIconWidth(r) : 0;
        QRect textRect = r.adjusted(kTextPadding + iconWidth, 0, -kTextPadding, 0);
        QString text = a.text;
        int flags = static_cast<int>(a.alignment);
        if (a.wrap) {
            flags |= Qt::TextWordWrap;
        } else {
            flags |= Qt::TextSingleLine;
            const int step = a.fillPosition >= 0 ? p.fontMetrics().horizontalAdvance(a.fillText) : 0;
            const int room = textRect.width() - p.fontMetrics().horizontalAdvance(text);
            if (step > 0 && room >= step) text.insert(a.fillPosition, a.fillText.repeated(room / step));
        }
        if (!a.wrap && a.isNumber && p.fontMetrics().horizontalAdvance(text) > textRect.width()) {
            // A number that does not fit is never cut: it shows as ###.
            text = a.isGeneral ? fitGeneralNumber(a.number, p.fontMetrics(), textRect.width()) : QString();
            if (text.isEmpty()) {
                const int hashWidth = std::max(1, p.fontMetrics().horizontalAdvance(QLatin1Char('#')));
                text = QString(std::max(1, textRect.width() / hashWidth), QLatin1Char('#'));
            }
        }
        if (view && sheet && mayOverflow(a)) {
            const QRect area =
                overflowRect(*view, *sheet, index.row(), index.column(), r, a, p.fontMetrics());
            textRect = area.adjusted(kTextPadding, 0, -kTextPadding, 0);
            if (area != r)
                noteOverflowRun(view, {index.row(), area, textRect, flags, text, a.font, a.textColor});
        }
        p.setClipRect(r);
        p.drawText(textRect, flags, text);
        p.restore();
    } else if (view && sheet) {
        // This empty cell shows the part of a neighbour's text that runs over it.
        for (int source : overflowSources(*view, *sheet, index.row(), index.column())) {
            const CellAppearance s = model_.appearance(model_.index(index.row(), source));
            if (!mayOverflow(s)) continue;
            const QRect own = view->visualRect(model_.index(index.row(), source));
            p.save();
            p.setFont(s.font);
            const QRect run = overflowRect(*view, *sheet, index.row(), source, own, s, p.fontMetrics());
            if (run.intersects(r)) {
                const QRect textRect = run.adjusted(kTextPadding, 0, -kTextPadding, 0);
                const int flags = static_cast<int>(s.alignment) | Qt::TextSingleLine;
                p.setPen(s.textColor);
                p.setClipRect(r);
                p.drawText(textRect, flags, s.text);
                noteOverflowRun(view, {index.row(), run, textRect, flags, s.text, s.font, s.textColor});
            }
            p.restore();
        }
    }

    drawBorders(p, r, a);
    if (a.hasComment) drawCommentMark(p, r);
    if (!painters().empty())
        if (const Sheet* sheet = model_.sheet())
            for (const auto& overlay : painters())
                overlay(p, r, *sheet, index.row(), index.column());

    if (option.state & QStyle::State_Selected) p.fillRect(r, selectionTint());
}

QWidget* CellDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&,
                                    const QModelIndex& index) const {
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(QStringLiteral("cellEditor"));
    edit->setFrame(false);
    edit->setFont(model_.appearance(index).font);
    edit->setStyleSheet(
        QStringLiteral("QLineEdit { border: 2px solid #1A73E8; padding: 0 2px; background: white; }"));
    new FormulaAutocomplete(edit);
    connect(edit, &QLineEdit::textEdited, this, &CellDelegate::editorTextChanged);
    editedIndex_ = index;
    const_cast<CellDelegate*>(this)->approvedText_.reset();
    emit const_cast<CellDelegate*>(this)->editingStarted();
    return edit;
}

void CellDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    auto* edit = qobject_cast<QLineEdit*>(editor);
    if (!edit) return;
    entryMode_ = pendingText_.has_value();
    if (pendingText_) {
        edit->setText(*pendingText_);
        pendingText_.reset();
        // Type-to-edit may have started a formula: offer names at once.
        emit edit->textEdited(edit->text());
    } else {
        edit->setText(model_.editText(index.row(), index.column()));
    }
    edit->setCursorPosition(static_cast<int>(edit->text().size()));
}

void CellDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const {
    auto* edit = qobject_cast<QLineEdit*>(editor);
    if (!edit || approving_) return;
    // Leaving the editor by a click commits without Enter: ask here then.
    const bool approved = approvedText_ == edit->text();
    auto* self = const_cast<CellDelegate*>(this);
    self->approvedText_.reset();
    if (!approved) {
        self->approving_ = true;
        const bool keep = model_.approveEntry(index.row(), index.column(), edit->text());
        self->approving_ = false;
        if (!keep) return;
    }
    model->setData(index, edit->text(), Qt::EditRole);
}

bool CellDelegate::approveTypedEntry(QLineEdit* edit) {
    if (approving_ || !editedIndex_.isValid()) return true;
    approving_ = true;
    const bool keep = model_.approveEntry(editedIndex_.row(), editedIndex_.column(), edit->text());
    approving_ = false;
    if (!keep) {
        edit->setFocus();
        edit->selectAll();
        return false;
    }
    approvedText_ = edit->text();
    return true;
}

bool CellDelegate::handleEditorKey(QLineEdit* edit, QKeyEvent* key) {
    if (auto text = dateTimeShortcutText(key)) {
        edit->insert(*text);
        emit editorTextChanged(edit->text());
        return true;
    }
    const int k = key->key();
    const bool arrow = k == Qt::Key_Left || k == Qt::Key_Right || k == Qt::Key_Up || k == Qt::Key_Down;
    if (!arrow || (key->modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier) return false;
    // A formula being typed keeps its arrows for the caret.
    if (!entryMode_ || edit->text().startsWith(QLatin1Char('='))) {
        // Up and Down have no meaning in one line; they must not reach the grid.
        return k == Qt::Key_Up || k == Qt::Key_Down;
    }
    if (!approveTypedEntry(edit)) return true;
    const int dRow = k == Qt::Key_Up ? -1 : k == Qt::Key_Down ? 1 : 0;
    const int dCol = k == Qt::Key_Left ? -1 : k == Qt::Key_Right ? 1 : 0;
    emit commitData(edit);
    emit closeEditor(edit, QAbstractItemDelegate::NoHint);
    emit moveRequested(dRow, dCol);
    return true;
}

void CellDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                        const QModelIndex&) const {
    QRect r = option.rect.adjusted(-1, -1, 1, 1);
    r.setWidth(std::max(r.width(), 120));
    editor->setGeometry(r);
}

bool CellDelegate::eventFilter(QObject* object, QEvent* event) {
    // While the autocomplete popup is open, its own filter (installed before
    // the view installed this one) takes the navigation keys.
    if (event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        const bool navigation = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter ||
                                key->key() == Qt::Key_Tab || key->key() == Qt::Key_Escape ||
                                key->key() == Qt::Key_Up || key->key() == Qt::Key_Down;
        if (navigation)
            if (auto* completion =
                    object->findChild<FormulaAutocomplete*>(QString(), Qt::FindDirectChildrenOnly))
                if (completion->isPopupVisible()) return false;
        const bool commits = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter ||
                             key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab;
        if (auto* edit = qobject_cast<QLineEdit*>(object)) {
            if (commits && !approveTypedEntry(edit)) return true;
            if (handleEditorKey(edit, key)) return true;
        }
    }
    // The approval dialog takes the focus; the editor stays open under it.
    if (approving_ && (event->type() == QEvent::FocusOut || event->type() == QEvent::Hide)) return true;
    return QStyledItemDelegate::eventFilter(object, event);
}

} // namespace sumora::app
