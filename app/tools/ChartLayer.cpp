#include "app/tools/ChartLayer.h"

#include <QEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <QVBoxLayout>

#include "app/SheetGridView.h"
#include "app/tools/ChartInsertion.h"
#include "app/tools/ChartView.h"
#include "app/tools/ToolSupport.h"
#include "values/Log.h"

#if SUMORA_HAVE_QT_CHARTS
#include <QChartView>
#endif

namespace sumora::app {

namespace {

constexpr int kGrip = 14; // the lower right square that resizes

} // namespace

// ---- one chart's frame -----------------------------------------------------

ChartFrame::ChartFrame(std::string chartId, QWidget* parent) : QFrame(parent), id_(std::move(chartId)) {
    setObjectName(QStringLiteral("chartFrame"));
    setFocusPolicy(Qt::ClickFocus);
    setFrameShape(QFrame::Box);
    setSelected(false);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(1, 1, 1, 1);
    view_ = new ChartView(this);
    layout->addWidget(view_);
    // Mouse gestures reach the frame through the chart's own viewport.
#if SUMORA_HAVE_QT_CHARTS
    view_->chartView()->viewport()->installEventFilter(this);
    view_->chartView()->viewport()->setMouseTracking(true);
#else
    view_->installEventFilter(this);
#endif
}

void ChartFrame::setSelected(bool selected) {
    setStyleSheet(selected ? QStringLiteral("#chartFrame { border: 2px solid #1A73E8; background: white; }")
                           : QStringLiteral("#chartFrame { border: 1px solid #C8C8CC; background: white; }"));
}

bool ChartFrame::eventFilter(QObject* watched, QEvent* event) {
    auto* source = qobject_cast<QWidget*>(watched);
    if (!source) return false;
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        auto* e = static_cast<QMouseEvent*>(event);
        if (e->button() != Qt::LeftButton) return false;
        setFocus();
        emit pressed();
        const QPoint inFrame = source->mapTo(this, e->position().toPoint());
        drag_ = inFrame.x() > width() - kGrip && inFrame.y() > height() - kGrip ? Drag::resize : Drag::move;
        grabOffset_ = inFrame;
        startGeometry_ = geometry();
        return true;
    }
    case QEvent::MouseMove: {
        auto* e = static_cast<QMouseEvent*>(event);
        const QPoint inFrame = source->mapTo(this, e->position().toPoint());
        if (drag_ == Drag::none) {
            const bool onGrip = inFrame.x() > width() - kGrip && inFrame.y() > height() - kGrip;
            source->setCursor(onGrip ? Qt::SizeFDiagCursor : Qt::OpenHandCursor);
            return false;
        }
        const QPoint inParent = source->mapTo(parentWidget(), e->position().toPoint());
        if (drag_ == Drag::move) {
            move(inParent - grabOffset_);
        } else {
            const QPoint delta = inFrame - grabOffset_;
            resize(std::max(80, startGeometry_.width() + delta.x()),
                   std::max(60, startGeometry_.height() + delta.y()));
        }
        return true;
    }
    case QEvent::MouseButtonRelease: {
        if (drag_ == Drag::none) return false;
        const bool changed = geometry() != startGeometry_;
        drag_ = Drag::none;
        if (changed) emit released(geometry());
        return true;
    }
    case QEvent::MouseButtonDblClick:
        emit editRequested();
        return true;
    default:
        return false;
    }
}

void ChartFrame::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) {
        emit deleteRequested();
        return;
    }
    QFrame::keyPressEvent(event);
}

// ---- the layer -----------------------------------------------------------

void storeChart(DocumentContext& context, const EmbeddedChart& chart, const std::string& actionName,
                bool remove) {
    const Sheet* sheet = context.editor().activeSheet();
    if (!sheet) return;
    std::vector<EmbeddedChart> charts = sheet->charts;
    auto it =
        std::find_if(charts.begin(), charts.end(), [&](const EmbeddedChart& c) { return c.id == chart.id; });
    if (remove) {
        if (it == charts.end()) return;
        charts.erase(it);
    } else if (it != charts.end()) {
        *it = chart;
    } else {
        charts.push_back(chart);
    }
    replaceSheetRules(context, &Sheet::charts, std::move(charts), actionName);
}

ChartLayer::ChartLayer(DocumentContext& context, SheetGridView& grid)
    : QObject(&grid), context_(context), grid_(grid) {
    QAbstractItemModel* model = grid_.model();
    connect(model, &QAbstractItemModel::dataChanged, this, &ChartLayer::refresh);
    connect(model, &QAbstractItemModel::modelReset, this, &ChartLayer::refresh);
    connect(model, &QAbstractItemModel::layoutChanged, this, &ChartLayer::refresh);
    connect(grid_.horizontalScrollBar(), &QScrollBar::valueChanged, this, &ChartLayer::place);
    connect(grid_.verticalScrollBar(), &QScrollBar::valueChanged, this, &ChartLayer::place);
    connect(grid_.horizontalHeader(), &QHeaderView::sectionResized, this, &ChartLayer::place);
    connect(grid_.verticalHeader(), &QHeaderView::sectionResized, this, &ChartLayer::place);
    connect(grid_.horizontalHeader(), &QHeaderView::geometriesChanged, this, &ChartLayer::place);
    refresh();
}

ChartFrame* ChartLayer::frameFor(const std::string& chartId) const {
    auto it = frames_.find(chartId);
    return it == frames_.end() ? nullptr : it->second.data();
}

void ChartLayer::refresh() {
    const Sheet* sheet = context_.editor().activeSheet();
    std::map<std::string, QPointer<ChartFrame>> kept;
    if (sheet) {
        for (const EmbeddedChart& chart : sheet->charts) {
            QPointer<ChartFrame> frame;
            if (auto it = frames_.find(chart.id); it != frames_.end() && it->second) {
                frame = it->second;
                frames_.erase(it);
            } else {
                frame = new ChartFrame(chart.id, grid_.viewport());
                const std::string id = chart.id;
                connect(frame, &ChartFrame::pressed, this, [this, id] { select(id); });
                connect(frame, &ChartFrame::released, this,
                        [this, id](const QRect& geometry) { commitGeometry(id, geometry); });
                connect(frame, &ChartFrame::editRequested, this, [this, id] { editChart(id); });
                connect(frame, &ChartFrame::deleteRequested, this, [this, id] { deleteChart(id); });
                frame->show();
            }
            frame->view()->showChart(chart, *sheet);
            kept.emplace(chart.id, frame);
        }
    }
    for (auto& [id, frame] : frames_)
        delete frame.data();
    frames_ = std::move(kept);
    place();
}

QRect ChartLayer::geometryFor(const EmbeddedChart& chart) const {
    const int col = static_cast<int>(chart.anchorCol), row = static_cast<int>(chart.anchorRow);
    int width = 0, height = 0;
    for (int c = col; c < col + chart.widthCols; ++c)
        width += grid_.columnWidth(c);
    for (int r = row; r < row + chart.heightRows; ++r)
        height += grid_.rowHeight(r);
    return QRect(grid_.columnViewportPosition(col), grid_.rowViewportPosition(row), std::max(width, 80),
                 std::max(height, 60));
}

void ChartLayer::place() {
    const Sheet* sheet = context_.editor().activeSheet();
    if (!sheet) return;
    for (const EmbeddedChart& chart : sheet->charts) {
        ChartFrame* frame = frameFor(chart.id);
        if (!frame) continue;
        frame->setGeometry(geometryFor(chart));
        frame->raise();
    }
}

void ChartLayer::select(const std::string& chartId) {
    selected_ = chartId;
    for (auto& [id, frame] : frames_)
        if (frame) frame->setSelected(id == chartId);
}

void ChartLayer::commitGeometry(const std::string& chartId, const QRect& geometry) {
    const Sheet* sheet = context_.editor().activeSheet();
    if (!sheet) return;
    auto it = std::find_if(sheet->charts.begin(), sheet->charts.end(),
                           [&](const EmbeddedChart& c) { return c.id == chartId; });
    if (it == sheet->charts.end()) return;
    EmbeddedChart chart = *it;
    const int lastCol = grid_.model()->columnCount() - 1, lastRow = grid_.model()->rowCount() - 1;
    auto columnAt = [&](int x) {
        const int c = grid_.columnAt(x);
        return c >= 0 ? c : (x < 0 ? 0 : lastCol);
    };
    auto rowAt = [&](int y) {
        const int r = grid_.rowAt(y);
        return r >= 0 ? r : (y < 0 ? 0 : lastRow);
    };
    // The nearest cell edges: a corner past the middle of a cell takes the next.
    int left = columnAt(geometry.left());
    if (geometry.left() > grid_.columnViewportPosition(left) + grid_.columnWidth(left) / 2 && left < lastCol)
        ++left;
    int top = rowAt(geometry.top());
    if (geometry.top() > grid_.rowViewportPosition(top) + grid_.rowHeight(top) / 2 && top < lastRow) ++top;
    int right = columnAt(geometry.right());
    if (geometry.right() < grid_.columnViewportPosition(right) + grid_.columnWidth(right) / 2) --right;
    int bottom = rowAt(geometry.bottom());
    if (geometry.bottom() < grid_.rowViewportPosition(bottom) + grid_.rowHeight(bottom) / 2) --bottom;

    const bool resized = geometry.size() != geometryFor(chart).size();
    chart.anchorCol = left;
    chart.anchorRow = top;
    if (resized) {
        chart.widthCols = std::max(1, right - left + 1);
        chart.heightRows = std::max(1, bottom - top + 1);
    }
    Log::debug("Chart moved to " +
               toStdString(rangeText({chart.anchorCol, chart.anchorRow, chart.anchorCol, chart.anchorRow})));
    storeChart(context_, chart, resized ? "Resize Chart" : "Move Chart");
    place();
}

void ChartLayer::deleteChart(const std::string& chartId) {
    EmbeddedChart chart;
    chart.id = chartId;
    storeChart(context_, chart, "Delete Chart", true);
}

void ChartLayer::editChart(const std::string& chartId) {
    const Sheet* sheet = context_.editor().activeSheet();
    if (!sheet) return;
    for (const EmbeddedChart& chart : sheet->charts)
        if (chart.id == chartId) {
            ChartInsertionDialog dialog(context_, chart, context_.window());
            if (dialog.exec() == QDialog::Accepted) dialog.apply();
            return;
        }
}

} // namespace sumora::app
