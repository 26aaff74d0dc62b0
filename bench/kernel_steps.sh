#!/usr/bin/env bash
# Usage: bench/kernel_steps.sh [ARM build directory, default build/armv7] [steps per loop iteration, default 4]
#
# Instruction mix of the NEON micro kernels, per step of depth, read from the disassembly of the
# cross-built shared library. For each micro kernel of a kernel_neon_* class, the main loop is taken
# to be the innermost backward branch with the most multiply-adds in its body; its counts are divided
# by the steps one iteration covers. Columns: vector and scalar multiply-adds (vfma, vmla, vfms,
# vmls), loads (vector and integer), lane duplications (vdup), prefetches, and everything else, whose
# mnemonics are listed per iteration at the end of the row. A store or an integer load there is
# usually a spill.
#
# Cycle columns, from LLVM's pipeline model (llvm-mca; set LLVM_MCA to use another binary), each for
# the Cortex-A57 model and for the Cortex-A9 model:
#   cyc/step  the main loop as compiled, in cycles per step of depth;
#   bound     the same loop with only the instructions the kernel cannot do without: multiply-adds,
#             loads of its operands (reloads from the stack are spills, not operands), vdup,
#             prefetches, integer add/sub/cmp (counter and addresses) and the backward branch; the
#             rest (moves, lane swaps and reversals, stores, spills) is removed;
#   ratio     bound / cyc/step; 1.00 means the extra instructions cost nothing.
# Only the kernel_neon_mla classes run on a Cortex-A9 (the others need VFPv4); "-" stands in their
# other rows. The loop is fed to llvm-mca for 200 iterations and its "Total Cycles" divided by the
# iterations and the steps: unlike "Block RThroughput" this counts the loop-carried latencies that
# moves add or hide, and the one pipeline fill it also counts is a fraction of a cycle per iteration.
# Without llvm-mca the cycle columns are left out and a note says so.
set -euo pipefail

build_dir=${1:-build/armv7}
steps=${2:-4}
objdump=${OBJDUMP:-arm-linux-gnueabihf-objdump}

if ! [[ $steps =~ ^[1-9][0-9]*$ ]]; then
  echo "kernel_steps: steps per iteration must be a positive integer, not '$steps'" >&2
  exit 2
fi
if ! command -v "$objdump" > /dev/null; then
  echo "kernel_steps: $objdump not found (set OBJDUMP to another ARM objdump)" >&2
  exit 2
fi

lib=$(find "$build_dir" -name 'libKOVRA-*.so' \( -type f -o -type l \) 2> /dev/null | sort | head -n 1 || true)
if [[ -z $lib ]]; then
  echo "kernel_steps: no libKOVRA-*.so under $build_dir; build the KOVRA target for ARM first" >&2
  exit 2
fi

listing=$(mktemp)
trap 'rm -f "$listing"' EXIT
"$objdump" -d -C --no-show-raw-insn "$lib" > "$listing"

echo "library: $lib"
python3 - "$listing" "$steps" << 'PY'
import os
import re
import shutil
import subprocess
import sys

listing, steps = sys.argv[1], int(sys.argv[2])
mca = shutil.which(os.environ.get('LLVM_MCA', 'llvm-mca'))
mca_iterations = 200
# LLVM's Cortex-A9 leaves NEON out, as the core has it only as an option; it must be asked for.
mca_cpus = [('A57', ['-mcpu=cortex-a57']), ('A9', ['-mcpu=cortex-a9', '-mattr=+neon'])]

symbol_re = re.compile(r'^[0-9a-f]+ <(.*)>:$')
insn_re = re.compile(r'^\s*([0-9a-f]+):\s+(\S+)\s*(.*)$')
kernel_re = re.compile(r'(kernel_neon_\w+<.*>::micro_kernel(?:_t)?)\(')
branch_re = re.compile(r'^b(?:eq|ne|cs|hs|cc|lo|mi|pl|vs|vc|hi|ls|ge|lt|gt|le|al)?(?:\.[nw])?$')


def kernels():
    """(short name, [(address, mnemonic, operands)]) for each micro kernel of a kernel_neon_* class."""
    name, body = None, []
    with open(listing) as f:
        for line in f:
            line = line.rstrip('\n')
            m = symbol_re.match(line)
            if m:
                if name:
                    yield name, body
                k = kernel_re.search(m.group(1))
                name, body = (k.group(1).replace('kovra::kernels::', ''), []) if k else (None, [])
                continue
            if name:
                m = insn_re.match(line)
                if m and not m.group(2).startswith('.'):
                    body.append((int(m.group(1), 16), m.group(2), m.group(3).split('@')[0].strip()))
    if name:
        yield name, body


def is_multiply_add(op):
    return op.startswith(('vfma', 'vfms', 'vmla', 'vmls')) and not op.startswith(('vmlal', 'vmlsl'))


def is_vector(op, args):
    # q registers, or 32-bit lanes in d registers, are vector forms; ARMv7 NEON has no double lanes,
    # so .f64 and s registers are the scalar VFP forms.
    if re.search(r'\bq\d+\b', args):
        return True
    return not op.endswith('.f64') and re.search(r'\bd\d+\b', args) is not None


def category(op, args):
    if is_multiply_add(op):
        return 'fma_vec' if is_vector(op, args) else 'fma_scal'
    if op.startswith(('vld', 'ldr', 'ldm', 'pop')):
        return 'load'
    if op.startswith('vdup'):
        return 'dup'
    if op.startswith(('pld', 'pli')):
        return 'pld'
    return 'other'


def is_loop_counter(op):
    return re.match(r'^(?:add|sub|cmp|cmn)[sw]?(?:\.[nw])?$', op) is not None


def is_spill_reload(op, args):
    # A micro kernel's operands never live on the stack, so a load from it restores a spilled register.
    return op.startswith('pop') or re.search(r'(?:^|\[)sp\b', args) is not None


def prescribed(op, args):
    """Whether the loop needs the instruction whatever the register allocation (its branch aside)."""
    c = category(op, args)
    if c == 'load':
        return not is_spill_reload(op, args)
    return c != 'other' or is_loop_counter(op)


def main_loop(body):
    """The innermost loop with the most multiply-adds: (first, last) indices into body, or None."""
    loops = []
    for i, (addr, op, args) in enumerate(body):
        m = re.match(r'([0-9a-f]+)\b', args)
        if branch_re.match(op) and m and int(m.group(1), 16) <= addr:
            target = int(m.group(1), 16)
            first = next((j for j, x in enumerate(body) if x[0] >= target), None)
            if first is not None and first <= i:
                loops.append((first, i))
    innermost = [l for l in loops if not any(o != l and l[0] <= o[0] and o[1] <= l[1] for o in loops)]
    if not innermost:
        return None
    fmas = lambda l: sum(is_multiply_add(op) for _, op, _ in body[l[0]:l[1] + 1])
    return max(innermost, key=lambda l: (fmas(l), -(l[1] - l[0])))


def per_step(n):
    return f'{n / steps:.2f}'.rstrip('0').rstrip('.')


inverse_condition = dict(eq='ne', ne='eq', cs='cc', cc='cs', hs='lo', lo='hs', mi='pl', pl='mi', vs='vc',
                         vc='vs', hi='ls', ls='hi', ge='lt', lt='ge', gt='le', le='gt')


def mca_source(body, loop, keep):
    """body[loop] as assembly llvm-mca accepts, without the instructions keep(op, args) refuses; the
    loop's backward branch is always kept."""
    first, last = loop
    low, high = body[first][0], body[last][0]
    target = lambda m: f'.L{int(m.group(1), 16):x}' if low <= int(m.group(1), 16) <= high else '.Lout'
    insns, targets, conditions = [], set(), []
    for i in range(first, last + 1):
        addr, op, args = body[i]
        # Branch targets become labels: inside the loop where they point, anywhere else the label after it.
        args, n = re.subn(r'\b([0-9a-f]+) <.*$', target, args)
        if n:
            targets.add(args.split()[-1])
        # GNU prints alignment hints as "[r1 :64]", LLVM reads "[r1:64]".
        args = re.sub(r'\s+(:\d+\])', r'\1', args)
        # llvm-mca has no model for IT: drop it and let the instructions it predicates run always, which
        # is what the pipeline does with them anyway.
        m = re.match(r'^it([te]{0,3})$', op)
        if m:
            conditions = [args] + [args if c == 't' else inverse_condition[args] for c in m.group(1)]
            continue
        if conditions:
            condition = conditions.pop(0)
            head, dot, tail = op.partition('.')
            op = head.removesuffix(condition) + dot + tail
        insns.append((addr, op, args, i == last or keep(op, args)))
    lines = []
    for addr, op, args, kept in insns:
        if f'.L{addr:x}' in targets:
            lines.append(f'.L{addr:x}:')
        if kept:
            lines.append(f'\t{op}\t{args}')
    return '\n'.join(lines + ['.Lout:', ''])


mca_problems = []


def mca_cycles(source, triple, cpu, what):
    """Cycles per step of depth of the loop in source on the cpu's model, or None if llvm-mca fails."""
    run = subprocess.run([mca, f'-mtriple={triple}', *cpu, f'-iterations={mca_iterations}',
                          '-instruction-info=false', '-resource-pressure=false', '-'],
                         input=source, capture_output=True, text=True)
    m = re.search(r'^Total Cycles:\s+(\d+)$', run.stdout, re.M)
    if run.returncode or 'error:' in run.stderr or not m:
        error = next((l for l in run.stderr.splitlines() if 'error' in l), f'exit status {run.returncode}')
        mca_problems.append(f'{what}: {error}')
        return None
    return int(m.group(1)) / mca_iterations / steps


def cycle_columns(name, body, loop):
    """cyc/step, bound and ratio per model, as in the header comment."""
    if loop is None:
        return ['-'] * 3 * len(mca_cpus)
    # Thumb-2 code has 16-bit instructions, so some sit on addresses that are not multiples of 4.
    triple = 'thumbv7-linux-gnueabihf' if any(a % 4 for a, _, _ in body) else 'armv7-linux-gnueabihf'
    columns = []
    for model, cpu in mca_cpus:
        if model == 'A9' and not name.startswith('kernel_neon_mla<'):
            columns += ['-'] * 3
            continue
        actual = mca_cycles(mca_source(body, loop, lambda op, args: True), triple, cpu, f'{name} on {model}')
        bound = mca_cycles(mca_source(body, loop, prescribed), triple, cpu, f'{name} on {model}, bound')
        shown = lambda c: '?' if c is None else f'{c:.2f}'
        columns += [shown(actual), shown(bound), shown(None if None in (actual, bound) else bound / actual)]
    return columns


columns = ['fma_vec', 'fma_scal', 'load', 'dup', 'pld', 'other']
rows = []
for name, body in kernels():
    loop = main_loop(body)
    cycles = cycle_columns(name, body, loop) if mca else []
    if loop is None:
        rows.append([name, 'no loop'] + ['-'] * len(columns) + cycles + [''])
        continue
    counts = dict.fromkeys(columns, 0)
    others = {}
    for _, op, args in body[loop[0]:loop[1] + 1]:
        c = category(op, args)
        counts[c] += 1
        if c == 'other':
            others[op] = others.get(op, 0) + 1
    span = f'{body[loop[0]][0]:x}-{body[loop[1]][0]:x}'
    rows.append([name, span] + [per_step(counts[c]) for c in columns] + cycles +
                [' '.join(f'{op}x{n}' if n > 1 else op for op, n in others.items())])

if not rows:
    print('no micro kernel of a kernel_neon_* class in the library')
    sys.exit(1)
header = ['micro kernel', 'loop', 'fma vec', 'fma scal', 'loads', 'vdup', 'pld', 'other']
if mca:
    header += [f'{model} {c}' for model, _ in mca_cpus for c in ('cyc/step', 'bound', 'ratio')]
header += [f'other, per iteration of {steps} steps']
widths = [max(len(str(r[i])) for r in rows + [header]) for i in range(len(header))]
line = lambda r: '  '.join(str(v).ljust(w) if i in (0, 1, len(header) - 1) else str(v).rjust(w)
                           for i, (v, w) in enumerate(zip(r, widths))).rstrip()
print(f'per step of depth, main loop counted as {steps} steps')
print(line(header))
print(line(['-' * w for w in widths]))
for r in rows:
    print(line(r))
if not mca:
    print('llvm-mca not found (set LLVM_MCA to its path): no cycle columns')
for problem in mca_problems:
    print(f'kernel_steps: llvm-mca failed on {problem}', file=sys.stderr)
PY
