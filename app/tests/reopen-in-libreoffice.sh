#!/bin/sh
# A workbook typed and saved through the window must reopen in LibreOffice
# with its values and formula results: runs the day-one walk's save step
# with soffice. Skipped (exit 77) where soffice is not installed.
# Usage: reopen-in-libreoffice.sh PATH/TO/app_DayOneWalkTest
test_binary="$1"
if ! command -v soffice >/dev/null 2>&1; then
    echo "soffice is not installed: skipped"
    exit 77
fi
SUMORA_LIBREOFFICE=soffice exec "$test_binary" savedWorkbookReopensInLibreOffice
