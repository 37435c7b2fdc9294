#!/usr/bin/env bash
# expect_fault.sh PROGRAM TEXT: succeeds when PROGRAM fails and its report contains TEXT.
set -u
report=$("$1" 2>&1)
status=$?
printf '%s\n' "$report"
if [ "$status" -eq 0 ]; then
    echo "The sanitizer let the fault pass: $1 ended with 0."
    exit 1
fi
grep -qF -- "$2" <<<"$report" || { echo "The report does not name: $2"; exit 1; }
