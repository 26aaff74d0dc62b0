"""The instruction mix of each AArch64 micro kernel's main loop, per step of depth, from the disassembly of an
AArch64 build of the library: fused multiply-adds, loads, and everything else (the loop's counter, pointer steps
and branch, and any move or spill that should not be there). A step of either tile is 24 multiply-adds by element
(float: 3 registers of A by the 8 lanes of B; double: 4 by 6); the loop runs eight steps per iteration.

With llvm-mca (Debian package llvm-14), also the loop's cycles per step on LLVM's models of an in-order core
(Cortex-A55) and an out-of-order one (Neoverse N1), against the bound of its multiply-adds alone: their count
times the model's cycles per 128-bit FMLA, which the script measures on each model with a loop of independent
FMLAs. ratio = bound / cycles.

Usage: python3 bench/a64_kernel_steps.py build/aarch64/src/libKOVRA-<version>.so"""
import re
import shutil
import sys

sys.dont_write_bytecode = True  # importing the shared module leaves no __pycache__ in the source tree
from kernel_loops import as_loop_source, backward_loops, disassemble, mca_cycles

OBJDUMP = "aarch64-linux-gnu-objdump"  # Debian package binutils-aarch64-linux-gnu
MODELS = ["cortex-a55", "neoverse-n1"]
FMAS_PER_STEP = 24

if shutil.which(OBJDUMP) is None:
    sys.exit(f"a64_kernel_steps: {OBJDUMP} not found (Debian package binutils-aarch64-linux-gnu)")
functions = disassemble(OBJDUMP, sys.argv[1])


def kind(instruction):
    mnemonic, _, operands = instruction.partition("\t")
    if mnemonic in ("fmla", "fmls") and re.search(r"\.(4s|2d),", operands):
        return "fma"
    return "load" if mnemonic.startswith("ld") else "other"


def branch_target(instruction):
    branch = re.match(r"(?:b\.\w+|cbn?z|tbn?z)\s+(?:[^,]+,\s*)*([0-9a-f]+)\b", instruction)
    return int(branch.group(1), 16) if branch else None


def main_loop(body):
    """The loop with the most multiply-adds (the shortest of equals): (multiply-adds, [(address, instruction)])."""
    best = (0, [])
    for first, last in backward_loops(body, branch_target):
        loop = body[first:last + 1]
        fmas = sum(kind(i) == "fma" for _, i in loop)
        if fmas > best[0] or (fmas and fmas == best[0] and len(loop) < len(best[1])):
            best = (fmas, loop)
    return best


def fmla_cycles(cpu, arrangement):
    """The model's cycles per FMLA by element on 128-bit registers, from 24 independent ones."""
    lane = "s" if arrangement == "4s" else "d"
    source = "".join(f"fmla v{i}.{arrangement}, v24.{arrangement}, v25.{lane}[0]\n" for i in range(24))
    cycles = mca_cycles(source, "aarch64", cpu, iterations=2000)  # enough that filling the pipeline costs nothing
    return cycles / 24 if cycles else None


throughput = {(cpu, real): fmla_cycles(cpu, "4s" if real == "float" else "2d")
              for cpu in MODELS for real in ("float", "double")}
if all(t is not None for t in throughput.values()):
    print("cycles per 128-bit FMLA: " + ", ".join(f"{cpu} {throughput[(cpu, 'float')]:.2f} (.4s) "
                                                 f"{throughput[(cpu, 'double')]:.2f} (.2d)" for cpu in MODELS))
else:
    print("llvm-mca not found or refused the FMLA loop: no cycle columns")

header = f"{'micro kernel':22} {'steps':>5} {'fma':>6} {'load':>6} {'other':>6}"
for cpu in MODELS:
    header += f" {cpu + ' cycles':>18} {'bound':>6} {'ratio':>6}"
print(header + "   per step of depth")
for name, body in sorted(functions.items()):
    kernel = re.match(r"kovra::kernels::vector_ops<(.+), kovra::kernels::aarch64_tile<(\w+)> >::micro_kernel\(", name)
    if not kernel:
        continue
    element, real = kernel.groups()
    fmas, loop = main_loop(body)
    if fmas == 0:  # the loop stayed in the tile's own function
        tile = f"kovra::kernels::aarch64_tile<{real}>::aarch64_tile("
        fmas, loop = max((main_loop(b) for n, b in functions.items() if n.startswith(tile)), default=(0, []))
    if fmas == 0:
        print(f"{element:22} no loop found")
        continue
    counts = {"fma": 0, "load": 0, "other": 0}
    for _, instruction in loop:
        counts[kind(instruction)] += 1
    steps = fmas // FMAS_PER_STEP
    row = f"{element:22} {steps:>5}" + "".join(f" {counts[k] / steps:>6.2f}" for k in ("fma", "load", "other"))
    source = as_loop_source(loop, branch_target)
    for cpu in MODELS:
        cycles, per_fma = mca_cycles(source, "aarch64", cpu), throughput[(cpu, real)]
        if cycles and per_fma:
            bound = counts["fma"] / steps * per_fma
            row += f" {cycles / steps:>18.2f} {bound:>6.2f} {bound / (cycles / steps):>6.2f}"
    print(row)
