// What an XLSX save writes is what the document holds: texts that look like
// numbers stay texts, booleans are booleans, and sheet names the format
// cannot hold are made valid with the formulas that name them. openpyxl
// reads the package back; LibreOffice opens it and calculates.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "XlsxTestSupport.h"
#include "formats/XlsxFormat.h"
#include "tests/TestSupport.h"

namespace sumora {
namespace {

namespace fs = std::filesystem;
using test::at;
using test::put;

bool haveOpenpyxl() {
    return std::system("/usr/bin/python3 -c 'import openpyxl' >/dev/null 2>&1") == 0;
}

class XlsxSaveFidelity : public test::ScratchFolderTest {
  protected:
    void SetUp() override {
        if (!haveOpenpyxl()) GTEST_SKIP() << "python3-openpyxl is not installed";
        ScratchFolderTest::SetUp();
    }
    // Writes the workbook and returns what `script` prints about it (the
    // script gets the workbook's path as sys.argv[1]).
    std::string readBack(const std::string& bytes, const std::string& script) {
        std::ofstream(dir_ / "book.xlsx", std::ios::binary) << bytes;
        file("read.py", script);
        std::string command = "/usr/bin/python3 '" + (dir_ / "read.py").string() + "' '" +
                              (dir_ / "book.xlsx").string() + "' > '" + (dir_ / "out.txt").string() +
                              "' 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0) << slurp(dir_ / "out.txt");
        return slurp(dir_ / "out.txt");
    }
};

TEST_F(XlsxSaveFidelity, CellsKeepTheirTypes) {
    // Cell text → the Python value openpyxl reads (repr).
    const struct {
        const char* text;
        const char* read;
    } cases[] = {
        {"00123", "'00123'"},
        {"+5", "'+5'"},
        {"1.50", "'1.50'"},
        {"1.", "'1.'"},
        {".5", "'.5'"},
        {"12345678901234567890", "'12345678901234567890'"},
        {"12345678901234567", "'12345678901234567'"}, // a double cannot hold it
        {"true", "'true'"},
        {"42", "42"},
        {"-0.25", "-0.25"},
        {"0.30000000000000004", "0.30000000000000004"},
        {"1.5E+20", "1.5e+20"},
        {"1234567890123456", "1234567890123456"},
        {"TRUE", "True"},
        {"FALSE", "False"},
    };
    SumoraDocument doc;
    Sheet& s = doc.sheets[0];
    int row = 1;
    for (const auto& c : cases)
        put(s, "A" + std::to_string(row++), c.text);
    // A formula's text result that looks like a number is a text result.
    at(s, "A" + std::to_string(row)).setFormula("TEXT(5,\"000\")");
    at(s, "A" + std::to_string(row)).setComputedValue("005");

    std::string read =
        readBack(writeXlsx(doc), "import sys, openpyxl\n"
                                 "ws = openpyxl.load_workbook(sys.argv[1], data_only=True).active\n"
                                 "for (v,) in ws.iter_rows(values_only=True): print(repr(v))\n");
    std::istringstream lines(read);
    std::string line;
    for (const auto& c : cases) {
        std::getline(lines, line);
        EXPECT_EQ(line, c.read) << c.text;
    }
    std::getline(lines, line);
    EXPECT_EQ(line, "'005'");
}

TEST_F(XlsxSaveFidelity, SheetNamesTheFormatCannotHoldAreMadeValid) {
    const std::string longName = "Quarterly figures for the north region";
    SumoraDocument doc;
    doc.sheets[0].name = "Main";
    for (const std::string name : {"a/b", "Data", "DATA", "[x]", longName.c_str(), "'quoted'"})
        doc.sheets.push_back(SumoraDocument::makeNewSheet(name));
    for (size_t i = 1; i < doc.sheets.size(); ++i)
        put(doc.sheets[i], "A1", std::to_string(1 << i));
    // No cached result: the application opening the file must calculate it.
    at(doc.sheets[0], "A1")
        .setFormula("'a/b'!A1+Data!A1+'DATA'!A1+'[x]'!A1+SUM('" + longName +
                    "'!A1:A2)+'''quoted'''!A1+LEN(\"Data!A1\")*0");

    LossReport losses;
    std::string bytes = writeXlsx(doc, &losses);
    EXPECT_EQ(losses.size(), 5u);
    EXPECT_EQ(doc.sheets[1].name, "a/b"); // the document keeps its names

    std::string read = readBack(bytes, "import sys, openpyxl\n"
                                       "wb = openpyxl.load_workbook(sys.argv[1])\n"
                                       "print(wb.sheetnames)\n"
                                       "print(wb['Main']['A1'].value)\n");
    EXPECT_EQ(read,
              "['Main', 'a_b', 'Data', 'DATA (2)', '_x_', 'Quarterly figures for the north', '_quoted_']\n"
              "=a_b!A1+Data!A1+'DATA (2)'!A1+_x_!A1+SUM('Quarterly figures for the north'!A1:A2)+"
              "_quoted_!A1+LEN(\"Data!A1\")*0\n");

    if (std::system("command -v soffice >/dev/null 2>&1") != 0) return;
    std::string command =
        "cd '" + dir_.string() + "' && soffice -env:UserInstallation=file:///tmp/lo-sumora-names-" +
        std::to_string(::getpid()) + " --headless --convert-to csv book.xlsx >/dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0);
    // 2 + 4 + 8 + 16 + 32 + 64
    EXPECT_EQ(slurp(dir_ / "book.csv"), "126\n");
}

} // namespace
} // namespace sumora
