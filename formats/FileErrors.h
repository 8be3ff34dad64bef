#pragma once
// Errors of reading and writing files. Their message is the text shown to
// the user in the standard alert.
#include <stdexcept>
#include <string>

namespace sumora {

// A file that cannot be read (corrupt, truncated, wrong encoding).
class FileReadError : public std::runtime_error {
public:
    enum class Code { corruptFile, inapplicableEncoding, noSuchFile };
    FileReadError(Code code, const std::string& message) : std::runtime_error(message), code_(code) {}
    Code code() const { return code_; }

private:
    Code code_;
};

// A file that cannot be written (export checks, I/O failure).
class FileWriteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace sumora
