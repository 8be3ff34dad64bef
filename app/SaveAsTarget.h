#pragma once
// The file types offered by Save As, and what a chosen name and filter
// become: the name's own extension decides when it names a type we write,
// otherwise the filter's type, with its extension added to the name.
#include <QList>
#include <QString>

#include "formats/DocumentIO.h"

namespace sumora::app {

struct SaveFilter {
    FileType type;
    QString settingValue; // the "defaultFileFormat" value that preselects it
    QString filter;       // "XLSX Workbook (*.xlsx)"
    QString suffix;
};

const QList<SaveFilter>& saveFilters();

struct SaveAsTarget {
    QString path;
    FileType type;
};

SaveAsTarget saveAsTarget(const QString& chosenPath, const QString& selectedFilter);

} // namespace sumora::app
