"""Checks what files under src/ include: Includes.py SOURCE_ROOT."""
import re
import sys
from pathlib import Path

# A library uses only libraries of lines above its own.
FLOORS = """
    vexa_logging vexa_core
    containers
    vexa_imgproc imgproc_kernels pipeline
    node description
    imgproc media graph catalogue
    run
    observers
    studio
    cli python
"""
THIRD_PARTY = re.compile(r"(hwy|opencv2|libav\w+|libsw\w+|freetype|pybind11|numpy|nlohmann|CLI|yaml-cpp)/|ft2build\.h|httplib\.h")

root = Path(sys.argv[1])
floor = {name: i for i, line in enumerate(FLOORS.split("\n")) for name in line.split()}
faults = []

# Each library's folder, and the libraries that it names.
folders, named = {}, {name: set() for name in floor}
for file in (root / "src").rglob("CMakeLists.txt"):
    calls = re.findall(r"\b(zun_library|zun_plugin|add_library|pybind11_add_module|target_link_libraries)\s*\(([^)]*)\)",
                       file.read_text())
    for function, text in calls:
        name, *words = re.sub(r"#.*", "", text).replace("zun::", "").split()
        if name not in floor and function != "target_link_libraries":
            faults.append(f"{file}: {name} stands on no floor; give it one in {__file__}")
        if name not in floor:
            continue  # a program, or just reported
        if function != "target_link_libraries":
            folders[file.parent.relative_to(root / "src").as_posix()] = name
        named[name].update(floor.keys() & set(words))
faults += [f"{name} names {used}, which is not below it"
           for name in named for used in sorted(named[name]) if floor[used] >= floor[name]]


def library_of(path):
    return next((folders[str(folder)] for folder in Path(path).parents if str(folder) in folders), None)


includes = {}  # by file, as it would be included
for file in (root / "src").rglob("*.*"):
    if file.suffix in (".h", ".cpp"):
        includes[file.relative_to(root / "src").as_posix()] = re.findall(
            r'^\s*#\s*include\s*["<]([^">]+)[">]', file.read_text(), re.M)

# A file includes its own library, and those that it names.
for path, included in includes.items():
    own = library_of(path)
    faults += [f"src/{path} includes {header}, but {own} does not name {library_of(header)}"
               for header in included if library_of(header) not in {None, own, *named[own]}]

# A header that sees a third party's is neither installed nor included by another library.
installed = re.search(r"set\(plugin_libraries ([^)]*)\)", (root / "cmake/Install.cmake").read_text()).group(1).split()
seeing, before = set(), None
while before != len(seeing):
    before = len(seeing)
    seeing |= {path for path, included in includes.items() if path.endswith(".h") and
               any(THIRD_PARTY.match(header) or header in seeing for header in included)}
faults += [f"src/{path} is installed, and shows a third party's header"
           for path in seeing if library_of(path) in installed]
faults += [f"src/{path} includes {header}, which shows a third party's header"
           for path, included in includes.items()
           for header in included if header in seeing and library_of(header) != library_of(path)]

if len(includes) < 100 or not seeing:
    faults.append(f"{len(includes)} files were found, of which {len(seeing)} are private headers: too few to be right")
sys.exit("\n".join(sorted(faults)) or None)
