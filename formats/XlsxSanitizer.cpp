#include "formats/XlsxSanitizer.h"

#include <unordered_set>

#include "formats/XlsxPackage.h"
#include "formats/ZipArchive.h"
#include "values/Log.h"

namespace sumora::xlsx {

namespace {

bool endsWith(std::string_view s, std::string_view suffix) {
    return s.size() >= suffix.size() && s.substr(s.size() - suffix.size()) == suffix;
}

bool isXmlPart(const ZipEntry& entry) {
    return !entry.isDirectory && (endsWith(entry.path, ".xml") || endsWith(entry.path, ".rels"));
}

const std::string& doubledDeclaration() {
    static const std::string text = std::string(kXmlDeclaration) + "\n" + std::string(kXmlDeclaration);
    return text;
}

// Looks at the first piece the archive delivers of the part.
bool beginsDoubled(ZipReader& source, const std::string& path) {
    struct Seen {};
    bool doubled = false;
    try {
        source.stream(path, [&](std::string_view chunk) {
            doubled = chunk.find(doubledDeclaration()) != std::string_view::npos;
            throw Seen{};
        });
    } catch (const Seen&) {
    }
    return doubled;
}

bool replaceDoubled(std::string& text) {
    bool changed = false;
    const std::string& doubled = doubledDeclaration();
    for (size_t at = text.find(doubled); at != std::string::npos; at = text.find(doubled, at + 1)) {
        text.replace(at, doubled.size(), kXmlDeclaration);
        changed = true;
    }
    return changed;
}

} // namespace

std::optional<std::string> repairDoubledDeclarations(ZipReader& source) {
    bool needed = false;
    for (const ZipEntry& entry : source.entries())
        if (isXmlPart(entry) && beginsDoubled(source, entry.path)) {
            needed = true;
            break;
        }
    if (!needed) return std::nullopt;

    std::optional<ZipWriter> destination;
    try {
        destination.emplace();
    } catch (const std::exception& e) {
        Log::progress(std::string("  sanitizeXLSX: could not create destination archive: ") + e.what());
        throw;
    }
    std::unordered_set<std::string> written;
    for (const ZipEntry& entry : source.entries()) {
        // A name stored twice is read as its first entry; keep that one.
        if (!written.insert(entry.path).second) continue;
        if (entry.isDirectory) {
            destination->addDirectory(entry.path);
            continue;
        }
        std::string content = readPart(source, entry.path);
        if (isXmlPart(entry) && replaceDoubled(content))
            Log::progress("  sanitizeXLSX: fixed double declaration in " + entry.path);
        destination->add(entry.path, std::move(content), Compression::deflate, 1);
    }
    return destination->finish();
}

std::string sanitizeXlsx(std::string_view bytes) {
    std::optional<ZipReader> source;
    try {
        source.emplace(bytes);
    } catch (const std::exception& e) {
        Log::progress(std::string("  sanitizeXLSX: could not open source archive: ") + e.what());
        throw;
    }
    auto repaired = repairDoubledDeclarations(*source);
    return repaired ? std::move(*repaired) : std::string(bytes);
}

} // namespace sumora::xlsx
