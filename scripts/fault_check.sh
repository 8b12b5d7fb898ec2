#!/usr/bin/env bash
# Runs the test suite once per deliberate fault in scripts/faults.tsv and
# prints a table of which faults the tests catch.
#
#   scripts/fault_check.sh [-k] [NAME...]
#
# The tree (as it is in the working copy, committed or not) is copied to a
# scratch folder; each fault replaces one exact piece of text under src/ (it
# must occur exactly once), the default targets are rebuilt with ccache, and
# the whole ctest runs with -j2. A fault is "caught" when at least one test
# fails. The first failing tests are listed beside it. -k keeps the scratch
# folder. Set ZV_FAULT_DIR to reuse one between runs (faster rebuilds).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
keep=0
if [ "${1:-}" = -k ]; then keep=1; shift; fi
work=${ZV_FAULT_DIR:-$(mktemp -d /tmp/zv_faults.XXXXXX)}
tree=$work/tree build=$work/build
rm -rf "$tree" && mkdir -p "$tree"
[ "$keep" = 1 ] || [ -n "${ZV_FAULT_DIR:-}" ] || trap 'rm -rf "$work"' EXIT

# The working copy's tracked and new files, without build folders, dated now so
# that a reused build folder recompiles every file (ccache makes that cheap).
(cd "$top" && git ls-files -co --exclude-standard -z | tar --null -T - -cf -) | tar -C "$tree" -xmf -

cmake -S "$tree" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=g++ -DCMAKE_CXX_COMPILER_LAUNCHER=ccache \
  -DCMAKE_C_COMPILER_LAUNCHER=ccache >"$work/configure.log"

run_suite() { # $1: log file; prints the failing tests
  cmake --build "$build" -j2 >"$1.build" 2>&1 || { echo "BUILD-FAILED"; return; }
  (cd "$build" && ctest -j2 --timeout 300 >"$1" 2>&1) || true
  sed -n 's/^[[:space:]]*[0-9]* - \([^ ]*\) .*/\1/p' "$1"
}

failed=$(run_suite "$work/clean.log")
if [ -n "$failed" ]; then
  echo "the suite fails without any fault:" >&2
  echo "$failed" >&2
  exit 1
fi

printf '%-22s %-7s %5s  %s\n' fault result tests "failing tests (first three)"
status=0
while IFS=$'\t' read -r name old new what; do
  case "$name" in '' | '#'*) continue ;; esac
  if [ $# -gt 0 ] && ! printf '%s\n' "$@" | grep -qx "$name"; then continue; fi
  mapfile -t files < <(grep -rlF -- "$old" "$tree/src")
  if [ "${#files[@]}" -ne 1 ] || [ "$(grep -cF -- "$old" "${files[0]}")" -ne 1 ]; then
    printf '%-22s %-7s %s\n' "$name" "NOSITE" "the text is not found exactly once under src/"
    status=1
    continue
  fi
  file=${files[0]}
  cp -p "$file" "$work/original"
  OLD=$old NEW=$new perl -0pi -e 's/\Q$ENV{OLD}\E/$ENV{NEW}/' "$file"
  failed=$(run_suite "$work/$name.log")
  cp -p "$work/original" "$file"
  touch "$file"
  if [ "$failed" = BUILD-FAILED ]; then
    printf '%-22s %-7s %s\n' "$name" NOBUILD "see $work/$name.log.build"
    status=1
  elif [ -z "$failed" ]; then
    printf '%-22s %-7s %5s  %s\n' "$name" missed 0 "($what)"
  else
    printf '%-22s %-7s %5s  %s\n' "$name" caught "$(echo "$failed" | wc -l)" \
      "$(echo "$failed" | head -n 3 | paste -sd ' ')"
  fi
done <"$top/scripts/faults.tsv"
exit $status
