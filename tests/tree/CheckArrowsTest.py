"""Tests of scripts/check-arrows on small trees made for each case."""
import unittest

from TreeCheck import TreeCheck

TABLES = """# Architecture

<!-- arrows -->
| folder | may include |
|---|---|
| `low` | nothing |
| `low/deep` | `low` |
| `high` | `low` |
| `high/PlatformLinux.cpp` | `low`, `low/deep` |
| `top` | `*` |

<!-- system headers -->
| header | where |
|---|---|
| `windows.h` | `low/*.cpp` |
"""


class CheckArrows(TreeCheck):
    script = "check-arrows"

    def setUp(self):
        super().setUp()
        self.write("docs/architecture.md", TABLES)
        self.write("low/Low.h")
        self.write("low/deep/Deep.h")
        self.write("high/High.h")
        # Every permission is used.
        self.write("low/deep/Deep.cpp", '#include "low/Low.h"')
        self.write("high/Uses.cpp", '#include "low/Low.h"')
        self.write("high/PlatformLinux.cpp", '#include "low/Low.h"', '#include "low/deep/Deep.h"')

    def test_arrow_in_the_table_holds(self):
        self.write("high/High.cpp", '#include "high/High.h"', "#include <vector>", '#include "low/Low.h"')
        self.assert_holds()

    def test_arrow_not_in_the_table_is_found(self):
        self.write("low/Low.cpp", "", '#include "high/High.h"')
        self.assert_finds('low/Low.cpp:2: low may not include high ("high/High.h")',
                          "cycle of folders: high -> low -> high")

    def test_sub_folder_is_not_covered_by_its_parent(self):
        self.write("high/High.cpp", '#include "low/deep/Deep.h"')
        self.assert_finds('high/High.cpp:1: high may not include low/deep ("low/deep/Deep.h")')

    def test_row_of_one_file_allows_that_file_only(self):
        self.assert_holds()

    def test_permission_that_nobody_uses_is_found(self):
        self.write("low/deep/Deep.cpp")
        self.write("high/PlatformLinux.cpp", '#include "low/deep/Deep.h"')
        self.assert_finds("docs/architecture.md: low/deep may include low, but does not",
                          "docs/architecture.md: high/PlatformLinux.cpp may include low, but does not")

    def test_star_allows_every_folder_with_a_row(self):
        self.write("top/Top.cpp", '#include "low/deep/Deep.h"', '#include "high/High.h"')
        self.assert_holds()

    def test_star_does_not_allow_a_folder_without_a_row(self):
        self.write("stray/Stray.h")
        self.write("top/Top.cpp", '#include "stray/Stray.h"')
        self.assert_finds("stray/Stray.h: no row of the table speaks for its folder",
                          'top/Top.cpp:1: top may not include None ("stray/Stray.h")')

    def test_include_with_blanks_is_read(self):
        self.write("low/Low.cpp", '  #  include  "high/High.h"')
        self.assert_finds('low/Low.cpp:1: low may not include high ("high/High.h")',
                          "cycle of folders: high -> low -> high")

    def test_include_beside_the_file_is_found(self):
        self.write("low/Low.cpp", '#include "Low.h"')
        self.assert_finds('low/Low.cpp:1: "Low.h" is not in the tree (includes are written from its root)')

    def test_own_header_in_angle_brackets_is_found(self):
        self.write("low/Low.cpp", "#include <low/Low.h>")
        self.assert_finds('low/Low.cpp:1: <low/Low.h> is ours, write it as "low/Low.h"')

    def test_generated_header_belongs_to_the_folder_of_its_description(self):
        self.write("high/proto/task.proto")
        self.write("low/Low.cpp", '#include "high/proto/task.pb.h"')
        self.assert_finds('low/Low.cpp:1: low may not include high ("high/proto/task.pb.h")',
                          "cycle of folders: high -> low -> high")

    def test_system_header_at_its_place_holds(self):
        self.write("low/Low.cpp", "#include <windows.h>")
        self.assert_holds()

    def test_system_header_elsewhere_is_found_in_any_case(self):
        self.write("high/High.cpp", "#include <Windows.h>")
        self.assert_finds("high/High.cpp:1: <Windows.h> is for low/*.cpp only")

    def test_system_header_in_a_header_of_its_folder_is_found(self):
        self.write("low/Low.h", "#include <windows.h>")
        self.assert_finds("low/Low.h:1: <windows.h> is for low/*.cpp only")

    def test_cycle_of_allowed_arrows_is_found(self):
        self.write("docs/architecture.md", TABLES.replace("| `low` | nothing |", "| `low` | `high` |"))
        self.write("low/Low.cpp", '#include "high/High.h"')
        self.write("high/High.cpp", '#include "low/Low.h"')
        self.assert_finds("cycle of folders: high -> low -> high")

    def test_build_folder_is_passed_over(self):
        self.write("build/debug/Low.cpp", '#include "high/High.h"')
        self.assert_holds()

    def test_missing_table_is_an_error(self):
        self.write("docs/architecture.md", "# Architecture")
        self.assert_finds("check-arrows: docs/architecture.md has no table 'arrows'")

    def test_empty_table_is_an_error(self):
        self.write("docs/architecture.md", "<!-- arrows -->", "| folder | may include |", "|---|---|")
        self.assert_finds("check-arrows: the table 'arrows' of docs/architecture.md is empty")


if __name__ == "__main__":
    unittest.main()
