#include "app/InsertFunctionPanel.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "app/FunctionArgumentsPage.h"
#include "functions/FunctionCatalogue.h"

namespace sumora::app {

InsertFunctionPanel::InsertFunctionPanel(SumoraEditorView& editor, QWidget* parent)
    : QWidget(parent), editor_(editor), pages_(new QStackedWidget(this)) {
    setObjectName(QStringLiteral("insertFunctionPanel"));
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(6, 6, 6, 6);
    outer->addWidget(pages_);

    auto* browser = new QWidget(pages_);
    auto* layout = new QVBoxLayout(browser);
    layout->setContentsMargins(0, 0, 0, 0);
    header_ = new QLabel(QString::fromUtf8(kInsertFunctionHeader), browser);
    header_->setObjectName(QStringLiteral("insertFunctionHeader"));
    header_->setWordWrap(true);
    search_ = new QLineEdit(browser);
    search_->setObjectName(QStringLiteral("functionSearch"));
    search_->setPlaceholderText(tr("Search functions"));
    search_->setClearButtonEnabled(true);
    category_ = new QComboBox(browser);
    category_->setObjectName(QStringLiteral("functionCategory"));
    for (FunctionCategory c : allFunctionCategories()) {
        const std::string_view text = displayText(c);
        category_->addItem(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
    }
    count_ = new QLabel(browser);
    count_->setObjectName(QStringLiteral("functionResultCount"));
    count_->setStyleSheet(QStringLiteral("color: #555;"));
    list_ = new QListWidget(browser);
    list_->setObjectName(QStringLiteral("functionList"));
    list_->setAlternatingRowColors(true);
    description_ = new QLabel(browser);
    description_->setWordWrap(true);
    description_->setMinimumHeight(40);

    auto* filterRow = new QHBoxLayout();
    filterRow->addWidget(category_);
    filterRow->addWidget(count_, 1, Qt::AlignRight);
    auto* buttons = new QHBoxLayout();
    auto* close = new QPushButton(tr("Close"), browser);
    auto* insert = new QPushButton(tr("Insert"), browser);
    insert->setObjectName(QStringLiteral("insertFunctionChoose"));
    buttons->addStretch(1);
    buttons->addWidget(close);
    buttons->addWidget(insert);

    layout->addWidget(header_);
    layout->addWidget(search_);
    layout->addLayout(filterRow);
    layout->addWidget(list_, 1);
    layout->addWidget(description_);
    layout->addLayout(buttons);

    arguments_ = new FunctionArgumentsPage(editor_, pages_);
    pages_->addWidget(browser);
    pages_->addWidget(arguments_);

    connect(search_, &QLineEdit::textChanged, this, &InsertFunctionPanel::updateList);
    connect(category_, &QComboBox::currentIndexChanged, this, &InsertFunctionPanel::updateList);
    connect(list_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
        description_->setText(item ? item->data(Qt::UserRole + 1).toString() : QString());
    });
    connect(list_, &QListWidget::itemActivated, this, &InsertFunctionPanel::insertSelected);
    connect(insert, &QPushButton::clicked, this, &InsertFunctionPanel::insertSelected);
    connect(close, &QPushButton::clicked, this, &InsertFunctionPanel::closeRequested);
    connect(arguments_, &FunctionArgumentsPage::committed, this, [this] {
        showBrowser();
        emit formulaCommitted();
    });
    connect(arguments_, &FunctionArgumentsPage::cancelled, this, &InsertFunctionPanel::showBrowser);
    updateList();
}

bool InsertFunctionPanel::isShowingArguments() const {
    return pages_->currentWidget() == arguments_;
}

void InsertFunctionPanel::updateList() {
    const auto category = functionCategoryFromDisplayText(category_->currentText().toStdString())
                              .value_or(FunctionCategory::all);
    const auto found = filteredFunctions(category, search_->text().toStdString());
    list_->clear();
    for (const FunctionDef* f : found) {
        auto* item = new QListWidgetItem(QString::fromStdString(f->name), list_);
        item->setData(Qt::UserRole, QString::fromStdString(f->name));
        item->setData(Qt::UserRole + 1, QString::fromStdString(f->signature) + QStringLiteral("\n") +
                                            QString::fromStdString(f->description));
        item->setToolTip(QString::fromStdString(f->description));
    }
    count_->setText(QString::fromStdString(resultCountText(found.size())));
    if (list_->count() > 0) list_->setCurrentRow(0);
}

void InsertFunctionPanel::insertSelected() {
    if (QListWidgetItem* item = list_->currentItem()) beginArguments(item->data(Qt::UserRole).toString());
}

void InsertFunctionPanel::beginArguments(const QString& name) {
    const CellPosition target = editor_.activeCell.value_or(CellPosition{0, 0});
    arguments_->begin(name, target);
    pages_->setCurrentWidget(arguments_);
    emit pickingChanged(true);
}

void InsertFunctionPanel::showBrowser() {
    const bool wasPicking = isShowingArguments();
    pages_->setCurrentIndex(0);
    if (wasPicking) emit pickingChanged(false);
}

void InsertFunctionPanel::fillSelectedArgument(const QString& reference) {
    if (isShowingArguments()) arguments_->fillSelectedField(reference);
}

} // namespace sumora::app
