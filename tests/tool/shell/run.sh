#!/usr/bin/env bash
# run.sh STDDICT [--rewrite]: feeds each SESSION.in of this folder to the console on the sample
# dictionary and compares what it prints with SESSION.text.out, and with SESSION.json.out for --json.
# With --rewrite the .out files are written anew: review their changes like code.
set -euo pipefail

tool=$(realpath "$1")
rewrite=${2:-}
cd "$(dirname "${BASH_SOURCE[0]}")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0
count=0

expect() {
  local what=$1
  shift
  count=$((count + 1))
  "$@" || { echo "FAILED: $what"; failed=1; }
}

# exits CODE COMMAND...: the command's input is ours, its output does not matter.
exits() {
  local wanted=$1 code=0
  shift
  "$@" >/dev/null 2>&1 || code=$?
  [ "$code" -eq "$wanted" ] || { echo "exit $code instead of $wanted"; return 1; }
}

"$tool" compile ../../../examples/order/order.xsd -o "$work/order.json" >/dev/null 2>&1

# check SESSION FORM OPTION...
check() {
  local session=$1 golden=$1.$2.out code=0
  shift 2
  "$tool" shell "$work/order.json" --strict "$@" <"$session.in" >"$work/actual" 2>&1 || code=$?
  sed -E -i 's/(cpi\/[a-z\/]*):[0-9]+\)/\1:LINE)/' "$work/actual"  # source lines move
  echo "exit $code" >>"$work/actual"
  if [ "$rewrite" = --rewrite ]; then
    cp "$work/actual" "$golden"
  else
    expect "$golden" diff -u "$golden" "$work/actual"
  fi
}

for session in *.in; do
  check "${session%.in}" text
  check "${session%.in}" json --json
done

# What a session file cannot hold.
printf 'help' >"$work/no-line-end"
printf 'getTagName\xff\nquit\n' >"$work/not-utf8"
printf 'getTagName\0\n' >"$work/nul"
head -c 10000000 /dev/zero | tr '\0' 'x' >"$work/no-lines"
printf '\nquit\n' >>"$work/no-lines"
head -c 300000 /dev/urandom >"$work/noise"
dictionary=$work/order.json
expect "the last line needs no end" exits 0 "$tool" shell "$dictionary" --strict <"$work/no-line-end"
expect "a line that is not UTF-8" exits 1 "$tool" shell "$dictionary" --strict <"$work/not-utf8"
expect "a line with a NUL" exits 1 "$tool" shell "$dictionary" --strict <"$work/nul"
expect "a line without end" exits 1 "$tool" shell "$dictionary" --strict <"$work/no-lines"
expect "noise" exits 1 "$tool" shell "$dictionary" --strict --json <"$work/noise"
expect "an empty input" exits 0 "$tool" shell "$dictionary" --strict </dev/null
expect "errors alone are not a failure" exits 0 "$tool" shell "$dictionary" <"$work/not-utf8"
expect "no dictionary" exits 2 "$tool" shell "$work/missing.json" </dev/null
expect "a full disk is noticed" bash -c '! "$1" shell "$2" <<<help >/dev/full 2>&1' - "$tool" \
  "$dictionary"

# The console's report is the verb's.
echo DumpContents | "$tool" shell "$dictionary" | tail -n +2 >"$work/dump"
expect "DumpContents" diff "$work/dump" <("$tool" dump "$dictionary")

# Every operation must be one that sessions try, so that a new one is not forgotten.
{ echo DumpContents; sed -n 's/^ *\([A-Za-z_]*\).*/\1/p' ./*.in; } | sort -u >"$work/tried"
echo help | "$tool" shell "$dictionary" | sed -n 's/^  \([A-Za-z_]*\).*/\1/p' | sort -u >"$work/all"
expect "operations that no session tries" diff <(comm -23 "$work/all" "$work/tried") /dev/null

[ "$failed" -ne 0 ] || echo "shell: $count cases passed"
exit "$failed"
