#!/usr/bin/env python3
"""Search speed with and without tablebases: fixed-depth UCI searches of
endgame positions (6 to 8 pieces, so that captures reach the tables), once
with SyzygyPath set and once without. Prints nodes, time, nps and tbhits
summed over the positions, best of --runs runs each.

Example:
  scripts/tb_nps.py --engine build/vorn --tables ../shared/syzygy \
      --epd /tmp/endgames.epd --positions 40 --depth 12 --runs 3
"""
import argparse
import os
import subprocess


def pick_positions(path, count):
    out = []
    with open(path) as f:
        for line in f:
            fields = line.split()
            if len(fields) < 4 or fields[2] != "-":
                continue
            pieces = sum(c.isalpha() for c in fields[0])
            if 6 <= pieces <= 8:
                out.append(" ".join(fields[:4]))
            if len(out) == count:
                break
    return out


def run(engine, tables, positions, depth):
    proc = subprocess.Popen([os.path.abspath(engine), "-nolog"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                            text=True, bufsize=1, cwd="/tmp")

    def send(text):
        proc.stdin.write(text + "\n")
        proc.stdin.flush()

    def read_until(prefix):
        lines = []
        while True:
            line = proc.stdout.readline()
            if not line:
                raise SystemExit("engine ended")
            lines.append(line)
            if line.startswith(prefix):
                return lines

    send("uci")
    read_until("uciok")
    send("setoption name Hash value 16")
    if tables:
        send(f"setoption name SyzygyPath value {tables}")
    nodes = time_ms = tbhits = 0
    for fen in positions:
        send("ucinewgame")
        send(f"position fen {fen} 0 1")
        send(f"go depth {depth}")
        lines = read_until("bestmove")
        last = [l for l in lines if l.startswith("info depth") and " pv " in l][-1]
        fields = last.split()
        time_ms += int(fields[fields.index("time") + 1])
        nodes += int(fields[fields.index("nodes") + 1])
        tbhits += int(fields[fields.index("tbhits") + 1])
    send("quit")
    proc.wait()
    return nodes, time_ms, tbhits


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--engine", default="build/vorn")
    ap.add_argument("--tables", required=True)
    ap.add_argument("--epd", required=True)
    ap.add_argument("--positions", type=int, default=40)
    ap.add_argument("--depth", type=int, default=12)
    ap.add_argument("--runs", type=int, default=3)
    args = ap.parse_args()
    positions = pick_positions(args.epd, args.positions)
    for label, tables in (("without tables", ""), ("with tables", args.tables)):
        best = None
        for _ in range(args.runs):
            nodes, ms, hits = run(args.engine, tables, positions, args.depth)
            if best is None or ms < best[1]:
                best = (nodes, ms, hits)
        nodes, ms, hits = best
        print(f"{label:15s} positions {len(positions)} depth {args.depth} nodes {nodes} time {ms} ms "
              f"nps {nodes * 1000 // max(ms, 1)} tbhits {hits}")


if __name__ == "__main__":
    main()
