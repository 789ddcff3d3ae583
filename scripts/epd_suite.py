#!/usr/bin/env python3
"""Counts the best moves a UCI engine (Debian's stockfish by default) finds on
an EPD test suite at a fixed time per position: the same question Vorn's
"-anepd" answers, asked of another engine as a black box.

    scripts/epd_suite.py ../shared/epd/sbd.epd --movetime 500 [--engine PATH]
"""

import argparse
import sys

from uci_oracle import UciEngine, epd_fields, san_to_coordinate


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("epd")
    parser.add_argument("--engine", default="/usr/games/stockfish")
    parser.add_argument("--movetime", type=int, default=500, help="milliseconds per position")
    parser.add_argument("--threads", type=int, default=1)
    parser.add_argument("--hash", type=int, default=64)
    args = parser.parse_args()

    engine = UciEngine(args.engine, [("Threads", args.threads), ("Hash", args.hash)])
    positions = solved = 0
    with open(args.epd) as f:
        for line in f:
            if len(line) < 10 or line[0] in " #;":
                continue
            fen, bm = epd_fields(line)
            expected = san_to_coordinate(fen, bm, engine.legal_moves(fen)) if bm else None
            best, _ = engine.search(fen, f"movetime {args.movetime}")
            positions += 1
            solved += best == expected
            print(f"{positions:4d} {'ok ' if best == expected else '-- '} bm {bm} ({expected}), "
                  f"played {best}", flush=True)
    engine.quit()
    print(f"{solved} / {positions} correct best moves")
    return 0


if __name__ == "__main__":
    sys.exit(main())
