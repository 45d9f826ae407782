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

# What differs from machine to machine and from run to run, and the size of the indexes and of an
# image, which has them inside.
normalised() {
  sed -E -e "s|$work|WORK|g" -e "s|$root/||g" -e 's/, [0-9]+ ms$/, N ms/' \
    -e 's/"(member|tag|type)Id":[0-9]+/"\1Id":N/g' \
    -e 's/image, [0-9]+ bytes/image, N bytes/' -e 's/an image size of [0-9]+/an image size of N/' \
    -e 's/(index bytes +|"indexBytes":)[0-9]+/\1N/' \
    -e 's/(stddict) [0-9]+\.[0-9]+\.[0-9]+$/\1 VERSION/' "$1"
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

# Checks: each message has one fault, of the kind that its file is named after.
check walk-check walk --check "$dictionary" $sample/order.xml
check walk-check-broken walk --check "$dictionary" tests/tool/broken
check walk-check-summary walk --check --quiet --summary "$dictionary" tests/tool/broken $sample
check walk-check-json walk --check --json "$dictionary" tests/tool/broken/swapped.xml
check walk-check-jsonl walk --check --jsonl "$dictionary" tests/tool/broken/group-member.xml \
  "$work/missing.xml"
check walk-check-sarif walk --check --sarif "$dictionary" tests/tool/broken/value.xml
check walk-two-forms walk --json --sarif "$dictionary" $sample/order.xml

# Many messages: in their order however many threads there are, from files as from a stream.
for round in 1 2 3 4 5; do cp -r tests/tool/broken "$work/inbox$round"; done
bulk=("$tool" walk --check --jsonl "$dictionary")
verdicts() { sed -E 's/.*("accepted":[a-z]*).*"found":([0-9]*).*"path":("[^"]*").*/\1 \2 \3/'; }
"${bulk[@]}" --jobs 1 "$work"/inbox? >"$work/one" || true
"${bulk[@]}" --jobs 4 "$work"/inbox? >"$work/four" || true
expect "70 messages were walked" [ "$(wc -l <"$work/one")" -eq 70 ]
expect "threads keep the order" cmp "$work/one" "$work/four"
for file in "$work"/inbox?/*.xml; do tr '\n' ' ' <"$file" && echo; done >"$work/lines"
for file in "$work"/inbox?/*.xml; do printf '%s:%s,' "$(wc -c <"$file")" "$(cat "$file" && echo x)"; done |
  sed 's/^x,/,/' >"$work/netstrings"
"${bulk[@]}" --jobs 3 - <"$work/lines" >"$work/streamed" || true
"${bulk[@]}" --framing netstring - <"$work/netstrings" >"$work/framed" || true
expect "a line is a message" cmp <(verdicts <"$work/one") <(verdicts <"$work/streamed")
expect "a netstring is a message" cmp <(verdicts <"$work/one") <(verdicts <"$work/framed")
stream() { "$tool" walk --check --jsonl "$dictionary" - "${@:2}" <<<"$1" 2>&1 || echo "exit $?"; }
expect "a message too long is passed over" grep -q 'at most 20 are taken.*exit 2' \
  <(stream $'<order-that-is-too-long/>\n<short/>' --max-message 20 | tr '\n' ' ')
expect "broken framing is told" grep -q 'expected LENGTH:BYTES,' <(stream '12<a/>' --framing netstring)

printf '<order xmlns="urn:example:order">\n  <placed>\n</order>' >"$work/broken.xml"
check walk-broken walk "$dictionary" "$work/broken.xml"
check walk-goes-on walk --quiet "$dictionary" "$work/missing.xml" $sample/order.xml
printf '<!DOCTYPE order SYSTEM "order.dtd"><order/>' >"$work/doctype.xml"
check walk-doctype walk "$dictionary" "$work/doctype.xml"
check walk-no-dictionary walk "$work/missing.json" $sample/order.xml
check walk-not-a-dictionary walk $sample/order.xml $sample/order.xml
expect "a full disk is noticed" bash -c '! "$1" walk "$2" "$3" >/dev/full 2>&1' - "$tool" \
  "$dictionary" $sample/order.xml

# FIX messages: those of the example, and one for each fault that they may have.
parcels=$work/parcels.json
check compile-fix compile examples/fix/parcels.xml -o "$parcels"
check walk-fix walk "$parcels" examples/fix/parcels.log
check walk-fix-check walk "$parcels" examples/fix/parcels.log --check
check walk-fix-faulty walk "$parcels" tests/tool/data/parcels-faulty.log --check
head -n 6 tests/tool/data/parcels-faulty.log | tail -n 1 >"$work/count.log"
check walk-fix-faulty-json walk "$parcels" "$work/count.log" --check --jsonl
check walk-fix-summary walk "$parcels" tests/tool/data/parcels-faulty.log --check --quiet --summary
for _ in {1..300}; do cat tests/tool/data/parcels-faulty.log; done >"$work/long.log"
fixes() { "$tool" walk --check --jsonl "$parcels" "$work/long.log" --jobs "$1" || true; }
fixes 1 >"$work/one"
fixes 3 >"$work/three"
expect "a long file is shared in order" cmp "$work/one" "$work/three"
expect "each message of it has its line" cmp <(seq 4200) \
  <(sed -E 's/.*"line":([0-9]+),.*/\1/' "$work/one")
sed '/<components>/,$d' examples/fix/parcels.xml >"$work/cut.xml"
echo ' <fields/></fix>' >>"$work/cut.xml"
check compile-fix-undefined compile "$work/cut.xml" -o "$work/bad.json"

# Questions about a dictionary: the compiled sample, and a hand-written one with messages, roles of
# values, overrides and a text that would steer a terminal.
bank=tests/tool/data/bank.json
faulty=tests/tool/data/faulty.json
for verb in info find tree values path next check dump convert; do
  check "$verb-help" "$verb" --help
done
for verb in 'info' 'find 1' 'tree 1' 'values 1' 'path 1 1' 'next --path /a' 'check' 'dump' "convert $work/none"; do
  read -r -a words <<<"$verb"
  check "${words[0]}-no-dictionary" "${words[0]}" "$work/missing.json" "${words[@]:1}"
done

check info info "$dictionary"
check info-json info "$dictionary" --json
check info-messages info $bank
check find find "$dictionary" name
check find-id find "$dictionary" 91
check find-type find "$dictionary" Article --type
check find-wildcard find "$dictionary" 'any^lax ##other urn:example:order'
check find-member find $bank Residence
check find-json find $bank 204 --json
check find-namespace find "$dictionary" note --namespace urn:example:order
check find-other-namespace find "$dictionary" note --namespace ''
check find-nothing find "$dictionary" nowhere
check find-nothing-json find "$dictionary" nowhere --json
check tree tree "$dictionary" order --depth 3
check tree-depth tree "$dictionary" order --depth 1
check tree-limit tree "$dictionary" order --limit 3
check tree-json tree "$dictionary" article --json
check tree-open tree $bank Payment
check tree-nothing tree "$dictionary" nowhere
check tree-bad-depth tree "$dictionary" order --depth 101
check values values $bank Country
check values-path values $bank 204 --path 0 --json
check values-bad-path values $bank Country --path 1
check values-none values $bank Name
check values-nothing values $bank Nowhere
check path path $bank Payment Country
check path-json path $bank 17 204 --json
check path-none path $bank 17 205
check next next "$dictionary" --path '/order/article[2]'
check next-namespace next "$dictionary" --path '/{urn:example:order}order/buyer' --json
check next-past-others next "$dictionary" --path '/order/delivery/street'
check next-wildcard next "$dictionary" --path /order/extras
check next-missing next "$dictionary" --path '/order/quantity/piece'
check next-too-many next "$dictionary" --path '/order/delivery/speed[2]'
check next-fix-group next "$parcels" --path '/ParcelNotice/NoParcels.group'
check next-no-message next $bank --path '/{urn:x}Payment'
check next-bad-path next $bank --path '/Payment/Country[0]'
check check check "$dictionary"
check check-faults check $faulty
check check-limit check $faulty --limit 2
check check-json check $faulty --json --limit 1
check tree-faulty tree $faulty Payment
check values-faulty values $faulty Country
for words in "info $bank" "find $bank Country" "tree $bank Payment" "path $bank 17 204 --json" \
  "next $dictionary --path /order"; do
  read -r -a words <<<"$words"
  expect "too large an answer of ${words[0]} is an error" grep -q 'more than 90 bytes; .*exit 2' \
    <({ "$tool" "${words[@]}" --max-answer 90 2>&1 || echo "exit $?"; } | tr '\n' ' ')
done
check values-too-large values $bank Country --max-answer 90
{
  echo '<schema xmlns="http://www.w3.org/2001/XMLSchema"><element name="r"><complexType><sequence>'
  for i in {1..1500}; do echo "<element name='e$i' minOccurs='0'/>"; done
  echo '</sequence></complexType></element></schema>'
} >"$work/wide.xsd"
"$tool" compile "$work/wide.xsd" -o "$work/wide.json" >"$work/stdout" 2>&1
check next-too-far next "$work/wide.json" --path /r/nowhere
check find-faulty find $faulty 302 --json
check dump dump $bank

check convert convert "$dictionary" "$work/order.image"
check convert-back convert "$work/order.image" "$work/back.json"
expect "an extract comes back as it was" cmp "$dictionary" "$work/back.json"
check convert-tidy convert $bank "$work/tidy.json" --to extract
check convert-image-tree tree "$work/order.image" order --depth 1
check convert-bad-form convert $bank "$work/bank.xml" --to xml
mkfifo "$work/pipe"
cat $bank >"$work/pipe" &
check info-pipe info "$work/pipe"
wait
check convert-pipe convert "$work/pipe" "$work/bank.image"
"$tool" convert $bank "$work/bank.image" >"$work/stdout"
cp $bank "$work/closed.image"
chmod 600 "$work/closed.image"
ln -s closed.image "$work/link.image"
cat "$work/pipe" >"$work/piped.image" &
"$tool" convert $bank "$work/pipe"
wait
"$tool" convert $bank "$work/link.image" >"$work/stdout"
expect "a pipe is written to" cmp "$work/piped.image" "$work/bank.image"
expect "a link is followed" cmp "$work/closed.image" "$work/bank.image"
expect "a pipe stays one" [ -p "$work/pipe" ]
expect "a link stays one" [ -L "$work/link.image" ]
expect "permissions stay" [ "$(stat -c %a "$work/closed.image")" = 600 ]
check convert-unwritable convert $bank "$work/no/such/folder.image"
head -c 500 "$work/order.image" >"$work/cut.image"
check info-cut-image info "$work/cut.image"
expect "a message with a full disk is noticed" bash -c '! "$1" tree "$2" order >/dev/full 2>&1' - \
  "$tool" "$dictionary"
expect "no colour without a terminal" bash -c '! "$1" tree "$2" order | grep -q "$(printf "\033")"' \
  - "$tool" "$dictionary"

for file in "$golden"/*.txt; do
  name=$(basename "$file" .txt)
  expect "golden file of a case that is gone: $name" [ -n "${seen[$name]:-}" ]
done
[ "$failed" -ne 0 ] || echo "tool: ${#seen[@]} cases passed"
exit "$failed"
