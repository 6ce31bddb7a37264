"""What a run tells: figures by folder and by operator, and every change that no test noticed."""
import collections
import json
import pathlib
import re

REASONS = re.compile(r"^- `([^`]+)` `([^`]*)` `([^`]+)`:\s+(.+?)(?=\n- |\n\n|\Z)", re.M | re.S)


def reasons(text):
    """The survivors for which the page gives a reason: (file, function, change) -> reason."""
    marker = "<!-- survivors -->"
    if marker not in text:
        return {}
    return {(path, function, what): " ".join(reason.split())
            for path, function, what, reason in REASONS.findall(text[text.index(marker):])}


def place(mutant):
    return mutant.path, mutant.edit.function, mutant.edit.what


def counted(mutants, results, accepted, group):
    """Rows of (name, all, found, with a reason, survived, not reached), and their sum."""
    table = collections.defaultdict(collections.Counter)
    for mutant in mutants:
        result = results.get(mutant.key)
        if result is None:
            continue
        status = result["status"]
        if status != "found" and place(mutant) in accepted:
            status = "reason"
        for name in (group(mutant), "all"):
            table[name][status] += 1
    return [(name, sum(row.values()), row["found"], row["reason"], row["survived"], row["not reached"])
            for name, row in sorted(table.items(), key=lambda item: (item[0] == "all", item[0]))]


def table(title, rows):
    lines = [f"| {title} | mutants | found | of 100 | with a reason | survived | not reached |",
             "|---|---:|---:|---:|---:|---:|---:|"]
    for name, total, found, reason, survived, missed in rows:
        lines.append(f"| {name} | {total} | {found} | {100 * found / total:.1f} | {reason} | {survived} | {missed} |")
    return lines


def folder(mutant):
    return str(pathlib.PurePath(mutant.path).parent) + "/"


def write(work, mutants, results, accepted, dropped):
    mutants = [mutant for mutant in mutants if mutant.key in results]
    lines = ["# Changes that tests notice, and those that they do not", ""]
    lines += table("folder", counted(mutants, results, accepted, folder))
    lines += ["", f"Left out, since they do not compile: {dropped}.", ""]
    lines += table("change", counted(mutants, results, accepted, lambda mutant: mutant.edit.operator))
    how = collections.Counter(results[mutant.key].get("how") for mutant in mutants)
    lines += ["", f"Found by a test that failed: {how['test']}, by one that crashed: {how['crash']}, "
                  f"by one that did not end: {how['hang']}.", ""]
    for title, wanted in (("Survived", "survived"), ("Not reached", "not reached")):
        lines += [f"## {title}", ""]
        for mutant in mutants:
            if results[mutant.key]["status"] == wanted:
                reason = accepted.get(place(mutant))
                edit = mutant.edit
                lines.append(f"- {mutant.number} {mutant.path}:{edit.line}:{edit.column} `{edit.function}` "
                             f"{edit.operator}: `{edit.what}`" + (f" ({reason})" if reason else ""))
        lines.append("")
    (work / "report.md").write_text("\n".join(lines), encoding="utf-8")
    (work / "report.json").write_text(json.dumps([
        {"number": mutant.number, "file": mutant.path, "line": mutant.edit.line, "column": mutant.edit.column,
         "function": mutant.edit.function, "operator": mutant.edit.operator, "what": mutant.edit.what,
         **results[mutant.key]} for mutant in mutants], indent=1), encoding="utf-8")
    return lines
