"""The wider x86 instruction sets stay inside their kernels: in the disassembly of the shared library, a
function that uses the AVX-512 registers (zmm, the opmasks, xmm16 and up) must be one of the AVX-512
kernel's, and in a build for the x86-64 baseline a function that uses the 256-bit registers must belong to
one of the two x86 kernels. So one binary runs on every x86-64 processor, reaching a wider set only through
the selection. Run as: isa_confined.py OBJDUMP LIBRARY baseline|v3."""
import re
import subprocess
import sys

objdump, library, build = sys.argv[1:4]
wide = {"avx512": re.compile(r"%zmm|%k[0-7]\b|%[xy]mm(1[6-9]|2[0-9]|3[01])\b")}
if build == "baseline":
    wide["avx2_fma|avx512"] = re.compile(r"%ymm")

listing = subprocess.run([objdump, "-d", "--no-show-raw-insn", "-C", library], check=True,
                         capture_output=True, text=True).stdout
function, strays, kernel_functions = None, set(), 0
for line in listing.splitlines():
    header = re.match(r"^[0-9a-f]+ <(.*)>:$", line)
    if header:
        function = header.group(1)
        kernel_functions += "avx512" in function
        continue
    for owners, registers in wide.items():
        if function and registers.search(line) and not re.search(owners, function):
            strays.add((owners, function))
for owners, function in sorted(strays):
    print(f"outside the {owners} kernels: {function}")
if kernel_functions == 0:
    print("no function of the AVX-512 kernel found: the check sees nothing")
sys.exit(1 if strays or kernel_functions == 0 else 0)
