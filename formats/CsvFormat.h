#pragma once
// Comma-separated text: one sheet of plain texts, UTF-8, always commas.
// Reading is deliberately simple (quotes are dropped, not unescaped; blank
// lines vanish); writing writes displayed values and quotes where needed.
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "document/SumoraDocument.h"

namespace sumora {

std::vector<std::string> parseCSVLine(std::string_view line);
// Throws FileReadError (inapplicable encoding) when the bytes are not UTF-8.
SumoraDocument readCsvDocument(std::string_view bytes);
// The first sheet's stored rows; empty data without sheets.
std::string writeCsv(const SumoraDocument& document);
// The same bytes handed to `sink` in pieces of about a megabyte.
void writeCsv(const SumoraDocument& document, const std::function<void(std::string_view)>& sink);
// One CSV field as the writer writes it (quoted when it holds , " or LF).
void appendCsvField(std::string& out, std::string_view text);

} // namespace sumora
