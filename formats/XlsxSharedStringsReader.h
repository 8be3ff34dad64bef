#pragma once
// The shared-string table of an XLSX package.
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sumora {
class ZipReader;
}

namespace sumora::xlsx {

// The items of the table end to end in one buffer, so that a workbook's
// hundreds of thousands of short texts cost no allocation each.
class SharedStringTable {
  public:
    std::size_t size() const { return ends_.size(); }
    bool empty() const { return ends_.empty(); }
    std::string_view operator[](std::size_t i) const {
        std::size_t begin = i == 0 ? 0 : ends_[i - 1];
        return std::string_view(bytes_).substr(begin, ends_[i] - begin);
    }
    void push_back(std::string_view item) {
        bytes_.append(item);
        ends_.push_back(bytes_.size());
    }
    void reserve(std::size_t items) { ends_.reserve(items); }

  private:
    std::string bytes_;
    std::vector<std::size_t> ends_;
};

// The items in order; a rich-text item gives its runs' texts joined with
// nothing between them (phonetic guides are left out). Throws ArchiveError or
// XmlError.
SharedStringTable readSharedStrings(ZipReader& archive, std::string_view path);

} // namespace sumora::xlsx
