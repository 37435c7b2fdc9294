#!/usr/bin/env bash
# Three homes, one server: brings the calendars of the sample store to an empty home, lets a third
# one of the older layout join with calendars of its own, and shows that all then hold the same, and
# that nothing moves when there is nothing to do.
#
#   samples/demo.sh [--keep]
#
# --keep leaves the scratch folder with all homes behind. KT_PROGRAM_DIR names the folder of the
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
old=$scratch/alter-mac
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
    printf '%s:\n%s\n' "$(basename "$1")" "$shown"
    grep -qxF 'Die iCal-Kalender wurden synchronisiert' <<<"$shown" ||
        fail "Die Synchronisierung meldet keinen Erfolg."
}

# store HOME: names, kinds, sizes, times and contents of all that stands in its store, of either layout.
store() {
    local folder
    cd -- "$1/Library"
    for folder in Calendars 'Application Support/iCal'; do
        [ -e "$folder" ] || continue
        find "$folder" -printf '%p %y %s %T@\n' | LC_ALL=C sort
        find "$folder" -type f -print0 | LC_ALL=C sort -z | xargs -0 -r sha256sum
    done
}

# remember WHEN HOME...: the stores of these homes, and with them the server once there is one.
remember() {
    local when=$1 home
    shift
    for home in "$@"; do (store "$home") >"$scratch/$(basename "$home").$when"; done
    [ ! -e "$server" ] || python3 "$samples/check.py" dump "$server" >"$scratch/server.$when"
}

unchanged() { cmp -- "$scratch/$1.before" "$scratch/$1.after"; }
records() { icalsync "$1" records --json >"$scratch/$(basename "$1").json"; }

# sample NAME HOME: a home as a checkout leaves it, and not as of now, so that a rewritten file shows.
sample() {
    mkdir -- "$2"
    cp -R -- "$samples/$1/." "$2"
    find "$2" -exec touch -d 2008-01-15T12:00:00Z {} +
}

: >"$log"
[ -x "$program" ] || fail "Es gibt kein Programm $program; ./dev build baut es."
sample home-10.5 "$laptop"
sample home-10.4 "$old"
mkdir -- "$desk"

say "Der Laptop hat seine Kalender in der Ablage von Mac OS X 10.5"
icalsync "$laptop" calendars
icalsync "$laptop" check

say "Der Laptop synchronisiert zum ersten Mal: alles geht zum Server"
remember before "$laptop"
sync "$laptop"
remember after "$laptop"
unchanged laptop || fail "Das erste Hochladen hat den Kalenderbestand verändert."

say "Der Schreibtisch hat noch nichts und holt sich alles"
sync "$desk"
records "$laptop"
records "$desk"
python3 "$samples/check.py" compare "$scratch/laptop.json" "$scratch/schreibtisch.json"

say "Ein alter Mac hat andere Kalender, in der Ablage von Mac OS X 10.4"
icalsync "$old" calendars
icalsync "$old" check

say "Der alte Mac kommt dazu: seine Kalender gehen hinauf, die der anderen kommen herunter"
sync "$old"

say "Laptop und Schreibtisch holen, was der alte Mac mitgebracht hat"
sync "$laptop"
sync "$desk"

say "Alle drei haben nun dieselben Kalender, der Laptop so wie der alte Mac"
icalsync "$laptop" calendars
for home in "$laptop" "$desk" "$old"; do records "$home"; done
python3 "$samples/check.py" compare "$scratch/laptop.json" "$scratch/schreibtisch.json"
python3 "$samples/check.py" compare-layouts "$scratch/laptop.json" "$scratch/alter-mac.json"

say "Ein weiterer Lauf auf jedem: nichts zu tun, also bewegt sich nichts"
remember before "$laptop" "$desk" "$old"
for home in "$laptop" "$desk" "$old"; do sync "$home"; done
remember after "$laptop" "$desk" "$old"
for what in laptop schreibtisch alter-mac server; do
    unchanged "$what" || fail "Obwohl es nichts zu tun gab, hat sich etwas verändert: $what."
done
printf 'Keine Datei und kein Datensatz wurde angefasst.\n'

say "Alles wie erwartet: Die iCal-Kalender wurden synchronisiert"
