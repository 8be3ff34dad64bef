#include "formats/XlsxSheetNames.h"

#include <set>

#include "engine/FormulaTokenizer.h"
#include "formats/XlsxWriterText.h"

namespace sumora::xlsx {

namespace {

constexpr size_t kMaxNameCharacters = 31;
constexpr std::string_view kForbidden = ":\\/?*[]";

size_t characterCount(std::string_view s) {
    size_t n = 0;
    for (unsigned char c : s)
        n += (c & 0xC0) != 0x80;
    return n;
}

// The first `count` characters, never splitting a UTF-8 sequence.
std::string firstCharacters(std::string_view s, size_t count) {
    size_t seen = 0, i = 0;
    for (; i < s.size(); ++i) {
        if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80 && seen++ == count) break;
    }
    return std::string(s.substr(0, i));
}

bool isBlank(std::string_view s) {
    return s.find_first_not_of(" \t") == std::string_view::npos;
}

// Why the format cannot hold `name` on its own; nothing when it can.
std::optional<std::string> nameProblem(std::string_view name) {
    if (isBlank(name)) return "XLSX sheet names cannot be empty";
    if (name.find_first_of(kForbidden) != std::string_view::npos || name.front() == '\'' ||
        name.back() == '\'')
        return "XLSX sheet names cannot contain : \\ / ? * [ ] or begin or end with an apostrophe";
    if (characterCount(name) > kMaxNameCharacters) return "XLSX sheet names have at most 31 characters";
    return std::nullopt;
}

std::string cleaned(std::string_view name, size_t index) {
    if (isBlank(name)) return "Sheet" + std::to_string(index + 1);
    std::string out(name);
    for (char& c : out)
        if (kForbidden.find(c) != std::string_view::npos) c = '_';
    if (out.front() == '\'') out.front() = '_';
    if (out.back() == '\'') out.back() = '_';
    return firstCharacters(out, kMaxNameCharacters);
}

bool isNameByte(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '.' || c >= 0x80;
}

std::optional<size_t> resolvedSheet(std::string_view name, const std::vector<Sheet>& sheets) {
    for (size_t i = 0; i < sheets.size(); ++i)
        if (sheets[i].name == name) return i;
    std::string upper = toUpperText(name);
    for (size_t i = 0; i < sheets.size(); ++i)
        if (toUpperText(sheets[i].name) == upper) return i;
    return std::nullopt;
}

} // namespace

std::vector<std::string> fileSheetNames(const std::vector<Sheet>& sheets, LossReport* losses) {
    std::vector<std::string> names(sheets.size());
    std::vector<bool> kept(sheets.size(), false);
    std::set<std::string> taken; // upper-cased
    for (size_t i = 0; i < sheets.size(); ++i) {
        if (nameProblem(sheets[i].name)) continue;
        if (!taken.insert(toUpperText(sheets[i].name)).second) continue;
        names[i] = sheets[i].name;
        kept[i] = true;
    }
    for (size_t i = 0; i < sheets.size(); ++i) {
        if (kept[i]) continue;
        const std::string& original = sheets[i].name;
        std::string base = cleaned(original, i);
        std::string name = base;
        for (int n = 2; !taken.insert(toUpperText(name)).second; ++n) {
            std::string suffix = " (" + std::to_string(n) + ")";
            name = firstCharacters(base, kMaxNameCharacters - suffix.size()) + suffix;
        }
        names[i] = name;
        if (losses) {
            std::string why =
                nameProblem(original).value_or("another sheet has the same name apart from case");
            losses->push_back("Sheet \"" + original + "\" is saved as \"" + name + "\": " + why + ".");
        }
    }
    return names;
}

std::optional<std::string> renamedSheetReferences(std::string_view formula, const std::vector<Sheet>& sheets,
                                                  const std::vector<std::string>& newNames) {
    std::string out;
    bool changed = false;
    size_t copied = 0;
    auto replace = [&](size_t from, size_t to, std::string_view name) {
        auto index = resolvedSheet(name, sheets);
        if (!index || newNames[*index] == sheets[*index].name) return;
        out.append(formula.substr(copied, from - copied));
        out += formulaSheetName(newNames[*index]);
        copied = to;
        changed = true;
    };
    for (size_t i = 0; i < formula.size();) {
        char c = formula[i];
        if (c == '"') {
            size_t close = formula.find('"', i + 1);
            while (close != std::string_view::npos && close + 1 < formula.size() && formula[close + 1] == '"')
                close = formula.find('"', close + 2);
            i = close == std::string_view::npos ? formula.size() : close + 1;
            continue;
        }
        bool atBoundary = i == 0 || !isNameByte(static_cast<unsigned char>(formula[i - 1]));
        if (c == '\'' && atBoundary) {
            std::string name;
            size_t j = i + 1;
            for (; j < formula.size(); ++j) {
                if (formula[j] != '\'') {
                    name += formula[j];
                } else if (j + 1 < formula.size() && formula[j + 1] == '\'') {
                    name += '\'';
                    ++j;
                } else {
                    break;
                }
            }
            if (j + 1 < formula.size() && formula[j + 1] == '!') replace(i, j + 1, name);
            i = j + 1;
            continue;
        }
        if (atBoundary && isNameByte(static_cast<unsigned char>(c))) {
            size_t j = i;
            while (j < formula.size() && isNameByte(static_cast<unsigned char>(formula[j])))
                ++j;
            if (j < formula.size() && formula[j] == '!') replace(i, j, formula.substr(i, j - i));
            i = j;
            continue;
        }
        ++i;
    }
    if (!changed) return std::nullopt;
    out.append(formula.substr(copied));
    return out;
}

} // namespace sumora::xlsx
