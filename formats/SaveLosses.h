#pragma once
// What saving a document in a format will not keep, said before anything is
// written: what its reader could not keep when the file was opened, then,
// feature by feature, what the chosen format has no place for. The one
// source of these sentences: saving returns them, the command line prints
// them and the application asks about them.
#include "document/SumoraDocument.h"
#include "formats/DocumentIO.h"
#include "formats/LossReport.h"

namespace sumora {

LossReport lossesOnSave(const SumoraDocument& document, FileType type);

} // namespace sumora
