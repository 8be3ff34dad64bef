#include "app/SheetTabBar.h"

#include <QColorDialog>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QTabBar>
#include <QToolButton>

#include "app/CellAppearance.h"
#include "editing/SheetOperations.h"
#include "editing/SumoraEditorView.h"
#include "engine/Recalculation.h"
#include "functions/BuiltinFunctions.h"

namespace sumora::app {

namespace {

QIcon colorSwatch(const QColor& color) {
    QPixmap pixmap(12, 12);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setPen(color.darker(130));
    p.setBrush(color);
    p.drawRoundedRect(QRectF(0.5, 0.5, 11, 11), 2, 2);
    return QIcon(pixmap);
}

} // namespace

SheetTabBar::SheetTabBar(SumoraEditorView& editor, QWidget* parent)
    : QWidget(parent), editor_(editor), tabs_(new QTabBar(this)), addButton_(new QToolButton(this)) {
    setObjectName(QStringLiteral("sheetTabs"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 0, 2, 0);
    layout->setSpacing(2);
    addButton_->setText(QStringLiteral("+"));
    addButton_->setToolTip(tr("Add Sheet"));
    addButton_->setAutoRaise(true);
    layout->addWidget(addButton_);
    layout->addWidget(tabs_, 1);

    tabs_->setShape(QTabBar::RoundedSouth);
    tabs_->setMovable(true);
    tabs_->setExpanding(false);
    tabs_->setDocumentMode(true);
    tabs_->setContextMenuPolicy(Qt::CustomContextMenu);

    connect(addButton_, &QToolButton::clicked, this, &SheetTabBar::addSheet);
    connect(tabs_, &QTabBar::currentChanged, this, &SheetTabBar::onCurrentTabChanged);
    connect(tabs_, &QTabBar::tabMoved, this, &SheetTabBar::onTabMoved);
    connect(tabs_, &QTabBar::tabBarDoubleClicked, this, [this](int tab) {
        if (tab >= 0 && static_cast<size_t>(tab) < tabSheets_.size()) promptRename(tabSheets_[tab]);
    });
    connect(tabs_, &QWidget::customContextMenuRequested, this, &SheetTabBar::showContextMenu);
    refresh();
}

size_t SheetTabBar::activeSheet() const {
    return static_cast<size_t>(std::max<int64_t>(0, editor_.activeSheetIndex));
}

void SheetTabBar::refresh() {
    rebuilding_ = true;
    const SumoraDocument& doc = editor_.document;
    tabSheets_ = visibleSheetIndices(doc);
    while (tabs_->count() > static_cast<int>(tabSheets_.size()))
        tabs_->removeTab(tabs_->count() - 1);
    while (tabs_->count() < static_cast<int>(tabSheets_.size()))
        tabs_->addTab(QString());
    int current = 0;
    for (size_t tab = 0; tab < tabSheets_.size(); ++tab) {
        const Sheet& sheet = doc.sheets[tabSheets_[tab]];
        const int t = static_cast<int>(tab);
        tabs_->setTabText(t, QString::fromStdString(sheet.name));
        const QColor color = sheet.tabColorHex ? colorFromHex(*sheet.tabColorHex) : QColor();
        tabs_->setTabIcon(t, color.isValid() ? colorSwatch(color) : QIcon());
        if (tabSheets_[tab] == activeSheet()) current = t;
    }
    tabs_->setCurrentIndex(current);
    rebuilding_ = false;
}

void SheetTabBar::activateSheet(size_t sheetIndex) {
    if (sheetIndex >= editor_.document.sheets.size() || editor_.document.sheets[sheetIndex].isHidden) return;
    const bool changed = static_cast<int64_t>(sheetIndex) != editor_.activeSheetIndex;
    editor_.activeSheetIndex = static_cast<int64_t>(sheetIndex);
    refresh();
    if (changed) {
        editor_.activeCell.reset();
        editor_.selection.reset();
        emit activeSheetChanged();
    }
}

void SheetTabBar::onCurrentTabChanged(int tab) {
    if (rebuilding_ || tab < 0 || static_cast<size_t>(tab) >= tabSheets_.size()) return;
    activateSheet(tabSheets_[tab]);
}

void SheetTabBar::onTabMoved(int from, int to) {
    if (rebuilding_ || from == to) return;
    if (static_cast<size_t>(from) >= tabSheets_.size() || static_cast<size_t>(to) >= tabSheets_.size())
        return;
    moveSheet(tabSheets_[from], tabSheets_[to]);
}

void SheetTabBar::addSheet() {
    const size_t index = sumora::addSheet(editor_.document, activeSheet());
    emit sheetsEdited(false);
    activateSheet(index);
}

std::optional<QString> SheetTabBar::renameSheet(size_t sheetIndex, const QString& name) {
    if (auto problem = sumora::renameSheet(editor_.document, sheetIndex, name.toStdString()))
        return QString::fromStdString(*problem);
    refresh();
    emit sheetsEdited(false);
    return std::nullopt;
}

bool SheetTabBar::deleteSheet(size_t sheetIndex) {
    SumoraDocument& doc = editor_.document;
    const std::string activeId =
        activeSheet() < doc.sheets.size() ? doc.sheets[activeSheet()].id : std::string();
    if (!sumora::deleteSheet(doc, sheetIndex)) return false;
    // References to the sheet now read "#REF!"; what depends on them follows.
    editor_.invalidateCalculators();
    recalculateDocument(doc, builtinFunctions());
    size_t next = std::min(sheetIndex, doc.sheets.size() - 1);
    for (size_t i = 0; i < doc.sheets.size(); ++i)
        if (doc.sheets[i].id == activeId) next = i;
    while (doc.sheets[next].isHidden && next > 0)
        --next;
    if (doc.sheets[next].isHidden) next = visibleSheetIndices(doc).front();
    editor_.activeSheetIndex = -1; // force the switch below to reload
    emit sheetsEdited(true);
    activateSheet(next);
    return true;
}

void SheetTabBar::moveSheet(size_t from, size_t to) {
    SumoraDocument& doc = editor_.document;
    if (from >= doc.sheets.size() || to >= doc.sheets.size()) return;
    const std::string activeId = doc.sheets[activeSheet()].id;
    sumora::moveSheet(doc, from, to);
    for (size_t i = 0; i < doc.sheets.size(); ++i)
        if (doc.sheets[i].id == activeId) editor_.activeSheetIndex = static_cast<int64_t>(i);
    editor_.invalidateCalculators();
    refresh();
    emit sheetsEdited(false);
}

bool SheetTabBar::setSheetHidden(size_t sheetIndex, bool hidden) {
    if (!sumora::setSheetHidden(editor_.document, sheetIndex, hidden)) return false;
    emit sheetsEdited(false);
    if (hidden && sheetIndex == activeSheet()) {
        const auto visible = visibleSheetIndices(editor_.document);
        size_t next = visible.front();
        for (size_t i : visible)
            if (i < sheetIndex) next = i;
        activateSheet(next);
    } else if (!hidden) {
        activateSheet(sheetIndex);
    } else {
        refresh();
    }
    return true;
}

void SheetTabBar::setTabColor(size_t sheetIndex, std::optional<QString> hex) {
    if (sheetIndex >= editor_.document.sheets.size()) return;
    editor_.document.sheets[sheetIndex].tabColorHex =
        hex ? std::optional<std::string>(hex->toUpper().remove(QLatin1Char('#')).toStdString())
            : std::nullopt;
    refresh();
    emit sheetsEdited(false);
}

void SheetTabBar::promptRename(size_t sheetIndex) {
    if (sheetIndex >= editor_.document.sheets.size()) return;
    QString name = QString::fromStdString(editor_.document.sheets[sheetIndex].name);
    for (;;) {
        bool ok = false;
        name =
            QInputDialog::getText(this, tr("Rename Sheet"), tr("Sheet name:"), QLineEdit::Normal, name, &ok);
        if (!ok) return;
        auto problem = renameSheet(sheetIndex, name.trimmed());
        if (!problem) return;
        QMessageBox::warning(this, tr("Rename Sheet"), *problem);
    }
}

void SheetTabBar::confirmDelete(size_t sheetIndex) {
    if (sheetIndex >= editor_.document.sheets.size()) return;
    const QString name = QString::fromStdString(editor_.document.sheets[sheetIndex].name);
    const auto answer = QMessageBox::question(
        this, tr("Delete Sheet"),
        tr("Delete the sheet \"%1\"? Formulas on other sheets that refer to it will show #REF!.").arg(name));
    if (answer != QMessageBox::Yes) return;
    if (!deleteSheet(sheetIndex))
        QMessageBox::information(this, tr("Delete Sheet"),
                                 QString::fromUtf8(kLastVisibleSheetMessage.data()));
}

void SheetTabBar::chooseTabColor(size_t sheetIndex) {
    if (sheetIndex >= editor_.document.sheets.size()) return;
    const auto& current = editor_.document.sheets[sheetIndex].tabColorHex;
    const QColor color =
        QColorDialog::getColor(current ? colorFromHex(*current) : QColor(Qt::white), this, tr("Tab Colour"));
    if (color.isValid()) setTabColor(sheetIndex, color.name().mid(1));
}

void SheetTabBar::showContextMenu(const QPoint& pos) {
    const int tab = tabs_->tabAt(pos);
    if (tab < 0 || static_cast<size_t>(tab) >= tabSheets_.size()) return;
    const size_t sheet = tabSheets_[tab];
    QMenu menu(this);
    menu.setObjectName(QStringLiteral("sheetTabContextMenu"));
    auto add = [&](const char* name, const QString& text, std::function<void()> run) {
        menu.addAction(text, this, std::move(run))->setObjectName(QString::fromLatin1(name));
    };
    add("insertSheet", tr("Insert Sheet"), [this] { addSheet(); });
    add("renameSheet", tr("Rename…"), [this, sheet] { promptRename(sheet); });
    add("deleteSheet", tr("Delete"), [this, sheet] { confirmDelete(sheet); });
    menu.addSeparator();
    add("tabColor", tr("Tab Colour…"), [this, sheet] { chooseTabColor(sheet); });
    add("noTabColor", tr("No Tab Colour"), [this, sheet] { setTabColor(sheet, std::nullopt); });
    menu.addSeparator();
    add("hideSheet", tr("Hide"), [this, sheet] {
        if (!setSheetHidden(sheet, true))
            QMessageBox::information(this, tr("Hide Sheet"),
                                     QString::fromUtf8(kLastVisibleSheetMessage.data()));
    });
    QMenu* unhide = menu.addMenu(tr("Unhide"));
    unhide->setObjectName(QStringLiteral("unhideSheetMenu"));
    for (size_t i = 0; i < editor_.document.sheets.size(); ++i)
        if (editor_.document.sheets[i].isHidden)
            unhide->addAction(QString::fromStdString(editor_.document.sheets[i].name), this,
                              [this, i] { setSheetHidden(i, false); });
    unhide->setEnabled(!unhide->isEmpty());
    menu.exec(tabs_->mapToGlobal(pos));
}

} // namespace sumora::app
