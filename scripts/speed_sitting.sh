#!/bin/bash
# Speed in one sitting: whole-process runs of each build, alternating with the
# anchors (Stockfish's "go perft 6", Ethereal's "bench"), then the medians.
#   scripts/speed_sitting.sh name=path/to/vorn [name=path ...]
# Run it on a quiet machine; every figure is a wall time or a printed nps.
set -euo pipefail
rounds=${ROUNDS:-5}
out=$(mktemp)
timed() { local s e; s=$(date +%s.%N); "$@" >/dev/null 2>&1; e=$(date +%s.%N); echo "$e - $s" | bc; }
perft_vorn() { printf 'perft 6\nquit\n' | "$1" -c -nolog; }
perft_stockfish() { printf 'position startpos\ngo perft 6\nquit\n' | /usr/games/stockfish; }
start_stockfish() { echo quit | /usr/games/stockfish; }
for ((i = 0; i < rounds; i++)); do
  for build in "$@"; do echo "perft ${build%%=*} $(timed perft_vorn "${build#*=}")" >>"$out"; done
  echo "perft stockfish $(timed perft_stockfish)" >>"$out"
  echo "start stockfish $(timed start_stockfish)" >>"$out"
done
for ((i = 0; i < rounds; i++)); do
  for build in "$@"; do
    echo "bench ${build%%=*} $(cd /tmp && "${build#*=}" -bench -nolog | tail -1 | sed 's/.*nps= //')" >>"$out"
  done
  echo "bench ethereal $(/usr/games/ethereal-chess bench 2>&1 | awk '/NPS/ {print $3}')" >>"$out"
done
python3 - "$out" <<'EOF'
import collections, statistics, sys
runs = collections.defaultdict(list)
for line in open(sys.argv[1]):
    kind, name, value = line.split()
    runs[(kind, name)].append(float(value))
for (kind, name), values in sorted(runs.items()):
    print(f"{kind:6} {name:10} median {statistics.median(values):.4g}  "
          f"min {min(values):.4g}  max {max(values):.4g}  runs {len(values)}")
EOF
rm -f "$out"
