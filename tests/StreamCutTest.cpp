#include "formats/StreamCut.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace sumora {
namespace {

struct CutCase {
    std::string text;
    std::vector<std::string_view> needles;
    uint64_t from;
};

// Where the whole text is cut: the earliest needle starting at or after `from`.
std::string::size_type wholeCut(const CutCase& c) {
    for (size_t at = c.from; at < c.text.size(); ++at)
        for (std::string_view needle : c.needles)
            if (std::string_view(c.text).substr(at).starts_with(needle)) return at;
    return std::string::npos;
}

// Pieces of every size cut the stream where the whole text is cut.
TEST(StreamCut, PiecesOfAnySizeCutWhereTheWholeTextIs) {
    const std::vector<CutCase> cases = {
        {"<a><row r=\"1\"/><row r=\"2\"/></a>", {"<row "}, 0},
        {"<a><row r=\"1\"/><row r=\"2\"/></a>", {"<row "}, 4}, // the first row lies before the offset
        {"<a><row r=\"1\"/><row r=\"2\"/></a>", {"<row "}, 3}, // a needle starting right at the offset
        {"<a><row r=\"1\"/></a>", {"<row "}, 5},               // no needle after the offset
        {"<ro<row<row x", {"<row "}, 0},                       // false starts just before the needle
        {"..<t:r>..<t:r x", {"<t:r ", "<t:r>"}, 0},            // the earlier of two needles
        {"..<t:r x..<t:r>", {"<t:r ", "<t:r>"}, 0},
        {"..<t:r x..<t:r>", {"<t:r ", "<t:r>"}, 3}, // the later one, past the offset
        {"</sheetData></worksheet>", {"</sheetData>"}, 0},
        {"", {"<row "}, 0},
    };
    for (const CutCase& c : cases) {
        const auto cut = wholeCut(c);
        for (size_t piece = 1; piece <= c.text.size() + 1; ++piece) {
            StreamCut stream(c.needles, c.from);
            std::string before, after;
            auto toBefore = [&](std::string_view s) { before.append(s); };
            auto toAfter = [&](std::string_view s) { after.append(s); };
            for (size_t at = 0; at < c.text.size(); at += piece)
                stream.feed(std::string_view(c.text).substr(at, piece), toBefore, toAfter);
            stream.finish(toBefore);
            const std::string context = "\"" + c.text + "\" from " + std::to_string(c.from) +
                                        " in pieces of " + std::to_string(piece);
            EXPECT_EQ(stream.found(), cut != std::string::npos) << context;
            EXPECT_EQ(before, c.text.substr(0, cut)) << context;
            EXPECT_EQ(after, cut == std::string::npos ? "" : c.text.substr(cut)) << context;
        }
    }
}

} // namespace
} // namespace sumora
