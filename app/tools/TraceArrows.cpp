#include "app/tools/TraceArrows.h"

#include <QAbstractItemModel>
#include <QEvent>
#include <QHeaderView>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QToolButton>
#include <algorithm>
#include <cmath>
#include <set>

#include "app/SheetGridView.h"
#include "app/tools/FormulaAuditing.h"
#include "app/tools/ToolSupport.h"
#include "editing/SumoraEditorView.h"
#include "functions/BuiltinFunctions.h"
#include "functions/ReferenceSupport.h"

namespace sumora::app {

namespace {

const QColor kArrowColor(0x2f, 0x5c, 0xd6);
constexpr int kMarkerWidth = 20, kMarkerHeight = 16;

QIcon sheetGlyph() {
    QPixmap pixmap(kMarkerWidth - 4, kMarkerHeight - 4);
    pixmap.fill(Qt::white);
    QPainter p(&pixmap);
    p.setPen(QColor(0x44, 0x44, 0x44));
    p.drawRect(0, 0, pixmap.width() - 1, pixmap.height() - 1);
    for (int x = pixmap.width() / 3; x < pixmap.width() - 1; x += pixmap.width() / 3)
        p.drawLine(x, 0, x, pixmap.height() - 1);
    for (int y = pixmap.height() / 3; y < pixmap.height() - 1; y += pixmap.height() / 3)
        p.drawLine(0, y, pixmap.width() - 1, y);
    return QIcon(pixmap);
}

void drawArrow(QPainter& p, QPointF from, QPointF to, bool dashed) {
    const QColor color = dashed ? QColor(Qt::black) : kArrowColor;
    p.setPen(QPen(color, 1.5, dashed ? Qt::DashLine : Qt::SolidLine));
    p.drawLine(from, to);
    p.setPen(Qt::NoPen);
    p.setBrush(color);
    p.drawEllipse(from, 3, 3);
    const QLineF line(from, to);
    if (line.length() < 1) return;
    const QPointF unit = (to - from) / line.length();
    const QPointF normal(-unit.y(), unit.x());
    QPainterPath head;
    head.moveTo(to);
    head.lineTo(to - unit * 9 + normal * 4.5);
    head.lineTo(to - unit * 9 - normal * 4.5);
    head.closeSubpath();
    p.drawPath(head);
}

} // namespace

// Paints the arrows over the viewport; clicks pass through to the grid.
class TraceOverlay : public QWidget {
  public:
    TraceOverlay(TraceArrows& arrows, QWidget* viewport) : QWidget(viewport), arrows_(arrows) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setAttribute(Qt::WA_NoSystemBackground);
        setObjectName(QStringLiteral("traceOverlay"));
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        const size_t sheet = arrows_.sheet();
        for (const TraceArrow& a : arrows_.arrows()) {
            if (a.from.sheet != sheet || a.to.sheet != sheet) continue; // drawn from a marker
            const QRect to = arrows_.cellRect(a.to.col, a.to.row);
            const QRect from = arrows_.areaRect(a.from.rect);
            if (from.isNull() || to.isNull()) continue;
            if (!a.from.isCell()) {
                p.setPen(QPen(kArrowColor, 2));
                p.setBrush(Qt::NoBrush);
                p.drawRect(from.adjusted(1, 1, -1, -1));
            }
            const QRect start = arrows_.cellRect(a.from.rect.col1, a.from.rect.row1);
            drawArrow(p, QRectF(start).center(), QRectF(to).center(), false);
        }
        for (const SheetMarker& m : arrows_.markers()) {
            const QRect cell = arrows_.cellRect(m.cell.col, m.cell.row);
            if (cell.isNull()) continue;
            const QPointF marker = QRectF(arrows_.markerRect(m)).center();
            if (m.incoming)
                drawArrow(p, marker, QRectF(cell).center(), true);
            else
                drawArrow(p, QRectF(cell).center(), marker, true);
        }
    }

  private:
    TraceArrows& arrows_;
};

TraceArrows::TraceArrows(DocumentContext& context, SheetGridView& grid)
    : QObject(&grid), context_(context), grid_(grid), overlay_(new TraceOverlay(*this, grid.viewport())) {
    overlay_->hide();
    grid_.viewport()->installEventFilter(this);
    QAbstractItemModel* model = grid_.model();
    connect(model, &QAbstractItemModel::dataChanged, this, &TraceArrows::checkDocument);
    connect(model, &QAbstractItemModel::modelReset, this, &TraceArrows::checkDocument);
    connect(model, &QAbstractItemModel::layoutChanged, this, &TraceArrows::checkDocument);
    for (QScrollBar* bar : {grid_.horizontalScrollBar(), grid_.verticalScrollBar()})
        connect(bar, &QScrollBar::valueChanged, this, &TraceArrows::place);
    for (QHeaderView* header : {grid_.horizontalHeader(), grid_.verticalHeader()}) {
        connect(header, &QHeaderView::sectionResized, this, &TraceArrows::place);
        connect(header, &QHeaderView::geometriesChanged, this, &TraceArrows::place);
    }
}

bool TraceArrows::eventFilter(QObject* watched, QEvent* event) {
    if (watched == grid_.viewport() && event->type() == QEvent::Resize) place();
    return QObject::eventFilter(watched, event);
}

bool TraceArrows::trace(bool dependents) {
    SumoraEditorView& editor = context_.editor();
    if (!editor.activeCell || editor.activeSheetIndex < 0) return false;
    const auto sheet = static_cast<size_t>(editor.activeSheetIndex);
    if (!traces_.empty() && sheet != sheet_) clear();
    sheet_ = sheet;
    const SheetCell origin{sheet, clampCoordinate(editor.activeCell->col),
                           clampCoordinate(editor.activeCell->row)};
    auto it = std::find_if(traces_.begin(), traces_.end(),
                           [&](const Trace& t) { return t.origin == origin && t.dependents == dependents; });
    Trace deeper = it == traces_.end() ? Trace{origin, dependents, 0} : *it;
    ++deeper.levels;
    // A press that reaches nothing new changes nothing.
    WorkbookDependencies deps(editor.document, builtinFunctions());
    std::vector<TraceArrow> now, then;
    std::map<SheetCell, std::string> formulas;
    if (it != traces_.end()) collect(deps, *it, now, formulas);
    collect(deps, deeper, then, formulas);
    if (then.size() == now.size()) return false;
    if (it == traces_.end())
        traces_.push_back(deeper);
    else
        *it = deeper;
    rebuild(deps);
    return true;
}

void TraceArrows::clear() {
    traces_.clear();
    arrows_.clear();
    tracedFormulas_.clear();
    showArrows();
}

void TraceArrows::rebuild(const WorkbookDependencies& deps) {
    arrows_.clear();
    tracedFormulas_.clear();
    for (const Trace& t : traces_)
        collect(deps, t, arrows_, tracedFormulas_);
    showArrows();
}

void TraceArrows::showArrows() {
    rebuildMarkers();
    overlay_->setVisible(!arrows_.empty());
    place();
}

void TraceArrows::collect(const WorkbookDependencies& deps, const Trace& trace, std::vector<TraceArrow>& out,
                          std::map<SheetCell, std::string>& formulas) const {
    // Breadth first, one level per press; other sheets end at their marker.
    std::set<SheetCell> seen{trace.origin};
    std::vector<SheetCell> level{trace.origin}, next;
    for (int depth = 0; depth < trace.levels && !level.empty(); ++depth) {
        next.clear();
        auto reach = [&](const SheetCell& c) {
            if (c.sheet == sheet_ && seen.insert(c).second) next.push_back(c);
        };
        for (const SheetCell& cell : level) {
            if (trace.dependents) {
                for (const SheetCell& d : deps.dependents(cell)) {
                    formulas[d] = formulaAt(d);
                    addArrow(out, {{cell.sheet, CellRect::cell(cell.col, cell.row)}, d});
                    reach(d);
                }
                continue;
            }
            formulas[cell] = formulaAt(cell);
            for (const SheetArea& area : deps.precedents(cell)) {
                if (area.rect.isBackwards()) continue;
                addArrow(out, {area, cell});
                if (area.isCell()) {
                    if (deps.isFormula({area.sheet, area.rect.col1, area.rect.row1}))
                        reach({area.sheet, area.rect.col1, area.rect.row1});
                } else {
                    for (const SheetCell& c : deps.formulasIn(area))
                        reach(c);
                }
            }
        }
        level.swap(next);
    }
}

void TraceArrows::addArrow(std::vector<TraceArrow>& out, const TraceArrow& arrow) {
    for (const TraceArrow& a : out)
        if (a.to == arrow.to && a.from.sheet == arrow.from.sheet && a.from.rect == arrow.from.rect) return;
    out.push_back(arrow);
}

void TraceArrows::rebuildMarkers() {
    markers_.clear();
    for (const TraceArrow& a : arrows_) {
        const bool incoming = a.from.sheet != sheet_;
        if (!incoming && a.to.sheet == sheet_) continue;
        const SheetCell cell = incoming ? a.to : SheetCell{a.from.sheet, a.from.rect.col1, a.from.rect.row1};
        const SheetArea other = incoming ? a.from : SheetArea{a.to.sheet, CellRect::cell(a.to.col, a.to.row)};
        auto it = std::find_if(markers_.begin(), markers_.end(), [&](const SheetMarker& m) {
            return m.cell == cell && m.incoming == incoming;
        });
        if (it == markers_.end()) it = markers_.insert(markers_.end(), SheetMarker{cell, incoming, {}});
        it->others.push_back(other);
    }
    // Later: a marker's own menu may be what asked for the rebuild.
    for (QToolButton* b : buttons_) {
        b->hide();
        b->deleteLater();
    }
    buttons_.clear();
    const SumoraDocument& doc = context_.editor().document;
    for (const SheetMarker& m : markers_) {
        auto* button = new QToolButton(grid_.viewport());
        button->setObjectName(QStringLiteral("traceSheetMarker"));
        button->setIcon(sheetGlyph());
        button->setAutoRaise(true);
        button->setPopupMode(QToolButton::InstantPopup);
        auto* menu = new QMenu(button);
        QStringList labels;
        for (const SheetArea& other : m.others) {
            const CellRect& r = other.rect;
            const QString label =
                toQString(rangeLabel(doc.sheets[other.sheet].name, r.col1, r.row1, r.col2, r.row2));
            labels << label;
            menu->addAction(label, this, [this, other] { goTo(other); });
        }
        button->setMenu(menu);
        button->setToolTip((m.incoming ? tr("Read from other sheets: %1") : tr("Read on other sheets by: %1"))
                               .arg(labels.join(QStringLiteral(", "))));
        button->show();
        buttons_.push_back(button);
    }
}

QRect TraceArrows::cellRect(int32_t col, int32_t row) const {
    const QAbstractItemModel* model = grid_.model();
    if (col < 0 || row < 0 || col >= model->columnCount() || row >= model->rowCount()) return {};
    return QRect(grid_.columnViewportPosition(col), grid_.rowViewportPosition(row), grid_.columnWidth(col),
                 grid_.rowHeight(row));
}

QRect TraceArrows::areaRect(const CellRect& rect) const {
    const QAbstractItemModel* model = grid_.model();
    const QRect first = cellRect(rect.col1, rect.row1);
    const QRect last =
        cellRect(std::min(rect.col2, model->columnCount() - 1), std::min(rect.row2, model->rowCount() - 1));
    if (first.isNull() || last.isNull()) return {};
    return first.united(last);
}

QRect TraceArrows::markerRect(const SheetMarker& marker) const {
    const QRect cell = cellRect(marker.cell.col, marker.cell.row);
    // Up and to the left of the cell it meets, as far as the viewport allows.
    const int x = std::max(2, cell.left() - kMarkerWidth - 14);
    const int y = std::max(2, cell.top() - kMarkerHeight - 6);
    return QRect(x, y, kMarkerWidth, kMarkerHeight);
}

void TraceArrows::place() {
    overlay_->setGeometry(grid_.viewport()->rect());
    overlay_->raise();
    for (size_t i = 0; i < buttons_.size() && i < markers_.size(); ++i) {
        const bool visible = !cellRect(markers_[i].cell.col, markers_[i].cell.row).isNull();
        buttons_[i]->setGeometry(markerRect(markers_[i]));
        buttons_[i]->setVisible(visible);
        buttons_[i]->raise();
    }
    overlay_->update();
}

std::string TraceArrows::formulaAt(const SheetCell& cell) const {
    const SumoraDocument& doc = context_.editor().document;
    if (cell.sheet >= doc.sheets.size()) return {};
    const Cell& c = doc.sheets[cell.sheet].cell(cell.row, cell.col);
    if (auto f = c.formula()) return std::string(*f);
    return std::string(c.value());
}

void TraceArrows::checkDocument() {
    if (traces_.empty()) return;
    const SumoraDocument& doc = context_.editor().document;
    bool changed =
        context_.editor().activeSheetIndex != static_cast<int64_t>(sheet_) || sheet_ >= doc.sheets.size();
    for (auto it = tracedFormulas_.begin(); !changed && it != tracedFormulas_.end(); ++it)
        changed = formulaAt(it->first) != it->second;
    if (changed)
        clear();
    else
        place();
}

void TraceArrows::goTo(const SheetArea& area) {
    selectOnSheet(context_, area.sheet, area.rect);
}

} // namespace sumora::app
