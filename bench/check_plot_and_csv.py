#!/usr/bin/env python3
"""Runs kovra-bench on two tiny cases with --plot and --csv and checks what it wrote: a well-formed SVG with one
series per case and library in each panel, and a CSV with every sample. No timing is judged.

Usage: check_plot_and_csv.py KOVRA_BENCH PEER_LIBRARY OUTPUT_FOLDER
The peer takes part only if PEER_LIBRARY exists; DDOT_BOUND never has a peer series, DAXPY has one with a peer.
"""
import csv
import math
import os
import subprocess
import sys
import xml.etree.ElementTree as ET

SVG = "{http://www.w3.org/2000/svg}"
SIZES, REPS, WORKERS = [1000, 2000], 3, [1, 2]
BYTES_PER_ELEMENT = {"DAXPY": 24, "DDOT_BOUND": 16}  # x and y read and y written; x and y read
FAMILY = {"DAXPY": "LEVEL1", "DDOT_BOUND": "REDUCTION"}


def check(condition, message):
    if not condition:
        sys.exit("FAILED: " + message)


def main(bench, peer_path, folder):
    os.makedirs(folder, exist_ok=True)
    plot, samples = os.path.join(folder, "plot.svg"), os.path.join(folder, "samples.csv")
    peer = os.path.basename(peer_path) if os.path.exists(peer_path) else None
    command = [bench, "--cases", "DAXPY,DDOT_BOUND", "--n", ",".join(map(str, SIZES)), "--reps", str(REPS),
               "--workers", ",".join(map(str, WORKERS)), "--plot", plot, "--csv", samples]
    if peer:
        command += ["--peer", peer_path]
    run = subprocess.run(command, capture_output=True, text=True, timeout=300)
    check(run.returncode == 0, f"kovra-bench exited with {run.returncode}: {run.stderr}")
    check("DDOT's ceiling" in run.stdout, "no legend line for DDOT_BOUND under the table")
    check(("Geometric mean of KOVRA/peer" in run.stdout) == bool(peer), "geometric means shown without a peer, "
          "or missing with one")

    libraries = {"DAXPY": {"KOVRA", peer} - {None}, "DDOT_BOUND": {"KOVRA"}}
    root = ET.parse(plot).getroot()  # raises on malformed XML
    check(root.tag == SVG + "svg", f"root element is {root.tag}")
    width, height = (float(root.get(a)) for a in ("width", "height"))
    panels = root.findall(f".//{SVG}g[@class='panel']")
    check(sorted((int(p.get("data-workers")), p.get("data-family")) for p in panels) ==
          sorted((w, f) for w in WORKERS for f in FAMILY.values()), "not one panel per worker count and family")
    for panel in panels:
        series = panel.findall(f"{SVG}g[@class='series']")
        found = sorted((s.get("data-case"), s.get("data-library")) for s in series)
        family = panel.get("data-family")
        expected = sorted((c, lib) for c, libs in libraries.items() for lib in libs if FAMILY[c] == family)
        check(found == expected, f"series {found} in a {family} panel, expected {expected}")
        for s in series:
            points = s.findall(f"{SVG}*[@class='point']")
            check(len(points) == len(SIZES), f"{len(points)} points in a series of {len(SIZES)} sizes")
            for p in points:
                x, y = (float(p.get("cx", p.get("x"))), float(p.get("cy", p.get("y"))))
                check(0 <= x <= width and 0 <= y <= height, f"point ({x}, {y}) outside the picture")

    with open(samples, newline="") as f:
        rows = list(csv.reader(f))
    check(rows[0] == ["workers", "case", "family", "n", "library", "sample", "seconds_per_call", "rate", "unit"],
          f"CSV header {rows[0]}")
    expected = sorted((str(w), c, FAMILY[c], str(n), lib, str(i + 1), "GB/s") for w in WORKERS
                      for c, libs in libraries.items() for lib in libs for n in SIZES for i in range(REPS))
    check(sorted((r[0], r[1], r[2], r[3], r[4], r[5], r[8]) for r in rows[1:]) == expected,
          "the CSV's samples are not one line per worker count, case, size, library and sample")
    for r in rows[1:]:
        seconds, rate = float(r[6]), float(r[7])
        bytes_moved = BYTES_PER_ELEMENT[r[1]] * int(r[3])
        check(math.isclose(rate, bytes_moved / seconds / 1e9, rel_tol=1e-6), f"rate and seconds disagree: {r}")
    print(f"ok: {len(panels)} panels, {len(rows) - 1} samples, peer: {peer or 'none'}")


if __name__ == "__main__":
    main(*sys.argv[1:4])
