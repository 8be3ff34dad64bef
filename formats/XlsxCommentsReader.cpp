#include "formats/XlsxCommentsReader.h"

#include "document/ColumnLetters.h"
#include "formats/XlsxPackage.h"
#include "formats/XlsxText.h"
#include "formats/XmlReader.h"
#include "formats/ZipArchive.h"

namespace sumora::xlsx {

namespace {

class CommentsHandler : public XmlHandler {
  public:
    explicit CommentsHandler(std::map<std::string, std::string>& out) : out_(out) {}

    void startElement(std::string_view name, const XmlAttributes& attributes) override {
        if (name == "comment") {
            inComment_ = true;
            reference_ = std::string(attributes.get("ref").value_or(""));
            text_.clear();
        } else if (name == "t") {
            inText_ = inComment_ && phoneticDepth_ == 0;
        } else if (name == "rPh") {
            ++phoneticDepth_;
        }
    }

    void endElement(std::string_view name) override {
        if (name == "t") {
            inText_ = false;
        } else if (name == "rPh") {
            if (phoneticDepth_ > 0) --phoneticDepth_;
        } else if (name == "comment" && inComment_) {
            inComment_ = false;
            if (!parseCellAddress(reference_)) return;
            decodeOoxmlEscapes(text_);
            out_[reference_] = text_;
        }
    }

    void characters(std::string_view text) override {
        if (inText_) text_.append(text);
    }

  private:
    std::map<std::string, std::string>& out_;
    std::string reference_, text_;
    bool inComment_ = false, inText_ = false;
    int phoneticDepth_ = 0;
};

} // namespace

std::map<std::string, std::string> readComments(ZipReader& archive, std::string_view sheetPath) {
    std::map<std::string, std::string> comments;
    for (const Relationship& r : readRelationships(archive, sheetPath)) {
        if (r.isExternal || !hasType(r, "comments") || !archive.contains(r.target)) continue;
        CommentsHandler handler(comments);
        parseXmlEntry(archive, r.target, handler);
    }
    return comments;
}

} // namespace sumora::xlsx
