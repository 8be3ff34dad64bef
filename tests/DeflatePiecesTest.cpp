// Pieces deflated apart must make one stream that zlib, an independent
// inflater, reads back to the original text; the walk that joins them must
// place the final block and the end where zlib does.
#include "formats/DeflatePieces.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>

#include "formats/DeflateStreamEnd.h"

using namespace sumora;

namespace {

// Whole raw deflate streams as zlib writes them.
std::string zlibDeflate(std::string_view text, int level, int strategy = Z_DEFAULT_STRATEGY) {
    z_stream z{};
    deflateInit2(&z, level, Z_DEFLATED, -15, 8, strategy);
    std::string out(deflateBound(&z, text.size()) + 16, '\0');
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    z.avail_in = static_cast<uInt>(text.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    deflate(&z, Z_FINISH);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

struct Inflated {
    std::string text;
    bool complete = false;         // ended with a final block, all input used
    std::size_t finalBlockBit = 0; // where zlib met the final block's header
};

// zlib stops at every block boundary (Z_BLOCK); the last header it reports
// is the final block's.
Inflated zlibInflate(std::string_view stream) {
    Inflated result;
    z_stream z{};
    inflateInit2(&z, -15);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(stream.data()));
    z.avail_in = static_cast<uInt>(stream.size());
    std::string buffer(1 << 16, '\0');
    int status = Z_OK;
    std::size_t header = 0;
    while (status == Z_OK) {
        if (z.data_type & 128 && !(z.data_type & 64)) header = z.total_in * 8 - (z.data_type & 7);
        z.next_out = reinterpret_cast<Bytef*>(buffer.data());
        z.avail_out = static_cast<uInt>(buffer.size());
        status = inflate(&z, Z_BLOCK);
        result.text.append(buffer.data(), buffer.size() - z.avail_out);
    }
    result.complete = status == Z_STREAM_END && z.avail_in == 0;
    result.finalBlockBit = header;
    inflateEnd(&z);
    return result;
}

std::string sampleXml(std::size_t size) {
    std::string text;
    for (std::size_t i = 0; text.size() < size; ++i)
        text += "<row r=\"" + std::to_string(i) + "\"><c r=\"A" + std::to_string(i) + "\" t=\"s\"><v>" +
                std::to_string(i * 7919 % 1000) + "</v></c></row>";
    text.resize(size);
    return text;
}

std::string randomBytes(std::size_t size) {
    std::mt19937 rng(17);
    std::string text(size, '\0');
    for (char& c : text)
        c = static_cast<char>(rng());
    return text;
}

} // namespace

TEST(DeflateStreamEnd, FindsTheFinalBlockAndTheEndWhereZlibDoes) {
    const std::string xml = sampleXml(300000), noise = randomBytes(70000);
    struct Case {
        const char* name;
        std::string stream;
        std::size_t length;
    };
    const std::vector<Case> cases = {
        {"empty, level 6", zlibDeflate("", 6), 0},
        {"stored", zlibDeflate("stored as it is", 0), 15},
        {"fixed codes", zlibDeflate("abcabcabcabcabc", 6, Z_FIXED), 15},
        {"one dynamic block", zlibDeflate(std::string_view(xml).substr(0, 5000), 9), 5000},
        {"many dynamic blocks", zlibDeflate(xml, 1), xml.size()},
        {"run lengths only", zlibDeflate(xml, 6, Z_RLE), xml.size()},
        {"literals only", zlibDeflate(xml, 6, Z_HUFFMAN_ONLY), xml.size()},
        {"incompressible, stored blocks", zlibDeflate(noise, 6), noise.size()},
        {"a libdeflate piece", PieceCompressor(1).compressWhole(xml), xml.size()},
        {"a level 12 libdeflate stream", PieceCompressor(12).compressWhole(xml), xml.size()},
    };
    for (const Case& c : cases) {
        auto end = findDeflateStreamEnd(c.stream);
        ASSERT_TRUE(end) << c.name;
        EXPECT_EQ(end->length, c.length) << c.name;
        EXPECT_EQ((end->endBit + 7) / 8, c.stream.size()) << c.name;
        EXPECT_EQ(end->finalBlockBit, zlibInflate(c.stream).finalBlockBit) << c.name;
    }
}

TEST(DeflateStreamEnd, RefusesWhatIsNotOneCompleteStream) {
    const std::string whole = zlibDeflate(sampleXml(20000), 6);
    std::string badComplement = zlibDeflate("stored", 0);
    badComplement[3] ^= 1;
    const std::vector<std::pair<const char*, std::string>> cases = {
        {"nothing", ""},
        {"cut short", whole.substr(0, whole.size() - 2)},
        {"cut in its header", whole.substr(0, 1)},
        {"stored length without its complement", badComplement},
        {"reserved block type", std::string("\x07\x00", 2)},
        // A fixed-code match of length 3 at distance 1 before any byte.
        {"distance before the start", std::string("\x03\x02\x00", 3)},
        {"sync flush without a final block", std::string("\x00\x00\x00\xFF\xFF", 5)},
    };
    for (const auto& [name, stream] : cases)
        EXPECT_FALSE(findDeflateStreamEnd(stream)) << name;
}

TEST(PieceCompressor, PiecesJoinIntoOneStreamAtEveryLevel) {
    const std::string xml = sampleXml(700000), noise = randomBytes(50000);
    // Pieces of odd sizes end at every bit position within their last byte.
    const std::vector<std::string_view> pieces = {
        std::string_view(xml).substr(0, 1),      "",
        std::string_view(xml).substr(1, 333333), noise,
        std::string_view(xml).substr(333334, 7), std::string_view(xml).substr(333341)};
    std::string expected;
    for (std::string_view piece : pieces)
        expected += piece;
    for (int level : {1, 2, 6, 9, 12}) {
        PieceCompressor compressor(level);
        std::string stream;
        for (std::string_view piece : pieces)
            stream += compressor.compress(piece);
        stream += kDeflateFinalBlock;
        Inflated back = zlibInflate(stream);
        EXPECT_TRUE(back.complete) << level;
        EXPECT_TRUE(back.text == expected) << level;
    }
}

TEST(PieceDeflater, WrittenTextComesBackWithItsChecksum) {
    const std::string xml = sampleXml(5 * kDeflatePieceBytes + 12345);
    // Whole, under a piece, in pieces, and handed over at uneven points.
    for (std::size_t size : {std::size_t{0}, std::size_t{1000}, xml.size()}) {
        for (std::size_t step : {std::size_t{4096}, std::size_t{777777}}) {
            PieceDeflater part(1, 6);
            for (std::size_t at = 0; at < size; at += step) {
                part.text().append(xml, at, std::min(step, size - at));
                part.pieceMayEnd();
            }
            DeflatedPart deflated = part.finish();
            std::string_view text = std::string_view(xml).substr(0, size);
            EXPECT_EQ(deflated.size, size);
            EXPECT_EQ(deflated.crc,
                      crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size())));
            Inflated back = zlibInflate(deflated.bytes);
            EXPECT_TRUE(back.complete) << size << " by " << step;
            EXPECT_TRUE(back.text == text) << size << " by " << step;
        }
    }
}
