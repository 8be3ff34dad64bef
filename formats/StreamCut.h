#pragma once
// Cutting a stream that arrives in pieces at the first occurrence, starting
// at or after a given offset, of any of a few needles: how a big part is
// split between two readers. Bytes before the cut and from the cut on are
// handed on in order; the bytes at a piece's end that could begin a needle
// are held back until it is known on which side they fall.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sumora {

class StreamCut {
  public:
    StreamCut(std::vector<std::string_view> needles, uint64_t from)
        : needles_(std::move(needles)), from_(from) {
        for (std::string_view n : needles_)
            longest_ = std::max(longest_, n.size());
    }

    bool found() const { return found_; }

    template <class Before, class After> void feed(std::string_view chunk, Before&& before, After&& after) {
        if (found_) return after(chunk);
        // A match that begins in the held bytes and ends in this piece.
        if (!held_.empty()) {
            std::string probe = held_ + std::string(chunk.substr(0, longest_ - 1));
            if (auto at = search(probe, offset_); at && *at < held_.size()) {
                before(std::string_view(held_).substr(0, *at));
                found_ = true;
                after(std::string_view(held_).substr(*at));
                held_.clear();
                return after(chunk);
            }
        }
        const uint64_t chunkStart = offset_ + held_.size();
        if (auto at = search(chunk, chunkStart)) {
            before(held_);
            held_.clear();
            before(chunk.substr(0, *at));
            found_ = true;
            return after(chunk.substr(*at));
        }
        const size_t keep = longest_ - 1;
        if (chunk.size() >= keep) {
            before(held_);
            before(chunk.substr(0, chunk.size() - keep));
            held_.assign(chunk.substr(chunk.size() - keep));
        } else {
            // A piece shorter than a needle: what is held may still begin one.
            std::string all = held_ + std::string(chunk);
            const size_t hold = std::min(all.size(), keep);
            before(std::string_view(all).substr(0, all.size() - hold));
            held_ = all.substr(all.size() - hold);
        }
        offset_ = chunkStart + chunk.size() - held_.size();
    }

    // The end of the stream: held bytes lie before a cut that never came.
    template <class Before> void finish(Before&& before) {
        if (!found_) before(held_);
        held_.clear();
    }

  private:
    // The earliest needle in `text`, whose first byte is at stream offset
    // `base`, that starts at or after from_.
    std::optional<size_t> search(std::string_view text, uint64_t base) const {
        const size_t start =
            from_ > base ? static_cast<size_t>(std::min<uint64_t>(from_ - base, text.size())) : 0;
        std::optional<size_t> best;
        for (std::string_view needle : needles_) {
            const size_t end = best ? std::min(text.size(), *best + needle.size()) : text.size();
            if (start >= end) continue;
            const void* hit = memmem(text.data() + start, end - start, needle.data(), needle.size());
            if (!hit) continue;
            const auto at = static_cast<size_t>(static_cast<const char*>(hit) - text.data());
            if (!best || at < *best) best = at;
        }
        return best;
    }

    std::vector<std::string_view> needles_;
    size_t longest_ = 1;
    uint64_t from_;
    uint64_t offset_ = 0; // stream offset of held_[0]
    std::string held_;
    bool found_ = false;
};

} // namespace sumora
