#include "app/FormulaAutocomplete.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>

#include "functions/FunctionCatalogue.h"

namespace sumora::app {

namespace {

// The separators after which a function name may start (the catalogue's
// autocomplete uses the same set to find the word being typed).
bool isSeparator(QChar c) {
    static const QString separators = QStringLiteral("(),+-*/><&=: ");
    return separators.contains(c);
}

} // namespace

FormulaAutocomplete::FormulaAutocomplete(QLineEdit* edit) : QObject(edit), edit_(edit) {
    edit_->installEventFilter(this);
    connect(edit_, &QLineEdit::textEdited, this, &FormulaAutocomplete::update);
}

FormulaAutocomplete::~FormulaAutocomplete() {
    if (popup_) popup_->deleteLater();
}

QString FormulaAutocomplete::completedText(const QString& text, const QString& name) {
    QString t = text;
    while (!t.isEmpty() && t.back().isSpace())
        t.chop(1);
    qsizetype i = t.size() - 1;
    while (i >= 0 && !isSeparator(t[i]))
        --i;
    return t.left(i + 1) + name + QLatin1Char('(');
}

bool FormulaAutocomplete::isPopupVisible() const {
    return popup_ && popup_->isVisible();
}

QStringList FormulaAutocomplete::suggestions() const {
    QStringList names;
    if (!isPopupVisible()) return names;
    for (int i = 0; i < popup_->count(); ++i)
        names << popup_->item(i)->data(Qt::UserRole).toString();
    return names;
}

void FormulaAutocomplete::hidePopup() {
    if (popup_) popup_->hide();
}

void FormulaAutocomplete::accept(const QString& name) {
    edit_->setText(completedText(edit_->text(), name));
    edit_->setCursorPosition(static_cast<int>(edit_->text().size()));
    hidePopup();
}

void FormulaAutocomplete::update(const QString& text) {
    const auto found = formulaAutocompleteSuggestions(text.toStdString());
    if (found.empty()) {
        hidePopup();
        return;
    }
    if (!popup_) {
        popup_ = new QListWidget(edit_->window());
        popup_->setObjectName(QStringLiteral("formulaAutocompletePopup"));
        popup_->setFocusPolicy(Qt::NoFocus);
        popup_->setFrameShape(QFrame::Box);
        // Long signatures are elided: a horizontal scroll bar would cover the
        // only row of a single match and leave an empty strip.
        popup_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        popup_->setTextElideMode(Qt::ElideRight);
        connect(popup_, &QListWidget::itemClicked, this,
                [this](QListWidgetItem* item) { accept(item->data(Qt::UserRole).toString()); });
    }
    popup_->clear();
    for (const FunctionDef* f : found) {
        auto* item = new QListWidgetItem(QString::fromStdString(f->signature) + QStringLiteral("  —  ") +
                                         QString::fromStdString(f->description));
        item->setData(Qt::UserRole, QString::fromStdString(f->name));
        popup_->addItem(item);
    }
    popup_->setCurrentRow(0);
    placePopup();
    popup_->show();
    popup_->raise();
}

void FormulaAutocomplete::placePopup() {
    QWidget* top = edit_->window();
    const QPoint below = edit_->mapTo(top, QPoint(0, edit_->height()));
    const int rowHeight = popup_->sizeHintForRow(0) > 0 ? popup_->sizeHintForRow(0) : 18;
    const int height = rowHeight * popup_->count() + 2 * popup_->frameWidth() + 2;
    int width = std::max(edit_->width(), 420);
    width = std::min(width, std::max(200, top->width() - below.x()));
    popup_->setGeometry(below.x(), below.y(), width, height);
}

bool FormulaAutocomplete::eventFilter(QObject* watched, QEvent* event) {
    if (watched != edit_) return false;
    if (event->type() == QEvent::FocusOut || event->type() == QEvent::Hide) {
        hidePopup();
        return false;
    }
    if (event->type() != QEvent::KeyPress || !isPopupVisible()) return false;
    auto* key = static_cast<QKeyEvent*>(event);
    const int row = popup_->currentRow();
    switch (key->key()) {
    case Qt::Key_Down:
        popup_->setCurrentRow(std::min(row + 1, popup_->count() - 1));
        return true;
    case Qt::Key_Up:
        popup_->setCurrentRow(std::max(row - 1, 0));
        return true;
    case Qt::Key_Tab:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (QListWidgetItem* item = popup_->currentItem()) {
            accept(item->data(Qt::UserRole).toString());
            return true;
        }
        return false;
    case Qt::Key_Escape:
        hidePopup();
        return true;
    default:
        return false;
    }
}

} // namespace sumora::app
