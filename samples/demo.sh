#!/usr/bin/env bash
# Two homes, one server: brings the calendars of the sample store to an empty home and shows that
# both then hold the same, and that nothing moves when there is nothing to do.
#
#   samples/demo.sh [--keep]
#
# --keep leaves the scratch folder with both homes behind. KT_PROGRAM_DIR names the folder of the
# program, build/release/bin by default. Ends with 0 only if everything came out as it has to.
set -euo pipefail

samples=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
program=${KT_PROGRAM_DIR:-$samples/../build/release/bin}/icalsync
keep=no
case ${1:-} in
    '') ;;
    --keep) keep=yes ;;
    *) printf 'Aufruf: samples/demo.sh [--keep]\n' >&2; exit 2 ;;
esac

# The records carry the machine's zone; the same one everywhere makes every run of this alike.
export TZ=Europe/Berlin PYTHONDONTWRITEBYTECODE=1

scratch=$(mktemp -d "${TMPDIR:-/tmp}/icalsync-demo-XXXXXX")
laptop=$scratch/laptop
desk=$scratch/schreibtisch
server=$scratch/server.sqlite
log=$scratch/protokoll.log

finish() {
    local code=$?
    if [ "$code" -ne 0 ]; then
        printf '\nFEHLER, Ende mit %d. Die letzten Zeilen des Protokolls:\n' "$code" >&2
        tail -n 20 -- "$log" >&2 || true
    fi
    if [ "$keep" = yes ]; then
        printf 'Die Heimordner stehen in %s\n' "$scratch"
    else
        rm -rf -- "$scratch"
    fi
    exit "$code"
}
trap finish EXIT

say() { printf '\n== %s\n' "$*"; }
fail() { printf '%s\n' "$*" >&2; exit 1; }

# icalsync HOME ARGUMENTS...: the log goes to a file, so that the results stand out.
icalsync() {
    local home=$1
    shift
    "$program" --home "$home" --server "sqlite:$server" --device "$(basename "$home")" "$@" 2>>"$log"
}

# sync HOME: one run, which has to say that it is done.
sync() {
    local shown
    shown=$(icalsync "$1" sync)
    printf '%s\n' "$shown"
    grep -qxF 'Die iCal-Kalender wurden synchronisiert' <<<"$shown" ||
        fail "Die Synchronisierung meldet keinen Erfolg."
}

# store HOME: names, kinds, sizes, times and contents of all that stands in the store.
store() {
    (cd -- "$1/Library/Calendars" &&
        find . -printf '%p %y %s %T@\n' | LC_ALL=C sort &&
        find . -type f -print0 | LC_ALL=C sort -z | xargs -0 -r sha256sum)
}

records() { icalsync "$1" records --json >"$scratch/$2.json"; }

: >"$log"
[ -x "$program" ] || fail "Es gibt kein Programm $program; ./dev build baut es."
mkdir -- "$laptop" "$desk"
cp -R -- "$samples/home-10.5/." "$laptop"
# As a checkout leaves them, and not as of now, so that a rewritten file shows.
find "$laptop" -exec touch -d 2008-01-15T12:00:00Z {} +

say "Der Laptop hat einen Kalenderbestand in der Ablage von Mac OS X 10.5"
icalsync "$laptop" calendars
icalsync "$laptop" check

say "Der Laptop synchronisiert zum ersten Mal: alles geht zum Server"
store "$laptop" >"$scratch/laptop.before"
sync "$laptop"
store "$laptop" >"$scratch/laptop.after"
cmp -- "$scratch/laptop.before" "$scratch/laptop.after" ||
    fail "Das erste Hochladen hat den Kalenderbestand verändert."

say "Der Schreibtisch hat noch nichts und holt sich alles"
sync "$desk"

say "Beide haben nun dieselben Kalender"
icalsync "$laptop" calendars
printf '\n'
icalsync "$desk" calendars
records "$laptop" laptop
records "$desk" schreibtisch
python3 "$samples/check.py" compare "$scratch/laptop.json" "$scratch/schreibtisch.json"

say "Ein weiterer Lauf auf jedem: nichts zu tun, also bewegt sich nichts"
store "$laptop" >"$scratch/laptop.before"
store "$desk" >"$scratch/schreibtisch.before"
python3 "$samples/check.py" dump "$server" >"$scratch/server.before"
sync "$laptop"
sync "$desk"
store "$laptop" >"$scratch/laptop.after"
store "$desk" >"$scratch/schreibtisch.after"
python3 "$samples/check.py" dump "$server" >"$scratch/server.after"
for what in laptop schreibtisch server; do
    cmp -- "$scratch/$what.before" "$scratch/$what.after" ||
        fail "Obwohl es nichts zu tun gab, hat sich etwas verändert: $what."
done
printf 'Keine Datei und kein Datensatz wurde angefasst.\n'

say "Alles wie erwartet: Die iCal-Kalender wurden synchronisiert"
