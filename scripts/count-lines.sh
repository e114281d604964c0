#!/usr/bin/env bash
# Lines of tests against lines of code: the .cpp and .h files under tests/ and under src/,
# counting every line that holds something besides blanks and is not only a // comment.
#   scripts/count-lines.sh            tests, src and their ratio
#   scripts/count-lines.sh DIR...     the same count for each folder or file given
set -euo pipefail
cd "$(dirname "$0")/.."

count() {
    find "$@" -type f \( -name '*.cpp' -o -name '*.h' \) -print0 |
        xargs -0 -r cat | sed 's/^[[:space:]]*//' | grep -v -e '^$' -e '^//' | wc -l
}

if (($# > 0)); then
    for d in "$@"; do
        printf '%7d  %s\n' "$(count "$d")" "$d"
    done
    exit 0
fi
tests=$(count tests)
src=$(count src)
awk -v t="$tests" -v s="$src" 'BEGIN { printf "tests %6d\nsrc   %6d\nratio %6.3f\n", t, s, t / s }'
