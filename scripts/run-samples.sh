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
echo
echo "Scan logs:    $out/*.scn"
echo "Results file: $out/results.txt"
[ ${#report[@]} -eq 0 ] || echo "PDF report:   $out/report.pdf"
