#!/usr/bin/env bash
# Creates a small sample tree for the demo: a few folders, files of several sizes (empty
# to a few MiB) and names with blanks. Usage: make-sample-tree.sh DIR
# DIR is replaced when it holds an earlier sample; any other existing DIR is refused.
set -euo pipefail

dir=${1:?usage: make-sample-tree.sh DIR}
marker=".tessaron-sample"

if [[ -e $dir ]]; then
    if [[ ! -e $dir/$marker ]]; then
        echo "make-sample-tree: $dir exists and is not a sample tree; not touching it" >&2
        exit 1
    fi
    rm -rf -- "$dir"
fi
mkdir -p -- "$dir"
touch -- "$dir/$marker"

# bytes FILE N: N pseudo-random bytes.
bytes() {
    mkdir -p -- "$(dirname -- "$1")"
    head -c "$2" /dev/urandom >"$1"
}
# text FILE LINE COUNT: a text file of COUNT numbered lines.
text() {
    mkdir -p -- "$(dirname -- "$1")"
    for ((i = 1; i <= $3; i++)); do printf '%04d %s\n' "$i" "$2"; done >"$1"
}

text "$dir/Documents/Letters/Letter to Ann.txt" "Dear Ann, the backup ran fine." 12
text "$dir/Documents/Letters/Reply from Ann.txt" "Thanks, good to know." 8
text "$dir/Documents/notes.md" "- check the log after every run" 40
: >"$dir/Documents/empty file.txt"
bytes "$dir/Photos/2024 Summer/beach 01.jpg" 196608
bytes "$dir/Photos/2024 Summer/beach 02.jpg" 262144
bytes "$dir/Photos/portrait.png" 65536
bytes "$dir/Projects/site/archive.tar" 3145728
text "$dir/Projects/site/index.html" "<p>Tessaron sample</p>" 200
bytes "$dir/Projects/site/data/records.bin" 1048576
# Dates in the past, so that the copies' times visibly come from the sources.
touch -d "2024-07-14 10:30:00" "$dir/Photos/2024 Summer/"*.jpg
touch -d "2023-12-24 18:00:00" "$dir/Documents/Letters/"*.txt
