#!/usr/bin/env bash
# The window on a real display, as the pictures of the manual show it: all are drawn, at both densities.
set -euo pipefail
[ -x "$KT_BUILD_DIR/tests/bin/test_host_qt" ] || { echo "built without the window"; exit 0; }
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
# What libdbus keeps for itself is not this program's leak.
echo "leak:libdbus-1" > "$folder/suppressions"
# libxkbcommon copies pieces of the X server's answers with strndup, which the sanitizer takes for reading behind them.
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}intercept_strndup=0"
export LSAN_OPTIONS="suppressions=$folder/suppressions:print_suppressions=0" KT_PICTURES=$folder

"$KT_SOURCE_DIR/docs/images/make-pictures.sh" "$KT_BUILD_DIR"
for name in settings settings-published settings-synced; do
    for density in "" @2x; do
        [ -s "$folder/$name$density.png" ] || { echo "$name$density.png was not drawn" >&2; exit 1; }
        [ -s "$KT_SOURCE_DIR/docs/images/$name$density.png" ] || { echo "the manual lacks $name$density.png" >&2; exit 1; }
    done
done
