#pragma once
// Cutting well-formed XML into the raw text of its elements, so that parts
// of a package the model does not describe can be moved into another
// document unchanged: the children of an element as text spans, the
// namespaces in scope at a start tag, and a fragment made self-contained
// (its prefixes declared on it, relationship ids renamed).
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sumora::xml {

struct ElementSpan {
    size_t begin = 0, end = 0; // [begin, end) in the scanned text
    std::string_view qualifiedName;
    std::string_view localName() const;
};

// The elements that follow one another at the top of `text`, stopping at an
// end tag that closes an element opened before `text` began (or at its end).
// Comments, processing instructions and character data between them are
// skipped. Nothing is checked beyond what finding the spans needs.
std::vector<ElementSpan> siblingElements(std::string_view text);

// The children of the document's root element, and the root's start tag.
struct RootChildren {
    std::string_view rootStartTag;
    size_t contentBegin = 0; // just after the root's start tag
    std::vector<ElementSpan> children;
};
std::optional<RootChildren> rootChildren(std::string_view document);

// The first start tag of a document (or of the beginning of one), if any.
std::optional<std::string_view> firstStartTag(std::string_view document);

// prefix → namespace URI declared on a start tag ("" for the default namespace).
using Namespaces = std::map<std::string, std::string, std::less<>>;
Namespaces namespaceDeclarations(std::string_view startTag);

// The officeDocument relationships namespaces (transitional and strict).
bool isRelationshipsNamespace(std::string_view uri);

// The values of attributes in the relationships namespace (r:id, r:embed…)
// inside `fragment`, resolving prefixes through `inScope` and the
// fragment's own declarations.
std::vector<std::string> relationshipIds(std::string_view fragment, const Namespaces& inScope);

// `fragment` with every prefix it uses that it does not declare itself
// declared on its first start tag (from `inScope`; prefixes that a
// Requires attribute of markup compatibility names count as used), and relationship-id
// attribute values renamed through `renames` (values not listed stay).
std::string selfContained(std::string_view fragment, const Namespaces& inScope,
                          const std::map<std::string, std::string>& renames);

} // namespace sumora::xml
