#!/usr/bin/env python3
"""Writes scored positions for Vorn's tuner: each record of an EPD file gets
a stored score "ce" (centipawns, side to move) from a short search of a UCI
engine used as a black-box oracle (Debian's stockfish by default), and a
result "c9" that follows that score: a win for the side ahead by at least
--margin centipawns, a loss for the side behind, a draw in between.

    unzip -p ../shared/books/endgames.epd.zip > /tmp/endgames.epd
    scripts/label_epd.py /tmp/endgames.epd -o tune.epd --nodes 2000 [--limit N]
        [--every K] [--knight-imbalance]

--knight-imbalance keeps only positions where one side has more knights than
the other, the material a knight-value test needs.
"""

import argparse
import os
import sys

from uci_oracle import UciEngine, board_of


def knight_imbalance(fen):
    pieces = board_of(fen).values()
    return sum(p == "N" for p in pieces) != sum(p == "n" for p in pieces)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("epd")
    parser.add_argument("-o", "--output", required=True)
    parser.add_argument("--engine", default="/usr/games/stockfish")
    parser.add_argument("--nodes", type=int, default=2000, help="nodes per search")
    parser.add_argument("--margin", type=int, default=150)
    parser.add_argument("--limit", type=int, default=0, help="positions to write (0 = all)")
    parser.add_argument("--every", type=int, default=1, help="take every K-th record")
    parser.add_argument("--knight-imbalance", action="store_true")
    args = parser.parse_args()

    engine = UciEngine(args.engine, [("Threads", 1), ("Hash", 16)])
    written = 0
    with open(args.epd) as source, open(args.output + ".tmp", "w") as out:
        for index, line in enumerate(source):
            fields = line.split()
            if len(fields) < 4 or index % args.every:
                continue
            fen = " ".join(fields[:4])
            if args.knight_imbalance and not knight_imbalance(fen):
                continue
            _, score = engine.search(fen, f"nodes {args.nodes}")
            if score is None:
                continue
            white_ahead = score if fields[1] == "w" else -score
            result = "1-0" if white_ahead >= args.margin else "0-1" if white_ahead <= -args.margin \
                else "1/2-1/2"
            out.write(f'{fen} ce {score}; c9 "{result}";\n')
            written += 1
            if written % 10000 == 0:
                print(f"{written} positions", file=sys.stderr, flush=True)
            if args.limit and written >= args.limit:
                break
    engine.quit()
    os.replace(args.output + ".tmp", args.output)
    print(f"{written} positions written to {args.output}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
