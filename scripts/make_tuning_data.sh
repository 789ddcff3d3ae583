#!/bin/sh
# Makes scored positions for the tuner ("vorn -tune_all") from Vorn's own
# games: self-play with fastchess at a fixed number of nodes per move from
# varied openings, the games turned into EPD records with "ce" (the mover's
# search score) and "c9" (the game's result) by "vorn -scan_pgn2", and
# positions that occur more than once kept once.
#
#   scripts/make_tuning_data.sh [-g GAMES] [-c CONCURRENCY] [-n NODES]
#       [-e ENGINE] [-s SETTINGS] [-o OUT] [-w WORKDIR] [-f FASTCHESS] [-b OPENINGS]
#
#   -g  games to play (default 12000)
#   -c  games at a time (default 2, one per core)
#   -n  nodes per move (default 6000, about depth 7)
#   -e  the engine (default build/vorn)
#   -s  a settings file the engines play with (default none: the built-in values)
#   -o  the EPD file written (default tune.epd)
#   -w  working folder for the games and the scan (default a new one in /tmp)
#   -f  fastchess (default ../shared/tools/fastchess/fastchess)
#   -b  openings, PGN or zipped PGN (default ../shared/books/8moves_v3.pgn.zip)
#
# The openings are PGN lines played from the initial position: the scanner
# replays every game from there, so games that start from a FEN tag (as
# fastchess writes them for EPD openings such as noob_3moves) cannot be read.
# fastchess writes an even score as "0.00/9" without a sign, which the
# scanner takes for a comment with no score (and ends the game's records
# there); the script writes it as "+0.00/9" before the scan.
#
# Measured on the 2-core build machine (2026-11-24), 6000 nodes a move: one
# run at -c 2 alone plays about 200 games a minute (80 records a game), so
# "-g 15000" takes about 75 minutes. The engines leave the cores half idle
# at this speed (fastchess refuses more games at a time than cores), and
# tuned.rc's data came from four runs side by side in separate folders
# (-g 900 twice after two stopped runs), their games scanned together as
# the last lines below do: 14,725 games in about 64 minutes while other
# work shared the machine, 1,188,648 records, 1,017,388 distinct positions.
set -eu

games=12000
concurrency=2
nodes=6000
root=$(cd "$(dirname "$0")/.." && pwd)
engine=$root/build/vorn
settings=
out=tune.epd
work=
fastchess=$root/../shared/tools/fastchess/fastchess
openings=$root/../shared/books/8moves_v3.pgn.zip

while getopts g:c:n:e:s:o:w:f:b: option; do
    case $option in
        g) games=$OPTARG ;;
        c) concurrency=$OPTARG ;;
        n) nodes=$OPTARG ;;
        e) engine=$OPTARG ;;
        s) settings=$OPTARG ;;
        o) out=$OPTARG ;;
        w) work=$OPTARG ;;
        f) fastchess=$OPTARG ;;
        b) openings=$OPTARG ;;
        *) sed -n '8,19p' "$0" >&2; exit 2 ;;
    esac
done

# Names given relative to here stay valid in the working folder.
absolute() { case $1 in /*) echo "$1" ;; *) echo "$(pwd)/$1" ;; esac; }
engine=$(absolute "$engine")
out=$(absolute "$out")
fastchess=$(absolute "$fastchess")
openings=$(absolute "$openings")
[ -x "$engine" ] || { echo "no engine at $engine" >&2; exit 1; }
[ -x "$fastchess" ] || { echo "no fastchess at $fastchess" >&2; exit 1; }
[ -f "$openings" ] || { echo "no openings at $openings" >&2; exit 1; }
[ -z "$work" ] && work=$(mktemp -d /tmp/vorn-tuning-data.XXXXXX)
mkdir -p "$work/engine"
work=$(cd "$work" && pwd)
# The engines read vorn.rc from their folder.
rm -f "$work/engine/vorn.rc"
[ -n "$settings" ] && cp "$settings" "$work/engine/vorn.rc"

case $openings in
    *.zip) unzip -p "$openings" > "$work/openings.pgn" ;;
    *) cp "$openings" "$work/openings.pgn" ;;
esac

start=$(date +%s)
# One game per opening: the same engine at a fixed node count would play the
# same game again with the colours reversed. fastchess leaves its
# config.json in the folder it runs in.
cd "$work"
"$fastchess" \
    -engine cmd="$engine" name=vorn_a dir="$work/engine" args=-nolog \
    -engine cmd="$engine" name=vorn_b dir="$work/engine" args=-nolog \
    -each proto=uci tc=inf nodes="$nodes" option.Hash=16 \
    -openings file="$work/openings.pgn" format=pgn order=random \
    -srand "$start" -rounds "$games" -games 1 -concurrency "$concurrency" \
    -resign movecount=3 score=1000 -draw movenumber=40 movecount=12 score=8 -recover \
    -pgnout file="$work/games.pgn" > "$work/fastchess.log" 2>&1
played=$(date +%s)

sed -E 's/\{0\.00\//{+0.00\//g' "$work/games.pgn" > "$work/readable.pgn"
"$engine" -nolog -scan_pgn2 readable.pgn | grep 'games=' > scan.txt
# The same position reached in several games is kept once (the first).
awk 'NF { key = $1 " " $2 " " $3 " " $4; if (!seen[key]++) print }' "$work/tmp.epd" > "$out"
finished=$(date +%s)

positions=$(grep -o 'positions= [0-9]*' "$work/scan.txt" | grep -o '[0-9]*')
unique=$(wc -l < "$out")
echo "games: $games in $((played - start)) s ($(awk "BEGIN { printf \"%.1f\", $games * 60 / ($played - $start + 0.001) }") per minute)"
echo "positions: $positions written, $unique kept ($(awk "BEGIN { printf \"%.1f\", $unique / $games }") per game)"
echo "scan and deduplication: $((finished - played)) s"
echo "output: $out (games and logs in $work)"
