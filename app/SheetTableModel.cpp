#include "app/SheetTableModel.h"

#include <climits>

#include "document/ColumnLetters.h"
#include "editing/ConditionalFormulas.h"
#include "editing/GoToTarget.h"
#include "editing/SumoraEditorView.h"

namespace sumora::app {

namespace {

int clampedCount(int64_t n) {
    return static_cast<int>(std::clamp<int64_t>(n, 0, INT_MAX));
}

// The view shows the whole grid a sheet may address; the sheet stores only
// what was written, and grows (ensureGridSize) when a command writes further.
int shownRows(const Sheet* s) {
    return s ? clampedCount(std::max(s->rowCount(), kSheetRowLimit)) : 0;
}

int shownColumns(const Sheet* s) {
    return s ? clampedCount(std::max(s->columnCount(), kSheetColumnLimit)) : 0;
}

} // namespace

SheetTableModel::SheetTableModel(SumoraEditorView& editor, QObject* parent)
    : QAbstractTableModel(parent), editor_(editor) {
    appearances_.setFormulaSource([this](const Sheet& sheet) -> ConditionalFormulaNumber {
        const auto& sheets = editor_.document.sheets;
        for (size_t i = 0; i < sheets.size(); ++i)
            if (&sheets[i] == &sheet) return conditionalFormulaNumbers(editor_.document, i);
        return {};
    });
    rows_ = shownRows(sheet());
    columns_ = shownColumns(sheet());
}

const Sheet* SheetTableModel::sheet() const {
    return editor_.activeSheet();
}

int SheetTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : rows_;
}

int SheetTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columns_;
}

QString SheetTableModel::editText(int row, int column) const {
    const Sheet* s = sheet();
    if (!s) return {};
    const Cell& cell = s->cell(row, column);
    if (auto formula = cell.formula())
        return QStringLiteral("=") + QString::fromUtf8(formula->data(), formula->size());
    const std::string_view value = cell.value();
    return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()));
}

CellAppearance SheetTableModel::appearance(const QModelIndex& index) const {
    const Sheet* s = sheet();
    if (!s || !index.isValid()) return {};
    return appearances_.build(*s, {index.column(), index.row()});
}

QVariant SheetTableModel::data(const QModelIndex& index, int role) const {
    const Sheet* s = sheet();
    if (!s || !index.isValid()) return {};
    switch (role) {
    case Qt::DisplayRole:
        return appearances_.displayText(*s, {index.column(), index.row()});
    case Qt::EditRole:
        return editText(index.row(), index.column());
    case Qt::ToolTipRole: {
        if (s->cellComments.empty() && s->hyperlinks.empty()) return {};
        const std::string address = cellAddress({index.column(), index.row()});
        if (auto it = s->cellComments.find(address); it != s->cellComments.end())
            return QString::fromStdString(it->second);
        auto link = s->hyperlinks.find(address);
        if (link == s->hyperlinks.end()) return {};
        const CellHyperlink& l = link->second;
        const std::string& where = l.tooltip ? *l.tooltip : (l.target.empty() ? l.location : l.target);
        return tr("%1\nCtrl+click to follow the link").arg(QString::fromStdString(where));
    }
    default:
        return {};
    }
}

QVariant SheetTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole) return {};
    if (orientation == Qt::Horizontal) return QString::fromStdString(columnLetter(section));
    return QString::number(section + 1);
}

Qt::ItemFlags SheetTableModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable;
}

bool SheetTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != Qt::EditRole || !sheet()) return false;
    const QString text = value.toString();
    if (text == editText(index.row(), index.column())) return false;
    editor_.setCellValue({index.column(), index.row()}, text.toStdString());
    refreshCells();
    emit cellCommitted(index.row(), index.column());
    return true;
}

bool SheetTableModel::approveEntry(int row, int column, const QString& text) const {
    if (!approver_ || !sheet() || text == editText(row, column)) return true;
    return approver_({column, row}, text);
}

void SheetTableModel::reload() {
    beginResetModel();
    appearances_.beginPaint(nullptr);
    const Sheet* s = sheet();
    rows_ = shownRows(s);
    columns_ = shownColumns(s);
    endResetModel();
}

void SheetTableModel::refreshCells() {
    const Sheet* s = sheet();
    appearances_.beginPaint(nullptr);
    const int rows = shownRows(s);
    const int columns = shownColumns(s);
    if (rows < rows_ || columns < columns_) {
        reload();
        return;
    }
    if (rows > rows_) {
        beginInsertRows({}, rows_, rows - 1);
        rows_ = rows;
        endInsertRows();
    }
    if (columns > columns_) {
        beginInsertColumns({}, columns_, columns - 1);
        columns_ = columns;
        endInsertColumns();
    }
    if (rows_ > 0 && columns_ > 0) emit dataChanged(index(0, 0), index(rows_ - 1, columns_ - 1));
}

} // namespace sumora::app
