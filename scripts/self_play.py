#!/usr/bin/env python3
"""Runs the engine's own self-play match ("-match") for a number of games.

Player 1's "test1.rc" is written from the engine's built-in piece-square
tables (the console's "sp" listing) plus the settings given with --set; the
match is asked to quit after --games games, so the PGN file holds them whole.
Prints the last score line and the games per minute.

Example (all piece values halved for Player 1):
  scripts/self_play.py --engine build/vorn --games 300 --dir /tmp/halved --book book.opn \\
      --set "pawn_value 45 55" --set "knight_value 190 180" \\
      --set "bishop_value 195 185" --set "rook_value 265 325" \\
      --set "queen_value 575 595"
"""
import argparse
import os
import shutil
import subprocess
import time

TITLES = [("Pawn", "pawn"), ("Knight", "knight"), ("Bishop", "bishop"),
          ("Rook", "rook"), ("Queen", "queen"), ("King", "king")]


def default_tables(engine):
    listing = subprocess.run([engine, "-c", "-nolog"], input="sp\nquit\n", text=True,
                             capture_output=True, timeout=60).stdout.split("\n")
    lines = []
    for title, key in TITLES:
        for phase, suffix in (("Opening", "op"), ("Ending", "en")):
            at = listing.index(title + phase)
            lines.append(f"PST_{key}_{suffix}")
            lines += [row.strip() for row in listing[at + 1:at + 9]]
    return lines


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--engine", required=True)
    parser.add_argument("--games", type=int, default=300)
    parser.add_argument("--dir", required=True, help="working directory (created)")
    parser.add_argument("--set", action="append", default=[], help="a settings line for Player 1")
    parser.add_argument("--book", help="a book file, copied in as vorn.opn (games then differ)")
    parser.add_argument("--args", default="", help="further engine switches, e.g. '-threads 1'")
    args = parser.parse_args()

    engine = os.path.abspath(args.engine)
    os.makedirs(args.dir, exist_ok=True)
    with open(os.path.join(args.dir, "test1.rc"), "w") as f:
        f.write("\n".join(args.set + default_tables(engine)) + "\n")

    if args.book:
        shutil.copyfile(args.book, os.path.join(args.dir, "vorn.opn"))

    start = time.monotonic()
    proc = subprocess.Popen([engine, "-nolog"] + args.args.split() + ["-match", "games.pgn"],
                            cwd=args.dir, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    last = ""
    for line in proc.stdout:
        line = line.rstrip("\n")
        if " games, " in line:
            last = line
            if int(line.split()[0]) >= args.games:
                proc.stdin.write("quit\n")
                proc.stdin.flush()
        elif line and not last:
            print(line)
    proc.wait()
    minutes = (time.monotonic() - start) / 60
    games = int(last.split()[0]) if last else 0
    print(last)
    print(f"{games} games in {minutes:.1f} minutes: {games / minutes:.1f} games per minute")


if __name__ == "__main__":
    main()
