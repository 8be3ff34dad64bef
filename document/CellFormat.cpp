#include "document/CellFormat.h"

#include <functional>
#include <memory>
#include <mutex>
#include <unordered_set>

namespace sumora {

std::string_view rawText(CellAlignment a) {
    switch (a) {
    case CellAlignment::general: return "general";
    case CellAlignment::left: return "left";
    case CellAlignment::center: return "center";
    case CellAlignment::right: return "right";
    case CellAlignment::fill: return "fill";
    case CellAlignment::justify: return "justify";
    }
    return "general";
}

std::optional<CellAlignment> cellAlignmentFromRaw(std::string_view s) {
    for (CellAlignment a : allCellAlignments())
        if (rawText(a) == s) return a;
    return std::nullopt;
}

const std::vector<CellAlignment>& allCellAlignments() {
    static const std::vector<CellAlignment> all{CellAlignment::general, CellAlignment::left,
                                                CellAlignment::center,  CellAlignment::right,
                                                CellAlignment::fill,    CellAlignment::justify};
    return all;
}

bool CellFormat::isDefault() const { return *this == defaultFormat(); }

const CellFormat& CellFormat::defaultFormat() {
    static const CellFormat d;
    return d;
}

namespace {
template <class T> void mix(size_t& h, const T& v) {
    h ^= std::hash<T>{}(v) + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2);
}
template <class T> void mixOpt(size_t& h, const std::optional<T>& v) {
    mix(h, v.has_value());
    if (v) mix(h, *v);
}
} // namespace

size_t CellFormat::hash() const {
    size_t h = 0;
    unsigned flags = isBold | isItalic << 1 | isUnderline << 2 | isStrikethrough << 3 | wrapText << 4 |
                     borderTop << 5 | borderBottom << 6 | borderLeft << 7 | borderRight << 8 |
                     borderThickBottom << 9;
    mix(h, flags);
    mixOpt(h, fontName);
    mixOpt(h, fontSize);
    mixOpt(h, fontColor);
    mixOpt(h, fillColor);
    mix(h, static_cast<int>(alignment));
    mixOpt(h, numberFormat);
    mix(h, numberFormatId);
    return h;
}

const CellFormat* CellFormat::intern(const CellFormat& format) {
    if (format.isDefault()) return nullptr;
    struct Hash {
        size_t operator()(const std::unique_ptr<CellFormat>& p) const { return p->hash(); }
    };
    struct Eq {
        bool operator()(const std::unique_ptr<CellFormat>& a, const std::unique_ptr<CellFormat>& b) const {
            return *a == *b;
        }
    };
    static std::mutex mutex;
    static std::unordered_set<std::unique_ptr<CellFormat>, Hash, Eq> pool;
    auto probe = std::make_unique<CellFormat>(format);
    std::lock_guard lock(mutex);
    auto it = pool.find(probe);
    if (it != pool.end()) return it->get();
    return pool.insert(std::move(probe)).first->get();
}

} // namespace sumora
