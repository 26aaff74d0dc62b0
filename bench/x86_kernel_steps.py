"""The instruction mix of each x86 micro kernel's inner loop, per step of depth, from the disassembly of the
library: fused multiply-adds, loads of A, broadcasts of B, and everything else (pointer steps, the loop's
compare and branch, and any move or spill that should not be there). A step of a tile with NR real columns is
2 * NR multiply-adds, 2 loads and NR broadcasts; the loop overhead is the rest. With llvm-mca (Debian package
llvm-14), also the loop's cycles per step on LLVM's model of a processor of its instruction set (Zen 2 for
AVX2, Skylake server for AVX-512) against the bound of its multiply-adds alone, two per cycle on both.

Usage: python3 bench/x86_kernel_steps.py build/release/src/libKOVRA-<version>.so"""
import re
import shutil
import subprocess
import sys

listing = subprocess.run(["objdump", "-d", "--no-show-raw-insn", "-C", sys.argv[1]], check=True,
                         capture_output=True, text=True).stdout

# function name -> [(address, instruction text)]
functions, current = {}, None
for line in listing.splitlines():
    header = re.match(r"^[0-9a-f]+ <(.*)>:$", line)
    if header:
        current = header.group(1)
        functions[current] = []
    elif current and (m := re.match(r"^\s+([0-9a-f]+):\s+(.*)$", line)):
        functions[current].append((int(m.group(1), 16), m.group(2).strip()))


def kind(instruction):
    if instruction.startswith("vfmadd"):
        return "broadcast+fma" if "{1to" in instruction else "fma"
    if instruction.startswith("vbroadcast"):
        return "broadcast"
    if re.match(r"vmov(u|a)p[sd]\s+-?(0x[0-9a-f]+)?\(", instruction):
        return "load"
    return "other"


def inner_loop(body):
    """The shortest loop (a backward conditional branch) that holds multiply-adds and broadcasts of B (the end
    step's loops hold multiply-adds only): (multiply-adds, instructions)."""
    best = (0, [])
    for address, instruction in body:
        branch = re.match(r"j(?!mp)\w+\s+([0-9a-f]+) <", instruction)
        if not branch or int(branch.group(1), 16) >= address:
            continue
        loop = [i for a, i in body if int(branch.group(1), 16) <= a <= address]
        fmas = sum(kind(i) in ("fma", "broadcast+fma") for i in loop)
        if not any(kind(i) in ("broadcast", "broadcast+fma") for i in loop):
            continue
        if fmas and (not best[0] or len(loop) < len(best[1])):
            best = (fmas, loop)
    return best


def mca_cycles(loop, isa):
    """Cycles per iteration of the loop on the model of a processor of its set; None without llvm-mca."""
    if shutil.which("llvm-mca") is None:
        return None
    body = [re.sub(r"\s+[0-9a-f]+ <.*>$", " .Lloop", i) if i is loop[-1] else i for i in loop]
    text = ".Lloop:\n" + "\n".join(body) + "\n"
    cpu = "skylake-avx512" if isa == "avx512" else "znver2"
    out = subprocess.run(["llvm-mca", "-mtriple=x86_64", f"-mcpu={cpu}", "-iterations=200"], input=text,
                         capture_output=True, text=True).stdout
    total = re.search(r"Total Cycles:\s+(\d+)", out)
    return int(total.group(1)) / 200 if total else None


print(f"{'micro kernel':38} {'steps':>5} {'fma':>6} {'load':>6} {'bcast':>6} {'other':>6} {'cycles':>7} {'bound':>6}"
      "   per step of depth")
for name, body in sorted(functions.items()):
    kernel = re.match(r"kovra::kernels::x86_ops<(.+), kovra::kernels::(\w+)>::micro_kernel\(", name)
    if not kernel:
        continue
    element, isa = kernel.groups()
    real = re.sub(r"std::complex<(\w+)>", r"\1", element)
    fmas, loop = inner_loop(body)
    if fmas == 0:  # the loop stayed in the tile's own function
        tile = f"kovra::kernels::x86_tile<kovra::kernels::{isa}, {real}>::x86_tile"
        fmas, loop = max((inner_loop(b) for n, b in functions.items() if n.startswith(tile)), default=(0, []))
    if fmas == 0:
        print(f"{isa + ' ' + element:38} no loop found")
        continue
    counts = {"fma": 0, "load": 0, "broadcast": 0, "other": 0}
    for instruction in loop:
        k = kind(instruction)
        if k == "broadcast+fma":
            counts["fma"] += 1
            counts["broadcast"] += 1
        else:
            counts[k] += 1
    columns = 12 if isa == "avx512" else 6
    steps = fmas // (2 * columns)
    per = {k: v / steps for k, v in counts.items()}
    cycles = mca_cycles(loop, isa)
    timing = f"{cycles / steps:>7.2f} {per['fma'] / 2:>6.2f}" if cycles else ""
    print(f"{isa + ' ' + element:38} {steps:>5} {per['fma']:>6.2f} {per['load']:>6.2f} "
          f"{per['broadcast']:>6.2f} {per['other']:>6.2f} {timing}")
