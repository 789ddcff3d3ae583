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

With --fifty it makes the root data instead: for every material, positions
whose distance to zeroing lies close enough to the fifty-move limit that a
counter of 90 to 100 plies decides between a win and a draw, each with the
counter set around that limit. Stockfish ranks the root moves under the
fifty-move rule (one line per move at depth 1, MultiPV set to every move);
its score of each move gives the class that move keeps: a full tablebase
score is a win or loss, a small one a win or loss spoilt by the counter.
Output, one position a line: placement, side, counter, root class (0 loss,
1 blessed loss, 2 draw, 3 cursed win, 4 win), then every move that keeps the
root's class, sorted:
  scripts/tb_oracle.py --tables ../shared/syzygy --seed 1 --fifty \
      > tests/tablebase/fifty_positions.txt
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
FIFTY_PER_MATERIAL = 12  # positions kept per material for --fifty
FIFTY_TRIES = 400        # random positions sampled per material to find them


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


def stockfish(args, script):
    sf = subprocess.Popen([args.stockfish], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    head = ["uci", f"setoption name SyzygyPath value {os.path.abspath(args.tables)}"]
    out, _ = sf.communicate("\n".join(head + script + ["quit"]) + "\n")
    return out


def verdicts(args, positions):
    """(fen, wdl, dtz) of each position, counter 0, as Stockfish's "d" prints them."""
    script = []
    for fen in positions:
        script += [f"position fen {fen} 0 1", "d"]
    out = stockfish(args, script)
    wdl = re.findall(r"Tablebases WDL:\s*(.+?) \(([^)]*)\)", out)
    dtz = re.findall(r"Tablebases DTZ:\s*(-?\d+) \(([^)]*)\)", out)
    fens = re.findall(r"^Fen: (.*)$", out, re.M)
    if not (len(wdl) == len(dtz) == len(fens) == len(positions)):
        sys.exit(f"unexpected Stockfish output: {len(wdl)} {len(dtz)} {len(fens)} {len(positions)}")
    result = []
    for fen, (w, ws), (d, ds) in zip(fens, wdl, dtz):
        if "Fail" in ws or "Fail" in ds or w not in WDL_WORDS:
            sys.exit(f"no verdict for {fen}")
        result.append((fen, WDL_WORDS[w], int(d)))
    return result


def move_class(score):
    """Stockfish's root score of a move under the fifty-move rule as a class 0..4."""
    kind, value = score.split()
    value = int(value)
    if kind == "mate":
        return 4 if value > 0 else 0
    if value >= 5000:
        return 4
    if value <= -5000:
        return 0
    return 3 if value > 0 else 1 if value < 0 else 2


def fifty_cases(args, rng, materials):
    """Positions with 90..100 plies on the counter where it matters."""
    chosen = []
    for m in materials:
        sample = [random_position(rng, m) for _ in range(FIFTY_TRIES)]
        near = [(fen, dtz) for fen, _, dtz in verdicts(args, sample) if 2 < abs(dtz) <= 12]
        for fen, dtz in near[:FIFTY_PER_MATERIAL]:
            # Around the limit: one ply inside, on it, one and two beyond.
            counter = min(100, max(90, 100 - abs(dtz) + rng.choice((-1, 0, 1, 2))))
            chosen.append((" ".join(fen.split()[:4]), counter))
    sf = subprocess.Popen([args.stockfish], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    sf.stdin.write(f"uci\nsetoption name SyzygyPath value {os.path.abspath(args.tables)}\n"
                   "setoption name MultiPV value 256\n")
    for fen, counter in chosen:
        # One search at a time: the next position waits for the bestmove.
        sf.stdin.write(f"position fen {fen} {counter} 1\ngo depth 1\n")
        sf.stdin.flush()
        moves = {}
        for line in sf.stdout:
            if line.startswith("bestmove"):
                break
            found = re.search(r"depth 1 .*?multipv \d+ score (cp -?\d+|mate -?\d+) .*? pv (\S+)", line)
            if found:
                moves[found[2]] = move_class(found[1])
        if not moves:
            continue  # mated or stalemated: nothing to choose
        best = max(moves.values())
        kept = sorted(m for m, c in moves.items() if c >= best)
        placement, side = fen.split()[:2]
        print(f"{placement} {side} {counter} {best} {' '.join(kept)}")
    sf.communicate("quit\n")


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--tables", required=True)
    ap.add_argument("--stockfish", default="/usr/games/stockfish")
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--extra", help="file of further FEN lines to include")
    ap.add_argument("--fifty", action="store_true", help="root data with 90..100 plies on the counter")
    args = ap.parse_args()
    rng = random.Random(args.seed)

    materials = sorted(n[:-5] for n in os.listdir(args.tables) if n.endswith(".rtbw"))
    if args.fifty:
        fifty_cases(args, rng, materials)
        return
    positions = []
    for m in materials:
        size = len(m) - 1
        positions += [random_position(rng, m) for _ in range(PER_SIZE[size])]
    if "KPvKP" in materials:
        positions += [ep_position(rng) for _ in range(EP_POSITIONS)]
    if args.extra:
        with open(args.extra) as f:
            positions += [" ".join(line.split()[:4]) for line in f if len(line.split()) >= 4]

    for fen, wdl, dtz in verdicts(args, positions):
        placement, side, _, ep = fen.split()[:4]
        print(f"{placement} {side} {ep} {wdl} {dtz}")


if __name__ == "__main__":
    main()
