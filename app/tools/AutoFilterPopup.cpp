#include "app/tools/AutoFilterPopup.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

#include "app/SheetGridView.h"
#include "app/tools/ToolSupport.h"
#include "engine/FormulaValue.h"
#include "values/StrictNumber.h"

namespace sumora::app {

namespace {

constexpr int kTextRole = Qt::UserRole + 1;

// Numbers in numeric order first, then texts ignoring case, blanks last.
bool filterOrder(const std::string& a, const std::string& b) {
    if (a.empty() != b.empty()) return b.empty();
    auto na = parseStrictNumber(a), nb = parseStrictNumber(b);
    if (na && nb) return *na < *nb;
    if (na.has_value() != nb.has_value()) return na.has_value();
    return collateCaseInsensitive(a, b) < 0;
}

std::vector<std::string> columnTexts(const Sheet& sheet, int64_t column) {
    std::vector<std::string> texts;
    const int64_t rows = sheet.usedExtent().rows;
    for (int64_t row = 1; row < rows; ++row)
        texts.emplace_back(sheet.cell(row, column).displayValue());
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    std::sort(texts.begin(), texts.end(), filterOrder);
    return texts;
}

} // namespace

void toggleAutoFilter(DocumentContext& context) {
    SumoraEditorView& editor = context.editor();
    editor.autoFilter.enabled = !editor.autoFilter.enabled;
    if (!editor.autoFilter.enabled) editor.autoFilter.allowed.clear();
    context.documentChanged();
}

AutoFilterPopup::AutoFilterPopup(DocumentContext& context, int64_t column, QWidget* parent)
    : QFrame(parent, Qt::Popup), context_(context), column_(column) {
    setObjectName(QStringLiteral("autoFilterPopup"));
    setFrameShape(QFrame::StyledPanel);
    setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(this);
    selectAll_ = new QCheckBox(tr("(Select All)"), this);
    list_ = new QListWidget(this);
    list_->setMinimumWidth(200);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(selectAll_);
    layout->addWidget(list_);
    layout->addWidget(buttons);

    SumoraEditorView& editor = context_.editor();
    const Sheet* sheet = editor.activeSheet();
    const std::set<std::string>* allowed = nullptr;
    if (auto it = editor.autoFilter.allowed.find(column_);
        it != editor.autoFilter.allowed.end() && !it->second.empty())
        allowed = &it->second;
    if (sheet) {
        for (const std::string& text : columnTexts(*sheet, column_)) {
            auto* item = new QListWidgetItem(text.empty() ? tr("(Blanks)") : toQString(text), list_);
            item->setData(kTextRole, toQString(text));
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
            item->setCheckState(!allowed || allowed->contains(text) ? Qt::Checked : Qt::Unchecked);
        }
    }
    syncSelectAll();

    connect(selectAll_, &QCheckBox::toggled, this, [this](bool on) {
        if (syncing_) return;
        syncing_ = true;
        for (int i = 0; i < list_->count(); ++i)
            list_->item(i)->setCheckState(on ? Qt::Checked : Qt::Unchecked);
        syncing_ = false;
    });
    connect(list_, &QListWidget::itemChanged, this, [this] {
        if (!syncing_) syncSelectAll();
    });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        apply();
        close();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QWidget::close);
}

QStringList AutoFilterPopup::texts() const {
    QStringList out;
    for (int i = 0; i < list_->count(); ++i)
        out << list_->item(i)->data(kTextRole).toString();
    return out;
}

void AutoFilterPopup::setTextChecked(const QString& text, bool checked) {
    for (int i = 0; i < list_->count(); ++i)
        if (list_->item(i)->data(kTextRole).toString() == text)
            list_->item(i)->setCheckState(checked ? Qt::Checked : Qt::Unchecked);
}

bool AutoFilterPopup::isTextChecked(const QString& text) const {
    for (int i = 0; i < list_->count(); ++i)
        if (list_->item(i)->data(kTextRole).toString() == text)
            return list_->item(i)->checkState() == Qt::Checked;
    return false;
}

void AutoFilterPopup::syncSelectAll() {
    syncing_ = true;
    bool all = true;
    for (int i = 0; i < list_->count() && all; ++i)
        all = list_->item(i)->checkState() == Qt::Checked;
    selectAll_->setChecked(all);
    syncing_ = false;
}

void AutoFilterPopup::apply() {
    SumoraEditorView& editor = context_.editor();
    const Sheet* sheet = editor.activeSheet();
    if (!sheet) return;
    std::set<std::string> allowed;
    bool all = true, blanksOffered = false;
    for (int i = 0; i < list_->count(); ++i) {
        const std::string text = toStdString(list_->item(i)->data(kTextRole).toString());
        blanksOffered = blanksOffered || text.empty();
        if (list_->item(i)->checkState() == Qt::Checked)
            allowed.insert(text);
        else
            all = false;
    }
    // The empty rows below the data are not the column's to hide.
    if (!blanksOffered) allowed.insert(std::string());
    editor.autoFilter.enabled = true;
    if (all) {
        editor.autoFilter.allowed.erase(column_);
    } else {
        allowed.insert(std::string(sheet->cell(0, column_).displayValue()));
        editor.autoFilter.allowed[column_] = std::move(allowed);
    }
    context_.documentChanged();
}

// ---- header arrows ---------------------------------------------------------

AutoFilterButtons::AutoFilterButtons(DocumentContext& context, SheetGridView& grid)
    : QObject(&grid), context_(context), grid_(grid) {
    QHeaderView* header = grid_.horizontalHeader();
    connect(header, &QHeaderView::sectionResized, this, &AutoFilterButtons::place);
    connect(header, &QHeaderView::geometriesChanged, this, &AutoFilterButtons::place);
    connect(grid_.horizontalScrollBar(), &QScrollBar::valueChanged, this, &AutoFilterButtons::place);
    // New columns of data get an arrow, and a sheet switch drops the old ones.
    connect(grid_.model(), &QAbstractItemModel::modelReset, this, &AutoFilterButtons::refresh);
    connect(grid_.model(), &QAbstractItemModel::dataChanged, this, [this] {
        if (context_.editor().autoFilter.enabled || !buttons_.empty()) refresh();
    });
}

void AutoFilterButtons::refresh() {
    SumoraEditorView& editor = context_.editor();
    const Sheet* sheet = editor.activeSheet();
    const size_t wanted =
        editor.autoFilter.enabled && sheet ? static_cast<size_t>(pickerColumnCount(*sheet)) : size_t{0};
    while (buttons_.size() > wanted) {
        delete buttons_.back().data();
        buttons_.pop_back();
    }
    while (buttons_.size() < wanted) {
        const auto column = static_cast<int64_t>(buttons_.size());
        auto* button = new QToolButton(grid_.horizontalHeader()->viewport());
        button->setObjectName(QStringLiteral("autoFilterButton%1").arg(column));
        button->setArrowType(Qt::DownArrow);
        button->setAutoRaise(true);
        button->setFixedSize(16, 16);
        connect(button, &QToolButton::clicked, this, [this, column] { openPopup(column); });
        buttons_.emplace_back(button);
    }
    for (size_t c = 0; c < buttons_.size(); ++c) {
        const bool active = editor.autoFilter.allowed.contains(static_cast<int64_t>(c));
        buttons_[c]->setStyleSheet(active ? QStringLiteral("background: #BFD9FF;") : QString());
    }
    place();
}

void AutoFilterButtons::place() {
    QHeaderView* header = grid_.horizontalHeader();
    for (size_t c = 0; c < buttons_.size(); ++c) {
        QToolButton* b = buttons_[c];
        if (!b) continue;
        const int logical = static_cast<int>(c);
        const int x = header->sectionViewportPosition(logical);
        const int width = header->sectionSize(logical);
        const bool visible =
            !header->isSectionHidden(logical) && x + width > 0 && x < header->viewport()->width();
        b->setVisible(visible);
        if (visible) b->move(x + width - b->width() - 2, (header->height() - b->height()) / 2);
    }
}

void AutoFilterButtons::openPopup(int64_t column) {
    auto* popup = new AutoFilterPopup(context_, column, &grid_);
    QHeaderView* header = grid_.horizontalHeader();
    const int x = header->sectionViewportPosition(static_cast<int>(column));
    popup->move(header->viewport()->mapToGlobal(QPoint(x, header->height())));
    connect(popup, &QObject::destroyed, this, &AutoFilterButtons::refresh);
    popup->show();
}

} // namespace sumora::app
