#!/usr/bin/env bash
# Wall time of `pagemoor index` and `pagemoor search` on a generated book
# (default: 30 chapters of 50 paragraphs, about 300 pages), and how many
# chapters the library filter skips for some 6-12 character queries, against
# loading every chapter.
# usage: [CHAPTERS=N PARAGRAPHS=M] bench/end_to_end.sh [BUILD_DIR]   (default: build/release, built here)
# CHAPTERS=140 PARAGRAPHS=21 makes a book of about 1.2 million characters.
source "$(dirname "$0")/generated-book.sh" "$@"
# A paragraph is about 400 characters.
chapters=${CHAPTERS:-30}
paragraphs=${PARAGRAPHS:-50}
mapfile -t markers < <("$build/app/e2e/pagemoor-make-book" "$book" --generated "$chapters" "$paragraphs")

# Milliseconds that a command takes; its output is kept in out.json.
milliseconds() {
  local start end
  start=$(date +%s%N)
  "$@" >"$work/out.json" 2>/dev/null
  end=$(date +%s%N)
  echo $(( (end - start) / 1000000 ))
}
field() { grep -o "\"$1\": [0-9]*" "$work/out.json" | grep -o '[0-9]*$'; }

echo "book: $chapters chapters of $paragraphs paragraphs ($(python3 -c 'import re, sys, zipfile; z = zipfile.ZipFile(sys.argv[1]); print(sum(len(re.sub("<[^>]*>", "", z.read(n).decode())) for n in z.namelist() if n.endswith(".xhtml")))' "$book") characters of text)"
echo "index: $(milliseconds "$pagemoor" index "$book" -o "$work/library" --json) ms"
printf '%-14s %8s %8s %8s %12s %12s\n' query loaded skipped contexts filtered_ms linear_ms
for query in "${markers[1]}" "${markers[4]}" "${markers[6]}" "${markers[7]:0:6}" "shepherd" "grey crow" "lanterns"; do
  filtered=$(milliseconds "$pagemoor" search "$book" "$query" --library "$work/library" --json)
  loaded=$(field documentsLoaded); skipped=$(field documentsSkipped); contexts=$(grep -c '"context":' "$work/out.json" || true)
  linear=$(milliseconds "$pagemoor" search "$book" "$query" --all --json)
  printf '%-14s %8s %8s %8s %12s %12s\n' "$query" "$loaded" "$skipped" "$contexts" "$filtered" "$linear"
done
