"""Writes a file with all of its edits in it, each of which counts when the program is told its number."""

SWITCH = "mutant_switch.h"

SWITCH_TEXT = """\
// Which of the changes in this copy of the tree counts: the one whose number stands in KYR_MUTANT. With
// KYR_MUTANT_REACHED, the name of a file, each change that the program comes by leaves a mark there.
#pragma once

#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

namespace kyr_mutants {

template <typename Type>
using Plain = std::remove_cv_t<std::remove_reference_t<Type>>;

struct Choice {
    long number = -1;
    unsigned char* reached = nullptr;
    long size = 0;
};

inline Choice ReadChoice() {
    Choice choice;
    if (const char* number = std::getenv("KYR_MUTANT")) {
        choice.number = std::strtol(number, nullptr, 10);
    }
    if (const char* name = std::getenv("KYR_MUTANT_REACHED")) {
        const int file = ::open(name, O_RDWR | O_CLOEXEC);
        struct stat state;
        if (file >= 0 && ::fstat(file, &state) == 0) {
            void* marks = ::mmap(nullptr, static_cast<std::size_t>(state.st_size), PROT_READ | PROT_WRITE,
                                 MAP_SHARED, file, 0);
            if (marks != MAP_FAILED) {
                choice.reached = static_cast<unsigned char*>(marks);
                choice.size = static_cast<long>(state.st_size);
            }
        }
        if (file >= 0) {
            ::close(file);
        }
    }
    return choice;
}

inline bool Counts(long number) noexcept {
    static const Choice choice = ReadChoice();
    if (number < choice.size) {
        choice.reached[number] = 1;
    }
    return number == choice.number;
}

}  // namespace kyr_mutants
"""


class Writer:
    """`text` is the result; `spans` tells for each edit where its text stands in it."""

    def __init__(self, source, edits):
        self.source = source
        self.out = []
        self.length = 0
        self.spans = []
        self.lost = []
        self.range(0, len(source), edits)
        self.text = "".join(self.out)

    def put(self, text):
        self.out.append(text)
        self.length += len(text)

    def range(self, start, end, edits):
        position, index = start, 0
        while index < len(edits):
            edit = edits[index]
            inside = index + 1
            while inside < len(edits) and edits[inside].start < edit.end:
                inside += 1
            nested = edits[index + 1:inside]
            self.put(self.source[position:edit.start])
            self.edit(edit, nested)
            position, index = edit.end, inside
        self.put(self.source[position:end])

    def edit(self, edit, nested):
        begin = self.length
        left = [inner for inner in nested if inner.end <= edit.end]
        self.lost += [inner for inner in nested if inner.end > edit.end]
        for part in edit.parts:
            if isinstance(part, str):
                self.put(part)
            elif part[0] == "switch":
                self.put(f"kyr_mutants::Counts({edit.number})")
            elif part[0] == "was":
                self.put(self.source[part[1]:part[2]])
            else:
                inner = [one for one in left if part[1] <= one.start and one.end <= part[2]]
                self.range(part[1], part[2], inner)
                left = [one for one in left if one not in inner]
        self.lost += left
        self.spans.append((begin, self.length, edit))


def write(source, edits):
    """The source with the edits in it, the spans of the edits in that text, and edits that found no room."""
    writer = Writer(source, sorted(edits, key=lambda edit: (edit.start, -edit.end)))
    return writer.text, writer.spans, writer.lost


def innermost(spans, offset):
    """The edit with the shortest text around the offset, or none."""
    around = [(end - begin, edit) for begin, end, edit in spans if begin <= offset < end]
    return min(around, key=lambda found: found[0])[1] if around else None
