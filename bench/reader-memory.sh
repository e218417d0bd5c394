#!/usr/bin/env bash
# Memory of the reader window with its web process (and the engine's other
# processes): the proportional set size (PSS, shared pages divided among
# their users) of `pagemoor read` and every process under it, once the first
# page is shown, and at its largest while 300 pages are turned. The baseline
# is the same reader on a book of one chapter, measured in the same run.
# usage: [CHAPTERS=N PARAGRAPHS=M] bench/reader-memory.sh [BUILD_DIR]   (default: build/release, built here)
source "$(dirname "$0")/generated-book.sh" "$@"

# The process and all its descendants.
family() {
  local pid=$1 child
  echo "$pid"
  for child in $(ps -o pid= --ppid "$pid" 2>/dev/null); do family "$child"; done
}

# Kilobytes of PSS of the process family.
pss() {
  local total=0 pid kb
  for pid in $(family "$1"); do
    kb=$(awk '/^Pss:/ {print $2}' "/proc/$pid/smaps_rollup" 2>/dev/null || true)
    total=$((total + ${kb:-0}))
  done
  echo "$total"
}

# Starts the reader on the book, waits for its first page and prints the
# family's PSS; the reader is closed afterwards.
shown() {
  local epub=$1 log="$work/log" pid kb
  : >"$log"
  "$pagemoor" read "$epub" --size 900x720 --store "$work/Annotations.sqlite" --verbose 2>"$log" &
  pid=$!
  for ((i = 0; i < 600; i++)); do
    grep -q 'Open at' "$log" && break
    sleep 0.1
  done
  sleep 1  # the first page drawn and the loop idle
  kb=$(pss "$pid")
  kill "$pid"
  wait "$pid" 2>/dev/null || true
  echo "$kb"
}

# The family's largest PSS while the actions play.
peak() {
  local epub=$1 pid largest=0 kb
  echo "$2" >"$work/actions.json"
  "$pagemoor" read "$epub" --size 900x720 --store "$work/Annotations.sqlite" --actions "$work/actions.json" &
  pid=$!
  while kill -0 "$pid" 2>/dev/null; do
    kb=$(pss "$pid")
    ((kb > largest)) && largest=$kb
    sleep 0.2
  done
  echo "$largest"
}

small="$work/one-chapter.epub"
"$build/app/e2e/pagemoor-make-book" "$small" --generated 1 "${PARAGRAPHS:-30}" >/dev/null
"$build/app/e2e/pagemoor-make-book" "$book" --generated "${CHAPTERS:-144}" "${PARAGRAPHS:-30}" >/dev/null
walk='[{"open": 0}, {"next": 300}, {"quit": true}]'
peak "$small" "$walk" >/dev/null   # unpacks the books once
peak "$book" "$walk" >/dev/null

baseline=$(shown "$small")
opened=$(shown "$book")
baselinePeak=$(peak "$small" "$walk")
turned=$(peak "$book" "$walk")
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }
echo "first page shown: $((opened / 1024)) MiB PSS, window and web process (one-chapter book: $((baseline / 1024)) MiB, ratio $(ratio "$opened" "$baseline"))"
echo "largest while turning 300 pages: $((turned / 1024)) MiB (one-chapter book: $((baselinePeak / 1024)) MiB, ratio $(ratio "$turned" "$baselinePeak"))"
