#!/usr/bin/env bash
# Renders the program's scalable icon (packaging/linux/tessaron.svg) into the PNG that the
# windows carry as their icon (src/gui/qt/icons/tessaron.png) and the manual (docs/manual/images). Run after changing the SVG;
# needs rsvg-convert (Debian: librsvg2-bin).
set -euo pipefail
cd "$(dirname "$0")/.."
rsvg-convert -w 256 -h 256 packaging/linux/tessaron.svg -o src/gui/qt/icons/tessaron.png
rsvg-convert -w 48 -h 48 packaging/linux/tessaron.svg -o docs/manual/images/tessaron-icon.png
echo "src/gui/qt/icons/tessaron.png docs/manual/images/tessaron-icon.png"
