#include "formats/XlsxCommentsWriter.h"

#include <algorithm>
#include <tuple>

#include "document/ColumnLetters.h"
#include "document/Sheet.h"
#include "formats/XlsxWriterText.h"

namespace sumora::xlsx {

namespace {

// Shape ids are numbered in blocks of 1024 per drawing, as the legacy format has it.
constexpr int64_t kShapesPerBlock = 1024;

} // namespace

std::vector<SheetComment> sheetComments(const Sheet& sheet) {
    std::vector<SheetComment> comments;
    for (const auto& [address, text] : sheet.cellComments)
        if (auto at = parseCellAddress(address)) comments.push_back({at->col, at->row, text});
    std::sort(comments.begin(), comments.end(), [](const SheetComment& a, const SheetComment& b) {
        return std::tie(a.row, a.col) < std::tie(b.row, b.col);
    });
    // Two keys naming one cell ("B7" and "$B$7"): the first wins.
    comments.erase(std::unique(comments.begin(), comments.end(),
                               [](const SheetComment& a, const SheetComment& b) {
                                   return a.row == b.row && a.col == b.col;
                               }),
                   comments.end());
    return comments;
}

std::string commentsXml(const std::vector<SheetComment>& comments) {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                      "<comments xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
                      "<authors><author>Sumora</author></authors><commentList>";
    for (const SheetComment& c : comments) {
        out += "<comment ref=\"";
        appendCellRef(out, {c.col, c.row});
        out += "\" authorId=\"0\"><text><r><t";
        if (needsSpacePreserve(c.text)) out += " xml:space=\"preserve\"";
        out += '>';
        appendStringText(out, c.text);
        out += "</t></r></text></comment>";
    }
    out += "</commentList></comments>";
    return out;
}

std::string vmlDrawingXml(const std::vector<SheetComment>& comments, int64_t sheetNumber) {
    std::string out =
        "<xml xmlns:v=\"urn:schemas-microsoft-com:vml\" xmlns:o=\"urn:schemas-microsoft-com:office:office\" "
        "xmlns:x=\"urn:schemas-microsoft-com:office:excel\">"
        "<o:shapelayout v:ext=\"edit\"><o:idmap v:ext=\"edit\" data=\"";
    appendInt(out, sheetNumber);
    out +=
        "\"/></o:shapelayout>"
        "<v:shapetype id=\"_x0000_t202\" coordsize=\"21600,21600\" o:spt=\"202\" "
        "path=\"m,l,21600r21600,l21600,xe\">"
        "<v:stroke joinstyle=\"miter\"/><v:path gradientshapeok=\"t\" o:connecttype=\"rect\"/></v:shapetype>";
    int64_t shapeId = sheetNumber * kShapesPerBlock;
    for (size_t i = 0; i < comments.size(); ++i) {
        const SheetComment& c = comments[i];
        out += "<v:shape id=\"_x0000_s";
        appendInt(out, ++shapeId);
        out += "\" type=\"#_x0000_t202\" style=\"position:absolute;margin-left:59.25pt;margin-top:1.5pt;"
               "width:108pt;height:59.25pt;z-index:";
        appendInt(out, static_cast<int64_t>(i + 1));
        out += ";visibility:hidden\" fillcolor=\"#ffffe1\" o:insetmode=\"auto\">"
               "<v:fill color2=\"#ffffe1\"/><v:shadow on=\"t\" color=\"black\" obscured=\"t\"/>"
               "<v:path o:connecttype=\"none\"/><v:textbox style=\"mso-direction-alt:auto\">"
               "<div style=\"text-align:left\"></div></v:textbox>"
               "<x:ClientData ObjectType=\"Note\"><x:MoveWithCells/><x:SizeWithCells/><x:Anchor>";
        // Left column and offset, top row and offset, right column … : a box
        // beside the cell, two columns wide and four rows high.
        appendInt(out, c.col + 1);
        out += ", 15, ";
        appendInt(out, c.row);
        out += ", 2, ";
        appendInt(out, c.col + 3);
        out += ", 15, ";
        appendInt(out, c.row + 4);
        out += ", 16</x:Anchor><x:AutoFill>False</x:AutoFill><x:Row>";
        appendInt(out, c.row);
        out += "</x:Row><x:Column>";
        appendInt(out, c.col);
        out += "</x:Column></x:ClientData></v:shape>";
    }
    out += "</xml>";
    return out;
}

} // namespace sumora::xlsx
