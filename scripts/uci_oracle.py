"""A UCI engine driven as a black box, for the EPD scripts: legal moves
(from "go perft 1"), a search's best move and score, and the best move of an
EPD record ("bm", written in algebraic notation) as a coordinate move."""

import re
import subprocess


class UciEngine:
    def __init__(self, path, options=()):
        self.proc = subprocess.Popen([path], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                     stderr=subprocess.DEVNULL, text=True, bufsize=1)
        self.send("uci")
        self.wait_for("uciok")
        for name, value in options:
            self.send(f"setoption name {name} value {value}")
        self.send("isready")
        self.wait_for("readyok")

    def send(self, line):
        self.proc.stdin.write(line + "\n")

    def wait_for(self, prefix):
        lines = []
        while True:
            line = self.proc.stdout.readline()
            if not line:
                raise RuntimeError("engine ended")
            line = line.strip()
            lines.append(line)
            if line.startswith(prefix):
                return lines

    def legal_moves(self, fen):
        self.send(f"position fen {fen}")
        self.send("go perft 1")
        lines = self.wait_for("Nodes searched")
        return [l.split(":")[0] for l in lines if re.match(r"^[a-h][1-8][a-h][1-8][qrbn]?:", l)]

    def search(self, fen, limit):
        """Best move and score (centipawns for the side to move; mates as
        +-(10000 - plies)) of a search with a limit such as "movetime 500"."""
        self.send("ucinewgame")
        self.send(f"position fen {fen}")
        self.send(f"go {limit}")
        score = None
        for line in self.wait_for("bestmove"):
            m = re.search(r" score (cp|mate) (-?\d+)", line)
            if m:
                value = int(m.group(2))
                if m.group(1) == "mate":
                    value = 10000 - 2 * value if value > 0 else -10000 - 2 * value
                score = value
        return line.split()[1], score

    def quit(self):
        self.send("quit")
        self.proc.wait(timeout=10)


def board_of(fen):
    """Square name -> piece letter, from the placement field."""
    board = {}
    for rank_index, row in enumerate(fen.split()[0].split("/")):
        file = 0
        for c in row:
            if c.isdigit():
                file += int(c)
            else:
                board["abcdefgh"[file] + str(8 - rank_index)] = c
                file += 1
    return board


def san_to_coordinate(fen, san, legal):
    """The one legal coordinate move the algebraic text names, or None."""
    text = san.rstrip("+#!?")
    board = board_of(fen)
    if text.replace("0", "O") in ("O-O", "O-O-O"):
        long_castle = text.replace("0", "O") == "O-O-O"
        for move in legal:
            piece = board.get(move[:2], "")
            if piece.upper() == "K" and abs(ord(move[0]) - ord(move[2])) == 2:
                if (move[2] == "c") == long_castle:
                    return move
        return None
    m = re.fullmatch(r"([NBRQK]?)([a-h]?)([1-8]?)x?([a-h][1-8])(?:=?([NBRQ]))?", text)
    if not m:
        return None
    piece, from_file, from_rank, to, promotion = m.groups()
    found = []
    for move in legal:
        mover = board.get(move[:2], "").upper()
        if move[2:4] != to or mover != (piece or "P"):
            continue
        if from_file and move[0] != from_file or from_rank and move[1] != from_rank:
            continue
        if (move[4:] or None) != (promotion.lower() if promotion else None):
            continue
        found.append(move)
    return found[0] if len(found) == 1 else None


def epd_fields(line):
    """The four position fields and the "bm" text of an EPD record."""
    fields = line.split()
    fen = " ".join(fields[:4])
    m = re.search(r"\bbm ([^;]*);", line)
    return fen, (m.group(1).strip() if m else None)
