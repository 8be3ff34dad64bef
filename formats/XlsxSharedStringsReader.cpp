#include "formats/XlsxSharedStringsReader.h"

#include <algorithm>

#include "formats/XlsxText.h"
#include "formats/XmlElementCursor.h"
#include "formats/XmlReader.h"
#include "formats/XmlScanner.h"

namespace sumora::xlsx {

namespace {

class SharedStringsHandler : public XmlHandler {
  public:
    explicit SharedStringsHandler(SharedStringTable& out) : out_(out) {}

    void startElement(std::string_view name, const XmlAttributes& attributes) override {
        if (name == "si") {
            inItem_ = true;
            current_.clear();
        } else if (name == "t") {
            inText_ = inItem_ && phoneticDepth_ == 0;
        } else if (name == "rPh") {
            ++phoneticDepth_;
        } else if (name == "sst" && out_.empty()) {
            // A count is only a hint; a hostile one must not reserve gigabytes.
            if (auto count = attributes.get("uniqueCount"))
                if (auto n = parseInteger(*count); n && *n > 0)
                    out_.reserve(static_cast<size_t>(std::min<int64_t>(*n, 1 << 20)));
            setReadsElements(true);
        }
    }

    void endElement(std::string_view name) override {
        if (name == "t") {
            inText_ = false;
        } else if (name == "rPh") {
            if (phoneticDepth_ > 0) --phoneticDepth_;
        } else if (name == "si" && inItem_) {
            inItem_ = false;
            addItem();
        } else if (name == "sst") {
            setReadsElements(false);
        }
    }

    void characters(std::string_view text) override {
        // Plain items hold one <t>; rich-text items one <t> per run, joined.
        if (inText_) current_.append(text);
    }

    // Runs of plain items, <si><t>text</t></si>, read without their events.
    size_t readElements(const char* data, size_t size) override {
        if (inItem_ || inText_ || phoneticDepth_ > 0) return 0;
        XmlElementCursor in(data, size);
        size_t done = 0;
        for (;;) {
            std::string_view text, name, value;
            bool empty = false, textEmpty = false;
            if (!in.startTag("si") || !in.tagEnd(empty)) break;
            if (!empty) {
                if (!in.startTag("t")) break;
                // xml:space changes nothing here: the text is kept as written.
                if (in.attribute(name, value) && name != "xml:space") break;
                if (!in.tagEnd(textEmpty)) break;
                if (!textEmpty && !(in.text(text) && in.endTag("t"))) break;
                if (!in.endTag("si")) break;
            }
            current_.assign(text);
            addItem();
            done = in.consumed();
            in.skipBlanks();
        }
        return done;
    }

  private:
    void addItem() {
        if (out_.size() >= kMaxItems)
            throw XmlError("XML sharedStrings: more than " + std::to_string(kMaxItems) + " items");
        decodeOoxmlEscapes(current_);
        out_.push_back(current_);
    }

    // Far beyond what a real workbook holds (the format allows about as many
    // cells as a sheet has), but it keeps a shared-string bomb from taking
    // gigabytes of memory for empty items.
    static constexpr size_t kMaxItems = size_t{1} << 24;

    SharedStringTable& out_;
    std::string current_;
    bool inItem_ = false;
    bool inText_ = false;
    int phoneticDepth_ = 0;
};

} // namespace

SharedStringTable readSharedStrings(ZipReader& archive, std::string_view path) {
    SharedStringTable items;
    try {
        SharedStringsHandler fast(items);
        if (scanXmlEntry(archive, path, fast)) return items;
    } catch (...) {
        // Read again below, which reports the problem the usual way.
    }
    items = {};
    SharedStringsHandler handler(items);
    parseXmlEntry(archive, path, handler);
    return items;
}

} // namespace sumora::xlsx
