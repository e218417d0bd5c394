# Set-up shared by the scripts that time `pagemoor` on a generated book
# (sourced with the script's arguments): the build (a Release build made here
# when no build folder is given), a scratch folder removed on exit that also
# holds the book cache. Sets root, build, work, pagemoor and book.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build/release}
if [[ $# -eq 0 ]]; then
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DPM_BUILD_TESTS=ON >/dev/null
  cmake --build "$build" --target pagemoor pagemoor-make-book >/dev/null
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export PAGEMOOR_CACHE_DIR="$work/cache"
pagemoor="$build/app/pagemoor"
book="$work/generated.epub"
