// The package: "mimetype" first and stored (so that a file type sniffer
// finds it at a fixed offset), the manifest, metadata, a fixed style sheet,
// and the content. The content of a big workbook runs to hundreds of
// megabytes: it is deflated at a fast level, in pieces on the other cores
// while its rows are written, and never held whole.
#include "formats/OdsWriter.h"

#include <charconv>
#include <cmath>
#include <unordered_map>

#include "document/HexColor.h"
#include "document/SumoraDocument.h"
#include "engine/FormulaValue.h"
#include "formats/DeflatePieces.h"
#include "formats/FileErrors.h"
#include "formats/OdsFormat.h"
#include "formats/OdsFormulaTranslation.h"
#include "formats/XmlWriter.h"
#include "formats/ZipArchive.h"
#include "values/StrictNumber.h"

namespace sumora {

namespace {

constexpr std::string_view kMimeType = "application/vnd.oasis.opendocument.spreadsheet";
// Fast deflate: content parts of big workbooks run to hundreds of megabytes.
constexpr int kContentCompressionLevel = 1;

constexpr std::string_view kManifest =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<manifest:manifest xmlns:manifest=\"urn:oasis:names:tc:opendocument:xmlns:manifest:1.0\" "
    "manifest:version=\"1.2\">"
    "<manifest:file-entry manifest:media-type=\"application/vnd.oasis.opendocument.spreadsheet\" "
    "manifest:version=\"1.2\" manifest:full-path=\"/\"/>"
    "<manifest:file-entry manifest:media-type=\"text/xml\" manifest:full-path=\"content.xml\"/>"
    "<manifest:file-entry manifest:media-type=\"text/xml\" manifest:full-path=\"styles.xml\"/>"
    "<manifest:file-entry manifest:media-type=\"text/xml\" manifest:full-path=\"meta.xml\"/>"
    "</manifest:manifest>";

constexpr std::string_view kStyles =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<office:document-styles xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
    "xmlns:style=\"urn:oasis:names:tc:opendocument:xmlns:style:1.0\" "
    "xmlns:fo=\"urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0\" office:version=\"1.2\">"
    "<office:styles><style:default-style style:family=\"table-cell\">"
    "<style:text-properties fo:font-family=\"Calibri\" fo:font-size=\"11pt\"/>"
    "</style:default-style></office:styles></office:document-styles>";

constexpr std::string_view kContentStart =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<office:document-content xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
    "xmlns:text=\"urn:oasis:names:tc:opendocument:xmlns:text:1.0\" "
    "xmlns:table=\"urn:oasis:names:tc:opendocument:xmlns:table:1.0\" "
    "xmlns:style=\"urn:oasis:names:tc:opendocument:xmlns:style:1.0\" "
    "xmlns:fo=\"urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0\" "
    "xmlns:of=\"urn:oasis:names:tc:opendocument:xmlns:of:1.2\" "
    "xmlns:number=\"urn:oasis:names:tc:opendocument:xmlns:datastyle:1.0\" office:version=\"1.2\">";

// The factor turns pixels into millimetres, yet the unit written is the
// centimetre: files already saved, and the reader's inverse, depend on
// exactly this pair, so both stay.
constexpr double kWidthFactor = 0.264583;

void appendInteger(std::string& out, int64_t n) {
    char buffer[24];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, n);
    out.append(buffer, end);
}

// The shortest text that reads back as the same number ("16", "1e+20").
void appendShortest(std::string& out, double x) {
    char buffer[32];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, x);
    out.append(buffer, ec == std::errc() ? end : buffer);
}

// Three decimals with a point whatever the process locale ("2.540").
void appendFixed3(std::string& out, double x) {
    char buffer[400]; // room for every finite double
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, x, std::chars_format::fixed, 3);
    out.append(buffer, ec == std::errc() ? end : buffer);
}

// Whether a text already is a number as xsd:double writes it, so that it can
// stand in office:value unchanged.
bool isXsdDecimal(std::string_view t) {
    size_t i = 0;
    if (i < t.size() && (t[i] == '+' || t[i] == '-')) ++i;
    size_t digits = 0;
    while (i < t.size() && t[i] >= '0' && t[i] <= '9')
        ++i, ++digits;
    if (i < t.size() && t[i] == '.') {
        ++i;
        while (i < t.size() && t[i] >= '0' && t[i] <= '9')
            ++i, ++digits;
    }
    if (digits == 0) return false;
    if (i < t.size() && (t[i] == 'e' || t[i] == 'E')) {
        ++i;
        if (i < t.size() && (t[i] == '+' || t[i] == '-')) ++i;
        size_t exponent = i;
        while (i < t.size() && t[i] >= '0' && t[i] <= '9')
            ++i;
        if (i == exponent) return false;
    }
    return i == t.size();
}

// One paragraph's text. Runs of spaces, spaces at either end and tabs are
// elements: a reader of the format collapses white space in plain text.
void appendParagraphText(std::string& out, std::string_view line) {
    bool plain = line.find('\t') == std::string_view::npos && line.find("  ") == std::string_view::npos &&
                 (line.empty() || (line.front() != ' ' && line.back() != ' '));
    if (plain) {
        appendXmlEscaped(out, line);
        return;
    }
    size_t i = 0;
    while (i < line.size()) {
        size_t special = line.find_first_of(" \t", i);
        if (special == std::string_view::npos) special = line.size();
        appendXmlEscaped(out, line.substr(i, special - i));
        if (special == line.size()) break;
        if (line[special] == '\t') {
            out += "<text:tab/>";
            i = special + 1;
            continue;
        }
        size_t end = line.find_first_not_of(' ', special);
        if (end == std::string_view::npos) end = line.size();
        int64_t spaces = static_cast<int64_t>(end - special);
        if (special > 0 && end < line.size()) {
            out += ' ';
            --spaces;
        }
        if (spaces == 1) {
            out += "<text:s/>";
        } else if (spaces > 1) {
            out += "<text:s text:c=\"";
            appendInteger(out, spaces);
            out += "\"/>";
        }
        i = end;
    }
}

// Line feeds separate paragraphs.
void appendParagraphs(std::string& out, std::string_view text) {
    size_t start = 0;
    while (true) {
        size_t lineFeed = text.find('\n', start);
        out += "<text:p>";
        appendParagraphText(
            out, text.substr(start, lineFeed == std::string_view::npos ? lineFeed : lineFeed - start));
        out += "</text:p>";
        if (lineFeed == std::string_view::npos) break;
        start = lineFeed + 1;
    }
}

// The automatic styles of one package: cell styles by key, column styles by
// width, both numbered in the order they are first met. Complete once built,
// so that several threads may look styles up at once.
class StyleTable {
  public:
    explicit StyleTable(const std::vector<Sheet>& sheets) {
        for (const Sheet& sheet : sheets) {
            const CellFormat* last = nullptr;
            for (int64_t r = 0; r < sheet.storedRowCount(); ++r)
                for (int64_t c = 0; c < sheet.storedColumnCount(r); ++c) {
                    const CellFormat* format = sheet.cell(r, c).formatHandle();
                    if (format && format != last) collect(format);
                    last = format;
                }
            for (const auto& [column, width] : sheet.columnWidths) {
                (void)column;
                widths_.try_emplace(width, static_cast<int>(widths_.size()) + 1);
                if (widthOrder_.size() < widths_.size()) widthOrder_.push_back(width);
            }
        }
    }

    // 0 for a cell that needs no style, else N of "ceN".
    int cellStyle(const CellFormat* format) const { return format ? byFormat_.at(format) : 0; }
    int columnStyle(double width) const { return widths_.at(width); }

    const std::vector<ODSWriter::CellStyleKey>& keys() const { return keys_; }
    const std::vector<double>& widths() const { return widthOrder_; }

  private:
    void collect(const CellFormat* format) {
        auto [it, inserted] = byFormat_.try_emplace(format, 0);
        if (!inserted) return;
        ODSWriter::CellStyleKey key = ODSWriter::CellStyleKey::of(*format);
        if (key.isPlain()) return;
        auto [k, added] = byKey_.try_emplace(key, static_cast<int>(keys_.size()) + 1);
        if (added) keys_.push_back(key);
        it->second = k->second;
    }

    std::unordered_map<const CellFormat*, int> byFormat_;
    std::unordered_map<ODSWriter::CellStyleKey, int, ODSWriter::CellStyleKeyHash> byKey_;
    std::vector<ODSWriter::CellStyleKey> keys_;
    std::unordered_map<double, int> widths_;
    std::vector<double> widthOrder_;
};

// One writer's view of the style table: neighbouring cells mostly share a
// format, so the last answer is kept.
class StyleLookup {
  public:
    explicit StyleLookup(const StyleTable& table) : table_(table) {}
    int operator()(const CellFormat* format) {
        if (format != last_) {
            last_ = format;
            style_ = table_.cellStyle(format);
        }
        return style_;
    }

  private:
    const StyleTable& table_;
    const CellFormat* last_ = nullptr;
    int style_ = 0;
};

void appendAutomaticStyles(std::string& out, const StyleTable& styles) {
    out += "<office:automatic-styles>";
    for (size_t i = 0; i < styles.keys().size(); ++i) {
        out += "<style:style style:name=\"ce";
        appendInteger(out, static_cast<int64_t>(i + 1));
        out += "\" style:family=\"table-cell\">";
        out += ODSWriter::cellStyleProperties(styles.keys()[i]);
        out += "</style:style>";
    }
    for (size_t i = 0; i < styles.widths().size(); ++i) {
        out += "<style:style style:name=\"co";
        appendInteger(out, static_cast<int64_t>(i + 1));
        out += "\" style:family=\"table-column\"><style:table-column-properties style:column-width=\"";
        appendFixed3(out, styles.widths()[i] * kWidthFactor);
        out += "cm\"/></style:style>";
    }
    out += "</office:automatic-styles>";
}

void appendEmptyCells(std::string& out, int64_t count) {
    if (count <= 0) return;
    if (count == 1) {
        out += "<table:table-cell/>";
        return;
    }
    out += "<table:table-cell table:number-columns-repeated=\"";
    appendInteger(out, count);
    out += "\"/>";
}

// The block a formula's spilled result fills, as the format's matrix span:
// other programs then show the whole result, and reading marks the block's
// values as the formula's.
void appendMatrixSpan(std::string& out, const Sheet& sheet, int64_t row, int64_t col) {
    // Spilled cells beside an ordinary formula belong to another one's block.
    if (!sheet.cell(row, col).isArrayAnchor()) return;
    auto spilled = [&](int64_t r, int64_t c) {
        const Cell& cell = sheet.cell(r, c);
        return cell.isSpillResult() && !cell.hasFormula();
    };
    int64_t lastCol = col, lastRow = row;
    while (lastCol + 1 < sheet.storedColumnCount(row) && spilled(row, lastCol + 1))
        ++lastCol;
    while (lastRow + 1 < sheet.storedRowCount() && spilled(lastRow + 1, col))
        ++lastRow;
    if (lastCol == col && lastRow == row) return;
    out += " table:number-matrix-columns-spanned=\"";
    appendInteger(out, lastCol - col + 1);
    out += "\" table:number-matrix-rows-spanned=\"";
    appendInteger(out, lastRow - row + 1);
    out += '"';
}

void appendCell(std::string& out, const Sheet& sheet, int64_t row, int64_t col, const Cell& cell, int style) {
    out += "<table:table-cell";
    if (style) {
        out += " table:style-name=\"ce";
        appendInteger(out, style);
        out += '"';
    }
    bool formula = cell.hasFormula();
    if (formula) {
        std::string_view source = *cell.formula();
        if (!source.empty() && source.front() == '=') source.remove_prefix(1);
        out += " table:formula=\"of:=";
        appendXmlEscaped(out, ods::openFormulaFromFormula(source), XmlContext::attribute);
        out += '"';
        appendMatrixSpan(out, sheet, row, col);
    }
    std::string_view text = cell.displayValue();
    if (text.empty() && !formula) {
        out += "/>";
        return;
    }
    auto number = parseStrictNumber(text);
    if (number && std::isfinite(*number)) {
        out += " office:value-type=\"float\" office:value=\"";
        if (isXsdDecimal(text))
            out.append(text);
        else
            appendShortest(out, *number);
        out += "\">";
    } else {
        out += " office:value-type=\"string\">";
    }
    appendParagraphs(out, text);
    out += "</table:table-cell>";
}

// A row of nothing to write (also what a table without rows gets).
void appendEmptyRows(std::string& out, int64_t count) {
    if (count <= 0) return;
    if (count == 1) {
        out += "<table:table-row><table:table-cell/></table:table-row>";
        return;
    }
    out += "<table:table-row table:number-rows-repeated=\"";
    appendInteger(out, count);
    out += "\"><table:table-cell/></table:table-row>";
}

// A table's rows, handed to the deflater as they are written. Runs of empty
// rows are one element each; those after the last row with content are left
// out, and a table without any gets one empty row.
void appendRows(PieceDeflater& part, const Sheet& sheet, const StyleTable& table) {
    StyleLookup styleOf(table);
    std::string& out = part.text();
    int64_t emptyRows = 0;
    bool anyRow = false;
    for (int64_t r = 0; r < sheet.storedRowCount(); ++r) {
        bool any = false;
        int64_t emptyCells = 0;
        for (int64_t c = 0; c < sheet.storedColumnCount(r); ++c) {
            const Cell& cell = sheet.cell(r, c);
            int style = styleOf(cell.formatHandle());
            if (!style && !cell.hasFormula() && cell.displayValue().empty()) {
                ++emptyCells;
                continue;
            }
            if (!any) {
                appendEmptyRows(out, emptyRows);
                emptyRows = 0;
                out += "<table:table-row>";
                any = anyRow = true;
            }
            appendEmptyCells(out, emptyCells);
            emptyCells = 0;
            appendCell(out, sheet, r, c, cell, style);
        }
        if (any)
            out += "</table:table-row>";
        else
            ++emptyRows;
        part.pieceMayEnd();
    }
    if (!anyRow) appendEmptyRows(out, 1);
}

void appendTable(PieceDeflater& part, const Sheet& sheet, const StyleTable& styles) {
    std::string& out = part.text();
    out += "<table:table table:name=\"";
    appendXmlEscaped(out, sheet.name, XmlContext::attribute);
    out += "\">";

    int64_t columns = std::max<int64_t>(sheet.columnCount(), 1);
    for (int64_t r = 0; r < sheet.storedRowCount(); ++r)
        columns = std::max(columns, sheet.storedColumnCount(r));
    if (!sheet.columnWidths.empty()) columns = std::max(columns, sheet.columnWidths.rbegin()->first + 1);
    for (int64_t c = 0; c < columns; ++c) {
        auto width = sheet.columnWidths.find(c);
        if (width == sheet.columnWidths.end()) {
            out += "<table:table-column/>";
        } else {
            out += "<table:table-column table:style-name=\"co";
            appendInteger(out, styles.columnStyle(width->second));
            out += "\"/>";
        }
    }

    appendRows(part, sheet, styles);
    out += "</table:table>";
}

} // namespace

ODSWriter::CellStyleKey ODSWriter::CellStyleKey::of(const CellFormat& f) {
    CellStyleKey key;
    key.bold = f.isBold;
    key.italic = f.isItalic;
    key.underline = f.isUnderline;
    key.strike = f.isStrikethrough;
    key.fontName = f.fontName.value_or("");
    key.fontSize = f.fontSize.value_or(0);
    key.fontColor = f.fontColor.value_or("");
    key.fillColor = f.fillColor.value_or("");
    key.alignment = std::string(rawText(f.alignment));
    return key;
}

bool ODSWriter::CellStyleKey::isPlain() const {
    return *this == CellStyleKey();
}

size_t ODSWriter::CellStyleKeyHash::operator()(const CellStyleKey& k) const {
    size_t h = std::hash<std::string>{}(k.fontName);
    auto mix = [&h](size_t v) { h ^= v + 0x9E3779B97F4A7C15ULL + (h << 6) + (h >> 2); };
    mix(std::hash<std::string>{}(k.fontColor));
    mix(std::hash<std::string>{}(k.fillColor));
    mix(std::hash<std::string>{}(k.alignment));
    mix(std::hash<double>{}(k.fontSize));
    mix(static_cast<size_t>(k.bold) | static_cast<size_t>(k.italic) << 1 |
        static_cast<size_t>(k.underline) << 2 | static_cast<size_t>(k.strike) << 3);
    return h;
}

std::string ODSWriter::cellStyleProperties(const CellStyleKey& key) {
    std::string out = "<style:text-properties";
    if (key.bold) out += " fo:font-weight=\"bold\"";
    if (key.italic) out += " fo:font-style=\"italic\"";
    if (key.underline) out += " style:text-underline-style=\"solid\" style:text-underline-width=\"auto\"";
    if (key.strike) out += " style:text-line-through-style=\"solid\"";
    if (!key.fontName.empty()) {
        out += " fo:font-family=\"";
        appendXmlEscaped(out, key.fontName, XmlContext::attribute);
        out += '"';
    }
    if (key.fontSize > 0) {
        out += " fo:font-size=\"";
        appendShortest(out, key.fontSize);
        out += "pt\"";
    }
    if (!key.fontColor.empty()) {
        out += " fo:color=\"#";
        appendXmlEscaped(out, withoutHash(key.fontColor), XmlContext::attribute);
        out += '"';
    }
    out += "/>";
    bool fill = key.alignment == "fill";
    if (!key.fillColor.empty() || fill) {
        out += "<style:table-cell-properties";
        if (!key.fillColor.empty()) {
            out += " fo:background-color=\"#";
            appendXmlEscaped(out, withoutHash(key.fillColor), XmlContext::attribute);
            out += '"';
        }
        // The format has no "fill" alignment; repeating the content is what it means.
        if (fill) out += " style:repeat-content=\"true\"";
        out += "/>";
    }
    std::string_view align = key.alignment == "left"      ? "start"
                             : key.alignment == "right"   ? "end"
                             : key.alignment == "center"  ? "center"
                             : key.alignment == "justify" ? "justify"
                                                          : "";
    if (!align.empty()) {
        out += "<style:paragraph-properties fo:text-align=\"";
        out += align;
        out += "\"/>";
    }
    return out;
}

std::string ODSWriter::metaXML(std::time_t now) {
    std::tm utc{};
    gmtime_r(&now, &utc);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%SZ", &utc);
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<office:document-meta xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
        "xmlns:meta=\"urn:oasis:names:tc:opendocument:xmlns:meta:1.0\" "
        "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" office:version=\"1.2\"><office:meta>"
        "<meta:generator>Sumora/1.0</meta:generator><meta:creation-date>";
    out += stamp;
    out += "</meta:creation-date><dc:date>";
    out += stamp;
    out += "</dc:date></office:meta></office:document-meta>";
    return out;
}

DeflatedPart ODSWriter::deflatedContent(const std::vector<Sheet>& sheets) {
    StyleTable styles(sheets);
    PieceDeflater part(kContentCompressionLevel, kContentCompressionLevel);
    std::string& out = part.text();
    out += kContentStart;
    appendAutomaticStyles(out, styles);
    out += "<office:body><office:spreadsheet>";
    for (const Sheet& sheet : sheets)
        appendTable(part, sheet, styles);
    out += "</office:spreadsheet></office:body></office:document-content>";
    return part.finish();
}

std::string ODSWriter::write(const std::vector<Sheet>& sheets) {
    std::string bytes;
    try {
        ZipWriter zip;
        zip.add("mimetype", kMimeType, Compression::store);
        zip.add("META-INF/manifest.xml", kManifest);
        zip.add("meta.xml", metaXML());
        zip.add("styles.xml", kStyles);
        zip.addDeflated("content.xml", deflatedContent(sheets));
        bytes = zip.finish();
    } catch (const ArchiveError& e) {
        throw FileWriteError(std::string("ODS export failed: ") + e.what());
    }
    if (bytes.empty()) throw FileWriteError("ODS export produced empty data.");
    if (bytes.size() < 2 || bytes[0] != 'P' || bytes[1] != 'K')
        throw FileWriteError("ODS export produced invalid archive (missing ZIP signature).");
    return bytes;
}

std::string writeOds(const std::vector<Sheet>& sheets) {
    return ODSWriter::write(sheets);
}

} // namespace sumora
