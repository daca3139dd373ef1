#!/usr/bin/env bash
# Installs what is missing, builds, and analyses the bundled sample line in a scratch folder:
# the cards are copied there so that their scan logs, the results file and the PDF report land
# beside them, never inside the repository.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
"$here/scripts/setup.sh"
"$here/scripts/build.sh"
build="${VELMARA_BUILD_DIR:-$here/build}"
out="${1:-$here/out/samples}"
rm -rf "$out"
mkdir -p "$out"
cp "$here"/samples/*.bmp "$out"/

# A settings file without values: the run uses the defaults, whatever this user's own settings say.
printf '[Prefs]\n' > "$out/settings.ini"
cli="$build/src/cli/velmara-cli"
report=()
if "$cli" --help | grep -q -- '--report'; then
  report=(--report "$out/report.pdf")
fi
"$cli" line --settings "$out/settings.ini" --dpi 600 --out "$out/results.txt" "${report[@]}" "$out"/*.bmp

# The colour sampling line (PNG and JPEG scans), once velmara-cli reads colour scans.
colour=0
if "$cli" --help | grep -q -- '--colour-scans'; then
  colour=1
  mkdir -p "$out/colour"
  cp "$here"/samples/colour/*.png "$here"/samples/colour/*.jpg "$out/colour"/
  colour_report=()
  [ ${#report[@]} -eq 0 ] || colour_report=(--report "$out/colour/report.pdf")
  "$cli" line --settings "$out/settings.ini" --colour-scans --dpi 600 --out "$out/colour/results.txt" \
    "${colour_report[@]}" "$out"/colour/card*
fi
echo
echo "Scan logs:    $out/*.scn"
echo "Results file: $out/results.txt"
[ ${#report[@]} -eq 0 ] || echo "PDF report:   $out/report.pdf"
if [ $colour -eq 1 ]; then
  echo "Colour line:  $out/colour/ (scan logs, results.txt$([ ${#report[@]} -eq 0 ] || echo ", report.pdf"))"
fi
