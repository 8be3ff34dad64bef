#include "formats/XlsxDrawingReader.h"

#include <algorithm>
#include <charconv>

#include "formats/XlsxWorksheetReader.h"
#include "formats/XmlReader.h"

namespace sumora::xlsx {

namespace {

// A column and a row of the default size, in EMU (64 and 20 pixels).
constexpr int64_t kEmuPerPixel = 9525;
constexpr int64_t kDefaultColumnEmu = 64 * kEmuPerPixel;
constexpr int64_t kDefaultRowEmu = 20 * kEmuPerPixel;

int64_t number(std::string_view text) {
    int64_t value = 0;
    while (!text.empty() && (text.front() == ' ' || text.front() == '\n' || text.front() == '\t'))
        text.remove_prefix(1);
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

int64_t cellsFor(int64_t emu, int64_t cellEmu) {
    return std::max<int64_t>(1, (emu + cellEmu - 1) / cellEmu);
}

struct Marker {
    int64_t col = 0, colOff = 0, row = 0, rowOff = 0;
};

class AnchorHandler : public XmlHandler {
  public:
    void startElement(std::string_view name, const XmlAttributes& attributes) override {
        stack_.emplace_back(name);
        if (name == "from") marker_ = &from;
        if (name == "to") marker_ = &to;
        if (name == "chart" && !chartId) chartId = std::string(attributes.get("id").value_or(""));
        if (stack_.size() == 2 && name == "ext") {
            cx = number(attributes.get("cx").value_or("0"));
            cy = number(attributes.get("cy").value_or("0"));
            hasExt = true;
        }
        if (stack_.size() == 2 && name == "pos") {
            from.col = number(attributes.get("x").value_or("0")) / kDefaultColumnEmu;
            from.row = number(attributes.get("y").value_or("0")) / kDefaultRowEmu;
        }
    }
    void endElement(std::string_view name) override {
        if (name == "from" || name == "to") marker_ = nullptr;
        if (!stack_.empty()) stack_.pop_back();
    }
    void characters(std::string_view text) override {
        if (!marker_ || stack_.empty()) return;
        std::string_view top = stack_.back();
        if (top == "col") marker_->col = number(text);
        if (top == "colOff") marker_->colOff = number(text);
        if (top == "row") marker_->row = number(text);
        if (top == "rowOff") marker_->rowOff = number(text);
    }

    Marker from, to;
    int64_t cx = 0, cy = 0;
    bool hasExt = false;
    std::optional<std::string> chartId;

  private:
    std::vector<std::string> stack_;
    Marker* marker_ = nullptr;
};

} // namespace

std::optional<DrawingPart> readDrawingPart(std::string_view xml) {
    XmlHandler wellFormed; // the spans below assume it
    XmlReader::parse(xml, wellFormed);
    auto root = xml::rootChildren(xml);
    if (!root) return std::nullopt;
    DrawingPart part;
    part.rootStartTag = root->rootStartTag;
    for (const xml::ElementSpan& span : root->children) {
        AnchorHandler handler;
        XmlReader::parse(xml.substr(span.begin, span.end - span.begin), handler);
        DrawingAnchor anchor;
        anchor.span = span;
        if (handler.chartId && !handler.chartId->empty()) anchor.chartId = handler.chartId;
        anchor.col = handler.from.col;
        anchor.row = handler.from.row;
        if (span.localName() == "twoCellAnchor") {
            anchor.widthCols =
                std::max<int64_t>(1, handler.to.col - handler.from.col + (handler.to.colOff > 0));
            anchor.heightRows =
                std::max<int64_t>(1, handler.to.row - handler.from.row + (handler.to.rowOff > 0));
        } else if (handler.hasExt) {
            anchor.widthCols = cellsFor(handler.cx, kDefaultColumnEmu);
            anchor.heightRows = cellsFor(handler.cy, kDefaultRowEmu);
        }
        anchor.withinGrid = anchor.col >= 0 && anchor.row >= 0 && anchor.col < kMaxColumns &&
                            anchor.row < kMaxRows && handler.to.col >= 0 && handler.to.row >= 0 &&
                            handler.to.col < kMaxColumns && handler.to.row < kMaxRows;
        part.anchors.push_back(std::move(anchor));
    }
    return part;
}

} // namespace sumora::xlsx
