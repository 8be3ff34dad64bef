#include "app/TextOverflow.h"

#include <QFontMetrics>
#include <QTableView>
#include <climits>

#include "app/CellAppearance.h"
#include "document/Sheet.h"
#include "values/StrictNumber.h"

namespace sumora::app {

namespace {

// How far a run may reach, in columns: wider texts are cut there.
constexpr int kMaxRunColumns = 64;
constexpr int kTextPadding = 4;

bool isEmpty(const Sheet& sheet, int row, int col) {
    return sheet.cell(row, col).displayValue().empty();
}

// Pixels the empty neighbours on one side offer, up to `needed`.
int room(const QTableView& view, const Sheet& sheet, int row, int col, int step, int needed) {
    int gained = 0;
    const int columns = view.model() ? view.model()->columnCount() : 0;
    for (int c = col + step, n = 0; gained < needed && c >= 0 && c < columns && n < kMaxRunColumns;
         c += step, ++n) {
        if (!isEmpty(sheet, row, c)) break;
        if (view.rowSpan(row, c) > 1 || view.columnSpan(row, c) > 1) break;
        gained += view.isColumnHidden(c) ? 0 : view.columnWidth(c);
    }
    return std::min(gained, needed);
}

} // namespace

bool mayOverflow(const CellAppearance& a) {
    return !a.text.isEmpty() && !a.isNumber && !a.wrap && a.fillPosition < 0 &&
           !(a.alignment & Qt::AlignJustify);
}

QRect overflowRect(const QTableView& view, const Sheet& sheet, int row, int col, const QRect& cell,
                   const CellAppearance& a, const QFontMetrics& metrics) {
    if (!mayOverflow(a)) return cell;
    // Most texts fit or have a value beside them: both are told without
    // measuring the text, which is the costly part of painting a cell.
    const auto textLength = static_cast<int64_t>(a.text.size());
    if (textLength * metrics.maxWidth() + 2 * kTextPadding <= cell.width()) return cell;
    const bool leftward = a.alignment & (Qt::AlignRight | Qt::AlignHCenter);
    const bool rightward = !(a.alignment & Qt::AlignRight);
    if (!(rightward && isEmpty(sheet, row, col + 1)) &&
        !(leftward && col > 0 && isEmpty(sheet, row, col - 1)))
        return cell;
    if (view.columnSpan(row, col) > 1) return cell;
    const int needed = metrics.horizontalAdvance(a.text) + 2 * kTextPadding - cell.width();
    if (needed <= 0) return cell;
    QRect r = cell;
    if (a.alignment & Qt::AlignHCenter) {
        const int half = (needed + 1) / 2;
        r.setLeft(r.left() - room(view, sheet, row, col, -1, half));
        r.setRight(r.right() + room(view, sheet, row, col, 1, half));
    } else if (a.alignment & Qt::AlignRight) {
        r.setLeft(r.left() - room(view, sheet, row, col, -1, needed));
    } else {
        r.setRight(r.right() + room(view, sheet, row, col, 1, needed));
    }
    return r;
}

std::vector<int> overflowSources(const QTableView& view, const Sheet& sheet, int row, int col) {
    std::vector<int> sources;
    const int stored = static_cast<int>(std::min<int64_t>(sheet.storedColumnCount(row), INT_MAX));
    if (stored == 0) return sources;
    const int columns = view.model() ? view.model()->columnCount() : 0;
    for (int step : {-1, 1}) {
        const int first = step < 0 ? std::min(col - 1, stored - 1) : col + 1;
        for (int c = first, n = 0; c >= 0 && c < columns && n < kMaxRunColumns; c += step, ++n) {
            const std::string_view text = sheet.cell(row, c).displayValue();
            if (text.empty()) continue;
            if (!parseStrictNumber(text)) sources.push_back(c);
            break;
        }
        // Nothing stored further right on this row: no source there.
        if (step < 0 && col + 1 >= sheet.storedColumnCount(row)) break;
    }
    return sources;
}

} // namespace sumora::app
