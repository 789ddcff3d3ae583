#!/usr/bin/env python3
"""Plays games between two UCI engines under a real clock and referees them.

Legality, check and game end are decided by a third engine used only as an
oracle ("go perft 1" lists the legal moves, "d" shows the FEN and checkers),
so the referee shares no code with either player. Every illegal move, crash,
time forfeit and protocol stall is counted and reported, and so is every
printed principal variation ("info ... pv") and ponder move that cannot be
played from the position searched (a warning; the game goes on).

Example:
  scripts/uci_match.py --engine build/vorn --opponent /usr/games/glaurung \
      --games 200 --time 10 --inc 0.1 --concurrency 2
  scripts/uci_match.py --engine build/vorn --opponent /usr/games/stockfish \
      --opponent-option UCI_LimitStrength true --opponent-option UCI_Elo 2400 \
      --games 200 --time 10 --inc 0.1 --concurrency 2
"""
import argparse
import os
import queue
import select
import subprocess
import sys
import threading
import time
import zipfile

START_FEN = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"


class Engine:
    def __init__(self, cmd, name, options):
        self.name = name
        self.proc = subprocess.Popen(cmd, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                     stderr=subprocess.DEVNULL, text=True, bufsize=1,
                                     cwd=os.environ.get("MATCH_WORKDIR", "/tmp"))
        self.lines = queue.Queue()
        self.searching_from = None  # (fen, moves) of the search under way
        threading.Thread(target=self._pump, daemon=True).start()
        self.send("uci")
        self.wait_for("uciok", 10)
        for key, value in options:
            self.send(f"setoption name {key} value {value}")
        self.ready(10)

    def _pump(self):
        for line in self.proc.stdout:
            self.lines.put(line.rstrip("\n"))
        self.lines.put(None)

    def send(self, text):
        try:
            self.proc.stdin.write(text + "\n")
            self.proc.stdin.flush()
        except (BrokenPipeError, OSError):
            pass

    def wait_for(self, prefix, timeout, passed=None):
        """Returns (line, seconds) of the first line starting with prefix, or (None, ...).
        Lines passed over on the way are appended to `passed` when given."""
        start = time.monotonic()
        while True:
            left = timeout - (time.monotonic() - start)
            if left <= 0:
                return None, time.monotonic() - start
            try:
                line = self.lines.get(timeout=left)
            except queue.Empty:
                return None, time.monotonic() - start
            if line is None:
                return None, time.monotonic() - start
            if line.startswith(prefix):
                return line, time.monotonic() - start
            if passed is not None:
                passed.append(line)

    def start_search(self, fen, moves, go):
        self.searching_from = (fen, list(moves))
        self.send(f"position fen {fen}" + (" moves " + " ".join(moves) if moves else ""))
        self.send(go)

    def ready(self, timeout):
        self.send("isready")
        line, _ = self.wait_for("readyok", timeout)
        return line is not None

    def close(self):
        self.send("quit")
        try:
            self.proc.wait(2)
        except subprocess.TimeoutExpired:
            self.proc.kill()
        return self.proc.returncode


class Referee:
    """Answers legality questions through the oracle engine."""

    def __init__(self, cmd):
        self.proc = subprocess.Popen([cmd], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                     stderr=subprocess.DEVNULL, text=True, bufsize=1)
        self._ask("uci", "uciok")

    def _ask(self, command, last_prefix):
        self.proc.stdin.write(command + "\n")
        self.proc.stdin.flush()
        out = []
        while True:
            line = self.proc.stdout.readline()
            if not line:
                raise RuntimeError("referee died")
            line = line.rstrip("\n")
            out.append(line)
            if line.startswith(last_prefix):
                return out

    def state(self, fen, moves):
        pos = f"position fen {fen}" + (" moves " + " ".join(moves) if moves else "")
        self.proc.stdin.write(pos + "\n")
        legal = [l.split(":")[0] for l in self._ask("go perft 1", "Nodes searched") if ": " in l
                 and not l.startswith("Nodes")]
        info = self._ask("d", "Checkers")
        cur = next(l[5:] for l in info if l.startswith("Fen: "))
        checkers = next(l for l in info if l.startswith("Checkers")).split(":", 1)[1].strip()
        return set(legal), cur, bool(checkers)

    def playable(self, fen, moves, line):
        """How many moves of `line` can be played one after the other after
        `moves`. The oracle stops at the first move that is not legal, so
        the plies counted in its FEN tell how far it got."""
        def plies(f):
            fields = f.split()
            return 2 * (int(fields[5]) - 1) + (fields[1] == "b")
        self.proc.stdin.write(f"position fen {fen} moves " + " ".join(moves + line) + "\n")
        after = next(l[5:] for l in self._ask("d", "Checkers") if l.startswith("Fen: "))
        return plies(after) - plies(fen) - len(moves)

    def close(self):
        self.proc.stdin.write("quit\n")
        self.proc.stdin.flush()
        self.proc.wait()


def insufficient(fen):
    pieces = [c for c in fen.split()[0] if c.isalpha() and c not in "Kk"]
    return not pieces or (len(pieces) == 1 and pieces[0] in "NBnb")


def play_game(args, opening, engine_white, referee, stats):
    players = {}
    players[True] = Engine([args.engine], "vorn", args.engine_option)
    players[False] = Engine([args.opponent], "opponent", args.opponent_option)
    if not engine_white:
        players[True], players[False] = players[False], players[True]
    fen = opening.get("fen", START_FEN)
    moves = list(opening.get("moves", []))
    clock = {True: args.time, False: args.time}
    seen = {}
    pondering = {}  # engine name -> the move it is pondering on
    warnings = {"vorn": 0, "opponent": 0}

    def check_search(player, passed, bestmove_line):
        """Warns about every printed line of the finished search (and its
        ponder move) that cannot be played from the position it searched."""
        base_fen, base_moves = player.searching_from
        for text in passed:
            words = text.split()
            if not words or words[0] != "info" or "pv" not in words or words[1:2] == ["string"]:
                continue
            line = words[words.index("pv") + 1:]
            if line and referee.playable(base_fen, base_moves, line) < len(line):
                warnings[player.name] += 1
                print(f"PV WARNING by {player.name}: {' '.join(line)!r} after "
                      f"{' '.join(base_moves[-4:])!r} ({len(base_moves)} plies)", flush=True)
        words = bestmove_line.split()
        if len(words) >= 4 and words[2] == "ponder":
            if referee.playable(base_fen, base_moves, words[1:2] + words[3:4]) == 1:
                warnings[player.name] += 1
                print(f"PONDER WARNING by {player.name}: {bestmove_line!r}", flush=True)

    for e in players.values():
        e.send("ucinewgame")
        e.ready(10)
    result, reason = None, None
    while result is None:
        legal, cur, in_check = referee.state(fen, moves)
        white = cur.split()[1] == "w"
        key = " ".join(cur.split()[:4])
        seen[key] = seen.get(key, 0) + 1
        if not legal:
            result, reason = ("0-1" if white else "1-0", "mate") if in_check else ("1/2-1/2", "stalemate")
            break
        if seen[key] >= 3:
            result, reason = "1/2-1/2", "repetition"
            break
        if int(cur.split()[4]) >= 100:
            result, reason = "1/2-1/2", "fifty moves"
            break
        if insufficient(cur):
            result, reason = "1/2-1/2", "material"
            break
        mover = players[white]
        go = (f"go wtime {int(clock[True]*1000)} btime {int(clock[False]*1000)} "
              f"winc {int(args.inc*1000)} binc {int(args.inc*1000)}")
        guess = pondering.pop(mover.name, None)
        if guess is not None and moves and moves[-1] == guess:
            mover.send("ponderhit")
        else:
            if guess is not None:
                # A ponder miss: the stopped search still owes its bestmove.
                mover.send("stop")
                passed = []
                stopped, _ = mover.wait_for("bestmove", 5.0, passed)
                if stopped is None:
                    stats["stalls"][mover.name] += 1
                    result, reason = ("0-1" if white else "1-0"), "no bestmove after stop"
                    break
                check_search(mover, passed, stopped)
            mover.start_search(fen, moves, go)
        passed = []
        line, used = mover.wait_for("bestmove", clock[white] + 5.0, passed)
        clock[white] -= used
        if line is None:
            crashed = mover.proc.poll() is not None
            stats["crashes" if crashed else "stalls"][mover.name] += 1
            result, reason = ("0-1" if white else "1-0"), ("crash" if crashed else "no bestmove")
            break
        if clock[white] < 0:
            stats["forfeits"][mover.name] += 1
            result, reason = ("0-1" if white else "1-0"), "time forfeit"
            break
        clock[white] += args.inc
        check_search(mover, passed, line)
        move = line.split()[1] if len(line.split()) > 1 else ""
        if move not in legal:
            stats["illegal"][mover.name] += 1
            print(f"ILLEGAL by {mover.name}: {move!r} in {cur}", flush=True)
            result, reason = ("0-1" if white else "1-0"), "illegal move"
            break
        moves.append(move)
        words = line.split()
        if mover.name in args.ponder and len(words) >= 4 and words[2] == "ponder":
            mover.start_search(fen, moves + [words[3]], go + " ponder")
            pondering[mover.name] = words[3]
        if len(moves) > 600:
            result, reason = "1/2-1/2", "move cap"
    for e in players.values():
        code = e.close()
        if code not in (0, None):
            stats["bad_exit"][e.name] += 1
    for name, count in warnings.items():
        stats["pv_warnings"][name] += count
        stats["games_with_pv_warnings"][name] += count > 0
    score = {"1-0": 1.0, "0-1": 0.0, "1/2-1/2": 0.5}[result]
    return score if engine_white else 1.0 - score, reason, len(moves), warnings


def load_openings(path, count):
    openings = []
    if path and os.path.exists(path):
        opener = zipfile.ZipFile(path) if path.endswith(".zip") else None
        names = opener.namelist() if opener else [path]
        for name in names:
            data = opener.read(name).decode() if opener else open(name).read()
            for line in data.splitlines():
                fields = line.split()
                if len(fields) >= 4:
                    openings.append({"fen": " ".join(fields[:4]) + " 0 1"})
                if len(openings) >= count:
                    return openings
    return openings or [{"fen": START_FEN}]


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--engine", required=True)
    ap.add_argument("--opponent", required=True)
    ap.add_argument("--referee", default="/usr/games/stockfish")
    ap.add_argument("--games", type=int, default=10)
    ap.add_argument("--time", type=float, default=10.0)
    ap.add_argument("--inc", type=float, default=0.1)
    ap.add_argument("--concurrency", type=int, default=1)
    ap.add_argument("--openings", default=os.path.join(os.path.dirname(__file__),
                                                        "../../shared/books/noob_3moves.epd.zip"))
    ap.add_argument("--ponder", action="append", default=[], choices=["vorn", "opponent"],
                    help="let this player ponder on the move it expects")
    ap.add_argument("--engine-option", nargs=2, action="append", default=[])
    ap.add_argument("--opponent-option", nargs=2, action="append", default=[])
    args = ap.parse_args()

    openings = load_openings(args.openings, (args.games + 1) // 2)
    stats = {k: {"vorn": 0, "opponent": 0} for k in
             ("illegal", "forfeits", "crashes", "stalls", "bad_exit", "pv_warnings",
              "games_with_pv_warnings")}
    results = []
    jobs = queue.Queue()
    for g in range(args.games):
        jobs.put((g, openings[(g // 2) % len(openings)], g % 2 == 0))
    lock = threading.Lock()

    def worker():
        referee = Referee(args.referee)
        while True:
            try:
                g, opening, white = jobs.get_nowait()
            except queue.Empty:
                break
            score, reason, plies, warned = play_game(args, opening, white, referee, stats)
            with lock:
                results.append(score)
                print(f"game {g + 1}: vorn {'white' if white else 'black'} "
                      f"score {score} ({reason}, {plies} plies, PV warnings: vorn "
                      f"{warned['vorn']}, opponent {warned['opponent']})", flush=True)
        referee.close()

    workers = [threading.Thread(target=worker) for _ in range(args.concurrency)]
    for w in workers:
        w.start()
    for w in workers:
        w.join()
    wins = results.count(1.0)
    draws = results.count(0.5)
    losses = results.count(0.0)
    print(f"games {len(results)}: vorn +{wins} ={draws} -{losses}")
    for k, v in stats.items():
        print(f"{k}: vorn {v['vorn']}, opponent {v['opponent']}")
    bad = stats["illegal"]["vorn"] + stats["forfeits"]["vorn"] + stats["crashes"]["vorn"] \
        + stats["stalls"]["vorn"] + stats["bad_exit"]["vorn"] + stats["pv_warnings"]["vorn"]
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
