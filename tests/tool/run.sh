#!/usr/bin/env bash
# run.sh STDDICT [--rewrite]: runs the tool as a user would and compares exit code, stdout and
# stderr of each case with golden/CASE.txt. With --rewrite the golden files are written anew:
# review their changes like code.
set -euo pipefail

tool=$(realpath "$1")
rewrite=${2:-}
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
root=$PWD
golden=tests/tool/golden
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0
declare -A seen

# What differs from machine to machine and from run to run.
normalised() {
  sed -E -e "s|$work|WORK|g" -e "s|$root/||g" -e 's/, [0-9]+ ms$/, N ms/' \
    -e 's/"(member|tag|type)Id":[0-9]+/"\1Id":N/g' -e 's/(stddict) [0-9]+\.[0-9]+\.[0-9]+$/\1 VERSION/' "$1"
}

# check CASE ARGUMENT...
check() {
  local name=$1 code=0
  shift
  seen[$name]=1
  "$tool" "$@" >"$work/stdout" 2>"$work/stderr" </dev/null || code=$?
  {
    echo "exit $code"
    echo "-- stdout"
    normalised "$work/stdout"
    echo "-- stderr"
    normalised "$work/stderr"
  } >"$work/actual"
  if [ "$rewrite" = --rewrite ]; then
    cp "$work/actual" "$golden/$name.txt"
  elif ! diff -u "$golden/$name.txt" "$work/actual"; then
    echo "FAILED: $name: stddict $*"
    failed=1
  fi
}

# expect WHAT COMMAND...: a condition beside the golden files.
expect() {
  local what=$1
  shift
  "$@" || { echo "FAILED: $what"; failed=1; }
}

sample=examples/order
dictionary=$work/order.json

check version --version
check help --help
check compile-help compile --help
check walk-help walk --help
check usage-no-verb
check usage-unknown-option walk "$dictionary" $sample/order.xml --loud
check usage-missing-output compile $sample/order.xsd

check compile compile $sample/order.xsd -o "$dictionary"
cp "$dictionary" "$work/first.json"
check compile-again compile $sample/order.xsd --name order -o "$dictionary"
expect "the same schema gives the same bytes" cmp "$work/first.json" "$dictionary"

echo '<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
  <xs:element name="a" type="Missing"/>
</xs:schema>' >"$work/bad.xsd"
check compile-bad-schema compile "$work/bad.xsd" -o "$work/bad.json"
expect "a failure leaves no file" [ ! -e "$work/bad.json" ]
cp "$dictionary" "$work/kept.json"
check compile-bad-schema-again compile "$work/bad.xsd" -o "$work/kept.json"
expect "a failure keeps the file that was there" cmp "$dictionary" "$work/kept.json"
check compile-missing-schema compile "$work/missing.xsd" -o "$work/bad.json"
check compile-unwritable compile $sample/order.xsd -o "$work/no/such/folder.json"
expect "no temporary file is left" [ -z "$(find "$work" -name '*.tmp')" ]

check walk walk "$dictionary" $sample/order.xml
check walk-json walk "$dictionary" $sample/order.xml --json
check walk-quiet walk "$dictionary" $sample/order.xml --quiet
check walk-json-quiet walk --json --quiet "$dictionary" $sample/order.xml
check walk-refused walk "$dictionary" $sample/order-refused.xml
check walk-refused-json walk "$dictionary" $sample/order-refused.xml --json
check walk-several walk --quiet "$dictionary" $sample/order.xml $sample/order-refused.xml

printf '<order xmlns="urn:example:order">\n  <placed>\n</order>' >"$work/broken.xml"
check walk-broken walk "$dictionary" "$work/broken.xml"
check walk-goes-on walk --quiet "$dictionary" "$work/missing.xml" $sample/order.xml
printf '<!DOCTYPE order SYSTEM "order.dtd"><order/>' >"$work/doctype.xml"
check walk-doctype walk "$dictionary" "$work/doctype.xml"
check walk-no-dictionary walk "$work/missing.json" $sample/order.xml
check walk-not-a-dictionary walk $sample/order.xml $sample/order.xml
expect "a full disk is noticed" bash -c '! "$1" walk "$2" "$3" >/dev/full 2>&1' - "$tool" \
  "$dictionary" $sample/order.xml

for file in "$golden"/*.txt; do
  name=$(basename "$file" .txt)
  expect "golden file of a case that is gone: $name" [ -n "${seen[$name]:-}" ]
done
[ "$failed" -ne 0 ] || echo "tool: ${#seen[@]} cases passed"
exit "$failed"
