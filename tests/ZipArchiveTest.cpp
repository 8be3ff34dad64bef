#include "formats/ZipArchive.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <tuple>

using namespace sumora;

namespace {

std::string sampleText(std::size_t size) {
    std::string text;
    text.reserve(size);
    for (std::size_t i = 0; text.size() < size; ++i)
        text += "<c r=\"A" + std::to_string(i) + "\"><v>" + std::to_string(i * 7) + "</v></c>";
    text.resize(size);
    return text;
}

std::string archiveOf(const std::vector<std::pair<std::string, std::string>>& parts,
                      Compression compression = Compression::deflate) {
    ZipWriter writer;
    for (const auto& [path, content] : parts)
        writer.add(path, content, compression);
    return writer.finish();
}

void replaceAll(std::string& bytes, std::string_view from, std::string_view to) {
    ASSERT_EQ(from.size(), to.size());
    for (std::size_t at = bytes.find(from); at != std::string::npos; at = bytes.find(from, at + 1))
        bytes.replace(at, from.size(), to);
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

} // namespace

TEST(ZipArchive, RoundTripKeepsOrderContentAndKinds) {
    const std::string mimetype = "application/vnd.oasis.opendocument.spreadsheet";
    const std::string big = sampleText(3 * ZipReader::chunkSize + 17);
    ZipWriter writer;
    writer.add("mimetype", mimetype, Compression::store);
    writer.addDirectory("xl");
    writer.add("xl/workbook.xml", "<workbook/>");
    writer.add("xl/worksheets/sheet1.xml", std::string(big), Compression::deflate, 1);
    writer.add("empty.txt", "");
    writer.add("docs/Grüße.txt", "utf-8 name", Compression::deflate, 9);
    std::string bytes = writer.finish();

    // The OpenDocument convention: "mimetype" first, stored, its bytes readable at offset 38.
    ASSERT_GE(bytes.size(), 38 + mimetype.size());
    EXPECT_EQ(bytes.substr(0, 2), "PK");
    EXPECT_EQ(bytes.substr(30, 8), "mimetype");
    EXPECT_EQ(bytes.substr(38, mimetype.size()), mimetype);

    ZipReader reader(bytes);
    std::vector<std::string> paths;
    for (const ZipEntry& entry : reader.entries())
        paths.push_back(entry.path);
    EXPECT_EQ(paths, (std::vector<std::string>{"mimetype", "xl/", "xl/workbook.xml",
                                               "xl/worksheets/sheet1.xml", "empty.txt", "docs/Grüße.txt"}));
    EXPECT_TRUE(reader.entries()[1].isDirectory);
    EXPECT_FALSE(reader.entries()[2].isDirectory);
    EXPECT_EQ(reader.entries()[3].uncompressedSize, big.size());
    EXPECT_LT(reader.entries()[3].compressedSize, big.size() / 2);

    EXPECT_EQ(reader.read("mimetype"), mimetype);
    EXPECT_EQ(reader.read("xl/workbook.xml"), "<workbook/>");
    EXPECT_EQ(reader.read("xl/worksheets/sheet1.xml"), big);
    EXPECT_EQ(reader.read("empty.txt"), "");
    EXPECT_EQ(reader.read("docs/Grüße.txt"), "utf-8 name");

    std::string streamed;
    std::size_t chunks = 0;
    reader.stream("xl/worksheets/sheet1.xml", [&](std::string_view chunk) {
        EXPECT_LE(chunk.size(), ZipReader::chunkSize);
        streamed.append(chunk);
        ++chunks;
    });
    EXPECT_EQ(streamed, big);
    EXPECT_GE(chunks, 4u);
}

// A part this big is deflated in pieces, one after the other in its
// stream; every level must read back through an independent reader.
TEST(ZipArchive, PartDeflatedInPiecesReadsBackWhole) {
    const std::string big = sampleText(std::size_t{9} << 20);
    ZipWriter writer;
    writer.add("fast.xml", std::string(big), Compression::deflate, 1);
    writer.add("usual.xml", std::string(big));
    ZipReader reader(writer.finish());
    for (const char* path : {"fast.xml", "usual.xml"}) {
        EXPECT_LT(reader.entry(path)->compressedSize, big.size() / 4) << path;
        EXPECT_TRUE(reader.read(path) == big) << path;
    }
}

TEST(ZipArchive, LookupToleratesLeadingSlashBackslashesAndCase) {
    ZipReader reader(archiveOf({{"xl/workbook.xml", "exact"}, {"XL/Styles.XML", "odd case"}}));
    EXPECT_EQ(reader.read("/xl/workbook.xml"), "exact");
    EXPECT_EQ(reader.read("XL/WORKBOOK.xml"), "exact");
    EXPECT_EQ(reader.read("xl\\workbook.xml"), "exact");
    EXPECT_EQ(reader.read("xl/styles.xml"), "odd case");
    EXPECT_TRUE(reader.contains("/XL/styles.xml"));
    EXPECT_FALSE(reader.contains("xl/sharedStrings.xml"));
    EXPECT_THROW(reader.read("xl/sharedStrings.xml"), ArchiveError);
}

TEST(ZipArchive, ExactNameWinsOverCaseInsensitiveMatch) {
    ZipReader reader(archiveOf({{"Data.xml", "upper"}, {"data.xml", "lower"}}));
    EXPECT_EQ(reader.read("data.xml"), "lower");
    EXPECT_EQ(reader.read("Data.xml"), "upper");
    EXPECT_EQ(reader.read("DATA.XML"), "upper");
}

TEST(ZipArchive, DuplicateNamesAreListedAndFirstWins) {
    std::string bytes = archiveOf({{"a.xml", "first"}, {"b.xml", "second"}});
    replaceAll(bytes, "b.xml", "a.xml");
    ZipReader reader(bytes);
    ASSERT_EQ(reader.entries().size(), 2u);
    EXPECT_EQ(reader.entries()[1].path, "a.xml");
    EXPECT_EQ(reader.read("a.xml"), "first");
}

TEST(ZipArchive, InputThatIsNoArchiveThrowsArchiveError) {
    std::string valid = archiveOf({{"xl/workbook.xml", sampleText(5000)}});
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"empty", ""},
        {"text", "name,value\n1,2\n"},
        {"local header only", std::string("PK\x03\x04", 4)},
        {"first half", valid.substr(0, valid.size() / 2)},
        {"without end record", valid.substr(0, valid.size() - 10)},
        {"OLE2 container", std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + std::string(600, '\0')},
    };
    for (const auto& [name, bytes] : cases) {
        try {
            ZipReader reader(bytes);
            ADD_FAILURE() << name << ": opened";
        } catch (const ArchiveError& error) {
            EXPECT_NE(std::string(error.what()).find("ZIP"), std::string::npos)
                << name << ": " << error.what();
        }
    }
}

TEST(ZipArchive, CorruptedEntryDataIsDetected) {
    const std::string content = sampleText(20000);
    for (Compression compression : {Compression::store, Compression::deflate}) {
        std::string bytes = archiveOf({{"sheet.xml", content}}, compression);
        // Flip one byte in the middle of the entry's data (local header is 30 + 9 bytes).
        std::size_t dataStart = 30 + std::string_view("sheet.xml").size();
        ZipReader intact(bytes);
        std::size_t dataSize = intact.entries()[0].compressedSize;
        bytes[dataStart + dataSize / 2] ^= 0x20;

        ZipReader reader(bytes);
        EXPECT_THROW(reader.read("sheet.xml"), ArchiveError);
        EXPECT_THROW(reader.stream("sheet.xml", [](std::string_view) {}), ArchiveError);
    }
}

// A big part is inflated on a second thread while it is consumed; it must
// arrive as a stream delivers it, damage and limits included.
TEST(ZipArchive, BigPartReadAheadMatchesTheStream) {
    const std::string big = sampleText(std::size_t{6} << 20);
    std::string bytes = archiveOf({{"sheet.xml", big}});
    auto whole = [](ZipReader& reader) {
        std::string content;
        reader.streamWhole("sheet.xml", [&](char* chunk, std::size_t size) { content.append(chunk, size); });
        return content;
    };
    ZipReader borrowing(BorrowedBytes{bytes});
    EXPECT_TRUE(whole(borrowing) == big);
    EXPECT_EQ(borrowing.totalBytesRead(), big.size());

    // Damage read ahead is reported as the plain stream reports it, whether
    // the inflating or the CRC finds it, early or late.
    const std::size_t data = 30 + 9, compressed = borrowing.entries()[0].compressedSize;
    const std::size_t central = bytes.size() - 22 - 46 - 9; // the entry's record before the end record
    const std::vector<std::tuple<std::size_t, char, std::string>> damages = {
        {data + compressed / 2, 0x20, "CRC error"},
        {data + compressed - 40, 0x01, "CRC error"},
        {data + 3, 0x10, "Zlib error: data error"},
        {central + 16, 0x01, "CRC error"}, // the CRC the central directory declares
    };
    for (const auto& [at, flip, words] : damages) {
        std::string damaged = bytes;
        damaged[at] ^= flip;
        auto failure = [&](auto read) -> std::string {
            ZipReader reader(damaged);
            try {
                read(reader);
            } catch (const ArchiveError& e) {
                return e.what();
            }
            return "no error";
        };
        std::string streamed = failure([](ZipReader& r) { r.stream("sheet.xml", [](std::string_view) {}); });
        EXPECT_EQ(streamed, "The ZIP archive entry 'sheet.xml' is damaged: " + words) << "byte " << at;
        EXPECT_EQ(failure(whole), streamed) << "byte " << at;
    }

    const ZipLimits small{.maxEntryBytes = 1u << 20, .maxTotalBytes = std::uint64_t{1} << 40};
    ZipReader limited(bytes, small);
    EXPECT_THROW(whole(limited), ArchiveError);
}

TEST(ZipArchive, ZipBombStopsAtTheEntryLimit) {
    const std::size_t bombSize = 64u << 20;
    std::string bytes = archiveOf({{"bomb.xml", std::string(bombSize, '\0')}});
    ASSERT_LT(bytes.size(), bombSize / 500);

    const ZipLimits limits{.maxEntryBytes = 1u << 20, .maxTotalBytes = std::uint64_t{1} << 40};
    ZipReader reader(bytes, limits);
    EXPECT_THROW(reader.read("bomb.xml"), ArchiveError);

    // The same archive claiming a tiny size: the limit holds on what actually comes out.
    std::string lying = bytes;
    std::string declared(4, '\0');
    for (int i = 0; i < 4; ++i)
        declared[i] = static_cast<char>((bombSize >> (8 * i)) & 0xFF);
    replaceAll(lying, declared, std::string("\x00\x10\x00\x00", 4)); // 4096
    std::size_t delivered = 0;
    try {
        ZipReader liar(lying, limits);
        liar.stream("bomb.xml", [&](std::string_view chunk) { delivered += chunk.size(); });
        ADD_FAILURE() << "lying bomb was read whole";
    } catch (const ArchiveError&) {
    }
    EXPECT_LE(delivered, limits.maxEntryBytes + ZipReader::chunkSize);
}

TEST(ZipArchive, TotalLimitCoversAllReadsOfOneReader) {
    const std::string part(600 * 1024, 'x');
    const ZipLimits limits{.maxEntryBytes = 1u << 20, .maxTotalBytes = 1u << 20};
    ZipReader reader(archiveOf({{"a.xml", part}, {"b.xml", part}}), limits);
    EXPECT_EQ(reader.read("a.xml").size(), part.size());
    EXPECT_THROW(reader.read("b.xml"), ArchiveError);
}

TEST(ZipArchive, WriterRejectsMisuse) {
    ZipWriter writer;
    writer.add("a.xml", "1");
    EXPECT_THROW(writer.add("a.xml", "2"), ArchiveError);
    EXPECT_THROW(writer.add("b.xml", "2", Compression::deflate, 10), std::invalid_argument);
    writer.finish();
    EXPECT_THROW(writer.add("c.xml", "3"), ArchiveError);
    EXPECT_THROW(writer.finish(), ArchiveError);
}

// Past 65,535 entries the count only fits the ZIP64 end records.
TEST(ZipArchive, ArchiveOfManyEntriesReadsBackWhole) {
    ZipWriter writer;
    const int count = 70000;
    for (int i = 0; i < count; ++i)
        writer.add("s/" + std::to_string(i), std::to_string(i * 3),
                   i % 2 ? Compression::deflate : Compression::store);
    ZipReader reader(writer.finish());
    ASSERT_EQ(reader.entries().size(), static_cast<size_t>(count));
    EXPECT_EQ(reader.read("s/0"), "0");
    EXPECT_EQ(reader.read("s/65535"), "196605");
    EXPECT_EQ(reader.read("s/69999"), "209997");
}

TEST(ZipArchive, EmptyWriterProducesAnEmptyArchive) {
    ZipWriter writer;
    std::string bytes = writer.finish();
    EXPECT_EQ(bytes.substr(0, 2), "PK");
    ZipReader reader(bytes);
    EXPECT_TRUE(reader.entries().empty());
}

// Every package of the corpus either opens and reads entirely, or fails with an ArchiveError.
TEST(ZipArchive, CorpusPackagesReadOrFailCleanly) {
    namespace fs = std::filesystem;
    if (!fs::is_directory(SUMORA_CORPUS_DIR)) GTEST_SKIP() << "no corpus at " << SUMORA_CORPUS_DIR;
    int opened = 0, rejected = 0;
    for (const auto& file : fs::recursive_directory_iterator(SUMORA_CORPUS_DIR)) {
        std::string ext = file.path().extension().string();
        if (!file.is_regular_file() || (ext != ".xlsx" && ext != ".ods")) continue;
        try {
            ZipReader reader(readFile(file.path()));
            for (const ZipEntry& entry : reader.entries())
                if (!entry.isDirectory) reader.stream(entry.path, [](std::string_view) {});
            ++opened;
        } catch (const ArchiveError&) {
            ++rejected;
        }
    }
    EXPECT_GT(opened, 500);
    EXPECT_GT(rejected, 0); // the corpus holds deliberately broken packages
    EXPECT_LT(rejected, opened / 5);
}
