#!/usr/bin/env python3
"""Makes the Chess960 perft reference data, with Stockfish (UCI_Chess960 on,
"go perft N") as a black-box oracle.

Two files, one record a line, perft totals as ";D<depth> <nodes>" fields:
  chess960_starts.txt  the 960 start positions in Scharnagl order, each as its
                       white back rank ("BBQNNRKR ;D3 9006 ;D4 201143"); the
                       test builds the FEN from it
  chess960_played.txt  positions reached by random play from start positions
                       chosen for awkward castling (king on the b or g file,
                       king next to a rook), with rights left, plus a few set
                       up by hand with an inner castling rook; FENs with the
                       castling field in Shredder form (rook files) or X-FEN
                       (K/Q/k/q for an outermost rook), alternately

It also writes an EPD of start positions for fastchess (-variant fischerandom).

Example (the committed files):
  scripts/chess960_perft.py --seed 960 --out tests/board --epd /tmp/chess960.epd
"""
import argparse
import random
import sys

from uci_oracle import UciEngine, board_of

KNIGHT_PLACES = ["NN---", "N-N--", "N--N-", "N---N", "-NN--", "-N-N-", "-N--N", "--NN-", "--N-N", "---NN"]

# Set up by hand: castling rooks that are not the outermost rook of their
# side (named by file letter), a king next to its rook, rights for one side.
HAND_MADE = [
    "1r2k1r1/pppppppp/8/8/8/8/PPPPPPPP/RR2K2R w HBg - 0 1",
    "rk4rr/pp1ppppp/8/2p5/8/8/PPPPP1PP/RRK3R1 w GBga - 0 1",
    "1rk2rr1/pppppppp/8/8/8/8/PPPPPPPP/1RK2RR1 b FBfb - 0 1",
    "r3krr1/ppp2ppp/8/3pp3/8/8/PPPPPPPP/1RKR3R w BDf - 0 1",
    "2r1kr1r/ppp1pppp/8/3p4/4P3/8/PPPP1PPP/1R1KRR2 b EBf - 0 1",
    "4k3/8/8/8/8/8/8/RR2KR1R w BF - 0 1",
]


def scharnagl(n):
    """White's back rank of Chess960 start position n (0..959)."""
    rank = [None] * 8
    n, light = divmod(n, 4)
    rank[2 * light + 1] = "B"
    n, dark = divmod(n, 4)
    rank[2 * dark] = "B"
    n, queen = divmod(n, 6)
    empty = [i for i in range(8) if rank[i] is None]
    rank[empty[queen]] = "Q"
    empty = [i for i in range(8) if rank[i] is None]
    for i, c in zip(empty, KNIGHT_PLACES[n]):
        if c == "N":
            rank[i] = "N"
    empty = [i for i in range(8) if rank[i] is None]
    for i, c in zip(empty, "RKR"):
        rank[i] = c
    return "".join(rank)


def start_fen(rank, shredder):
    rooks = [i for i, c in enumerate(rank) if c == "R"]
    if shredder:
        files = "abcdefgh"[rooks[1]] + "abcdefgh"[rooks[0]]
        castling = files.upper() + files
    else:
        castling = "KQkq"
    return f"{rank.lower()}/pppppppp/8/8/8/8/PPPPPPPP/{rank} w {castling} - 0 1"


class Oracle(UciEngine):
    def perft(self, fen, depth):
        self.send(f"position fen {fen}")
        self.send(f"go perft {depth}")
        return int(self.wait_for("Nodes searched")[-1].split(":")[1])

    def fen_after(self, fen, moves):
        self.send(f"position fen {fen} moves {' '.join(moves)}" if moves else f"position fen {fen}")
        self.send("d")
        line = [l for l in self.wait_for("Checkers") if l.startswith("Fen:")][0]
        return line[5:].strip()


def to_xfen(fen):
    """The same position with K/Q/k/q for every castling rook that is the
    outermost one on its side of the king."""
    fields = fen.split()
    board = board_of(fen)
    letters = ""
    for c in fields[2].replace("-", ""):
        white = c.isupper()
        row = [board.get(f + ("1" if white else "8"), "") for f in "abcdefgh"]
        file, king = "abcdefgh".index(c.lower()), row.index("K" if white else "k")
        beyond = range(file + 1, 8) if file > king else range(0, file)
        if not any(row[i] == ("R" if white else "r") for i in beyond):
            c = "K" if file > king else "Q"
            c = c if white else c.lower()
        letters += c
    fields[2] = letters or "-"
    return " ".join(fields)


def castles_now(oracle, fen):
    """True when the side to move can castle (a king move onto its own rook)."""
    board = board_of(fen)
    king, rook = ("K", "R") if fen.split()[1] == "w" else ("k", "r")
    return any(board.get(m[:2]) == king and board.get(m[2:4]) == rook for m in oracle.legal_moves(fen))


def play(oracle, rng, fen, plies):
    """A random game of `plies` moves, preferring moves that clear the back
    rank and sparing kings and rooks, so that castling becomes possible."""
    moves = []
    for _ in range(plies):
        current = oracle.fen_after(fen, moves)
        legal = oracle.legal_moves(current)
        if not legal:
            return None
        board = board_of(current)

        def weight(move):
            piece = board[move[:2]].upper()
            return 0.2 if piece in "KR" else 4.0 if move[1] in "18" else 1.0

        moves.append(rng.choices(legal, [weight(m) for m in legal])[0])
    return oracle.fen_after(fen, moves)


def counts(oracle, fen, depths):
    return " ".join(f";D{d} {oracle.perft(fen, d)}" for d in depths)


def deepening_counts(oracle, fen):
    """Depths 3 and 4, then one more at a time while the last total stays
    small enough for the next to take a fraction of a second."""
    fields, depth, nodes = [], 3, 0
    while depth <= 4 or (nodes < 400000 and depth <= 6):
        nodes = oracle.perft(fen, depth)
        fields.append(f";D{depth} {nodes}")
        depth += 1
    return " ".join(fields)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--oracle", default="/usr/games/stockfish")
    parser.add_argument("--seed", type=int, default=960)
    parser.add_argument("--out", default="tests/board")
    parser.add_argument("--played", type=int, default=36, help="positions reached by random play")
    parser.add_argument("--epd", help="also write every start position as an EPD for fastchess")
    args = parser.parse_args()
    rng = random.Random(args.seed)
    oracle = Oracle(args.oracle, [("UCI_Chess960", "true")])

    ranks = [scharnagl(n) for n in range(960)]
    assert ranks[518] == "RNBQKBNR" and len(set(ranks)) == 960
    with open(f"{args.out}/chess960_starts.txt", "w") as out:
        for n, rank in enumerate(ranks):
            out.write(f"{rank} {counts(oracle, start_fen(rank, n % 2 == 1), (3, 4))}\n")

    if args.epd:
        with open(args.epd, "w") as out:
            for rank in ranks:
                out.write(" ".join(start_fen(rank, True).split()[:4]) + "\n")

    awkward = [r for r in ranks if r.index("K") in (1, 6) or "KR" in r or "RK" in r]
    records = []
    while len(records) < args.played:
        rank = rng.choice(awkward)
        fen = play(oracle, rng, start_fen(rank, True), rng.randint(4, 14))
        if fen is None or fen.split()[2] == "-":
            continue
        # Most records should allow castling at once; a few only later.
        if not castles_now(oracle, fen) and rng.random() < 0.7:
            continue
        records.append(fen)
    print(f"{sum(castles_now(oracle, f) for f in records)} of {len(records)} played positions "
          "allow castling at once", file=sys.stderr)
    records += HAND_MADE
    with open(f"{args.out}/chess960_played.txt", "w") as out:
        for i, fen in enumerate(records):
            if i % 2:
                fen = to_xfen(fen)
            out.write(f"{fen} {deepening_counts(oracle, fen)}\n")
    oracle.quit()


if __name__ == "__main__":
    main()
