"""A row that lies does not compile, and the compiler's message shows it: Rows.py COMPILER SOURCE_ROOT."""
import re
import subprocess
import sys

compiler, root = sys.argv[1:]
command = [compiler, "-std=c++20", "-fsyntax-only", f"-I{root}/src", f"{root}/tests/build/Rows.cpp"]
subprocess.run(command, check=True)
lying = subprocess.run([*command, "-DLIES"], stderr=subprocess.PIPE, text=True)
assert lying.returncode != 0, "rows that lie compile"
for check, row, text in [("TypeOfRow", "frames", "zun::Mat<zun::Vec3f, 2>"), ("TypeOfRow", "mean", "int"),
                         ("TypeOfRow", "amount", "float"), ("ReferenceOfRow", "mean", "picture"),
                         ("ReferenceOfRow", "mean", "kind")]:
    if not re.search(rf'{check}<Rows<.*"{row}".*"{text}".*false>.*\n(.*\n)*?.*error: .* this row ', lying.stderr):
        sys.exit(f'the row "{row}", which lies by "{text}", is not shown:\n{lying.stderr}')
