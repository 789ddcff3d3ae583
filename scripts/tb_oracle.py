#!/usr/bin/env python3
"""Makes the tablebase reference data: random legal positions for every
material in a Syzygy directory, with the WDL and DTZ that Stockfish reports
for them (its "d" command prints both when SyzygyPath is set). Stockfish is
used strictly as a black box over UCI.

Output, one position a line: placement, side, en-passant square, WDL, DTZ.

Random positions almost never hit the rare fifty-move-drawn results (cursed
wins, blessed losses); --extra adds positions chosen elsewhere (a file of
FEN lines), so that those get the oracle's verdict too.

Example (the committed file; the extra positions are 23 KRBvKR and KRNvKR
placements found by sampling three million random ones for results of
size 1):
  scripts/tb_oracle.py --tables ../shared/syzygy --seed 1 --extra cursed.fen \
      > tests/tablebase/oracle_positions.txt
"""
import argparse
import os
import random
import re
import subprocess
import sys

WDL_WORDS = {"Loss": -2, "Blessed loss": -1, "Draw": 0, "Cursed win": 1, "Win": 2}
PER_SIZE = {3: 40, 4: 80, 5: 150}
EP_POSITIONS = 300


def adjacent(a, b):
    return max(abs(a % 8 - b % 8), abs(a // 8 - b // 8)) <= 1


def attacks(board, sq, piece):
    """Squares attacked by `piece` (FEN letter) standing on sq."""
    f, r = sq % 8, sq // 8
    kind = piece.upper()
    out = []
    if kind == "P":
        dr = 1 if piece.isupper() else -1
        for df in (-1, 1):
            if 0 <= f + df < 8 and 0 <= r + dr < 8:
                out.append((r + dr) * 8 + f + df)
        return out
    if kind in "NK":
        steps = ([(1, 2), (2, 1), (2, -1), (1, -2), (-1, -2), (-2, -1), (-2, 1), (-1, 2)] if kind == "N"
                 else [(x, y) for x in (-1, 0, 1) for y in (-1, 0, 1) if x or y])
        for df, dr in steps:
            if 0 <= f + df < 8 and 0 <= r + dr < 8:
                out.append((r + dr) * 8 + f + df)
        return out
    dirs = []
    if kind in "RQ":
        dirs += [(1, 0), (-1, 0), (0, 1), (0, -1)]
    if kind in "BQ":
        dirs += [(1, 1), (1, -1), (-1, 1), (-1, -1)]
    for df, dr in dirs:
        x, y = f + df, r + dr
        while 0 <= x < 8 and 0 <= y < 8:
            out.append(y * 8 + x)
            if board.get(y * 8 + x):
                break
            x, y = x + df, y + dr
    return out


def in_check(board, white):
    king = next(s for s, p in board.items() if p == ("K" if white else "k"))
    return any(king in attacks(board, s, p) for s, p in board.items() if p.isupper() != white)


def fen_of(board, white_to_move, ep="-"):
    rows = []
    for r in range(7, -1, -1):
        row, empty = "", 0
        for f in range(8):
            p = board.get(r * 8 + f)
            if p:
                row += (str(empty) if empty else "") + p
                empty = 0
            else:
                empty += 1
        rows.append(row + (str(empty) if empty else ""))
    return "/".join(rows) + (" w - " if white_to_move else " b - ") + ep


def random_position(rng, material):
    """material like 'KRPvKR'; colours and side to move at random."""
    strong, weak = material.split("v")
    swap = rng.random() < 0.5
    white, black = (weak, strong) if swap else (strong, weak)
    pieces = [c for c in white] + [c.lower() for c in black]
    while True:
        board, ok = {}, True
        for p in pieces:
            choices = [s for s in range(64) if s not in board and (p.upper() != "P" or 8 <= s < 56)]
            board[rng.choice(choices)] = p
        wk = next(s for s, p in board.items() if p == "K")
        bk = next(s for s, p in board.items() if p == "k")
        white_to_move = rng.random() < 0.5
        if adjacent(wk, bk) or in_check(board, not white_to_move):
            continue
        return fen_of(board, white_to_move)


def ep_position(rng):
    """KPvKP right after a double pawn push, the capture usually available."""
    while True:
        white_pushed = rng.random() < 0.5
        f = rng.randrange(8)
        to = (3 if white_pushed else 4) * 8 + f
        passed = to - 8 if white_pushed else to + 8
        start = to - 16 if white_pushed else to + 16
        board = {to: "P" if white_pushed else "p"}
        neighbours = [to + d for d in (-1, 1) if 0 <= f + d < 8]
        if rng.random() < 0.85:
            board[rng.choice(neighbours)] = "p" if white_pushed else "P"
        else:
            board[rng.choice([s for s in range(8, 56) if s not in board and s not in (passed, start)])] = (
                "p" if white_pushed else "P")
        free = [s for s in range(64) if s not in board and s not in (passed, start)]
        board[rng.choice(free)] = "K"
        board[rng.choice([s for s in free if s not in board])] = "k"
        wk = next(s for s, p in board.items() if p == "K")
        bk = next(s for s, p in board.items() if p == "k")
        if adjacent(wk, bk) or in_check(board, white_pushed):
            continue
        ep = "abcdefgh"[f] + ("3" if white_pushed else "6")
        return fen_of(board, not white_pushed, ep)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--tables", required=True)
    ap.add_argument("--stockfish", default="/usr/games/stockfish")
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--extra", help="file of further FEN lines to include")
    args = ap.parse_args()
    rng = random.Random(args.seed)

    materials = sorted(n[:-5] for n in os.listdir(args.tables) if n.endswith(".rtbw"))
    positions = []
    for m in materials:
        size = len(m) - 1
        positions += [random_position(rng, m) for _ in range(PER_SIZE[size])]
    if "KPvKP" in materials:
        positions += [ep_position(rng) for _ in range(EP_POSITIONS)]
    if args.extra:
        with open(args.extra) as f:
            positions += [" ".join(line.split()[:4]) for line in f if len(line.split()) >= 4]

    sf = subprocess.Popen([args.stockfish], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    script = ["uci", f"setoption name SyzygyPath value {os.path.abspath(args.tables)}"]
    for fen in positions:
        script += [f"position fen {fen} 0 1", "d"]
    script.append("quit")
    out, _ = sf.communicate("\n".join(script) + "\n")

    wdl = re.findall(r"Tablebases WDL:\s*(.+?) \(([^)]*)\)", out)
    dtz = re.findall(r"Tablebases DTZ:\s*(-?\d+) \(([^)]*)\)", out)
    fens = re.findall(r"^Fen: (.*)$", out, re.M)
    if not (len(wdl) == len(dtz) == len(fens) == len(positions)):
        sys.exit(f"unexpected Stockfish output: {len(wdl)} {len(dtz)} {len(fens)} {len(positions)}")
    for fen, (w, ws), (d, ds) in zip(fens, wdl, dtz):
        if "Fail" in ws or "Fail" in ds or w not in WDL_WORDS:
            sys.exit(f"no verdict for {fen}")
        placement, side, _, ep = fen.split()[:4]
        print(f"{placement} {side} {ep} {WDL_WORDS[w]} {d}")


if __name__ == "__main__":
    main()
