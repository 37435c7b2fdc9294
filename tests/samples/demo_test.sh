#!/usr/bin/env bash
# The demo comes to its end, and goes red when a home is not what it has to be.
set -euo pipefail
demo=$KT_SOURCE_DIR/samples/demo.sh

shown=$("$demo")
[ "$(tail -n 1 <<<"$shown")" = '== Alles wie erwartet: Die iCal-Kalender wurden synchronisiert' ] || exit 1
[ "$(grep -cx 'Die iCal-Kalender wurden synchronisiert' <<<"$shown")" -eq 8 ] || exit 1

# A program that gives each home a server of its own.
apart=$(mktemp -d)
trap 'rm -rf -- "$apart"' EXIT
cat >"$apart/icalsync" <<'TEXT'
#!/usr/bin/env bash
home=$2
exec "$KT_REAL_PROGRAM" "${@:1:3}" "sqlite:$home.sqlite" "${@:5}"
TEXT
chmod +x "$apart/icalsync"
if KT_REAL_PROGRAM=$KT_PROGRAM_DIR/icalsync KT_PROGRAM_DIR=$apart "$demo" >/dev/null 2>"$apart/errors"; then
    echo 'The demo did not notice that nothing was exchanged.' >&2
    exit 1
fi
grep -q 'nur auf einer Seite' "$apart/errors"
