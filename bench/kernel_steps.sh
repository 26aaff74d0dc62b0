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
import re
import sys

listing, steps = sys.argv[1], int(sys.argv[2])

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


columns = ['fma_vec', 'fma_scal', 'load', 'dup', 'pld', 'other']
rows = []
for name, body in kernels():
    loop = main_loop(body)
    if loop is None:
        rows.append([name, 'no loop'] + ['-'] * len(columns) + [''])
        continue
    counts = dict.fromkeys(columns, 0)
    others = {}
    for _, op, args in body[loop[0]:loop[1] + 1]:
        c = category(op, args)
        counts[c] += 1
        if c == 'other':
            others[op] = others.get(op, 0) + 1
    span = f'{body[loop[0]][0]:x}-{body[loop[1]][0]:x}'
    rows.append([name, span] + [per_step(counts[c]) for c in columns] +
                [' '.join(f'{op}x{n}' if n > 1 else op for op, n in others.items())])

if not rows:
    print('no micro kernel of a kernel_neon_* class in the library')
    sys.exit(1)
header = ['micro kernel', 'loop', 'fma vec', 'fma scal', 'loads', 'vdup', 'pld', 'other',
          f'other, per iteration of {steps} steps']
widths = [max(len(str(r[i])) for r in rows + [header]) for i in range(len(header))]
line = lambda r: '  '.join(str(v).ljust(w) if i in (0, 1, len(header) - 1) else str(v).rjust(w)
                           for i, (v, w) in enumerate(zip(r, widths))).rstrip()
print(f'per step of depth, main loop counted as {steps} steps')
print(line(header))
print(line(['-' * w for w in widths]))
for r in rows:
    print(line(r))
PY
