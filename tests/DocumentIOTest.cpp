// Choosing a reader by content type and extension, the user messages of a
// failed open, and atomic saving.
#include "formats/DocumentIO.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <csignal>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "formats/FileBytes.h"
#include "formats/FileErrors.h"
#include "tests/TestSupport.h"
#include "values/Log.h"

namespace sumora {
namespace {

namespace fs = std::filesystem;

std::string readMessage(const std::optional<std::string>& contents, std::string_view name,
                        std::string_view type) {
    try {
        openDocument(contents, name, type);
    } catch (const FileReadError& e) {
        return e.what();
    }
    return "(opened)";
}

TEST(OpenDispatch, LogsSizeAndNameWithTwoSpaceIndent) {
    LogCapture log;
    SumoraDocument doc = openDocument(std::string("a,b\n"), "Book.CSV", kDataContentType);
    ASSERT_GE(log.lines().size(), 2u);
    EXPECT_EQ(log.lines()[0], "[Sumora]   regularFileContents size: 4");
    EXPECT_EQ(log.lines()[1], "[Sumora]   filename: Book.CSV, ext: csv");
    EXPECT_EQ(doc.sheets[0].cell(0, 1).value(), "b"); // the extension alone selects CSV
}

TEST(OpenDispatch, MissingContentsIsTheEmptyFileMessage) {
    LogCapture log;
    EXPECT_EQ(readMessage(std::nullopt, "a.csv", kCsvContentType),
              "The file appears to be empty or could not be read.");
    EXPECT_TRUE(log.contains("[Sumora]   regularFileContents size: -1"));
    // Present but empty contents are a valid (empty) CSV file.
    EXPECT_EQ(openDocument(std::string(), "a.csv", kCsvContentType).sheets[0].rowCount(), 500);
}

TEST(OpenDispatch, UnknownTypeOpensANewEmptyDocument) {
    LogCapture log;
    SumoraDocument doc = openDocument(std::string("a\tb\n"), "table.tsv", kDataContentType);
    EXPECT_TRUE(
        log.contains("[Sumora]   No match for contentType public.data, ext=tsv, falling back to empty doc"));
    ASSERT_EQ(doc.sheets.size(), 1u);
    EXPECT_EQ(doc.sheets[0].name, "Sheet 1");
    EXPECT_EQ(doc.sheets[0].rowCount(), 500);
    EXPECT_EQ(doc.sheets[0].columnCount(), 26);
    EXPECT_TRUE(doc.sheets[0].cell(0, 0).isDefault());
    EXPECT_NO_THROW(openDocument(std::string("x"), "noextension", "public.data"));
}

TEST(OpenDispatch, CsvContentTypeWinsOverTheExtension) {
    SumoraDocument doc = openDocument(std::string("x,y\n"), "notes.txt", kCsvContentType);
    EXPECT_EQ(doc.sheets[0].cell(0, 1).value(), "y");
}

TEST(OpenDispatch, CsvEncodingErrorsPassUnchanged) {
    try {
        openDocument(std::string("\xFF"), "bad.csv", kCsvContentType);
        FAIL() << "opened invalid UTF-8";
    } catch (const FileReadError& e) {
        EXPECT_EQ(e.code(), FileReadError::Code::inapplicableEncoding);
    }
}

bool isXlsxMessage(std::string_view m) {
    return m == "The file is not a valid XLSX archive. It may be corrupted or truncated." ||
           m == "The file contains invalid XML data. A worksheet may be corrupted." ||
           m == "The file is missing required components (shared strings). It may have been partially "
                "saved." ||
           m.rfind("Could not open this XLSX file: ", 0) == 0;
}

TEST(OpenDispatch, XlsxIsChosenByTypeOrByExtensionAlone) {
    const struct {
        const char* name;
        std::string_view type;
    } cases[] = {
        {"book.xlsx", kDataContentType},
        {"BOOK.XLSX", kDataContentType},
        {"book.bin", kXlsxContentType},
        {"book.csv", kXlsxContentType}, // XLSX is tried before CSV
    };
    for (const auto& c : cases) {
        LogCapture log;
        std::string message = readMessage(std::string("not a zip"), c.name, c.type);
        EXPECT_TRUE(isXlsxMessage(message)) << c.name << ": " << message;
        EXPECT_TRUE(log.contains("[Sumora]   Matched XLSX, parsing 9 bytes...")) << c.name;
        EXPECT_TRUE(log.contains("[Sumora]   XLSX parse FAILED")) << c.name;
    }
}

TEST(OpenDispatch, OdsIsChosenByTypeOrExtensionAndFailsAsAFileError) {
    for (auto [name, type] :
         {std::pair<const char*, std::string_view>{"a.ods", kDataContentType}, {"a.bin", kOdsContentType}}) {
        LogCapture log;
        std::string message = readMessage(std::string("not a zip"), name, type);
        EXPECT_NE(message, "(opened)") << name;
        EXPECT_FALSE(log.contains("No match")) << name;
    }
}

TEST(XlsxFailureMessage, FirstMatchingTestDecides) {
    const std::string archive = "The file is not a valid XLSX archive. It may be corrupted or truncated.";
    const std::string xml = "The file contains invalid XML data. A worksheet may be corrupted.";
    const std::string shared =
        "The file is missing required components (shared strings). It may have been partially saved.";
    const struct {
        const char* description;
        std::string message;
    } cases[] = {
        {"bad ZIP header", archive},
        {"not an archive", archive},
        {"Archive is truncated", archive},
        {"XML error inside the ZIP", archive}, // archive wins over XML
        {"XML syntax error", xml},
        {"could not parse sheet1", xml},
        {"Parse failure", xml},
        {"sharedStrings parse failed", xml}, // "parse" is tested before shared strings
        {"missing sharedStrings", shared},
        {"SharedStrings absent", shared},
        {"zip is lower case", "Could not open this XLSX file: zip is lower case"},
        {"", "Could not open this XLSX file: "},
    };
    for (const auto& c : cases)
        EXPECT_EQ(xlsxFailureMessage(c.description), c.message) << c.description;
}

TEST(FileTypes, ExtensionsMapToTypesAndContentTypes) {
    EXPECT_EQ(fileTypeForPath("a/b.XLSX"), FileType::xlsx);
    EXPECT_EQ(fileTypeForPath("b.ods"), FileType::ods);
    EXPECT_EQ(fileTypeForPath("b.csv"), FileType::csv);
    EXPECT_FALSE(fileTypeForPath("b.txt"));
    EXPECT_FALSE(fileTypeForPath("dir.csv/file"));
    EXPECT_EQ(contentTypeForPath("x.csv"), kCsvContentType);
    EXPECT_EQ(contentTypeForPath("x"), kDataContentType);
}

using FileOpen = test::ScratchFolderTest;

TEST_F(FileOpen, MissingFileIsANoSuchFileError) {
    try {
        openDocumentFile(dir_ / "absent.csv");
        FAIL();
    } catch (const FileReadError& e) {
        EXPECT_EQ(e.code(), FileReadError::Code::noSuchFile);
        EXPECT_NE(std::string(e.what()).find("absent.csv"), std::string::npos);
    }
}

TEST_F(FileOpen, DirectoryHasNoContents) {
    fs::create_directories(dir_ / "folder.csv");
    try {
        openDocumentFile(dir_ / "folder.csv");
        FAIL() << "a directory opened as a document";
    } catch (const FileReadError& e) {
        EXPECT_EQ(std::string(e.what()), "The file appears to be empty or could not be read.");
    }
}

TEST_F(FileOpen, ReadsByExtension) {
    file("in.csv", "1,2\n");
    EXPECT_EQ(openDocumentFile(dir_ / "in.csv").sheets[0].cell(0, 1).value(), "2");
}

TEST_F(FileOpen, BytesAreReadWholeWhateverTheSizeOrKindOfFile) {
    // Around the size from which files are read into huge pages, and a pipe,
    // whose size is not known before its end.
    for (size_t size :
         {size_t{0}, size_t{5}, (size_t{2} << 20) - 1, size_t{2} << 20, (size_t{4} << 20) + 3}) {
        std::string text(size, 'a');
        for (size_t i = 0; i < size; i += 4093)
            text[i] = static_cast<char>('0' + i % 10);
        std::optional<FileBytes> bytes = FileBytes::read(file("f.bin", text));
        ASSERT_TRUE(bytes) << size;
        EXPECT_TRUE(bytes->view() == text) << size;
    }
    const fs::path pipe = dir_ / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::string piped((size_t{3} << 20) + 7, 'p');
    std::thread writer([&] { std::ofstream(pipe, std::ios::binary) << piped; });
    std::optional<FileBytes> bytes = FileBytes::read(pipe);
    writer.join();
    ASSERT_TRUE(bytes);
    EXPECT_EQ(bytes->view().size(), piped.size());
    EXPECT_FALSE(FileBytes::read(dir_));
    EXPECT_FALSE(FileBytes::read(dir_ / "absent"));
}

using AtomicSave = test::ScratchFolderTest;

TEST_F(AtomicSave, WritesTheFileAndLeavesNoTemporary) {
    SumoraDocument doc;
    doc.sheets[0].setGridSize(1, 2);
    doc.sheets[0].cellForWriting(0, 0).setValue("a");
    file("out.csv", "previous\n");
    saveDocumentFile(doc, dir_ / "out.csv");
    EXPECT_EQ(slurp(dir_ / "out.csv"), "a,\n");
    EXPECT_EQ(entries(), std::vector<std::string>{"out.csv"});
    // An extension no writer handles needs the type named.
    EXPECT_THROW(saveDocumentFile(doc, dir_ / "out.xls"), FileWriteError);
    EXPECT_EQ(entries(), std::vector<std::string>{"out.csv"});
    saveDocumentFile(doc, dir_ / "out.dat", FileType::csv);
    EXPECT_EQ(slurp(dir_ / "out.dat"), "a,\n");
}

TEST_F(AtomicSave, FailedWriteKeepsThePreviousFile) {
    file("out.csv", "previous\n");
    // Limit file sizes so that writing the temporary fails part-way (this
    // holds even for root, whom permissions would not stop).
    auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    rlimit small = old;
    small.rlim_cur = 4096;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    bool threw = false;
    try {
        writeFileAtomically(dir_ / "out.csv", std::string(1 << 20, 'x'));
    } catch (const FileWriteError&) {
        threw = true;
    }
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_TRUE(threw);
    EXPECT_EQ(slurp(dir_ / "out.csv"), "previous\n");
    EXPECT_EQ(entries(), std::vector<std::string>{"out.csv"});
}

TEST_F(AtomicSave, UnwritableTargetsThrowAndLeaveNoTemporary) {
    EXPECT_THROW(writeFileAtomically(dir_ / "missing" / "out.csv", "x"), FileWriteError);
    fs::create_directories(dir_ / "taken.csv" / "child");
    EXPECT_THROW(writeFileAtomically(dir_ / "taken.csv", "x"), FileWriteError);
    EXPECT_TRUE(fs::is_directory(dir_ / "taken.csv" / "child"));
    EXPECT_EQ(entries(), std::vector<std::string>{"taken.csv"});
}

// The desktop application runs under the user's locale; a comma-decimal one
// must not leak into the number texts of a saved file ("2,540cm").
TEST(DocumentIO, SavedFilesDoNotDependOnTheProcessLocale) {
    test::TestBook book;
    book.set("A1", "1.5").set("B1", "=A1*2").computed("B1", "3");
    book.doc.sheets[0].columnWidths = {{0, 50.5}, {2, 131.25}};
    const std::pair<FileType, const char*> types[] = {
        {FileType::xlsx, "a.xlsx"}, {FileType::ods, "a.ods"}, {FileType::csv, "a.csv"}};
    for (const auto& [type, name] : types) {
        SumoraDocument plain = openDocument(documentFileContents(book.doc, type), name, "");
        std::string saved;
        {
            const std::string before = std::setlocale(LC_ALL, nullptr);
            if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) GTEST_SKIP() << "de_DE.UTF-8 is not generated";
            saved = documentFileContents(book.doc, type);
            std::setlocale(LC_ALL, before.c_str());
        }
        SumoraDocument german = openDocument(saved, name, "");
        EXPECT_EQ(german.sheets[0].columnWidths, plain.sheets[0].columnWidths) << name;
        EXPECT_EQ(german.sheets[0].cell(0, 0).displayValue(), "1.5") << name;
        EXPECT_EQ(german.sheets[0].cell(0, 1).displayValue(), plain.sheets[0].cell(0, 1).displayValue())
            << name;
    }
}

} // namespace
} // namespace sumora
