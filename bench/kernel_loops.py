"""What the instruction-mix scripts of the micro kernels share (x86_kernel_steps.py, a64_kernel_steps.py): the
library's disassembly by function, the loops a function closes with backward branches, and LLVM's pipeline model
(llvm-mca, Debian package llvm-14) run on one loop."""
import re
import shutil
import subprocess


def disassemble(objdump, library):
    """{demangled function name: [(address, instruction text)]} from objdump -d."""
    listing = subprocess.run([objdump, "-d", "--no-show-raw-insn", "-C", library], check=True,
                             capture_output=True, text=True).stdout
    functions, current = {}, None
    for line in listing.splitlines():
        header = re.match(r"^[0-9a-f]+ <(.*)>:$", line)
        if header:
            current = header.group(1)
            functions[current] = []
        elif current and (m := re.match(r"^\s+([0-9a-f]+):\s+(.*)$", line)):
            functions[current].append((int(m.group(1), 16), m.group(2).strip()))
    return functions


def backward_loops(body, branch_target):
    """The loops of a function body, each the instructions from a backward branch's target to the branch:
    [(index of its first instruction, index of the branch)]. branch_target(instruction) is the address a
    conditional branch goes to, or None for any other instruction."""
    loops = []
    for last, (address, instruction) in enumerate(body):
        target = branch_target(instruction)
        if target is None or target >= address:
            continue
        first = next((i for i, (a, _) in enumerate(body) if a >= target), None)
        if first is not None and first <= last:
            loops.append((first, last))
    return loops


def as_loop_source(instructions, branch_target):
    """The instructions of one loop as assembly that llvm-mca accepts: a label at the top, every branch into the
    loop pointed at its own label (the closing branch at the top) and every branch out of it at a label after it."""
    body = [re.sub(r"\s+<.*>$", "", instruction) for _, instruction in instructions]
    first, last = instructions[0][0], instructions[-1][0]
    targets = {}
    for address, instruction in instructions:
        target = branch_target(instruction)
        if target is not None:
            targets[target] = ".Ltop" if target == first else f".L{target:x}" if first < target <= last else ".Lout"
    lines = [".Ltop:"]
    for (address, _), text in zip(instructions, body):
        if targets.get(address, "").startswith(".L") and address != first:
            lines.append(f"{targets[address]}:")
        target = branch_target(text)
        lines.append(re.sub(r"\b(0x)?[0-9a-f]+$", targets[target], text) if target is not None else text)
    return "\n".join(lines + [".Lout:", ""])


def mca_cycles(source, triple, cpu, iterations=200):
    """Cycles per iteration of the loop in source on LLVM's model of cpu: llvm-mca's total cycles over the
    iterations, which counts the loop-carried latencies and stalls that its block throughput leaves out. None
    without llvm-mca or when it refuses the source."""
    if shutil.which("llvm-mca") is None:
        return None
    run = subprocess.run(["llvm-mca", f"-mtriple={triple}", f"-mcpu={cpu}", f"-iterations={iterations}"],
                         input=source, capture_output=True, text=True)
    total = re.search(r"Total Cycles:\s+(\d+)", run.stdout)
    return int(total.group(1)) / iterations if run.returncode == 0 and total else None
