#!/usr/bin/env bash
# End-to-end checks of `vxxml convert`: every output option round-trips the
# sample document, and bad input ends with the library's message and a
# non-zero status.
#   convert_test.sh VXXML_BINARY SAMPLE.xml WORK_DIR [SANITIZED]
set -euo pipefail
vxxml=$1 sample=$2 work=$3 sanitized=${4:-OFF}
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

# Hostile and careless input: each ends with a message and status 1.
fails() { # expected-text command...
    local expected=$1; shift
    if "$@" 2> err.txt; then fail "accepted: $*"; fi
    grep -q "$expected" err.txt || fail "$*: $(cat err.txt)"
}
mkdir -p folder
fails "Is a directory" "$vxxml" convert folder out.xml
fails "folder" "$vxxml" convert folder out.xml
printf '<a/>' > tiny.xml
fails "would not become smaller" "$vxxml" convert --compress=gzip tiny.xml tiny.gz
head -c 10000 /dev/zero | gzip > zeros.gz
fails "not well-formed" "$vxxml" convert zeros.gz out.xml

# The output may be the input, and a write that fails part-way (here past
# a file-size limit) leaves the old file as it was.
cp "$sample" same.xml
"$vxxml" convert --compact same.xml same.xml
[ "$(canon same.xml)" = "$(canon "$sample")" ] || fail "converting a file onto itself"
awk 'BEGIN { printf "<r>"; for (i = 0; i < 20000; i++) printf "<e n=\"%d\">text</e>", i; printf "</r>" }' > big.xml
cp "$sample" kept.xml
fails "File too large" bash -c "ulimit -f 8; exec '$vxxml' convert big.xml kept.xml"
cmp -s "$sample" kept.xml || fail "a failed write changed the output file"
[ "$(ls -a | grep -c '^\.kept')" -eq 0 ] || fail "a temporary file was left behind"

# Out of memory ends with a message, not a core dump.
{ printf '<r>'; head -c 40000000 /dev/zero | tr '\0' x; printf '</r>'; } > huge.xml
if [ "$sanitized" = ON ]; then
    # The sanitizer reserves far more address space than any limit allows;
    # it makes allocations fail past a resident size instead.
    fails "out of memory" env ASAN_OPTIONS="${ASAN_OPTIONS:-}:allocator_may_return_null=1:soft_rss_limit_mb=40" \
        "$vxxml" convert huge.xml oom.xml
else
    fails "out of memory" bash -c "ulimit -v 120000; exec '$vxxml' convert huge.xml oom.xml"
fi

# Namespaces cost what elements cost: 100,000 declarations (each element
# its own prefix, or all on the root) against 100,000 plain elements.
awk 'BEGIN { printf "<r>"; for (i = 0; i < 100000; i++) printf "<p%d:e xmlns:p%d=\"urn:%d\"/>", i, i, i; printf "</r>" }' > ns-each.xml
awk 'BEGIN { printf "<r"; for (i = 0; i < 100000; i++) printf " xmlns:p%d=\"urn:%d\"", i, i; printf ">"; for (i = 0; i < 100000; i++) printf "<p%d:e/>", i; printf "</r>" }' > ns-root.xml
awk 'BEGIN { printf "<r>"; for (i = 0; i < 100000; i++) printf "<e%d a=\"urn:%d\"/>", i % 100, i; printf "</r>" }' > ns-none.xml
cpu() { local TIMEFORMAT=%U; { time "$vxxml" convert --compact "$1" "$1.out" > /dev/null; } 2>&1; }
plain=$(cpu ns-none.xml)
for doc in ns-each.xml ns-root.xml; do
    t=$(cpu $doc)
    awk -v t="$t" -v p="$plain" 'BEGIN { exit !(t <= 5 * p + 0.5) }' ||
        fail "$doc took ${t}s of CPU, plain elements ${plain}s"
done

set +e
"$vxxml" convert --bogus "$sample" out.xml 2> /dev/null
[ $? -eq 2 ] || fail "unknown option must exit with 2"
set -e
echo "convert: all checks passed"
