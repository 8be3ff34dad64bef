#pragma once
// The tools of a document window — data dialogs, what-if, macros, charts,
// sparklines, conditional formats, validation, PDF export and printing —
// installed into its menus. The window calls this once when it is built.
#include <QString>
#include <cstdint>

#include "document/CellPosition.h"

class QMenuBar;
class QToolBar;

namespace sumora::app {

class DocumentContext;

void installToolActions(DocumentContext& context, QMenuBar* menuBar);

// Data validation of an entry before it is stored: false when the covering
// rule refuses it (Stop, or Warning declined; the user has been told). Entry
// points that store typed text may call this first; entries stored without
// asking are checked afterwards and taken back when refused.
bool approveCellEntry(DocumentContext& context, CellPosition at, const QString& text);

} // namespace sumora::app
