#!/usr/bin/env bash
# Draws the pictures of the manual anew, at single and double density: make-pictures.sh [BUILD FOLDER]
# They are what the tests of the window see, on a screen of its own (Xvfb). KT_PICTURES names another folder for them.
set -euo pipefail
root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/../.." && pwd)
program=${1:-$root/build/release}/tests/bin/test_host_qt
[ -x "$program" ] || { echo "build the tests first: $program is missing" >&2; exit 1; }

# Xvfb says which display it took, so that nothing has to be guessed.
numbers=$(mktemp)
Xvfb -displayfd 3 -screen 0 1920x1600x24 -nolisten tcp 3>"$numbers" 2>/dev/null &
server=$!
trap 'kill "$server" 2>/dev/null; rm -f "$numbers"' EXIT
for _ in $(seq 100); do [ -s "$numbers" ] && break; sleep 0.1; done
[ -s "$numbers" ] || { echo "Xvfb did not start" >&2; exit 1; }

export DISPLAY=:$(<"$numbers") QT_QPA_PLATFORM=xcb KT_PICTURES=${KT_PICTURES:-$root/docs/images}
for factor in 1 2; do
    QT_SCALE_FACTOR=$factor "$program" --gtest_filter='WindowPicture.*' --gtest_brief=1
done
ls -l "$KT_PICTURES"/*.png
