#pragma once
// The editor's clipboard backed by the desktop's: copying in Sumora puts
// plain text where other programs can paste it, and text copied elsewhere
// pastes into the grid.
#include "editing/SumoraEditorView.h"

namespace sumora::app {

class SystemClipboard : public Clipboard {
  public:
    std::optional<std::string> text() const override;
    void setText(std::string text) override;
};

} // namespace sumora::app
