#pragma once
// The system pasteboard as plain text; the desktop app plugs in its own.
#include <optional>
#include <string>

namespace sumora {

class Clipboard {
  public:
    virtual ~Clipboard() = default;
    virtual std::optional<std::string> text() const = 0;
    virtual void setText(std::string text) = 0;
};

// A clipboard held in memory (tests, the command line).
class MemoryClipboard : public Clipboard {
  public:
    std::optional<std::string> text() const override { return text_; }
    void setText(std::string text) override { text_ = std::move(text); }

  private:
    std::optional<std::string> text_;
};

} // namespace sumora
