#include "formats/XmlScanner.h"

#include "formats/XmlElementCursor.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace sumora;

namespace {

// Every event as one line, with all attributes as written.
class Transcript : public XmlHandler {
  public:
    std::string events;
    void startElement(std::string_view localName, const XmlAttributes& attributes) override {
        events += "<" + std::string(localName);
        for (size_t i = 0; i < attributes.size(); ++i)
            events += " " + std::string(attributes.qualifiedName(i)) + "=[" +
                      std::string(attributes.value(i)) + "]";
        events += "\n";
    }
    void endElement(std::string_view localName) override { events += ">" + std::string(localName) + "\n"; }
    void characters(std::string_view text) override { events += "'" + std::string(text) + "'\n"; }
};

// The expat reader's transcript, or nothing when it rejects the document.
std::optional<std::string> expatEvents(std::string_view document) {
    Transcript t;
    try {
        XmlReader::parse(document, t);
    } catch (const XmlError&) {
        return std::nullopt;
    }
    return t.events;
}

// Inside <row>, reads <c> elements itself (attributes, and either no
// content, plain text, or one <v> with plain text) and writes the transcript
// their events would have written.
class RunReader : public Transcript {
  public:
    size_t elementsRead = 0;
    void startElement(std::string_view name, const XmlAttributes& attributes) override {
        Transcript::startElement(name, attributes);
        if (name == "row") setReadsElements(true);
    }
    void endElement(std::string_view name) override {
        Transcript::endElement(name);
        if (name == "row") setReadsElements(false);
    }
    size_t readElements(const char* data, size_t size) override {
        XmlElementCursor in(data, size);
        size_t done = 0;
        for (;;) {
            std::string lines = "<c";
            std::vector<std::string_view> names;
            std::string_view name, value, text;
            bool empty = false;
            if (!in.startTag("c")) break;
            while (in.attribute(name, value)) {
                for (std::string_view other : names)
                    if (other == name) return done;
                names.push_back(name);
                lines += " " + std::string(name) + "=[" + std::string(value) + "]";
            }
            if (!in.tagEnd(empty)) break;
            lines += "\n";
            if (!empty) {
                if (in.startTag("v")) {
                    if (!in.tagEnd(empty) || empty || !in.text(text) || !in.endTag("v")) break;
                    lines += "<v\n";
                    if (!text.empty()) lines += "'" + std::string(text) + "'\n";
                    lines += ">v\n";
                } else {
                    if (!in.text(text)) break;
                    if (!text.empty()) lines += "'" + std::string(text) + "'\n";
                }
                if (!in.endTag("c")) break;
            }
            events += lines + ">c\n";
            ++elementsRead;
            done = in.consumed();
        }
        return done;
    }
};

// The scanner's transcript when fed in pieces of `piece` bytes (copied, or
// lent to be read in place), or nothing when it refuses.
template <class Handler = Transcript>
std::optional<std::string> scannerEvents(std::string_view document, size_t piece, bool inPlace = false) {
    Handler t;
    XmlScanner scanner(t);
    try {
        for (size_t at = 0; at < document.size(); at += piece) {
            std::string chunk(document.substr(at, piece));
            if (inPlace)
                scanner.feedWritable(chunk.data(), chunk.size());
            else
                scanner.feed(chunk);
        }
        scanner.finish();
    } catch (const XmlScanner::Unsupported&) {
        return std::nullopt;
    }
    return t.events;
}

const std::string kDecl = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";

// Rows of cells with references, plus values and texts longer than the
// pieces, so that tokens straddle every kind of cut.
std::string longDocument() {
    std::string document = kDecl + "<sheetData>";
    for (int row = 1; row <= 40; ++row) {
        document += "<row r=\"" + std::to_string(row) + "\"><c r=\"A" + std::to_string(row) +
                    "\" t=\"s\"><v>" + std::to_string(row * 7) + "</v></c><c r=\"B" + std::to_string(row) +
                    "\"><f>A1&amp;\"&lt;x&gt;\"</f><v>&#x20AC;" + std::string(row % 9 == 0 ? 1500 : 3, 'x') +
                    "</v></c></row>";
        if (row % 13 == 0) document += "<note text=\"" + std::string(1800, 'n') + "&quot;\"/>";
    }
    return document + "</sheetData>";
}

} // namespace

// Whatever the scanner reads, expat reads the same way; what it refuses is
// left to expat (which may well accept it). `scanned` says which side of the
// line each document is meant to fall on.
TEST(XmlScanner, ReadsExactlyWhatExpatReadsOrRefuses) {
    struct Case {
        std::string document;
        bool scanned;
    };
    const std::vector<Case> cases = {
        // Read by the scanner.
        {kDecl + "\n<worksheet xmlns=\"urn:x\"><sheetData><row r=\"1\" spans=\"1:2\"><c r=\"A1\" "
                 "t=\"s\"><v>0</v></c>"
                 "<c r=\"B1\"><f>SUM(A1:A2)&lt;3</f><v>1.5</v></c></row></sheetData></worksheet>\n",
         true},
        {longDocument(), true},
        {"\xEF\xBB\xBF<?xml version='1.0'?><a/>", true},
        {"<x:a xmlns:x=\"u\" x:b='1' c=\"&quot;&apos;&amp;&gt;&lt;\"> t&#65;&#x20AC;&#x1F600; <b:c:d/></x:a>",
         true},
        {"<a b=\"x\ty\nz\" c='>'>l\u00e9t\u20ac\U0001F600 ]] > \n\t</a>  \n", true},
        {"<a><b></b ><c\n/></a>", true},
        {"<?xml version=\"1.0\" encoding=\"utf-8\"?><a>&#13;</a>", true},
        // Left to expat though it is well-formed.
        {"<a><![CDATA[x]]></a>", false},
        {"<a><!-- c --></a>", false},
        {"<a><?pi x?></a>", false},
        {"<!DOCTYPE a [<!ENTITY e \"x\">]><a>&e;</a>", false},
        {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a/>", false},
        {"<a>x\r\ny</a>", false},
        {"<a b=\"1\r\"/>", false},
        {"<\u00e9l/>", false},
        {"<:a/>", false},
        {"<a>" + std::string(1 << 20, 'x') + "</a>", false},
        // Not well-formed: expat rejects them, so the scanner must too.
        {"<a></b>", false},
        {"<a>", false},
        {"", false},
        {"<a/><b/>", false},
        {"<a/>junk", false},
        {"x<a/>", false},
        {" <?xml version=\"1.0\"?><a/>", false},
        {"<a b=\"1\" b=\"2\"/>", false},
        {"<a b=\"1\"c=\"2\"/>", false},
        {"<a b=\"<\"/>", false},
        {"<a b=1/>", false},
        {"<a>&nope;</a>", false},
        {"<a>&#0;</a>", false},
        {"<a>&#xD800;</a>", false},
        {"<a>&#65</a>", false},
        {"<a>&amp</a>", false},
        {"<a>]]></a>", false},
        {std::string("<a>\x01</a>"), false},
        {std::string("<a>\0</a>", 8), false},
        {"<a>\xC3</a>", false},
        {"<a>\xC0\x80</a>", false},
        {"<a>\xED\xA0\x80</a>", false},
        {"<a>\xEF\xBF\xBE</a>", false},
        {"<a>\xF4\x90\x80\x80</a>", false},
        {"<a/ >", false},
        {"<a></ a>", false},
        {"<?xml version=\"1.0\" standalone=\"maybe\"?><a/>", false},
        {"<?xml encoding=\"UTF-8\"?><a/>", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.document.substr(0, 120));
        std::optional<std::string> whole = scannerEvents(c.document, c.document.size() + 1);
        EXPECT_EQ(whole.has_value(), c.scanned);
        if (!whole) continue;
        EXPECT_EQ(expatEvents(c.document), whole);
        // Input cut anywhere reads the same, copied or read in place.
        for (bool inPlace : {false, true})
            for (size_t piece : {1, 2, 3, 7, 700, 1300})
                EXPECT_EQ(scannerEvents(c.document, piece, inPlace), whole)
                    << "in pieces of " << piece << (inPlace ? ", in place" : "");
    }
}

TEST(XmlScanner, StopsWhenTheHandlerStops) {
    struct StopAtB : Transcript {
        void startElement(std::string_view name, const XmlAttributes& attributes) override {
            Transcript::startElement(name, attributes);
            if (name == "b") stopParsing();
        }
    } handler;
    XmlScanner scanner(handler);
    EXPECT_FALSE(scanner.feed("<a>x<b/>y<c/> not well-formed <"));
    scanner.finish();
    EXPECT_EQ(handler.events, "<a\n'x'\n<b\n");
}

// A handler reading runs of elements itself sees the document as the events
// show it, wherever the input is cut, and cannot make the scanner accept
// what expat rejects.
TEST(XmlScanner, HandlersReadRunsOfElementsAsTheirEventsRead) {
    const std::vector<std::string> read = {
        "<s><row><c r=\"A1\" t='s'><v>12</v></c><c/><c r=\"B1\">x y</c><c\n r=\"C1\" "
        "/>\n<c><v></v></c></row></s>",
        // Declined midway (a reference, a prefixed element, a tab to normalise
        // in a value), with text around the runs.
        "<s><row>t<c><v>1&amp;2</v></c><c a=\"1\"><v>3</v></c> <x:c/><c b=\"\t\"/><c></c></row>u</s>",
        longDocument(),
    };
    for (const std::string& document : read) {
        SCOPED_TRACE(document.substr(0, 120));
        std::optional<std::string> expected = expatEvents(document);
        ASSERT_TRUE(expected);
        for (bool inPlace : {false, true})
            for (size_t piece : {1, 2, 3, 7, 64, 700, 1300, 100000})
                EXPECT_EQ(scannerEvents<RunReader>(document, piece, inPlace), expected)
                    << "in pieces of " << piece << (inPlace ? ", in place" : "");
    }
    RunReader counter;
    XmlScanner scanner(counter);
    scanner.feed(read[0]);
    scanner.finish();
    EXPECT_EQ(counter.elementsRead, 5u);

    const std::vector<std::string> rejected = {
        "<s><row><c a=\"1\" a=\"2\"/></row></s>",
        "<s><row><c a=\"1\"b=\"2\"/></row></s>",
        "<s><row><c><v>1</w></c></row></s>",
        "<s><row><c>]]></c></row></s>",
        "<s><row><c a=\"<\"/></row></s>",
        "<s><row><c/></row>",
        "<s><row><c><v>1</v></c></s>",
        std::string("<s><row><c>\x01</c></row></s>"),
    };
    for (const std::string& document : rejected) {
        SCOPED_TRACE(document);
        EXPECT_FALSE(expatEvents(document));
        for (size_t piece : {1, 5, 100})
            EXPECT_FALSE(scannerEvents<RunReader>(document, piece, true));
    }
}
