"""What of the library programs run: lines and branches of its files, by clang's source-based coverage."""
import collections
import json
import os
import pathlib
import shutil
import subprocess

# The folders of the library.
FOLDERS = ("base", "connector", "kelcomm", "logs", "module", "ntapi")


def _build_folder(root):
    return root / "build" / "coverage"


def _build(root, targets=()):
    subprocess.run(["cmake", "--preset", "coverage"], cwd=root, check=True, stdout=subprocess.DEVNULL)
    command = ["cmake", "--build", "--preset", "coverage"]
    subprocess.run(command + (["--target", *targets] if targets else []) + ["--", "--quiet"], cwd=root, check=True,
                   stdout=subprocess.DEVNULL)


def _measure(root, commands, name):
    """Runs the commands; one that fails ends this. Returns the file with what they ran."""
    profiles = _build_folder(root) / "profiles" / name
    shutil.rmtree(profiles, ignore_errors=True)
    profiles.mkdir(parents=True)
    # %m: one file a program, into which its runs are merged as they end; at most four at once.
    environment = {**os.environ, "LLVM_PROFILE_FILE": str(profiles / "%4m.profraw")}
    for command in commands:
        subprocess.run(command, cwd=root, check=True, env=environment, stdout=subprocess.DEVNULL)
    merged = profiles / "all.profdata"
    found = [str(path) for path in sorted(profiles.glob("*.profraw"))]
    subprocess.run(["llvm-profdata-14", "merge", "-sparse", "-o", str(merged), *found], check=True)
    return merged


def _files(root, profile, programs):
    objects = [str(program) for program in programs]
    command = ["llvm-cov-14", "export", "-format=text", f"-instr-profile={profile}", objects[0]]
    command += [f"-object={name}" for name in objects[1:]]
    data = json.loads(subprocess.run(command, check=True, capture_output=True).stdout)["data"][0]
    # A compiler cache may tell a name by way of the build folder.
    named = {os.path.relpath(os.path.normpath(entry["filename"]), root): entry for entry in data["files"]}
    return [File(name, entry) for name, entry in sorted(named.items()) if name.split(os.sep)[0] in FOLDERS]


class File:
    """What was run of one file: its lines with code, and of each branch its two ways."""

    def __init__(self, name, entry):
        self.name = pathlib.PurePath(name).as_posix()
        self.lines = entry["summary"]["lines"]["count"]
        self.lines_run = entry["summary"]["lines"]["covered"]
        branches = collections.defaultdict(lambda: [0, 0])
        for line, column, _, _, true, false, *_ in entry["branches"]:
            branches[line, column][0] += true
            branches[line, column][1] += false
        self.ways = 2 * len(branches)
        self.ways_taken = sum(bool(way) for ways in branches.values() for way in ways)
        self.open = sorted(
            [(line, "never run") for line, _, count, counted, entered, *_ in entry["segments"]
             if counted and entered and count == 0] +
            [(place[0], f"column {place[1]}: " + ("never true" if false else "never false" if true else "never reached"))
             for place, (true, false) in branches.items() if not (true and false)])


def of_seeds(root):
    """The files as the seeds of all fuzz targets run them, without any change."""
    names = sorted(folder.name for folder in (root / "fuzz" / "corpus").iterdir() if folder.is_dir())
    _build(root, [f"replay_{name}" for name in names])
    folder = _build_folder(root) / "bin"
    commands = [[str(folder / f"replay_{name}"), str(root / "fuzz" / "corpus" / name), "--seeds"] for name in names]
    return _files(root, _measure(root, commands, "seeds"), [folder / f"replay_{name}" for name in names])


def of_suites(root):
    """The files as all suites, scenarios and corpora run them."""
    _build(root)
    merged = _measure(root, [["ctest", "--preset", "coverage"]], "suites")
    build = _build_folder(root)
    programs = [path for path in sorted((build / "bin").iterdir()) if path.is_file() and os.access(path, os.X_OK)]
    return _files(root, merged, programs + [build / "lib" / "libOvAgentConnector.so"])
