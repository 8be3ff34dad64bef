#pragma once
// Opening and saving documents: the reader is chosen by content type and
// file-name extension (XLSX, then CSV, then ODS; anything else opens as a new
// empty document), the writer by the chosen type. Every read failure becomes
// a FileReadError whose message is the text the user sees.
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "document/SumoraDocument.h"

namespace sumora {

enum class FileType { xlsx, ods, csv };

inline constexpr std::string_view kXlsxContentType = "org.openxmlformats.spreadsheetml.sheet";
inline constexpr std::string_view kOdsContentType = "org.oasis-open.opendocument.spreadsheet";
inline constexpr std::string_view kCsvContentType = "public.comma-separated-values-text";
inline constexpr std::string_view kDataContentType = "public.data";

// What the open path does with formulas: recalculate them (what a window
// shows), or leave every formula cell with the result text its file stored
// (XLSX <v> as the computed value, ODS office:value as the value), for tools
// that compare the stored results with their own recalculation.
enum class OpenMode { recalculated, asStored };

// `contents` absent means the file had no regular contents.
SumoraDocument openDocument(const std::optional<std::string>& contents, std::string_view filename,
                            std::string_view contentType, OpenMode mode = OpenMode::recalculated);
// The bytes of the document saved as `type`; throws FileWriteError.
std::string documentFileContents(const SumoraDocument& document, FileType type);

std::optional<FileType> fileTypeForPath(const std::filesystem::path& path);
std::string_view contentTypeForPath(const std::filesystem::path& path);

// Reads a file from disk and opens it (content type from its extension).
SumoraDocument openDocumentFile(const std::filesystem::path& path, OpenMode mode = OpenMode::recalculated);
// Writes beside the target and renames, so a failure never leaves a
// half-written file in place of a good one. The type defaults to the
// extension's (CSV for an unknown extension).
void saveDocumentFile(const SumoraDocument& document, const std::filesystem::path& path,
                      std::optional<FileType> type = std::nullopt);

// Replaces `path` with `bytes` atomically; throws FileWriteError.
void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes);
// The same for contents too large to hold: `produce` hands its bytes, piece
// by piece, to the sink it is given.
using ByteSink = std::function<void(std::string_view)>;
void writeFileAtomically(const std::filesystem::path& path,
                         const std::function<void(const ByteSink&)>& produce);

// The four user messages of a failed XLSX open, chosen from the error text.
std::string xlsxFailureMessage(std::string_view description);

} // namespace sumora
