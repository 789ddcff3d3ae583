#!/usr/bin/env python3
"""Feeds the engine's file readers damaged input under the address and
undefined-behaviour sanitizers: EPD files (the runner and the tuner), PGN
files (the scanner in every mode, console "load"), book.pgn (console
"mkbook"), book files (console "book") and settings files (start-up).

Inputs: random bytes, mutations of real files (flipped, inserted, deleted
and repeated bytes, cut ends), over-long lines, byte-order marks, and special
files (a FIFO, a directory, /dev/zero). Each run is limited by `timeout`; a
run fails when the process dies of a signal, a sanitizer reports, it does not
end in time, or the input file has changed ("unsolved.epd" as the runner's
input is rewritten, with none but its own records). Prints the counts per
reader.

  scripts/fuzz_inputs.py                 # builds build-sanitize if needed
  scripts/fuzz_inputs.py --runs 20 --seed 2 --binary build-sanitize/vorn
"""
import argparse
import glob
import hashlib
import os
import random
import shutil
import subprocess
import sys
import tempfile
import zipfile

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SHARED = os.path.join(ROOT, "..", "shared")
SANITIZER_ERRORS = (b"ERROR: AddressSanitizer", b"runtime error:", b"ERROR: LeakSanitizer")


def build(binary):
    if os.path.exists(binary):
        return
    build_dir = os.path.dirname(binary)
    subprocess.check_call(["cmake", "-S", ROOT, "-B", build_dir, "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
                           "-DVORN_SANITIZE=address,undefined", "-DCMAKE_CXX_FLAGS=-Wno-error=maybe-uninitialized"])
    subprocess.check_call(["nice", "-n", "10", "cmake", "--build", build_dir, "-j2", "--target", "vorn"])


def mutate(rng, data):
    data = bytearray(data)
    for _ in range(rng.randint(1, 8)):
        kind = rng.randrange(6)
        at = rng.randrange(len(data) + 1)
        if kind == 0 and data:
            data[min(at, len(data) - 1)] ^= 1 << rng.randrange(8)
        elif kind == 1:
            data[at:at] = bytes(rng.randrange(256) for _ in range(rng.randint(1, 16)))
        elif kind == 2:
            del data[at:at + rng.randint(1, 64)]
        elif kind == 3:
            data[at:at] = data[at:at + rng.randint(1, 200)] * rng.randint(2, 20)
        elif kind == 4:
            del data[at:]
        else:
            data[at:at] = rng.choice([b"\n", b"\r\n", b"{", b"}", b"[", b"]", b";", b"\"", b"\0", b"=", b","])
    return bytes(data)


def variants(rng, samples, runs):
    """(label, bytes or a special-file kind) for one reader."""
    out = [("fifo", "fifo"), ("directory", "directory"), ("/dev/zero", "zero"), ("empty", b"")]
    out.append(("bom", b"\xef\xbb\xbf" + samples[0]))
    out.append(("long line", samples[0][:200] + b"x" * 300000 + b"\n" + samples[0]))
    out.append(("no line ends", samples[0].replace(b"\n", b" ")))
    for i in range(runs):
        kind = i % 3
        if kind == 0:
            out.append(("random", bytes(rng.randrange(256) for _ in range(rng.randint(1, 5000)))))
        else:
            out.append(("mutation", mutate(rng, rng.choice(samples))))
    return out


def place(directory, name, content):
    path = os.path.join(directory, name)
    if content == "fifo":
        os.mkfifo(path)
    elif content == "directory":
        os.mkdir(path)
    elif content == "zero":
        os.symlink("/dev/zero", path)
    else:
        with open(path, "wb") as f:
            f.write(content)
    return path


def digest(path):
    if not os.path.isfile(path) or os.path.islink(path):
        return None
    with open(path, "rb") as f:
        return hashlib.sha256(f.read()).hexdigest()


def run_case(binary, reader, content, timeout):
    """Runs one reader on one input; returns None or what went wrong."""
    with tempfile.TemporaryDirectory(prefix="vorn-fuzz-") as d:
        name, args, stdin, extra = reader(d)
        path = place(d, name, content)
        for extra_name, extra_content in extra:
            place(d, extra_name, extra_content)
        before = digest(path)
        original = open(path, "rb").read() if before else b""
        env = dict(os.environ, ASAN_OPTIONS="detect_leaks=0:abort_on_error=0:exitcode=86",
                   UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:exitcode=87")
        try:
            p = subprocess.run(["timeout", "-s", "KILL", str(timeout), binary, "-nolog"] + args, cwd=d,
                               input=stdin.encode(), stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, env=env)
        except OSError as e:
            return f"could not run: {e}"
        if p.returncode == -9 or p.returncode == 137:
            return "did not end in time"
        if p.returncode < 0:
            return f"died of signal {-p.returncode}"
        if any(e in p.stderr for e in SANITIZER_ERRORS) or p.returncode in (86, 87):
            return "sanitizer: " + p.stderr.decode(errors="replace")[-2000:]
        if name == "unsolved.epd" and before:
            # Rewritten by design, but only with records of its own.
            kept = open(path, "rb").read().split(b"\n")
            if any(line and line.rstrip(b"\r") not in original for line in kept):
                return "unsolved.epd holds a record that was not in it"
        elif digest(path) != before:
            return "the input file changed"
    return None


def settings_sample():
    text = "# sample\nBookDepth 12\npawn_value = 90, 120\nSyzygyPath \"/nowhere\"\nVornBook none.opn\n"
    for piece in ("pawn", "knight", "bishop", "rook", "queen", "king"):
        for phase in ("_op", "_en"):
            text += f"PST_{piece}{phase}\n" + "".join(" ".join(str((r * 8 + f) % 40) for f in range(8)) + "\n"
                                                      for r in range(8))
    return text.encode()


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--binary", default=os.path.join(ROOT, "build-sanitize", "vorn"))
    ap.add_argument("--runs", type=int, default=24, help="random and mutated inputs per reader")
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--timeout", type=int, default=60)
    args = ap.parse_args()
    build(args.binary)
    binary = os.path.abspath(args.binary)
    rng = random.Random(args.seed)

    with open(os.path.join(SHARED, "epd", "sbd.epd"), "rb") as f:
        epd = f.read()
    epd_samples = [epd, b"".join(epd.splitlines(True)[:20])]
    with zipfile.ZipFile(os.path.join(SHARED, "books", "8moves_v3.pgn.zip")) as z:
        pgn_all = z.read(z.namelist()[0])
    games = pgn_all.split(b"\n\n[")
    pgn_samples = [b"\n\n[".join(games[:40]), b"\n\n[".join(games[100:110])]

    # A real book, built by "mkbook" from a slice of the collection.
    work = tempfile.mkdtemp(prefix="vorn-fuzz-book-")
    with open(os.path.join(work, "book.pgn"), "wb") as f:
        f.write(b"\n\n[".join(games[:2000]))
    subprocess.run([binary, "-nolog", "-c"], cwd=work, input=b"mkbook\nquit\n", stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, env=dict(os.environ, ASAN_OPTIONS="detect_leaks=0"), check=False)
    with open(os.path.join(work, "book.opn"), "rb") as f:
        book = f.read()
    shutil.rmtree(work)
    if not book:
        sys.exit("mkbook made no book")
    settings = settings_sample()

    # Each reader: (file name, switches, standard input, other files).
    readers = {
        "EPD runner": (epd_samples, lambda d: ("in.epd", ["-d", "2", "-anepd", "in.epd"], "", [])),
        "EPD as unsolved.epd": (epd_samples, lambda d: ("unsolved.epd", ["-d", "1", "-anepd", "unsolved.epd"],
                                                       "", [])),
        "tuner": (epd_samples, lambda d: ("in.epd", ["-tune", "in.epd"], "quit\n", [])),
        "PGN scanner": (pgn_samples, lambda d: ("in.pgn", [f"-scan_pgn{rng.randint(1, 4)}", "in.pgn"], "", [])),
        "console load": (pgn_samples, lambda d: ("in.pgn", ["-c"], "load in.pgn 3\nbd\nquit\n", [])),
        "book.pgn (mkbook)": (pgn_samples, lambda d: ("book.pgn", ["-c"], "mkbook\nquit\n", [])),
        "book file": ([book], lambda d: ("vorn.opn", ["-c"], "book\ne4\nbook\nd4\nbook\nquit\n", [])),
        "settings file": ([settings], lambda d: ("vorn.rc", [], "uci\nisready\nquit\n", [])),
    }
    failures = 0
    print(f"{'reader':24} {'runs':>5} {'failed':>7}")
    for label, (samples, reader) in readers.items():
        runs = failed = 0
        for kind, content in variants(rng, samples, args.runs):
            problem = run_case(binary, reader, content, args.timeout)
            runs += 1
            if problem:
                failed += 1
                print(f"  {label} / {kind}: {problem}", file=sys.stderr)
        failures += failed
        print(f"{label:24} {runs:5} {failed:7}", flush=True)
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
