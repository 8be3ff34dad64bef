#include "formats/XmlReader.h"
#include "formats/XmlWriter.h"
#include "formats/ZipArchive.h"

#include <gtest/gtest.h>

using namespace sumora;

namespace {

// Writes every event as one line: "<name a=1", ">name", "'text'".
class RecordingHandler : public XmlHandler {
  public:
    std::vector<std::string> events;
    std::vector<std::string> attributeNames; // attributes whose values to record
    std::string stopAt;                      // stop parsing when this element starts

    void startElement(std::string_view localName, const XmlAttributes& attributes) override {
        std::string event = "<" + std::string(localName);
        for (const std::string& name : attributeNames)
            if (auto value = attributes.get(name)) event += " " + name + "=" + std::string(*value);
        events.push_back(event);
        if (localName == stopAt) stopParsing();
    }
    void endElement(std::string_view localName) override { events.push_back(">" + std::string(localName)); }
    void characters(std::string_view text) override { events.push_back("'" + std::string(text) + "'"); }
};

std::vector<std::string> parseEvents(std::string_view document,
                                     std::vector<std::string> attributeNames = {}) {
    RecordingHandler handler;
    handler.attributeNames = std::move(attributeNames);
    XmlReader::parse(document, handler);
    return handler.events;
}

using Events = std::vector<std::string>;

} // namespace

TEST(XmlReader, ElementsArriveByLocalName) {
    EXPECT_EQ(parseEvents(R"(<x:worksheet xmlns:x="urn:x"><x:row/><plain>t</plain><a:b:c/></x:worksheet>)"),
              (Events{"<worksheet", "<row", ">row", "<plain", "'t'", ">plain", "<c", ">c", ">worksheet"}));
}

TEST(XmlReader, AttributesMatchByLocalNameThenQualifiedName) {
    const std::string document = R"(<table:table-cell xmlns:table="urn:t" xmlns:office="urn:o"
        table:number-columns-repeated="3" office:value-type="float" plain="p" table:name="T1"/>)";
    struct Case {
        std::string query;
        std::optional<std::string> expected;
    };
    const std::vector<Case> cases = {
        {"number-columns-repeated", "3"}, {"table:number-columns-repeated", "3"},
        {"value-type", "float"},          {"plain", "p"},
        {"table", std::nullopt}, // a namespace declaration is not an attribute
        {"office:name", std::nullopt},    {"missing", std::nullopt},
    };
    struct Probe : XmlHandler {
        const std::vector<Case>* cases;
        std::optional<std::string> qualified, unprefixedQualified;
        void startElement(std::string_view, const XmlAttributes& attributes) override {
            for (const Case& c : *cases) {
                auto found = attributes.get(c.query);
                EXPECT_EQ(found ? std::optional<std::string>(*found) : std::nullopt, c.expected) << c.query;
            }
            if (auto v = attributes.getQualified("table:name")) qualified = std::string(*v);
            if (auto v = attributes.getQualified("name")) unprefixedQualified = std::string(*v);
        }
    } probe;
    probe.cases = &cases;
    XmlReader::parse(document, probe);
    EXPECT_EQ(probe.qualified, "T1");
    EXPECT_EQ(probe.unprefixedQualified, std::nullopt);
}

TEST(XmlReader, TextIsWholeAndDecodedWhenFedByteByByte) {
    const std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                 "<si><t xml:space=\"preserve\">Gr\xC3\xBC\xC3\x9F"
                                 "e &amp; &lt;tags&gt; &#x41;&#66;"
                                 "&quot;&apos;\n line</t><t>\xE2\x82\xAC</t></si>";
    const Events expected = {"<si",
                             "<t",
                             "'Gr\xC3\xBC\xC3\x9F"
                             "e & <tags> AB\"'\n line'",
                             ">t",
                             "<t",
                             "'\xE2\x82\xAC'",
                             ">t",
                             ">si"};
    RecordingHandler handler;
    XmlReader reader(handler);
    for (char c : document)
        reader.feed(std::string_view(&c, 1));
    reader.finish();
    EXPECT_EQ(handler.events, expected);
    EXPECT_EQ(parseEvents(document), expected);
}

TEST(XmlReader, MalformedDocumentsThrowXmlErrorWithLine) {
    const std::vector<std::string> documents = {
        "",
        "not xml at all",
        "<a><b></a>",
        "<a>",
        "<a>&undefined;</a>",
        "<a x=\"1\" x=\"2\"/>",
        "<a/><b/>",
        "<a>\n\n<b attr=unquoted/></a>",
        "<a>\xFF</a>",
    };
    for (const std::string& document : documents) {
        try {
            parseEvents(document);
            ADD_FAILURE() << "accepted: " << document;
        } catch (const XmlError& error) {
            std::string message = error.what();
            EXPECT_NE(message.find("XML"), std::string::npos) << message;
            EXPECT_NE(message.find("line"), std::string::npos) << message;
        }
    }
    try {
        parseEvents("<a>\n\n<b attr=unquoted/></a>");
    } catch (const XmlError& error) {
        EXPECT_NE(std::string(error.what()).find("line 3"), std::string::npos) << error.what();
    }
}

TEST(XmlReader, EntityExpansionBombFails) {
    std::string document = "<?xml version=\"1.0\"?>\n<!DOCTYPE lolz [\n<!ENTITY l0 \"lollollollollol\">\n";
    for (int level = 1; level <= 9; ++level)
        document += "<!ENTITY l" + std::to_string(level) + " \"" + [&] {
            std::string refs;
            for (int i = 0; i < 10; ++i)
                refs += "&l" + std::to_string(level - 1) + ";";
            return refs;
        }() + "\">\n";
    document += "]>\n<lolz>&l9;</lolz>";
    struct Counting : XmlHandler {
        std::size_t bytes = 0;
        void characters(std::string_view text) override { bytes += text.size(); }
    } handler;
    EXPECT_THROW(XmlReader::parse(document, handler), XmlError);
    EXPECT_LT(handler.bytes, std::size_t{64} << 20);
}

TEST(XmlReader, ExternalEntitiesAreNeverLoaded) {
    const std::string document = "<!DOCTYPE a [<!ENTITY xxe SYSTEM \"file:///etc/passwd\">"
                                 "<!ENTITY % remote SYSTEM \"http://127.0.0.1:1/x.dtd\"> %remote;]>"
                                 "<a>before&xxe;after</a>";
    Events events;
    try {
        events = parseEvents(document);
    } catch (const XmlError&) {
        return; // refusing is as good as skipping
    }
    for (const std::string& event : events)
        EXPECT_EQ(event.find("root:"), std::string::npos) << event;
}

TEST(XmlReader, HandlerCanStopEarly) {
    RecordingHandler handler;
    handler.stopAt = "stop";
    XmlReader reader(handler);
    EXPECT_FALSE(reader.feed("<a><b/><stop><after/></stop>"));
    EXPECT_FALSE(reader.feed("</a> and garbage that would not parse <<<"));
    EXPECT_NO_THROW(reader.finish());
    EXPECT_EQ(handler.events, (Events{"<a", "<b", ">b", "<stop"}));
}

TEST(XmlReader, HandlerExceptionsPropagateUnchanged) {
    struct Throwing : XmlHandler {
        void startElement(std::string_view name, const XmlAttributes&) override {
            if (name == "bad") throw std::out_of_range("bad element");
        }
    } handler;
    EXPECT_THROW(XmlReader::parse("<a><bad/></a>", handler), std::out_of_range);
}

TEST(XmlReader, ParsesArchiveEntryAndStopsStreamingEarly) {
    std::string rows;
    for (int i = 0; i < 100000; ++i)
        rows += "<row r=\"" + std::to_string(i + 1) + "\"/>";
    ZipWriter writer;
    writer.add("content.xml", "<sheet>" + rows + "</sheet>");
    writer.add("broken.xml", "<sheet><row></sheet>");
    ZipReader archive(writer.finish());

    RecordingHandler all;
    parseXmlEntry(archive, "content.xml", all);
    EXPECT_EQ(all.events.size(), 2u + 2 * 100000);

    RecordingHandler first;
    first.stopAt = "row";
    first.attributeNames = {"r"};
    std::uint64_t before = archive.totalBytesRead();
    parseXmlEntry(archive, "content.xml", first);
    EXPECT_EQ(first.events, (Events{"<sheet", "<row r=1"}));
    EXPECT_LT(archive.totalBytesRead() - before, rows.size());

    RecordingHandler broken;
    EXPECT_THROW(parseXmlEntry(archive, "broken.xml", broken), XmlError);
    EXPECT_THROW(parseXmlEntry(archive, "missing.xml", broken), ArchiveError);
}

// ---------------------------------------------------------------------------
// Writing

TEST(XmlWriter, EscapesMarkupAndDropsWhatXmlCannotHold) {
    const std::vector<std::tuple<std::string, XmlContext, std::string>> cases = {
        {"plain text", XmlContext::text, "plain text"},
        {"a & b < c > d", XmlContext::text, "a &amp; b &lt; c &gt; d"},
        {"Tom's \"quote\"", XmlContext::text, "Tom&apos;s &quot;quote&quot;"},
        {"tab\tline\ncr\r", XmlContext::text, "tab\tline\ncr&#13;"},
        {"tab\tline\ncr\r", XmlContext::attribute, "tab&#9;line&#10;cr&#13;"},
        {std::string("a\0b\x01\x08\x0B\x0C\x1F"
                     "c",
                     9),
         XmlContext::text, "abc"},
        {"Gr\xC3\xBC\xC3\x9F"
         "e \xE2\x82\xAC \xF0\x9F\x98\x80",
         XmlContext::text,
         "Gr\xC3\xBC\xC3\x9F"
         "e \xE2\x82\xAC \xF0\x9F\x98\x80"},
        {"latin1 \xE9t\xE9", XmlContext::text, "latin1 \xEF\xBF\xBDt\xEF\xBF\xBD"},
        {"cut \xE2\x82", XmlContext::text, "cut \xEF\xBF\xBD\xEF\xBF\xBD"},
        {"\xEF\xBF\xBF", XmlContext::text, "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"}, // U+FFFF
        {"\xC0\xAF", XmlContext::text, "\xEF\xBF\xBD\xEF\xBF\xBD"},                 // overlong "/"
    };
    for (const auto& [input, context, expected] : cases)
        EXPECT_EQ(xmlEscape(input, context), expected) << input;
}

TEST(XmlWriter, EscapedTextOfAnyBytesParsesBack) {
    std::string allBytes;
    for (int c = 0; c < 256; ++c)
        allBytes += static_cast<char>(c);
    allBytes += "\xED\xA0\x80 \xF4\x90\x80\x80 \xE2\x82\xAC";
    const std::string printable = "x & y < z \"q\" 'a'\ttab\nline\rcr \xE2\x82\xAC";
    for (const std::string& text : {allBytes, printable}) {
        XmlBuilder xml;
        xml.open("a").attribute("v", text).text(text).close();
        struct Capture : XmlHandler {
            std::string attribute, text;
            void startElement(std::string_view, const XmlAttributes& attributes) override {
                attribute = std::string(attributes.get("v").value_or(""));
            }
            void characters(std::string_view t) override { text = std::string(t); }
        } capture;
        ASSERT_NO_THROW(XmlReader::parse(xml.str(), capture)) << xml.str();
        if (text == printable) {
            EXPECT_EQ(capture.attribute, printable);
            EXPECT_EQ(capture.text, printable);
        }
    }
}

TEST(XmlWriter, BuilderClosesElementsAndCollapsesEmptyOnes) {
    XmlBuilder xml(64);
    xml.raw("<?xml version=\"1.0\"?>").open("row").attribute("r", 3).attribute("spans", "1:2");
    xml.open("c").attribute("r", "A3").open("v").text("1<2").close().close();
    xml.open("c").attribute("r", "B3").close();
    EXPECT_EQ(xml.depth(), 1u);
    xml.close();
    EXPECT_EQ(xml.take(), "<?xml version=\"1.0\"?><row r=\"3\" spans=\"1:2\"><c r=\"A3\"><v>1&lt;2</v></c>"
                          "<c r=\"B3\"/></row>");
    EXPECT_EQ(xml.str(), "");
}
