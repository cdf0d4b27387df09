#!/usr/bin/python3
"""Runs plist_bench and Python's plistlib in turn on the same documents, and prints how many times as fast plist_bench
is: the median of the ratios of all rounds.

usage: compare_plist.py [--build FOLDER] [--rounds N] [--check]

With --check the exit status tells whether the goals are met.
"""

import argparse
import datetime
import json
import os
import plistlib
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

MEBIBYTE = 1 << 20
GOALS = {"readDocument/binary": 5, "readDocument/xml": 5, "roundTripRecord": 10}

RECORD = {
    "pid": 43210,
    "executablePath": "/opt/example/Example.app/Contents/MacOS/Example",
    "bundleId": "org.example.application",
    "creationDate": datetime.datetime(2024, 2, 29, 1, 2, 3),
}


def entry(number):
    return {
        "number": number,
        "name": f"Item {number} of the list",
        "path": f"/opt/example/Contents/Resources/item-{number % 100}/data.bin",
        "note": f"Größe {number}",
        "share": number / 7,
        "changed": datetime.datetime(2024, 1, 1) + datetime.timedelta(minutes=number),
        "digest": number.to_bytes(4, "big") * 5,
        "isHidden": number % 3 == 0,
        "tags": ["one", "two", f"tag {number % 10}"],
    }


def document(form):
    """About a mebibyte of entries."""
    entries = [entry(number) for number in range(200)]
    size = len(plistlib.dumps(entries, fmt=form))
    return plistlib.dumps([entry(number) for number in range(200 * MEBIBYTE // size)], fmt=form)


def seconds(action):
    """Processor time of one call."""
    repeats = 1
    while True:
        start = time.process_time()
        for _ in range(repeats):
            action()
        taken = time.process_time() - start
        if taken >= 0.2:
            return taken / repeats
        repeats *= 2


def of_plistlib(folder):
    binary, xml = (folder / "binary").read_bytes(), (folder / "xml").read_bytes()
    value = plistlib.loads(binary)
    return {
        "readDocument/binary": seconds(lambda: plistlib.loads(binary)),
        "readDocument/xml": seconds(lambda: plistlib.loads(xml)),
        "writeDocument": seconds(lambda: plistlib.dumps(value, fmt=plistlib.FMT_BINARY)),
        "roundTripRecord": seconds(lambda: plistlib.loads(plistlib.dumps(RECORD, fmt=plistlib.FMT_BINARY))),
    }


def of_plist_bench(program, folder):
    output = subprocess.run([program, "--benchmark_format=json", "--benchmark_min_time=0.2"], check=True,
                            stdout=subprocess.PIPE, env={**os.environ, "ZK_BENCH_DOCUMENTS": str(folder)}).stdout
    return {one["name"]: one["cpu_time"] * 1e-9 for one in json.loads(output)["benchmarks"]}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", type=Path, default=Path(__file__).resolve().parents[1] / "build")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--check", action="store_true")
    options = parser.parse_args()

    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        (folder / "binary").write_bytes(document(plistlib.FMT_BINARY))
        (folder / "xml").write_bytes(document(plistlib.FMT_XML))
        (folder / "record").write_bytes(plistlib.dumps(RECORD, fmt=plistlib.FMT_BINARY))
        rounds = []
        for _ in range(options.rounds):
            rounds.append((of_plistlib(folder), of_plist_bench(options.build / "bench/plist_bench", folder)))

    are_met = True
    for task in rounds[0][0]:
        ratios = [theirs[task] / ours[task] for theirs, ours in rounds]
        ratio, goal = statistics.median(ratios), GOALS.get(task, 1)
        are_met = are_met and ratio >= goal
        ours = statistics.median(ours[task] for _, ours in rounds)
        print(f"{task:20} {ours * 1e6:10.1f} us, {ratio:6.1f} times as fast as plistlib "
              f"({min(ratios):.1f} to {max(ratios):.1f}; goal {goal})")
    return 0 if are_met or not options.check else 1


if __name__ == "__main__":
    sys.exit(main())
