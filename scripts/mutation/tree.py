"""The copy of the tree that holds every change at once: made, compiled, and rid of what does not compile."""
import dataclasses
import hashlib
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess

from clang import cindex

from mutation import places, schemata

SOURCES = {".h", ".cpp"}
# Compiled for another system only.
NOT_HERE = re.compile(r"Windows\.(h|cpp)$")
# The included headers are read once a file, without the bodies of their functions: PARSE_PRECOMPILED_PREAMBLE,
# PARSE_SKIP_FUNCTION_BODIES, CreatePreambleOnFirstParse, LimitSkipFunctionBodiesToPreamble.
PARSING = 0x4 | 0x40 | 0x100 | 0x800
NOT_COPIED = {"build", ".git", ".cache"}
# A message of the compiler about a place in a file.
MESSAGE = re.compile(r"^(?P<file>[^:\s]+):(?P<line>\d+):(?P<column>\d+): (?P<kind>fatal error|error|note): ", re.M)
ROUNDS = 12


# What the compiler is told by its environment: precompiled headers may come from the compiler's cache.
ENVIRONMENT = {**os.environ, "CCACHE_SLOPPINESS": "pch_defines,time_macros"}


def digest(*texts):
    found = hashlib.sha256()
    for text in texts:
        found.update(text.encode("utf-8", "surrogateescape") if isinstance(text, str) else text)
        found.update(b"\0")
    return found.hexdigest()[:16]


TOOL = digest(*(pathlib.Path(module.__file__).read_bytes() for module in (places, schemata)))


class BuildFailed(Exception):
    pass


@dataclasses.dataclass
class Mutant:
    number: int
    path: str
    edit: places.Edit
    key: str  # the same as long as the file is


class Tree:
    """`root` is the tree, `work` a folder of ours; `folders` says which files are changed, with all below them."""

    def __init__(self, root, work, folders, say=print):
        self.root, self.work, self.folders, self.say = root, work, folders, say
        self.source, self.build = work / "src", work / "build"
        self.index_file = work / "index.json"
        self.files = {}    # path -> {"hash", "edits": [as in JSON], "dropped": [number...]}
        self.next = 1
        self.mutants = {}  # number -> Mutant
        self.texts = {}
        self.spans = {}

    # Files.

    def all_files(self):
        for path in sorted(self.root.rglob("*")):
            relative = path.relative_to(self.root)
            if relative.parts[0] not in NOT_COPIED and "__pycache__" not in relative.parts and path.is_file():
                yield relative.as_posix()

    def changed_files(self):
        return [path for path in self.all_files()
                if pathlib.PurePath(path).suffix in SOURCES and not NOT_HERE.search(path)
                and any(path.startswith(folder + "/") for folder in self.folders)]

    def read(self, path):
        return (self.root / path).read_bytes().decode("latin-1")

    def put(self, path, data):
        """Written only when it differs, so that nothing is compiled again without need."""
        target = self.source / path
        if isinstance(data, str):
            data = data.encode("latin-1")
        if not target.exists() or target.read_bytes() != data:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(data)

    def copy(self):
        files = list(self.all_files())
        changed = set(self.changed_files())
        for path in files:
            if path not in changed:
                self.put(path, (self.root / path).read_bytes())
                shutil.copymode(self.root / path, self.source / path)
            elif not (self.source / path).exists() or self.files.get(path, {}).get("hash") != digest(self.read(path)):
                # As it is now, since files that include it are read before it is written again.
                self.put(path, self.read(path))
        for path in [path for path in self.source.rglob("*") if path.is_file()]:
            relative = path.relative_to(self.source).as_posix()
            if relative not in files and relative != schemata.SWITCH:
                path.unlink()
        self.put(schemata.SWITCH, schemata.SWITCH_TEXT)

    def state(self):
        """Changes when anything does that a test's outcome may depend on."""
        return digest(*(path + "\0" + digest((self.root / path).read_bytes()) for path in self.all_files()
                        if pathlib.PurePath(path).suffix in SOURCES | {".txt", ".proto", ".cmake"}))

    # CMake.

    def command(self, *words, check=True):
        done = subprocess.run([str(word) for word in words], capture_output=True, text=True, check=False,
                              env=ENVIRONMENT)
        if check and done.returncode != 0:
            raise BuildFailed(f"{' '.join(map(str, words))}\n{done.stdout}{done.stderr}")
        return done

    def configure(self):
        # Precompiled headers, no symbols, no warnings: the copy is compiled far more often than it is looked at.
        self.command("cmake", "-S", self.source, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                     "-DCMAKE_CXX_COMPILER=clang++", "-DCMAKE_CXX_FLAGS=-w -Wno-narrowing",
                     "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -g0", "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache",
                     "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", "-DKYR_BUILD_BENCH=OFF", "-DKYR_PRECOMPILE=ON")

    def suites(self, pattern):
        """What CTest would run for the suites: name -> program and environment."""
        shown = json.loads(self.command("ctest", "--test-dir", self.build, "--show-only=json-v1").stdout)
        found = {}
        for test in shown["tests"]:
            command = test.get("command", [test["name"]])
            if re.fullmatch(pattern, test["name"]) and len(command) == 1:
                found[test["name"]] = self.build / "bin" / test["name"]
        return found

    def generate(self):
        """Makes what the sources include and a program writes first."""
        text = (self.build / "build.ninja").read_text(encoding="utf-8")
        made = re.findall(r"^build (?:\S+ )*?(\S+\.pb\.h) .*: CUSTOM_COMMAND ", text, re.M)
        if made:
            self.command("ninja", "-C", self.build, *made)

    # Places.

    def flags(self):
        """How each source is compiled, precompiled headers left aside."""
        found = {}
        for entry in json.loads((self.build / "compile_commands.json").read_text(encoding="utf-8")):
            words, kept = shlex.split(entry["command"]), []
            for index, word in enumerate(words):
                if word == "-isystem":
                    kept += words[index:index + 2]
                elif re.match(r"-I|-D|-std=", word):
                    kept.append(word)
            found[pathlib.Path(entry["file"]).relative_to(self.source).as_posix()
                  if entry["file"].startswith(str(self.source)) else entry["file"]] = kept
        return found

    def flags_of(self, path, flags):
        """A header is compiled as a source of its own, as the sources around it are."""
        if path in flags:
            return flags[path]
        if path.endswith(".cpp"):
            return None  # for another system
        folder = pathlib.PurePath(path).parent
        while folder.name:
            near = [source for source in flags if source.startswith(folder.as_posix() + "/")]
            if near:
                return flags[max(near, key=lambda source: len(flags[source]))]
            folder = folder.parent
        raise BuildFailed(f"no source stands near {path}")

    def load(self):
        if self.index_file.exists():
            index = json.loads(self.index_file.read_text(encoding="utf-8"))
            if index["tool"] == TOOL:
                self.files, self.next = index["files"], index["next"]

    def save(self):
        self.index_file.write_text(json.dumps({"tool": TOOL, "next": self.next, "files": self.files}),
                                   encoding="utf-8")

    def find(self):
        """Looks at the files that are new or have changed; the others keep the numbers that they have."""
        flags = self.flags()
        wanted = self.changed_files()
        self.files = {path: entry for path, entry in self.files.items() if path in wanted}
        for path in wanted:
            text = self.read(path)
            if path in self.files and self.files[path]["hash"] == digest(text):
                continue
            words = self.flags_of(path, flags)
            edits, dropped = ([], []) if words is None else self.find_in(path, text, words)
            self.files[path] = {"hash": digest(text), "edits": [dataclasses.asdict(edit) for edit in edits],
                                "dropped": dropped}
            self.save()
            if edits:
                self.say(f"{path}: {len(edits) - len(dropped)} mutants, {len(dropped)} that do not compile")
        self.save()
        self.mutants = {}
        for path, entry in self.files.items():
            for fields in entry["edits"]:
                if fields["number"] not in entry["dropped"]:
                    edit = places.Edit(**fields)
                    edit.parts = [part if isinstance(part, str) else tuple(part) for part in edit.parts]
                    key = f"{path}:{entry['hash']}:{edit.start}:{edit.end}:{edit.operator}:{edit.what}"
                    self.mutants[edit.number] = Mutant(edit.number, path, edit, key)

    def find_in(self, path, text, words):
        name = str(self.source / path)
        arguments = [*words, "-x", "c++", "-w", "-Wno-narrowing", "-ferror-limit=0",
                     "-include", str(self.source / schemata.SWITCH)]
        unit = cindex.Index.create().parse(name, args=arguments, unsaved_files=[(name, text)], options=PARSING)
        wrong = [str(message) for message in unit.diagnostics if message.severity >= cindex.Diagnostic.Error]
        if wrong:
            raise BuildFailed("\n".join(wrong))
        edits = places.find(unit, name, text)
        for edit in edits:
            edit.number, self.next = self.next, self.next + 1
        return edits, self.drop(unit, name, text, edits)

    def drop(self, unit, name, text, edits):
        """The numbers of those that do not compile."""
        left, dropped = list(edits), []
        while left:
            written, spans, lost = schemata.write(text, left)
            bad = {edit.number for edit in lost} or self.blamed(unit, name, written, spans)
            if bad is None:
                bad = {min(self.bisect(unit, name, text, left), key=lambda edit: edit.number).number}
            if not bad:
                break
            dropped += bad
            left = [edit for edit in left if edit.number not in bad]
        return sorted(dropped)

    @staticmethod
    def errors(unit, name, written):
        unit.reparse(unsaved_files=[(name, written)], options=PARSING)
        return [message for message in unit.diagnostics if message.severity >= cindex.Diagnostic.Error]

    def blamed(self, unit, name, written, spans):
        """The edits at whose places the compiler finds errors; none at all if it finds them elsewhere only."""
        found = self.errors(unit, name, written)
        if not found:
            return set()
        bad = set()
        for message in found:
            for one in [message, *message.children]:
                if one.location.file is not None and one.location.file.name == name:
                    edit = schemata.innermost(spans, one.location.offset)
                    if edit is not None:
                        bad.add(edit.number)
                        break
        return bad or None

    def bisect(self, unit, name, text, edits):
        """A smallest set that does not compile, found by halves."""
        while len(edits) > 1:
            half = len(edits) // 2
            for part in (edits[:half], edits[half:]):
                if self.errors(unit, name, schemata.write(text, part)[0]):
                    edits = part
                    break
            else:
                return edits
        return edits

    # Building.

    def write(self):
        for path, entry in self.files.items():
            text = self.read(path)
            edits = [mutant.edit for mutant in self.mutants.values() if mutant.path == path]
            written, spans, _ = schemata.write(text, edits)
            head = f'#include "{schemata.SWITCH}"\n' if edits else ""
            self.put(path, head + written)
            self.texts[path] = head + written
            self.spans[path] = [(begin + len(head), end + len(head), edit) for begin, end, edit in spans]

    def make(self, suites):
        """Builds the suites; what turns out not to compile in them is dropped, and built again."""
        for _ in range(ROUNDS):
            self.write()
            done = self.command("ninja", "-C", self.build, "-k", "0", *suites, check=False)
            if done.returncode == 0:
                return
            bad = self.blamed_by_build(done.stdout)
            if not bad:
                raise BuildFailed(done.stdout + done.stderr)
            for number in bad:
                mutant = self.mutants.pop(number)
                self.say(f"{mutant.path}:{mutant.edit.line}: does not compile: {mutant.edit.what}")
                self.files[mutant.path]["dropped"].append(number)
            self.save()
        raise BuildFailed("too many rounds")

    def blamed_by_build(self, output):
        bad, waiting = set(), False
        for found in MESSAGE.finditer(output):
            if found["kind"] != "note":
                waiting = True
            edit = self.edit_at(found["file"], int(found["line"]), int(found["column"])) if waiting else None
            if edit is not None:
                bad.add(edit.number)
                waiting = False
        return bad

    def edit_at(self, file, line, column):
        try:
            path = (self.build / file).resolve().relative_to(self.source).as_posix()
        except ValueError:
            return None
        if path not in self.texts:
            return None
        lines = self.texts[path].split("\n")
        offset = sum(len(text) + 1 for text in lines[:line - 1]) + column - 1
        return schemata.innermost(self.spans[path], offset)
