#!/bin/sh
# The menus must look the same after Print and Export as PDF on a real X
# display: runs the printing test's menu check under Xvfb, comparing screen
# pixels. Skipped (exit 77) where Xvfb is not installed.
# Usage: menus-after-printing-xvfb.sh PATH/TO/app_PrintingTest
test_binary="$1"
if ! command -v xvfb-run >/dev/null 2>&1 || ! command -v Xvfb >/dev/null 2>&1; then
    echo "xvfb-run or Xvfb is not installed: skipped"
    exit 77
fi
QT_QPA_PLATFORM=xcb exec xvfb-run -a -s "-screen 0 1280x1024x24" \
    "$test_binary" menusLookTheSameAfterPrinting
