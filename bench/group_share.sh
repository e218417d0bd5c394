#!/usr/bin/env bash
# The group HTML and RTF of 10,000 annotations (bench_group_share), side by
# side with pandoc converting that HTML to RTF when pandoc is installed.
# usage: bench/group_share.sh [BUILD_DIR]   (default: build/release, built here)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build/release}
if [[ $# -eq 0 ]]; then
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DPM_BUILD_TESTS=OFF -DPM_BUILD_BENCH=ON >/dev/null
  cmake --build "$build" --target bench_group_share >/dev/null
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
PM_BENCH_GROUP_HTML="$work/group.html" "$build/bench/bench_group_share" --benchmark_min_time=2
if command -v pandoc >/dev/null; then
  start=$(date +%s%N)
  pandoc -f html -t rtf -s "$work/group.html" -o "$work/group.rtf"
  end=$(date +%s%N)
  echo "pandoc -f html -t rtf: $(( (end - start) / 1000000 )) ms for $(wc -c <"$work/group.html") bytes of HTML ($(wc -c <"$work/group.rtf") bytes of RTF)"
else
  echo "pandoc is not installed: no side-by-side figure"
fi
