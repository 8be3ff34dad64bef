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
#include "formats/FileReplacement.h"
#include "formats/LossReport.h"

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
// The bytes of the document saved as `type`; throws FileWriteError. What
// the format could not keep as it was is added to `losses` when given.
std::string documentFileContents(const SumoraDocument& document, FileType type, LossReport* losses = nullptr);

std::optional<FileType> fileTypeForPath(const std::filesystem::path& path);
std::string_view contentTypeForPath(const std::filesystem::path& path);

// Reads a file from disk and opens it (content type from its extension).
SumoraDocument openDocumentFile(const std::filesystem::path& path, OpenMode mode = OpenMode::recalculated);
// Saves through writeFileAtomically (CSV streamed) and returns the loss
// report (lossesOnSave, SaveLosses.h). The type defaults to the extension's; an extension that no writer
// handles is refused (FileWriteError) rather than given bytes of another format.
LossReport saveDocumentFile(const SumoraDocument& document, const std::filesystem::path& path,
                            std::optional<FileType> type = std::nullopt);
// The writing part of saveDocumentFile, for callers that have the loss
// report already (it is a pass over every stored cell).
void writeDocumentFile(const SumoraDocument& document, const std::filesystem::path& path, FileType type);

// Replaces the file at `path` with `bytes`; throws FileWriteError. A failure
// never leaves a half-written file in place of a good one. A symbolic link
// is followed and the file it names is written; mode and owner are kept;
// the file is locked against other programs meanwhile (see DocumentLock).
void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes);
// The same for contents too large to hold: `produce` hands its bytes, piece
// by piece, to the sink it is given.
void writeFileAtomically(const std::filesystem::path& path, const ByteProducer& produce);

// The four user messages of a failed XLSX open, chosen from the error text.
std::string xlsxFailureMessage(std::string_view description);

} // namespace sumora
