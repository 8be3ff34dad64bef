// Files made to exhaust the reader: every one opens or fails with the
// reader's message, in bounded memory and time. Each is generated here, small
// on disk, rather than stored.
#include <gtest/gtest.h>

#include <cstring>

#include "formats/CsvFormat.h"
#include "formats/DocumentIO.h"
#include "formats/FileErrors.h"
#include "formats/XmlReader.h"
#include "formats/ZipArchive.h"
#include "tests/MemoryLimitSupport.h"
#include "tests/XlsxReaderTestSupport.h"

namespace sumora {
namespace {

std::string openFailure(const std::string& bytes, std::string_view name, std::string_view type) {
    try {
        openDocument(bytes, name, type);
    } catch (const FileReadError& e) {
        return e.what();
    }
    return "(opened)";
}

// Rewrites the uncompressed size that the local and central headers of the
// entry `path` declare.
std::string withDeclaredSize(std::string zip, std::string_view path, uint32_t size) {
    auto u16 = [&](size_t at) {
        return static_cast<size_t>(static_cast<uint8_t>(zip[at]) | static_cast<uint8_t>(zip[at + 1]) << 8);
    };
    auto patch = [&](std::string_view signature, size_t sizeAt, size_t nameLengthAt, size_t nameAt) {
        for (size_t at = zip.find(signature); at != std::string::npos; at = zip.find(signature, at + 1))
            if (zip.compare(at + nameAt, path.size(), path) == 0 && u16(at + nameLengthAt) == path.size())
                std::memcpy(zip.data() + at + sizeAt, &size, 4); // little-endian machine
    };
    patch(std::string_view("PK\x03\x04", 4), 22, 26, 30);
    patch(std::string_view("PK\x01\x02", 4), 24, 28, 46);
    return zip;
}

TEST(HostileFiles, OdsSpaceRunsStopAtTheWorkbookTextLimit) {
    // 140,000 runs of 4,096 spaces: 570 MB of text from a small file.
    std::string runs;
    for (int i = 0; i < 140000; ++i)
        runs += "<text:s text:c=\"4096\"/>";
    ZipWriter zip;
    zip.add("mimetype", "application/vnd.oasis.opendocument.spreadsheet", Compression::store);
    zip.add("content.xml",
            "<office:document-content xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
            "xmlns:table=\"urn:oasis:names:tc:opendocument:xmlns:table:1.0\" "
            "xmlns:text=\"urn:oasis:names:tc:opendocument:xmlns:text:1.0\"><office:body><office:spreadsheet>"
            "<table:table table:name=\"T\"><table:table-row><table:table-cell><text:p>" +
                runs +
                "</text:p></table:table-cell></table:table-row></table:table>"
                "</office:spreadsheet></office:body></office:document-content>");
    EXPECT_EQ(openFailure(zip.finish(), "spaces.ods", kOdsContentType),
              "Could not open this ODS file: The workbook's cells hold more than 512 MB of text, more than "
              "can be opened.");
}

TEST(HostileFiles, EntryExpandingPastItsDeclaredSizeIsRefusedAtThatSize) {
    const std::string path = "xl/worksheets/sheet1.xml";
    const std::string sheet = xlsxtest::worksheet(std::string(size_t{16} << 20, ' '));
    const std::string bytes = withDeclaredSize(xlsxtest::TestPackage(sheet).bytes(), path, 4096);

    ZipReader archive(bytes);
    EXPECT_THROW(archive.stream(path, [](std::string_view) {}), ArchiveError);
    EXPECT_LE(archive.totalBytesRead(), 4096 + ZipReader::chunkSize);
    EXPECT_EQ(openFailure(bytes, "lying.xlsx", kXlsxContentType),
              "The file is not a valid XLSX archive. It may be corrupted or truncated.");
}

TEST(HostileFiles, LongTextRunsReachTheHandlerInPieces) {
    struct Largest : XmlHandler {
        size_t largest = 0, total = 0;
        void characters(std::string_view text) override {
            largest = std::max(largest, text.size());
            total += text.size();
        }
    } handler;
    XmlReader reader(handler);
    const std::string blanks(size_t{256} << 10, ' ');
    reader.feed("<a>");
    for (int i = 0; i < 32; ++i)
        reader.feed(blanks);
    reader.feed("</a>");
    reader.finish();
    EXPECT_EQ(handler.total, size_t{8} << 20); // nothing lost
    EXPECT_LE(handler.largest, size_t{2} << 20);
}

// Each sheet is read and recalculated on its own: the workbook's cost grows
// with its sheets, not with their square, and stays inside 1 GB of growth.
TEST(HostileFiles, HundredThousandEmptySheetsOpen) {
    xlsxtest::TestPackage package;
    for (int i = 2; i <= 100000; ++i)
        package.addSheet("S" + std::to_string(i), xlsxtest::worksheet(""));
    const std::string bytes = package.bytes();
    const int status = test::runWithMemoryLimit(size_t{1} << 30, [&] {
        SumoraDocument doc = openDocument(bytes, "many.xlsx", kXlsxContentType);
        return doc.sheets.size() == 100000 && doc.sheets.back().name == "S100000" ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
}

TEST(HostileFiles, DimensionClaimingTheWholeGridIsNotTrusted) {
    xlsxtest::TestPackage package(xlsxtest::worksheet(R"(<row r="1"><c r="A1"><v>1</v></c></row>)",
                                                      R"(<dimension ref="A1:XFD1048576"/>)"));
    SumoraDocument doc = openDocument(package.bytes(), "claims.xlsx", kXlsxContentType);
    const Sheet& sheet = doc.sheets[0];
    EXPECT_EQ(sheet.cell(0, 0).value(), "1");
    EXPECT_EQ(sheet.storedRowCount(), 1);
    EXPECT_EQ(sheet.rowCount(), SumoraDocument::kNewSheetRows);
    EXPECT_EQ(sheet.columnCount(), SumoraDocument::kNewSheetColumns);
}

TEST(HostileFiles, ReaderOutOfMemoryGivesItsMessage) {
    // Twelve million short fields, far more cells than 128 MB can hold.
    std::string csv;
    for (int line = 0; line < 400000; ++line)
        csv += "1,2,3,4,5,6,7,8,9,0,1,2,3,4,5,6,7,8,9,0,1,2,3,4,5,6,7,8,9,0\n";
    const int status = test::runWithMemoryLimit(size_t{128} << 20, [&] {
        const std::string message = openFailure(csv, "big.csv", kCsvContentType);
        return message == "Could not open this CSV file: the file needs more memory than is available." ? 0
                                                                                                        : 1;
    });
    EXPECT_EQ(status, 0);
}

} // namespace
} // namespace sumora
