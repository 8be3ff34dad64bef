#include "formats/OdsHyperlinks.h"

#include "document/ColumnLetters.h"

namespace sumora::ods {

namespace {

// "$Sheet2.$A$1" or "Sheet2.A1:B2" → "Sheet2!A1": the separator before the
// cell part becomes "!"; a name (no cell part) stays as it is.
std::string locationFromOds(std::string_view text) {
    size_t dot = text.rfind('.');
    if (dot == std::string_view::npos || text.find('!') != std::string_view::npos) return std::string(text);
    std::string_view cell = text.substr(dot + 1);
    if (!parseCellAddress(cell.substr(0, cell.find(':')))) return std::string(text);
    std::string sheet(text.substr(0, dot));
    if (!sheet.empty() && sheet.front() == '$') sheet.erase(0, 1);
    bool quoted = sheet.size() >= 2 && sheet.front() == '\'' && sheet.back() == '\'';
    bool plain = sheet.find_first_of(" -'()&,;") == std::string::npos;
    if (!quoted && !plain) sheet = "'" + sheet + "'";
    return sheet + "!" + std::string(cell);
}

} // namespace

CellHyperlink hyperlinkFromHref(std::string_view href) {
    CellHyperlink link;
    if (!href.empty() && href.front() == '#')
        link.location = locationFromOds(href.substr(1));
    else
        link.target = std::string(href);
    return link;
}

} // namespace sumora::ods
