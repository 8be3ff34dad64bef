#pragma once
// Replacing a file's contents on disk without harming what was there: the
// new bytes go to a temporary file beside the real file (through symbolic
// links) and take its place only when complete, with the old file's mode
// and owner; a file with several names is rewritten in place so every name
// sees the new contents; devices and pipes are refused.
#include <filesystem>
#include <functional>
#include <string_view>

namespace sumora {

// Contents too large to hold are handed over piece by piece: a producer
// passes its bytes, in order, to the sink it is given.
using ByteSink = std::function<void(std::string_view)>;
using ByteProducer = std::function<void(const ByteSink&)>;

// The file that writing `path` changes: `path` with its symbolic links
// followed (a dangling link names the file to create). Throws
// FileWriteError for a loop of links.
std::filesystem::path resolvedSaveTarget(const std::filesystem::path& path);

// Throws FileWriteError when `target` is a folder, device, pipe or socket:
// such a thing is never replaced (nor locked).
void checkSaveTarget(const std::filesystem::path& target);

// Replaces the file `target` (already resolved) with `bytes`; throws
// FileWriteError with the reason. Temporary files that an earlier,
// interrupted save of the same file left behind are removed first, so the
// caller must hold the file's DocumentLock.
void replaceFileContents(const std::filesystem::path& target, std::string_view bytes);
void replaceFileContents(const std::filesystem::path& target, const ByteProducer& produce);

// True for the names of those temporary files.
bool isSaveTemporaryName(std::string_view name, std::string_view targetName);

} // namespace sumora
