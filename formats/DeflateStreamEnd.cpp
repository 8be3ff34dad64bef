// A walk over a raw deflate stream (RFC 1951) that decodes every code but
// writes no output: it only counts the bytes the codes stand for and keeps
// the bit positions of the block headers. Codes that fit the tables are
// decoded by one table lookup, longer ones canonically, bit by bit.
#include "formats/DeflateStreamEnd.h"

#include <array>
#include <bit>
#include <cstring>

namespace sumora {

namespace {

constexpr unsigned kMaxCodeBits = 15;
// Table sizes: most literal and length codes and nearly all distance codes
// are shorter; the tables are rebuilt for every block.
constexpr unsigned kLiteralTableBits = 11;
constexpr unsigned kDistanceTableBits = 8;
constexpr unsigned kLengthCodeTableBits = 7;
constexpr unsigned kLiteralLengthCodes = 288;
constexpr unsigned kEndOfBlock = 256;

constexpr std::array<std::uint16_t, 29> kLengthBase = {3,  4,  5,  6,   7,   8,   9,   10,  11, 13,
                                                       15, 17, 19, 23,  27,  31,  35,  43,  51, 59,
                                                       67, 83, 99, 115, 131, 163, 195, 227, 258};
constexpr std::array<std::uint8_t, 29> kLengthExtra = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                                       2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
constexpr std::array<std::uint16_t, 30> kDistanceBase = {
    1,   2,   3,   4,   5,   7,    9,    13,   17,   25,   33,   49,   65,    97,    129,
    193, 257, 385, 513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
constexpr std::array<std::uint8_t, 30> kDistanceExtra = {0, 0, 0, 0, 1, 1, 2, 2,  3,  3,  4,  4,  5,  5,  6,
                                                         6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13};
// The order in which a dynamic block lists the code-length code's lengths.
constexpr std::array<std::uint8_t, 19> kCodeLengthOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                           11, 4,  12, 3, 13, 2, 14, 1, 15};

// Reads bits least significant first, as deflate packs them. Past the end
// it reads zeros and counts them, so that a walk cut short is noticed.
class BitReader {
  public:
    explicit BitReader(std::string_view bytes)
        : begin_(reinterpret_cast<const unsigned char*>(bytes.data())), next_(begin_),
          end_(begin_ + bytes.size()) {}

    // At least 56 bits are available afterwards.
    void refill() {
        if (end_ - next_ >= 8) {
            std::uint64_t word;
            std::memcpy(&word, next_, 8);
            if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
            buffer_ |= word << count_;
            next_ += (63 - count_) >> 3;
            count_ |= 56;
            return;
        }
        while (count_ <= 56) {
            std::uint64_t byte = 0;
            if (next_ < end_)
                byte = *next_++;
            else
                ++beyondEnd_;
            buffer_ |= byte << count_;
            count_ += 8;
        }
    }

    std::uint32_t peek(unsigned n) const { return static_cast<std::uint32_t>(buffer_ & ((1ull << n) - 1)); }
    void skip(unsigned n) {
        buffer_ >>= n;
        count_ -= n;
    }
    std::uint32_t take(unsigned n) {
        std::uint32_t bits = peek(n);
        skip(n);
        return bits;
    }

    std::size_t position() const {
        return (static_cast<std::size_t>(next_ - begin_) + beyondEnd_) * 8 - count_;
    }
    bool pastEnd() const { return position() > static_cast<std::size_t>(end_ - begin_) * 8; }
    // A cheap bound for loops that check pastEnd() once they are done.
    bool farPastEnd() const { return beyondEnd_ > 8; }

    // Moves to the next byte boundary, then over `n` whole bytes.
    bool skipBytes(std::size_t n) {
        std::size_t byte = (position() + 7) / 8;
        if (byte > static_cast<std::size_t>(end_ - begin_) ||
            n > static_cast<std::size_t>(end_ - begin_) - byte)
            return false;
        next_ = begin_ + byte + n;
        buffer_ = 0;
        count_ = 0;
        beyondEnd_ = 0;
        return true;
    }

  private:
    const unsigned char* begin_;
    const unsigned char* next_;
    const unsigned char* end_;
    std::uint64_t buffer_ = 0;
    unsigned count_ = 0;
    std::size_t beyondEnd_ = 0; // zero bytes read past the end
};

// What a code's symbol means, packed with the code's length into one table
// entry, so that a length or a distance with its extra bits takes one lookup.
enum class SymbolKind : std::uint32_t { literal, endOfBlock, sized, invalid };

constexpr std::uint32_t symbolInfo(SymbolKind kind, std::uint32_t base = 0, std::uint32_t extraBits = 0) {
    return base << 16 | static_cast<std::uint32_t>(kind) << 8 | extraBits << 4;
}
constexpr SymbolKind kindOf(std::uint32_t entry) {
    return static_cast<SymbolKind>(entry >> 8 & 3);
}

// A canonical Huffman code: a table for the codes of up to TableBits bits,
// counts and symbols in code order for the rest.
template <unsigned TableBits> class HuffmanCode {
  public:
    // False for lengths that over-subscribe the code, or leave it
    // incomplete where zlib refuses that: everywhere but a code of at most
    // one bit (a block with one distance code, or none). `info` gives each
    // symbol's meaning.
    bool build(const std::uint8_t* lengths, unsigned n, const std::uint32_t* info,
               bool mayBeIncomplete = true) {
        info_ = info;
        count_.fill(0);
        for (unsigned s = 0; s < n; ++s)
            ++count_[lengths[s]];
        count_[0] = 0;
        int left = 1;
        unsigned longest = 0;
        for (unsigned len = 1; len <= kMaxCodeBits; ++len) {
            left = left * 2 - count_[len];
            if (left < 0) return false;
            if (count_[len] > 0) longest = len;
        }
        if (left > 0 && !(mayBeIncomplete && longest <= 1)) return false;
        std::array<std::uint16_t, kMaxCodeBits + 2> offset{};
        std::array<std::uint32_t, kMaxCodeBits + 1> nextCode{};
        std::uint32_t code = 0;
        for (unsigned len = 1; len <= kMaxCodeBits; ++len) {
            offset[len + 1] = static_cast<std::uint16_t>(offset[len] + count_[len]);
            code = (code + count_[len - 1]) << 1;
            nextCode[len] = code;
        }
        table_.fill(0);
        for (unsigned s = 0; s < n; ++s) {
            unsigned len = lengths[s];
            if (len == 0) continue;
            symbols_[offset[len]++] = static_cast<std::uint16_t>(s);
            std::uint32_t reversed = reverse(nextCode[len]++, len);
            if (len > TableBits) continue;
            for (std::uint32_t i = reversed; i < table_.size(); i += 1u << len)
                table_[i] = info[s] | len;
        }
        return true;
    }

    // The next symbol's entry (its info and, in the low four bits, its code
    // length), with the code consumed; invalid where no code matches. Reads
    // at most 15 bits.
    std::uint32_t decode(BitReader& in) const {
        if (std::uint32_t entry = table_[in.peek(TableBits)]; entry & 15) {
            in.skip(entry & 15);
            return entry;
        }
        std::uint32_t bits = in.peek(kMaxCodeBits);
        int code = 0, first = 0, index = 0;
        for (unsigned len = 1; len <= kMaxCodeBits; ++len) {
            code |= static_cast<int>((bits >> (len - 1)) & 1);
            int count = count_[len];
            if (code - first < count) {
                in.skip(len);
                return info_[symbols_[static_cast<std::size_t>(index + code - first)]] | len;
            }
            index += count;
            first = (first + count) << 1;
            code <<= 1;
        }
        return symbolInfo(SymbolKind::invalid);
    }

  private:
    static std::uint32_t reverse(std::uint32_t code, unsigned len) {
        std::uint32_t r = 0;
        for (unsigned i = 0; i < len; ++i, code >>= 1)
            r = (r << 1) | (code & 1);
        return r;
    }

    std::array<std::uint32_t, 1u << TableBits> table_{}; // info | code length; length 0: a longer code
    std::array<std::uint16_t, kMaxCodeBits + 1> count_{};
    std::array<std::uint16_t, kLiteralLengthCodes> symbols_{};
    const std::uint32_t* info_ = nullptr;
};

// The meaning of every literal/length symbol and of every distance symbol.
struct SymbolTables {
    std::array<std::uint32_t, kLiteralLengthCodes> literalLength{};
    std::array<std::uint32_t, 32> distance{};
    SymbolTables() {
        for (unsigned s = 0; s < kLiteralLengthCodes; ++s)
            literalLength[s] =
                s < kEndOfBlock    ? symbolInfo(SymbolKind::literal)
                : s == kEndOfBlock ? symbolInfo(SymbolKind::endOfBlock)
                : s - 257 < kLengthBase.size()
                    ? symbolInfo(SymbolKind::sized, kLengthBase[s - 257], kLengthExtra[s - 257])
                    : symbolInfo(SymbolKind::invalid);
        for (unsigned s = 0; s < distance.size(); ++s)
            distance[s] = s < kDistanceBase.size()
                              ? symbolInfo(SymbolKind::sized, kDistanceBase[s], kDistanceExtra[s])
                              : symbolInfo(SymbolKind::invalid);
    }
};

const SymbolTables& symbolTables() {
    static const SymbolTables tables;
    return tables;
}

using LiteralCode = HuffmanCode<kLiteralTableBits>;
using DistanceCode = HuffmanCode<kDistanceTableBits>;

struct FixedCodes {
    LiteralCode literals;
    DistanceCode distances;
    FixedCodes() {
        std::array<std::uint8_t, kLiteralLengthCodes> lengths{};
        for (unsigned s = 0; s < kLiteralLengthCodes; ++s)
            lengths[s] = s < 144 ? 8 : s < 256 ? 9 : s < 280 ? 7 : 8;
        literals.build(lengths.data(), kLiteralLengthCodes, symbolTables().literalLength.data());
        lengths.fill(5);
        distances.build(lengths.data(), 32, symbolTables().distance.data());
    }
};

// A dynamic block's header: its two codes, themselves coded.
bool readDynamicCodes(BitReader& in, LiteralCode& literals, DistanceCode& distances) {
    static const auto lengthCodeInfo = [] {
        std::array<std::uint32_t, 19> info{};
        for (std::uint32_t s = 0; s < info.size(); ++s)
            info[s] = symbolInfo(SymbolKind::literal, s);
        return info;
    }();
    in.refill();
    const unsigned literalCount = in.take(5) + 257, distanceCount = in.take(5) + 1;
    const unsigned lengthCodeCount = in.take(4) + 4;
    if (literalCount > 286 || distanceCount > 30) return false;
    std::array<std::uint8_t, 19> codeLengths{};
    for (unsigned i = 0; i < lengthCodeCount; ++i) {
        in.refill();
        codeLengths[kCodeLengthOrder[i]] = static_cast<std::uint8_t>(in.take(3));
    }
    HuffmanCode<kLengthCodeTableBits> lengthCode;
    if (!lengthCode.build(codeLengths.data(), 19, lengthCodeInfo.data(), false)) return false;
    std::array<std::uint8_t, 286 + 30> lengths{};
    const unsigned total = literalCount + distanceCount;
    for (unsigned i = 0; i < total;) {
        in.refill();
        std::uint32_t entry = lengthCode.decode(in);
        if (kindOf(entry) == SymbolKind::invalid) return false;
        std::uint32_t symbol = entry >> 16;
        if (symbol < 16) {
            lengths[i++] = static_cast<std::uint8_t>(symbol);
            continue;
        }
        std::uint8_t value = 0;
        unsigned repeat;
        if (symbol == 16) {
            if (i == 0) return false;
            value = lengths[i - 1];
            repeat = 3 + in.take(2);
        } else if (symbol == 17) {
            repeat = 3 + in.take(3);
        } else {
            repeat = 11 + in.take(7);
        }
        if (repeat > total - i) return false;
        for (; repeat > 0; --repeat)
            lengths[i++] = value;
    }
    if (lengths[kEndOfBlock] == 0) return false;
    return literals.build(lengths.data(), literalCount, symbolTables().literalLength.data()) &&
           distances.build(lengths.data() + literalCount, distanceCount, symbolTables().distance.data());
}

// The base and extra bits an entry of kind `sized` stands for.
std::uint32_t sizedValue(BitReader& in, std::uint32_t entry) {
    return (entry >> 16) + in.take(entry >> 4 & 15);
}

// The codes of one block up to its end-of-block code. Works on a copy of
// the reader, which the compiler keeps in registers.
bool walkCodes(BitReader& reader, const LiteralCode& literals, const DistanceCode& distances,
               std::uint64_t& total) {
    BitReader in = reader;
    std::uint64_t length = total;
    bool ended = false;
    while (!in.farPastEnd()) {
        // One refill covers a length and a distance with their extra bits (48 bits).
        in.refill();
        std::uint32_t entry = literals.decode(in);
        SymbolKind kind = kindOf(entry);
        if (kind == SymbolKind::literal) {
            ++length;
            continue;
        }
        if (kind != SymbolKind::sized) {
            ended = kind == SymbolKind::endOfBlock;
            break;
        }
        std::uint32_t matchLength = sizedValue(in, entry);
        std::uint32_t distanceEntry = distances.decode(in);
        if (kindOf(distanceEntry) != SymbolKind::sized || sizedValue(in, distanceEntry) > length) break;
        length += matchLength;
    }
    reader = in;
    total = length;
    return ended;
}

} // namespace

std::optional<DeflateStreamEnd> findDeflateStreamEnd(std::string_view stream) {
    static const FixedCodes fixed;
    LiteralCode literals;
    DistanceCode distances;
    BitReader in(stream);
    std::uint64_t length = 0;
    while (true) {
        in.refill();
        const std::size_t header = in.position();
        const bool final = in.take(1) != 0;
        const unsigned type = in.take(2);
        if (type == 0) {
            in.skip(static_cast<unsigned>((8 - in.position() % 8) % 8));
            in.refill();
            const std::uint32_t size = in.take(16), complement = in.take(16);
            if ((size ^ complement) != 0xFFFF || !in.skipBytes(size)) return std::nullopt;
            length += size;
        } else if (type == 1) {
            if (!walkCodes(in, fixed.literals, fixed.distances, length)) return std::nullopt;
        } else if (type == 2) {
            if (!readDynamicCodes(in, literals, distances) || !walkCodes(in, literals, distances, length))
                return std::nullopt;
        } else {
            return std::nullopt;
        }
        if (in.pastEnd()) return std::nullopt;
        if (final) return DeflateStreamEnd{header, in.position(), length};
    }
}

} // namespace sumora
