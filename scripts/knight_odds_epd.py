#!/usr/bin/env python3
"""Makes scored positions whose result follows one material imbalance: from
each balanced start position one knight is taken away, from White and from
Black in turn, and the side that keeps its knights is recorded as the winner
("c9"). A tuner started from too low a knight value must raise it on these.

    unzip -p ../shared/books/noob_3moves.epd.zip | scripts/knight_odds_epd.py 400 > knights.epd
"""

import sys


def remove_first_knight(placement, letter):
    rows = placement.split("/")
    for order in (range(len(rows)) if letter == "n" else reversed(range(len(rows)))):
        squares = []
        for c in rows[order]:
            squares.extend(["1"] * int(c) if c.isdigit() else [c])
        if letter in squares:
            squares[squares.index(letter)] = "1"
            text, empty = "", 0
            for s in squares:
                if s == "1":
                    empty += 1
                    continue
                text += (str(empty) if empty else "") + s
                empty = 0
            rows[order] = text + (str(empty) if empty else "")
            return "/".join(rows)
    return None


def main():
    wanted = int(sys.argv[1]) if len(sys.argv) > 1 else 400
    written = 0
    for line in sys.stdin:
        fields = line.split()
        if len(fields) < 4 or written >= wanted:
            continue
        loser = "N" if written % 2 == 0 else "n"
        placement = remove_first_knight(fields[0], loser)
        if placement is None:
            continue
        result = "0-1" if loser == "N" else "1-0"
        print(f'{placement} {" ".join(fields[1:4])} c9 "{result}";')
        written += 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
