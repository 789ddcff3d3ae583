#!/usr/bin/env python3
"""Replays the games of a self-play match record ("-match FILE") with another
UCI engine as the oracle of legality ("go perft 1"), and tells how each ended.

The record writes moves as from- and to-square without a promotion letter; a
promotion is read as a queen first, and as the other pieces only when the
rest of the game does not replay after it.

Example:
  scripts/match_replay.py /tmp/same/games.pgn --oracle /usr/games/stockfish
"""
import argparse
import re
import sys

from uci_oracle import UciEngine

PLY = re.compile(r"([a-h][1-8][a-h][1-8]) \{(-?[0-9.]+)/(\d+)\}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("record")
    parser.add_argument("--oracle", default="/usr/games/stockfish")
    args = parser.parse_args()
    oracle = UciEngine(args.oracle)
    ends, underpromotions = {}, []

    def legal(played):
        oracle.send("position startpos moves " + " ".join(played))
        oracle.send("go perft 1")
        return [l.split(":")[0] for l in oracle.wait_for("Nodes searched")
                if re.match(r"^[a-h][1-8][a-h][1-8][qrbn]?:", l)]

    def replays(plies, i, played):
        move, moves = plies[i][0], legal(played)
        if i == len(plies) - 1:  # the last ply ended the game and was not played
            if move == "a1a1":
                kind = "no legal move" if not moves else "fifty moves or repetition"
            elif any(m[:4] == move for m in moves):
                kind = "adjudicated"
            else:
                return False
            ends[kind] = ends.get(kind, 0) + 1
            return True
        readings = sorted((m for m in moves if m[:4] == move), key=lambda m: m[4:] not in ("", "q"))
        for reading in readings:
            if replays(plies, i + 1, played + [reading]):
                if reading[4:] not in ("", "q"):
                    underpromotions.append(reading)
                return True
        return False

    sys.setrecursionlimit(10000)
    games = open(args.record).read().split("[Event selfplay]")[1:]
    illegal = 0
    for number, game in enumerate(games, 1):
        if not replays(PLY.findall(game), 0, []):
            illegal += 1
            print(f"game {number} does not replay")
    print(f"{len(games)} games, {illegal} not legal; ends: {ends}; underpromotions: {underpromotions}")


if __name__ == "__main__":
    main()
