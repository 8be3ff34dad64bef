#include "formats/XmlFragments.h"

#include <functional>
#include <set>

namespace sumora::xml {

namespace {

enum class TagKind { start, end, empty, other };

struct Tag {
    TagKind kind = TagKind::other;
    size_t begin = 0, end = 0; // [begin, end) including "<" and ">"
    std::string_view name;
};

bool isNameChar(char c) {
    return c != ' ' && c != '\t' && c != '\r' && c != '\n' && c != '/' && c != '>' && c != '=';
}

// The next markup item at or after `pos`; nullopt at the end of the text.
std::optional<Tag> nextTag(std::string_view text, size_t pos) {
    size_t lt = text.find('<', pos);
    if (lt == std::string_view::npos) return std::nullopt;
    Tag tag;
    tag.begin = lt;
    auto skipTo = [&](std::string_view terminator) -> std::optional<Tag> {
        size_t at = text.find(terminator, lt);
        if (at == std::string_view::npos) return std::nullopt;
        tag.end = at + terminator.size();
        return tag;
    };
    std::string_view rest = text.substr(lt);
    if (rest.starts_with("<!--")) return skipTo("-->");
    if (rest.starts_with("<![CDATA[")) return skipTo("]]>");
    if (rest.starts_with("<?")) return skipTo("?>");
    if (rest.starts_with("<!")) return skipTo(">");
    size_t i = lt + 1;
    bool isEnd = i < text.size() && text[i] == '/';
    if (isEnd) ++i;
    size_t nameBegin = i;
    while (i < text.size() && isNameChar(text[i]))
        ++i;
    tag.name = text.substr(nameBegin, i - nameBegin);
    char quote = 0;
    for (; i < text.size(); ++i) {
        char c = text[i];
        if (quote) {
            if (c == quote) quote = 0;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            break;
        }
    }
    if (i >= text.size()) return std::nullopt;
    tag.end = i + 1;
    tag.kind = isEnd ? TagKind::end : (text[i - 1] == '/' ? TagKind::empty : TagKind::start);
    return tag;
}

// Calls `visit(name, valueBegin, valueEnd)` for each attribute of a start tag
// (offsets into `tag`).
void forEachAttribute(std::string_view tag,
                      const std::function<void(std::string_view, size_t, size_t)>& visit) {
    size_t i = 1;
    while (i < tag.size() && isNameChar(tag[i]))
        ++i;
    while (i < tag.size()) {
        while (i < tag.size() && !isNameChar(tag[i]))
            ++i;
        size_t nameBegin = i;
        while (i < tag.size() && isNameChar(tag[i]))
            ++i;
        std::string_view name = tag.substr(nameBegin, i - nameBegin);
        while (i < tag.size() && tag[i] != '=' && tag[i] != '>')
            ++i;
        if (i >= tag.size() || tag[i] != '=') return;
        ++i;
        while (i < tag.size() && tag[i] != '"' && tag[i] != '\'')
            ++i;
        if (i >= tag.size()) return;
        char quote = tag[i++];
        size_t valueBegin = i;
        size_t close = tag.find(quote, i);
        if (close == std::string_view::npos) return;
        if (!name.empty()) visit(name, valueBegin, close);
        i = close + 1;
    }
}

std::string_view prefixOf(std::string_view qualifiedName) {
    size_t colon = qualifiedName.find(':');
    return colon == std::string_view::npos ? std::string_view() : qualifiedName.substr(0, colon);
}

std::string_view localOf(std::string_view qualifiedName) {
    size_t colon = qualifiedName.rfind(':');
    return colon == std::string_view::npos ? qualifiedName : qualifiedName.substr(colon + 1);
}

// Visits the start tags (and empty-element tags) of a fragment.
void forEachStartTag(std::string_view fragment, const std::function<void(const Tag&)>& visit) {
    size_t pos = 0;
    while (auto tag = nextTag(fragment, pos)) {
        if (tag->kind == TagKind::start || tag->kind == TagKind::empty) visit(*tag);
        pos = tag->end;
    }
}

} // namespace

std::string_view ElementSpan::localName() const {
    return localOf(qualifiedName);
}

std::vector<ElementSpan> siblingElements(std::string_view text) {
    std::vector<ElementSpan> out;
    size_t pos = 0;
    int depth = 0;
    ElementSpan current;
    while (auto tag = nextTag(text, pos)) {
        pos = tag->end;
        switch (tag->kind) {
        case TagKind::other:
            break;
        case TagKind::empty:
            if (depth == 0) out.push_back({tag->begin, tag->end, tag->name});
            break;
        case TagKind::start:
            if (depth == 0) current = {tag->begin, 0, tag->name};
            ++depth;
            break;
        case TagKind::end:
            if (depth == 0) return out; // the enclosing element ends
            if (--depth == 0) {
                current.end = tag->end;
                out.push_back(current);
            }
            break;
        }
    }
    return out;
}

std::optional<RootChildren> rootChildren(std::string_view document) {
    size_t pos = 0;
    while (auto tag = nextTag(document, pos)) {
        pos = tag->end;
        if (tag->kind == TagKind::other) continue;
        if (tag->kind != TagKind::start) return std::nullopt;
        RootChildren root;
        root.rootStartTag = document.substr(tag->begin, tag->end - tag->begin);
        root.contentBegin = tag->end;
        for (ElementSpan span : siblingElements(document.substr(tag->end))) {
            span.begin += tag->end;
            span.end += tag->end;
            root.children.push_back(span);
        }
        return root;
    }
    return std::nullopt;
}

std::optional<std::string_view> firstStartTag(std::string_view document) {
    size_t pos = 0;
    while (auto tag = nextTag(document, pos)) {
        if (tag->kind == TagKind::start || tag->kind == TagKind::empty)
            return document.substr(tag->begin, tag->end - tag->begin);
        pos = tag->end;
    }
    return std::nullopt;
}

Namespaces namespaceDeclarations(std::string_view startTag) {
    Namespaces out;
    forEachAttribute(startTag, [&](std::string_view name, size_t b, size_t e) {
        if (name == "xmlns")
            out[""] = std::string(startTag.substr(b, e - b));
        else if (name.starts_with("xmlns:"))
            out[std::string(name.substr(6))] = std::string(startTag.substr(b, e - b));
    });
    return out;
}

bool isRelationshipsNamespace(std::string_view uri) {
    return uri == "http://schemas.openxmlformats.org/officeDocument/2006/relationships" ||
           uri == "http://purl.oclc.org/ooxml/officeDocument/relationships";
}

namespace {

// Namespaces seen by the fragment: those in scope plus its own declarations.
Namespaces fragmentScope(std::string_view fragment, const Namespaces& inScope) {
    Namespaces scope = inScope;
    forEachStartTag(fragment, [&](const Tag& tag) {
        for (auto& [prefix, uri] : namespaceDeclarations(fragment.substr(tag.begin, tag.end - tag.begin)))
            scope[prefix] = uri;
    });
    return scope;
}

bool isRelationshipAttribute(std::string_view name, const Namespaces& scope) {
    std::string_view prefix = prefixOf(name);
    if (prefix.empty() || prefix == "xmlns") return false;
    auto it = scope.find(prefix);
    return it != scope.end() && isRelationshipsNamespace(it->second);
}

} // namespace

std::vector<std::string> relationshipIds(std::string_view fragment, const Namespaces& inScope) {
    Namespaces scope = fragmentScope(fragment, inScope);
    std::vector<std::string> ids;
    forEachStartTag(fragment, [&](const Tag& tag) {
        std::string_view text = fragment.substr(tag.begin, tag.end - tag.begin);
        forEachAttribute(text, [&](std::string_view name, size_t b, size_t e) {
            if (isRelationshipAttribute(name, scope)) ids.emplace_back(text.substr(b, e - b));
        });
    });
    return ids;
}

std::string selfContained(std::string_view fragment, const Namespaces& inScope,
                          const std::map<std::string, std::string>& renames) {
    Namespaces scope = fragmentScope(fragment, inScope);
    std::set<std::string, std::less<>> used, declared;
    bool usesDefault = false;
    struct Edit {
        size_t at, length;
        std::string text;
    };
    std::vector<Edit> edits;           // in text order
    std::optional<size_t> firstTagEnd; // declarations go before its ">" or "/>"
    forEachStartTag(fragment, [&](const Tag& tag) {
        std::string_view text = fragment.substr(tag.begin, tag.end - tag.begin);
        if (prefixOf(tag.name).empty())
            usesDefault = true;
        else
            used.emplace(prefixOf(tag.name));
        forEachAttribute(text, [&](std::string_view name, size_t b, size_t e) {
            if (name == "xmlns") declared.emplace("");
            if (name.starts_with("xmlns:")) {
                declared.emplace(name.substr(6));
                return;
            }
            std::string_view prefix = prefixOf(name);
            if (!prefix.empty() && prefix != "xml") used.emplace(prefix);
            if (name == "Requires") {
                std::string_view list = text.substr(b, e - b);
                while (!list.empty()) {
                    size_t space = list.find(' ');
                    if (space != 0) used.emplace(list.substr(0, space));
                    list = space == std::string_view::npos ? std::string_view() : list.substr(space + 1);
                }
            }
            if (!isRelationshipAttribute(name, scope)) return;
            auto renamed = renames.find(std::string(text.substr(b, e - b)));
            if (renamed != renames.end()) edits.push_back({tag.begin + b, e - b, renamed->second});
        });
        if (!firstTagEnd) {
            firstTagEnd = tag.end - (tag.kind == TagKind::empty ? 2 : 1);
            edits.push_back({*firstTagEnd, 0, {}}); // filled below
        }
    });
    if (!firstTagEnd) return std::string(fragment);
    std::string declarations;
    auto declare = [&](const std::string& prefix) {
        auto it = inScope.find(prefix);
        if (it == inScope.end() || declared.count(prefix)) return;
        declarations += prefix.empty() ? " xmlns=\"" : " xmlns:" + prefix + "=\"";
        declarations += it->second; // kept escaped as it was written
        declarations += '"';
    };
    if (usesDefault) declare("");
    for (const std::string& prefix : used)
        declare(prefix);
    std::string out;
    size_t copied = 0;
    for (Edit& edit : edits) {
        if (edit.at == *firstTagEnd && edit.length == 0 && edit.text.empty()) edit.text = declarations;
        out.append(fragment.substr(copied, edit.at - copied));
        out += edit.text;
        copied = edit.at + edit.length;
    }
    out.append(fragment.substr(copied));
    return out;
}

} // namespace sumora::xml
