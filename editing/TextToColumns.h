#pragma once
// The text-to-columns dialog's choices, and the split it previews and applies.
#include <string>
#include <string_view>
#include <vector>

namespace sumora {

enum class TextToColumnsDelimiter { comma, semicolon, space, pipe, custom };

struct TextToColumnsRequest {
    TextToColumnsDelimiter delimiter = TextToColumnsDelimiter::comma;
    std::string customDelimiter;
    bool treatConsecutiveAsOne = false;
};

// Cuts `text` at every delimiter; with treatConsecutiveAsOne the empty pieces
// are dropped. An empty custom delimiter leaves the text whole.
std::vector<std::string> splitText(std::string_view text, const TextToColumnsRequest& request);

} // namespace sumora
