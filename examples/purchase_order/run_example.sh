#!/usr/bin/env bash
# Runs the example on its sample and validates what it wrote with xmllint.
#   run_example.sh PO_EXAMPLE SOURCE_DIR WORK_DIR
set -euo pipefail
mkdir -p "$3"
"$1" "$2/sample.xml" "$3/po-out.xml"
xmllint --noout --schema "$2/po.xsd" "$3/po-out.xml"
grep -q 'Garden hose' "$3/po-out.xml"
# File names are UTF-8 on the command line.
"$1" "$3/po-out.xml" "$3/bestellung-größe.xml" > /dev/null
grep -q 'Garden hose' "$3/bestellung-größe.xml"
