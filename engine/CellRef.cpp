#include "engine/CellRef.h"

#include "document/ColumnLetters.h"

namespace sumora {

std::string CellRef::description() const {
    std::string s;
    if (sheet) {
        s = *sheet;
        s += '!';
    }
    appendColumnLetter(s, col);
    s += std::to_string(row + 1);
    return s;
}

} // namespace sumora
