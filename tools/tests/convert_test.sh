#!/usr/bin/env bash
# End-to-end checks of `vxxml convert`: every output option round-trips the
# sample document, and bad input ends with the library's message and a
# non-zero status.
#   convert_test.sh VXXML_BINARY SAMPLE.xml WORK_DIR
set -euo pipefail
vxxml=$1 sample=$2 work=$3
rm -rf "$work" && mkdir -p "$work" && cd "$work"
fail() { echo "FAIL: $*" >&2; exit 1; }
canon() { xmllint --noblanks "$1" | xmllint --c14n -; }

"$vxxml" convert "$sample" plain.xml
xmllint --noout plain.xml
[ "$(canon "$sample")" = "$(canon plain.xml)" ] || fail "plain output differs from the input"

# Each encoding, line end and compression reads back to the same document.
for opts in "--encoding=utf-16" "--compress=gzip" "--compress=zlib" \
            "--encoding=utf-16 --compress=gzip" "--compact --eol=crlf" "--no-declaration"; do
    # shellcheck disable=SC2086
    "$vxxml" convert $opts "$sample" variant.out
    "$vxxml" convert variant.out back.xml
    cmp -s plain.xml back.xml || fail "$opts does not read back identically"
done
"$vxxml" convert --compress=gzip "$sample" packed.gz && gzip -t packed.gz || fail "gzip output"
# A compressed UTF-16 file starts with the byte-order mark, then the stream.
"$vxxml" convert --encoding=utf-16 --compress=gzip "$sample" packed16.gz
[ "$(head -c 4 packed16.gz | od -An -tx1 | tr -d ' ')" = "fffe1f8b" ] || fail "UTF-16 gzip layout"
tail -c +3 packed16.gz | gzip -t || fail "UTF-16 gzip stream after the mark"
[ "$("$vxxml" convert --compact "$sample" - | wc -l)" -le 1 ] || fail "--compact wrote line breaks"

# Errors: status and message.
printf '<a><b></a>' > broken.xml
if "$vxxml" convert broken.xml out.xml 2> err.txt; then fail "malformed input accepted"; fi
grep -q "line 1" err.txt || fail "no line in the parse error: $(cat err.txt)"
if "$vxxml" convert missing.xml out.xml 2> err.txt; then fail "missing file accepted"; fi
grep -q "missing.xml" err.txt || fail "the error does not name the file"
# Nesting: up to the library's limit converts, beyond it fails cleanly.
nest() { for ((i = 0; i < $1; i++)); do printf '<a>'; done; for ((i = 0; i < $1; i++)); do printf '</a>'; done; }
nest 999 > deep.xml
"$vxxml" convert deep.xml deep-out.xml || fail "999 nested elements did not convert"
nest 5000 > deeper.xml
if "$vxxml" convert deeper.xml out.xml 2> err.txt; then fail "5000 nested elements accepted"; fi
grep -q "nested more than" err.txt || fail "deep nesting: $(cat err.txt)"

set +e
"$vxxml" convert --bogus "$sample" out.xml 2> /dev/null
[ $? -eq 2 ] || fail "unknown option must exit with 2"
set -e
echo "convert: all checks passed"
