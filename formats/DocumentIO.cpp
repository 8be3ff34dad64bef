#include "formats/DocumentIO.h"

#include <algorithm>
#include <new>

#include "engine/Recalculation.h"
#include "formats/CsvFormat.h"
#include "formats/DocumentLock.h"
#include "formats/FileBytes.h"
#include "formats/FileErrors.h"
#include "formats/FileReplacement.h"
#include "formats/OdsFormat.h"
#include "formats/SaveLosses.h"
#include "formats/XlsxFormat.h"
#include "functions/BuiltinFunctions.h"
#include "values/Log.h"

namespace sumora {

namespace {

std::string lowerExtension(std::string_view filename) {
    auto dot = filename.rfind('.');
    auto slash = filename.find_last_of("/\\");
    if (dot == std::string_view::npos || (slash != std::string_view::npos && dot < slash)) return {};
    std::string ext(filename.substr(dot + 1));
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    return ext;
}

// What a reader that ran out of memory reports, inside its format's message.
constexpr std::string_view kOutOfMemoryText = "the file needs more memory than is available.";

SumoraDocument openCsv(std::string_view bytes) {
    try {
        return readCsvDocument(bytes);
    } catch (const std::bad_alloc&) {
        throw FileReadError(FileReadError::Code::corruptFile,
                            "Could not open this CSV file: " + std::string(kOutOfMemoryText));
    }
}

bool contains(std::string_view haystack, std::string_view needle) {
    return haystack.find(needle) != std::string_view::npos;
}

SumoraDocument openXlsx(std::string_view bytes) {
    Log::progress("  Matched XLSX, parsing " + std::to_string(bytes.size()) + " bytes...");
    try {
        SumoraDocument doc = readXlsxDocument(bytes);
        Log::progress("  XLSX parse OK, sheets=" + std::to_string(doc.sheets.size()));
        return doc;
    } catch (const FileReadError& e) {
        Log::progress(std::string("  XLSX parse FAILED (Cocoa): ") + e.what());
        throw;
    } catch (const std::bad_alloc&) {
        Log::progress("  XLSX parse FAILED: out of memory");
        throw FileReadError(FileReadError::Code::corruptFile, xlsxFailureMessage(kOutOfMemoryText));
    } catch (const std::exception& e) {
        Log::progress(std::string("  XLSX parse FAILED: ") + e.what());
        throw FileReadError(FileReadError::Code::corruptFile, xlsxFailureMessage(e.what()));
    }
}

SumoraDocument openOds(std::string_view bytes) {
    try {
        SumoraDocument doc = SumoraDocument::empty();
        doc.sheets = readOdsSheets(bytes, &doc.droppedOnOpen);
        if (doc.sheets.empty()) doc.sheets.push_back(SumoraDocument::makeNewSheet("Sheet 1"));
        return doc;
    } catch (const FileReadError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw FileReadError(FileReadError::Code::corruptFile,
                            std::string("Could not open this ODS file: ") + std::string(kOutOfMemoryText));
    } catch (const std::exception& e) {
        throw FileReadError(FileReadError::Code::corruptFile,
                            std::string("Could not open this ODS file: ") + e.what());
    }
}

} // namespace

std::string xlsxFailureMessage(std::string_view d) {
    if (contains(d, "ZIP") || contains(d, "archive") || contains(d, "Archive"))
        return "The file is not a valid XLSX archive. It may be corrupted or truncated.";
    if (contains(d, "XML") || contains(d, "parse") || contains(d, "Parse"))
        return "The file contains invalid XML data. A worksheet may be corrupted.";
    if (contains(d, "sharedStrings") || contains(d, "SharedStrings"))
        return "The file is missing required components (shared strings). It may have been partially saved.";
    return "Could not open this XLSX file: " + std::string(d);
}

namespace {

// The reader's document, before any formula is calculated.
SumoraDocument readDocument(std::optional<std::string_view> contents, std::string_view filename,
                            std::string_view contentType) {
    Log::progress("  regularFileContents size: " +
                  std::to_string(contents ? static_cast<long long>(contents->size()) : -1LL));
    if (!contents)
        throw FileReadError(FileReadError::Code::corruptFile,
                            "The file appears to be empty or could not be read.");
    std::string ext = lowerExtension(filename);
    Log::progress("  filename: " + std::string(filename) + ", ext: " + ext);
    if (contentType == kXlsxContentType || ext == "xlsx") return openXlsx(*contents);
    if (contentType == kCsvContentType || ext == "csv") return openCsv(*contents);
    if (contentType == kOdsContentType || ext == "ods") return openOds(*contents);
    Log::progress("  No match for contentType " + std::string(contentType) + ", ext=" + ext +
                  ", falling back to empty doc");
    return SumoraDocument();
}

SumoraDocument openBytes(std::optional<std::string_view> contents, std::string_view filename,
                         std::string_view contentType, OpenMode mode) {
    SumoraDocument document = readDocument(contents, filename, contentType);
    // Formulas show what their inputs produce, not the results the file saved.
    // A CSV file's cells are texts; those typed as "=…" become formulas here.
    if (mode == OpenMode::recalculated) recalculateWorkbook(document, builtinFunctions());
    return document;
}

} // namespace

SumoraDocument openDocument(const std::optional<std::string>& contents, std::string_view filename,
                            std::string_view contentType, OpenMode mode) {
    return openBytes(contents ? std::optional<std::string_view>(*contents) : std::nullopt, filename,
                     contentType, mode);
}

std::string documentFileContents(const SumoraDocument& document, FileType type, LossReport* losses) {
    switch (type) {
    case FileType::xlsx:
        return writeXlsx(document, losses);
    case FileType::ods:
        return writeOds(document.sheets);
    case FileType::csv:
        return writeCsv(document);
    }
    return writeCsv(document);
}

std::optional<FileType> fileTypeForPath(const std::filesystem::path& path) {
    std::string ext = lowerExtension(path.filename().string());
    if (ext == "xlsx") return FileType::xlsx;
    if (ext == "ods") return FileType::ods;
    if (ext == "csv") return FileType::csv;
    return std::nullopt;
}

std::string_view contentTypeForPath(const std::filesystem::path& path) {
    auto type = fileTypeForPath(path);
    if (!type) return kDataContentType;
    switch (*type) {
    case FileType::xlsx:
        return kXlsxContentType;
    case FileType::ods:
        return kOdsContentType;
    case FileType::csv:
        return kCsvContentType;
    }
    return kDataContentType;
}

SumoraDocument openDocumentFile(const std::filesystem::path& path, OpenMode mode) {
    std::optional<FileBytes> contents = FileBytes::read(path);
    std::error_code ec;
    if (!contents && !std::filesystem::exists(path, ec))
        throw FileReadError(FileReadError::Code::noSuchFile,
                            "The file \"" + path.filename().string() +
                                "\" couldn't be opened because there is no such file.");
    return openBytes(contents ? std::optional<std::string_view>(contents->view()) : std::nullopt,
                     path.filename().string(), contentTypeForPath(path), mode);
}

void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes) {
    writeFileAtomically(path, [bytes](const ByteSink& sink) { sink(bytes); });
}

void writeFileAtomically(const std::filesystem::path& path, const ByteProducer& produce) {
    std::filesystem::path target = resolvedSaveTarget(path);
    checkSaveTarget(target);
    DocumentLock lock(target);
    replaceFileContents(target, produce);
}

LossReport saveDocumentFile(const SumoraDocument& document, const std::filesystem::path& path,
                            std::optional<FileType> type) {
    if (!type) type = fileTypeForPath(path);
    if (!type) {
        std::string ext = lowerExtension(path.filename().string());
        throw FileWriteError("Could not save \"" + path.filename().string() + "\": " +
                             (ext.empty() ? std::string("the name has no extension")
                                          : "Sumora cannot write ." + ext + " files") +
                             ". Use .xlsx, .ods or .csv.");
    }
    LossReport losses = lossesOnSave(document, *type);
    writeDocumentFile(document, path, *type);
    return losses;
}

void writeDocumentFile(const SumoraDocument& document, const std::filesystem::path& path, FileType type) {
    if (type == FileType::csv) {
        // CSV writes the whole grid; it is streamed rather than built.
        writeFileAtomically(path, [&document](const ByteSink& sink) { writeCsv(document, sink); });
        return;
    }
    writeFileAtomically(path, documentFileContents(document, type));
}

} // namespace sumora
