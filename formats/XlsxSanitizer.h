#pragma once
// The repair pass over an XLSX package before it is read. Some producers
// write a part that begins with the XML declaration twice, which no XML
// parser accepts; such parts get a single declaration.
#include <optional>
#include <string>
#include <string_view>

namespace sumora {
class ZipReader;
}

namespace sumora::xlsx {

// The doubled declaration exactly as those producers write it.
inline constexpr std::string_view kXmlDeclaration =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";

// The package rebuilt with every doubled declaration in an ".xml" or ".rels"
// part replaced by a single one (each repaired part is logged), or nothing
// when no part needs it — the common case, which costs only a look at the
// beginning of each part (a declaration anywhere else would not make the
// part readable). Throws ArchiveError when a part cannot be read or the
// package cannot be rebuilt.
std::optional<std::string> repairDoubledDeclarations(ZipReader& source);

// The same for package bytes: the repaired bytes, or the input unchanged.
// Throws (after logging) when the bytes are not a readable archive.
std::string sanitizeXlsx(std::string_view bytes);

} // namespace sumora::xlsx
