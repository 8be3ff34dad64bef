#include "app/SaveAsTarget.h"

#include <QFileInfo>
#include <QObject>

namespace sumora::app {

const QList<SaveFilter>& saveFilters() {
    static const QList<SaveFilter> filters = {
        {FileType::xlsx, QStringLiteral("xlsx"), QObject::tr("XLSX Workbook (*.xlsx)"),
         QStringLiteral("xlsx")},
        {FileType::ods, QStringLiteral("ods"), QObject::tr("OpenDocument Spreadsheet (*.ods)"),
         QStringLiteral("ods")},
        {FileType::csv, QStringLiteral("csv"), QObject::tr("Comma-Separated Values (*.csv)"),
         QStringLiteral("csv")},
    };
    return filters;
}

SaveAsTarget saveAsTarget(const QString& chosenPath, const QString& selectedFilter) {
    // "report.ods" under the XLSX filter is written as ODS: a file never
    // claims a type it is not.
    const QString suffix = QFileInfo(chosenPath).suffix().toLower();
    for (const SaveFilter& f : saveFilters())
        if (f.suffix == suffix) return {chosenPath, f.type};
    const SaveFilter* chosen = &saveFilters().front();
    for (const SaveFilter& f : saveFilters())
        if (f.filter == selectedFilter) chosen = &f;
    return {chosenPath + QLatin1Char('.') + chosen->suffix, chosen->type};
}

} // namespace sumora::app
