#pragma once
// A file's whole contents, read for a reader to parse. Large files are read
// into memory advised for huge pages: a 20 MB workbook then costs a handful
// of page faults instead of five thousand, which is a tenth of opening it.
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace sumora {

class FileBytes {
  public:
    // The bytes up to the file's end (also when it grows while being read),
    // or nothing for a folder or a file that cannot be opened or read.
    static std::optional<FileBytes> read(const std::filesystem::path& path);

    FileBytes(FileBytes&& o) noexcept;
    FileBytes& operator=(FileBytes&&) = delete;
    FileBytes(const FileBytes&) = delete;
    ~FileBytes();

    std::string_view view() const {
        return mapped_ ? std::string_view(mapped_, size_) : std::string_view(text_);
    }

  private:
    FileBytes() = default;

    char* mapped_ = nullptr; // or the bytes are in text_
    size_t mappedSize_ = 0;
    size_t size_ = 0;
    std::string text_;
};

} // namespace sumora
