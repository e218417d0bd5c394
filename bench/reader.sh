#!/usr/bin/env bash
# Wall time of `pagemoor read` on a generated book (default: 144 chapters of
# 30 paragraphs): starting and drawing the first page, and a page turn (the
# difference between a run that turns K pages and one that does not, over K).
# usage: [CHAPTERS=N PARAGRAPHS=M TURNS=K] bench/reader.sh [BUILD_DIR]   (default: build/release, built here)
source "$(dirname "$0")/generated-book.sh" "$@"
turns=${TURNS:-40}
"$build/app/e2e/pagemoor-make-book" "$book" --generated "${CHAPTERS:-144}" "${PARAGRAPHS:-30}" >/dev/null

milliseconds() {
  local start end
  echo "$1" >"$work/actions.json"
  start=$(date +%s%N)
  "$pagemoor" read "$book" --size 800x600 --store "$work/Annotations.sqlite" --actions "$work/actions.json"
  end=$(date +%s%N)
  echo $(( (end - start) / 1000000 ))
}
milliseconds '[{"quit": true}]' >/dev/null   # unpacks the book once
opened=$(milliseconds '[{"open": 0}, {"quit": true}]')
turned=$(milliseconds "[{\"open\": 0}, {\"next\": $turns}, {\"quit\": true}]")
echo "start and first page drawn: $opened ms"
echo "page turn: $(( (turned - opened) / turns )) ms (over $turns turns)"
