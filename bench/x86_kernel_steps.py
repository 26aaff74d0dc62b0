"""The instruction mix of each x86 micro kernel's inner loop, per step of depth, from the disassembly of the
library: fused multiply-adds, loads of A, broadcasts of B, and everything else (pointer steps, the loop's
compare and branch, and any move or spill that should not be there). A step of a tile with NR real columns is
2 * NR multiply-adds, 2 loads and NR broadcasts; the loop overhead is the rest. With llvm-mca (Debian package
llvm-14), also the loop's cycles per step on LLVM's model of a processor of its instruction set (Zen 2 for
AVX2, Skylake server for AVX-512) against the bound of its multiply-adds alone, two per cycle on both.

Usage: python3 bench/x86_kernel_steps.py build/release/src/libKOVRA-<version>.so"""
import re
import sys

sys.dont_write_bytecode = True  # importing the shared module leaves no __pycache__ in the source tree
from kernel_loops import as_loop_source, backward_loops, disassemble, mca_cycles

functions = disassemble("objdump", sys.argv[1])


def kind(instruction):
    if instruction.startswith("vfmadd"):
        return "broadcast+fma" if "{1to" in instruction else "fma"
    if instruction.startswith("vbroadcast"):
        return "broadcast"
    if re.match(r"vmov(u|a)p[sd]\s+-?(0x[0-9a-f]+)?\(", instruction):
        return "load"
    return "other"


def branch_target(instruction):
    branch = re.match(r"j(?!mp)\w+\s+([0-9a-f]+)\b", instruction)
    return int(branch.group(1), 16) if branch else None


def inner_loop(body):
    """The shortest loop that holds multiply-adds and broadcasts of B (the end step's loops hold multiply-adds
    only): (multiply-adds, [(address, instruction)])."""
    best = (0, [])
    for first, last in backward_loops(body, branch_target):
        loop = body[first:last + 1]
        fmas = sum(kind(i) in ("fma", "broadcast+fma") for _, i in loop)
        if not any(kind(i) in ("broadcast", "broadcast+fma") for _, i in loop):
            continue
        if fmas and (not best[0] or len(loop) < len(best[1])):
            best = (fmas, loop)
    return best


print(f"{'micro kernel':38} {'steps':>5} {'fma':>6} {'load':>6} {'bcast':>6} {'other':>6} {'cycles':>7} {'bound':>6}"
      "   per step of depth")
for name, body in sorted(functions.items()):
    kernel = re.match(r"kovra::kernels::vector_ops<(.+), kovra::kernels::x86_tile<kovra::kernels::(\w+), (\w+)> >"
                      r"::micro_kernel\(", name)
    if not kernel:
        continue
    element, isa, real = kernel.groups()
    fmas, loop = inner_loop(body)
    if fmas == 0:  # the loop stayed in the tile's own function
        tile = f"kovra::kernels::x86_tile<kovra::kernels::{isa}, {real}>::x86_tile"
        fmas, loop = max((inner_loop(b) for n, b in functions.items() if n.startswith(tile)), default=(0, []))
    if fmas == 0:
        print(f"{isa + ' ' + element:38} no loop found")
        continue
    counts = {"fma": 0, "load": 0, "broadcast": 0, "other": 0}
    for _, instruction in loop:
        k = kind(instruction)
        if k == "broadcast+fma":
            counts["fma"] += 1
            counts["broadcast"] += 1
        else:
            counts[k] += 1
    columns = 12 if isa == "avx512" else 6
    steps = fmas // (2 * columns)
    per = {k: v / steps for k, v in counts.items()}
    cpu = "skylake-avx512" if isa == "avx512" else "znver2"
    cycles = mca_cycles(as_loop_source(loop, branch_target), "x86_64", cpu)
    timing = f"{cycles / steps:>7.2f} {per['fma'] / 2:>6.2f}" if cycles else ""
    print(f"{isa + ' ' + element:38} {steps:>5} {per['fma']:>6.2f} {per['load']:>6.2f} "
          f"{per['broadcast']:>6.2f} {per['other']:>6.2f} {timing}")
