#include "formats/XmlScanner.h"

#include "formats/XmlBytes.h"
#include "formats/ZipArchive.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <utility>

namespace sumora {

namespace {

// Input held back waiting for the end of a tag or a text, at most. A longer
// tag or text is left to XmlReader, which reads it in pieces.
constexpr std::size_t kMaxPending = std::size_t{1} << 20;

using Unsupported = XmlScanner::Unsupported;

using namespace xml;

bool hasClass(unsigned char c, unsigned char bits) {
    return kByteClasses[c] & bits;
}

bool isNameStart(unsigned char c) {
    return hasClass(c, kNameStart);
}

bool isNameChar(unsigned char c) {
    return hasClass(c, kNameChar);
}

// Reads a name from `i` on; `local` is left at the start of its local part
// (after its last ':'), sparing the handler's callers a search for it.
std::size_t nameEnd(const char* data, std::size_t i, std::size_t size, std::size_t& local) {
    local = i;
    for (; i < size && isNameChar(static_cast<unsigned char>(data[i])); ++i)
        if (data[i] == ':') local = i + 1;
    return i;
}

// Names are short: a plain loop beats memcmp's call.
bool sameName(const char* a, const char* b, std::size_t size) {
    for (std::size_t k = 0; k < size; ++k)
        if (a[k] != b[k]) return false;
    return true;
}

bool isSpace(unsigned char c) {
    if (!hasClass(c, kSpace)) return false;
    if (c == '\r') throw Unsupported{}; // line ends would need normalising
    return true;
}

bool isXmlChar(uint32_t c) {
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

// The length of the well-formed UTF-8 sequence at `p` (a lead byte of at
// least 0x80) encoding an XML character; throws when there is none.
std::size_t utf8Length(const unsigned char* p, const unsigned char* end) {
    auto tail = [&](std::size_t i, unsigned char low, unsigned char high) {
        return p + i < end && p[i] >= low && p[i] <= high;
    };
    unsigned char c = p[0];
    if (c >= 0xC2 && c <= 0xDF && tail(1, 0x80, 0xBF)) return 2;
    if (c == 0xE0 && tail(1, 0xA0, 0xBF) && tail(2, 0x80, 0xBF)) return 3;
    if (((c >= 0xE1 && c <= 0xEC) || c == 0xEE) && tail(1, 0x80, 0xBF) && tail(2, 0x80, 0xBF)) return 3;
    if (c == 0xED && tail(1, 0x80, 0x9F) && tail(2, 0x80, 0xBF)) return 3; // no surrogates
    if (c == 0xEF && tail(1, 0x80, 0xBF) && tail(2, 0x80, 0xBF)) {
        if (p[1] == 0xBF && p[2] >= 0xBE) throw Unsupported{}; // U+FFFE, U+FFFF
        return 3;
    }
    if (c == 0xF0 && tail(1, 0x90, 0xBF) && tail(2, 0x80, 0xBF) && tail(3, 0x80, 0xBF)) return 4;
    if (c >= 0xF1 && c <= 0xF3 && tail(1, 0x80, 0xBF) && tail(2, 0x80, 0xBF) && tail(3, 0x80, 0xBF)) return 4;
    if (c == 0xF4 && tail(1, 0x80, 0x8F) && tail(2, 0x80, 0xBF) && tail(3, 0x80, 0xBF)) return 4;
    throw Unsupported{};
}

// The reference starting at `p` ("&"): its length and the character it
// stands for. Throws for anything but the predefined and numeric references.
std::size_t reference(const char* p, const char* end, uint32_t& character) {
    std::size_t left = static_cast<std::size_t>(end - p);
    auto is = [&](std::string_view name) {
        return left >= name.size() && std::memcmp(p, name.data(), name.size()) == 0;
    };
    if (is("&lt;")) return character = '<', 4;
    if (is("&gt;")) return character = '>', 4;
    if (is("&amp;")) return character = '&', 5;
    if (is("&quot;")) return character = '"', 6;
    if (is("&apos;")) return character = '\'', 6;
    if (!is("&#")) throw Unsupported{};
    bool hex = left > 2 && p[2] == 'x';
    std::size_t i = hex ? 3 : 2, first = i;
    uint32_t value = 0;
    for (; i < left && p[i] != ';'; ++i) {
        if (i - first >= 8) throw Unsupported{};
        char c = p[i];
        uint32_t digit;
        if (c >= '0' && c <= '9')
            digit = static_cast<uint32_t>(c - '0');
        else if (hex && c >= 'a' && c <= 'f')
            digit = static_cast<uint32_t>(c - 'a' + 10);
        else if (hex && c >= 'A' && c <= 'F')
            digit = static_cast<uint32_t>(c - 'A' + 10);
        else
            throw Unsupported{};
        value = value * (hex ? 16 : 10) + digit;
    }
    if (i == first || i >= left || !isXmlChar(value)) throw Unsupported{};
    character = value;
    return i + 1;
}

char* putUtf8(char* out, uint32_t c) {
    if (c < 0x80) {
        *out++ = static_cast<char>(c);
    } else if (c < 0x800) {
        *out++ = static_cast<char>(0xC0 | (c >> 6));
        *out++ = static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        *out++ = static_cast<char>(0xE0 | (c >> 12));
        *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (c & 0x3F));
    } else {
        *out++ = static_cast<char>(0xF0 | (c >> 18));
        *out++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (c & 0x3F));
    }
    return out;
}

// Checks character data (text or an attribute value) without changing it;
// true when decoding would change it.
bool checkCharacters(const char* begin, const char* end, bool inAttribute) {
    bool references = false;
    auto* p = reinterpret_cast<const unsigned char*>(begin);
    auto* stop = reinterpret_cast<const unsigned char*>(end);
    // Tabs and line feeds read as themselves in text only.
    const unsigned char plain = inAttribute ? kPlainValue : kPlainText;
    while (p < stop) {
        while (p < stop && hasClass(*p, plain))
            ++p;
        if (p == stop) break;
        unsigned char c = *p;
        if (c >= 0x80) {
            p += utf8Length(p, stop);
        } else if (c == '&') {
            uint32_t ignored;
            p += reference(reinterpret_cast<const char*>(p), end, ignored);
            references = true;
        } else if (c < 0x20) {
            if (c != '\t' && c != '\n') throw Unsupported{};
            references |= inAttribute; // read as a space
            ++p;
        } else if (c == '<' && inAttribute) {
            throw Unsupported{};
        } else if (c == ']' && !inAttribute && stop - p >= 3 && p[1] == ']' && p[2] == '>') {
            throw Unsupported{};
        } else {
            ++p;
        }
    }
    return references;
}

// Decodes checked character data in place; returns its new end. Literal tabs
// and line feeds in attribute values read as spaces.
char* decodeCharacters(char* begin, char* end, bool inAttribute) {
    char* out = begin;
    for (char* p = begin; p < end;) {
        if (*p == '&') {
            uint32_t c = 0;
            p += reference(p, end, c);
            out = putUtf8(out, c);
        } else {
            char c = *p++;
            if (inAttribute && (c == '\t' || c == '\n')) c = ' ';
            *out++ = c;
        }
    }
    return out;
}

bool startsWith(std::string_view text, std::size_t at, std::string_view prefix) {
    return text.size() - at >= prefix.size() && text.compare(at, prefix.size(), prefix) == 0;
}

} // namespace

bool XmlScanner::feed(std::string_view chunk) {
    if (done_ || stopped()) return false;
    buffer_.append(chunk);
    scanBuffer(false);
    return !stopped();
}

bool XmlScanner::feedWritable(char* chunk, std::size_t size) {
    if (done_ || stopped()) return false;
    std::size_t offset = 0;
    if (!buffer_.empty()) {
        // The held-back token is completed through the buffer with as little
        // of the chunk as it takes (doubling, so a long token costs linear
        // time); once the buffer's own bytes are consumed, the rest of the
        // chunk is read where it lies.
        std::size_t heldBack = buffer_.size(); // stream distance from buffer_[0] to chunk[0]
        std::size_t taken = 0;
        for (std::size_t want = std::min<std::size_t>(size, 512);; want = std::min(size, 2 * want)) {
            buffer_.append(chunk + taken, want - taken);
            taken = want;
            std::size_t consumed = scanBuffer(false);
            if (stopped()) return false;
            if (consumed >= heldBack) {
                offset = consumed - heldBack;
                buffer_.clear();
                break;
            }
            heldBack -= consumed;
            if (taken == size) return true;
        }
    }
    data_ = chunk + offset;
    size_ = size - offset;
    std::size_t consumed = scan(false);
    if (stopped()) return false;
    buffer_.assign(data_ + consumed, size_ - consumed);
    return true;
}

void XmlScanner::finish() {
    if (done_ || stopped()) return;
    scanBuffer(true);
    done_ = true;
    if (!stopped() && (place_ != Place::epilog || !buffer_.empty())) throw Unsupported{};
}

std::size_t XmlScanner::scanBuffer(bool final) {
    data_ = buffer_.data();
    size_ = buffer_.size();
    std::size_t consumed = scan(final);
    buffer_.erase(0, consumed);
    return consumed;
}

std::size_t XmlScanner::scan(bool final) {
    const std::size_t size = size_;
    const std::string_view buffer(data_, size_);
    std::size_t pos = 0;
    while (pos < size && !stopped()) {
        if (place_ == Place::start) {
            // Room for a byte order mark and "<?xml".
            if (size - pos < 8 && !final) break;
            if (startsWith(buffer, pos, "\xEF\xBB\xBF")) pos += 3;
            place_ = Place::prolog;
            if (startsWith(buffer, pos, "<?xml")) {
                std::size_t used = declaration(pos);
                if (!used) {
                    place_ = Place::start;
                    if (pos >= 3) pos -= 3;
                    break;
                }
                pos += used;
            }
            continue;
        }
        if (place_ != Place::content) {
            // Outside the root element only blanks (and the root itself) may stand.
            if (isSpace(static_cast<unsigned char>(buffer[pos]))) {
                ++pos;
                continue;
            }
            if (buffer[pos] != '<' || place_ == Place::epilog) throw Unsupported{};
            if (size - pos < 2) break;
            if (buffer[pos + 1] == '/' || buffer[pos + 1] == '?' || buffer[pos + 1] == '!')
                throw Unsupported{};
            std::size_t used = startTag(pos);
            if (!used) break;
            pos += used;
            continue;
        }
        const char* data = data_;
        // Texts between tags are short and mostly plain: a plain loop beats
        // memchr's setup, and plain text needs no further check.
        std::size_t lt = pos;
        while (lt < size && hasClass(static_cast<unsigned char>(data[lt]), kPlainText))
            ++lt;
        bool plain = lt < size && data[lt] == '<';
        while (lt < size && data[lt] != '<')
            ++lt;
        if (lt == size) break;
        if (lt - pos >= kMaxPending) throw Unsupported{};
        // The text reaches the handler only once the tag after it has been read whole.
        pendingReferences_ = !plain && checkCharacters(data + pos, data + lt, false);
        pendingText_ = Span{pos, lt};
        if (size - lt < 2) break;
        char kind = buffer[lt + 1];
        if (kind == '?' || kind == '!') throw Unsupported{};
        if (kind != '/' && handler_.readsElements()) {
            // The text goes first, and counts as read even when the tag after
            // it waits for more input.
            pos = lt;
            if (!deliverText()) break;
            if (std::size_t used = handler_.readElements(data + lt, size - lt)) {
                pos = lt + used;
                continue;
            }
            if (stopped()) break;
        }
        std::size_t tagBytes = kind == '/' ? endTag(lt) : startTag(lt);
        if (!tagBytes) break;
        pos = lt + tagBytes;
    }
    pendingText_ = Span{0, 0};
    pendingReferences_ = false;
    if (!stopped() && size - pos > kMaxPending) throw Unsupported{};
    return pos;
}

// "<?xml version="1.0" encoding="UTF-8" standalone="yes"?>" and its subsets.
std::size_t XmlScanner::declaration(std::size_t at) {
    const std::string_view buffer(data_, size_);
    std::size_t close = buffer.find("?>", at);
    if (close == std::string_view::npos) {
        if (buffer.size() - at > 1024) throw Unsupported{};
        return 0;
    }
    std::string_view body = buffer.substr(at + 5, close - at - 5);
    std::size_t i = 0;
    auto blanks = [&] {
        std::size_t from = i;
        while (i < body.size() && isSpace(static_cast<unsigned char>(body[i])))
            ++i;
        return i > from;
    };
    auto pseudoAttribute = [&](std::string_view name) -> std::string_view {
        std::size_t from = i;
        if (!blanks() || body.substr(i, name.size()) != name) {
            i = from;
            return {};
        }
        i += name.size();
        blanks();
        if (i >= body.size() || body[i] != '=') throw Unsupported{};
        ++i;
        blanks();
        if (i >= body.size() || (body[i] != '"' && body[i] != '\'')) throw Unsupported{};
        char quote = body[i++];
        std::size_t end = body.find(quote, i);
        if (end == std::string_view::npos) throw Unsupported{};
        std::string_view value = body.substr(i, end - i);
        i = end + 1;
        if (value.empty()) throw Unsupported{};
        return value;
    };
    if (pseudoAttribute("version") != "1.0") throw Unsupported{};
    std::string_view encoding = pseudoAttribute("encoding");
    if (!encoding.empty()) {
        if (encoding.size() != 5) throw Unsupported{};
        for (std::size_t k = 0; k < 5; ++k) {
            char c = encoding[k];
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
            if (c != "utf-8"[k]) throw Unsupported{};
        }
    }
    std::string_view standalone = pseudoAttribute("standalone");
    if (!standalone.empty() && standalone != "yes" && standalone != "no") throw Unsupported{};
    blanks();
    if (i != body.size()) throw Unsupported{};
    return close + 2 - at;
}

std::size_t XmlScanner::startTag(std::size_t at) {
    const char* data = data_;
    const std::size_t size = size_;
    std::size_t i = at + 1;
    if (i >= size) return 0;
    if (!isNameStart(static_cast<unsigned char>(data[i]))) throw Unsupported{};
    std::size_t nameBegin = i, localBegin = i;
    i = nameEnd(data, i, size, localBegin);
    const std::size_t nameStop = i;
    attributeCount_ = 0;
    bool selfClosing = false;
    for (;;) {
        bool spaced = false;
        while (i < size && isSpace(static_cast<unsigned char>(data[i]))) {
            ++i;
            spaced = true;
        }
        if (i >= size) return 0;
        if (data[i] == '>') {
            ++i;
            break;
        }
        if (data[i] == '/') {
            if (i + 1 >= size) return 0;
            if (data[i + 1] != '>') throw Unsupported{};
            i += 2;
            selfClosing = true;
            break;
        }
        if (!spaced || !isNameStart(static_cast<unsigned char>(data[i]))) throw Unsupported{};
        if (attributeCount_ >= maxAttributes) throw Unsupported{};
        std::size_t nameStart = i;
        while (i < size && isNameChar(static_cast<unsigned char>(data[i])))
            ++i;
        std::string_view attributeName(data + nameStart, i - nameStart);
        while (i < size && isSpace(static_cast<unsigned char>(data[i])))
            ++i;
        if (i >= size) return 0;
        if (data[i] != '=') throw Unsupported{};
        ++i;
        while (i < size && isSpace(static_cast<unsigned char>(data[i])))
            ++i;
        if (i >= size) return 0;
        if (data[i] != '"' && data[i] != '\'') throw Unsupported{};
        char quote = data[i];
        std::size_t close = i + 1;
        while (close < size && hasClass(static_cast<unsigned char>(data[close]), kPlainValue))
            ++close;
        bool plain = close < size && data[close] == quote;
        while (close < size && data[close] != quote)
            ++close;
        if (close == size) return 0;
        for (std::size_t k = 0; k < attributeCount_; ++k) {
            const Span& other = attributeSpans_[2 * k];
            if (std::string_view(data + other.begin, other.end - other.begin) == attributeName)
                throw Unsupported{};
        }
        // Written in place: a Span built aside and copied in stalls on the copy.
        Span& name = attributeSpans_[2 * attributeCount_];
        name.begin = nameStart;
        name.end = nameStart + attributeName.size();
        Span& value = attributeSpans_[2 * attributeCount_ + 1];
        value.begin = i + 1;
        value.end = close;
        value.decode = !plain && checkCharacters(data + i + 1, data + close, true);
        ++attributeCount_;
        i = close + 1;
    }
    std::size_t used = i - at;

    // The tag is whole and well-formed: the text before it goes first.
    if (!deliverText()) return used;
    char* writable = data_;
    for (std::size_t k = 0; k < 2 * attributeCount_; k += 2) {
        Span name = attributeSpans_[k], value = attributeSpans_[k + 1];
        writable[name.end] = '\0';
        char* end = writable + value.end;
        if (value.decode) end = decodeCharacters(writable + value.begin, end, true);
        *end = '\0';
        pairs_[k] = writable + name.begin;
        lengths_[k] = name.end - name.begin;
        pairs_[k + 1] = writable + value.begin;
        lengths_[k + 1] = static_cast<std::size_t>(end - (writable + value.begin));
    }
    std::string_view name(writable + nameBegin, nameStop - nameBegin);
    if (!selfClosing) {
        if (depth_ == openStarts_.size())
            openStarts_.push_back(openNames_.size());
        else
            openStarts_[depth_] = openNames_.size();
        ++depth_;
        openNames_.append(name);
    }
    if (place_ == Place::prolog) place_ = selfClosing ? Place::epilog : Place::content;
    XmlAttributes attributes(pairs_.data(), attributeCount_, lengths_.data());
    const std::string_view local(writable + localBegin, nameStop - localBegin);
    handler_.startElement(local, attributes);
    if (selfClosing && !stopped()) handler_.endElement(local);
    return used;
}

std::size_t XmlScanner::endTag(std::size_t at) {
    const char* data = data_;
    const std::size_t size = size_;
    std::size_t i = at + 2;
    std::size_t nameBegin = i, localBegin = i;
    i = nameEnd(data, i, size, localBegin);
    const std::size_t nameStop = i;
    while (i < size && isSpace(static_cast<unsigned char>(data[i])))
        ++i;
    if (i >= size) return 0;
    if (data[i] != '>') throw Unsupported{};
    if (depth_ == 0) throw Unsupported{};
    const std::size_t openStart = openStarts_[depth_ - 1];
    if (openNames_.size() - openStart != nameStop - nameBegin ||
        !sameName(openNames_.data() + openStart, data + nameBegin, nameStop - nameBegin))
        throw Unsupported{};
    std::size_t used = i + 1 - at;
    if (!deliverText()) return used;
    openNames_.resize(openStarts_[--depth_]);
    if (depth_ == 0) place_ = Place::epilog;
    handler_.endElement(std::string_view(data_ + localBegin, nameStop - localBegin));
    return used;
}

bool XmlScanner::deliverText() {
    Span text = std::exchange(pendingText_, Span{0, 0});
    if (text.end == text.begin) return true;
    char* data = data_;
    char* end = data + text.end;
    if (std::exchange(pendingReferences_, false)) end = decodeCharacters(data + text.begin, end, false);
    handler_.characters(
        std::string_view(data + text.begin, static_cast<std::size_t>(end - (data + text.begin))));
    return !stopped();
}

namespace {
std::atomic<bool> scannerEnabled{true};
}

void setXmlScannerEnabled(bool enabled) {
    scannerEnabled = enabled;
}

bool scanXmlEntry(ZipReader& archive, std::string_view path, XmlHandler& handler) {
    if (!scannerEnabled) return false;
    struct Stopped {};
    XmlScanner scanner(handler);
    try {
        archive.streamWhole(path, [&](char* chunk, std::size_t size) {
            if (!scanner.feedWritable(chunk, size)) throw Stopped{};
        });
        scanner.finish();
    } catch (const Stopped&) {
    } catch (const XmlScanner::Unsupported&) {
        return false;
    }
    return true;
}

} // namespace sumora
