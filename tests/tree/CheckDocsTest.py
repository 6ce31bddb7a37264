"""Tests of scripts/check-docs on small trees made for each case."""
import unittest

from TreeCheck import TreeCheck


class CheckDocs(TreeCheck):
    script = "check-docs"

    def setUp(self):
        super().setUp()
        self.write("base/Clock.h")
        self.write("docs/threads.md", "# Threads", "## What `Stop` does, twice", "```", "# no heading", "```")

    def test_link_to_a_file_holds(self):
        self.write("README.md", "see [threads](docs/threads.md)")
        self.assert_holds()

    def test_link_is_followed_from_the_folder_of_its_text(self):
        self.write("docs/life.md", "see [threads](threads.md) and [home](../docs/threads.md)")
        self.assert_holds()

    def test_link_to_no_file_is_found(self):
        self.write("README.md", "", "see [threads](threads.md)")
        self.assert_finds("README.md:2: no file threads.md")

    def test_link_to_a_heading_holds(self):
        self.write("README.md", "see [stop](docs/threads.md#what-stop-does-twice)")
        self.assert_holds()

    def test_link_to_no_heading_is_found(self):
        self.write("README.md", "see [start](docs/threads.md#no-heading)")
        self.assert_finds("README.md:1: no heading #no-heading in docs/threads.md")

    def test_link_to_a_heading_of_the_same_text_is_checked(self):
        self.write("README.md", "# Here", "[good](#here)", "[bad](#there)")
        self.assert_finds("README.md:3: no heading #there in README.md")

    def test_link_to_the_outside_is_passed_over(self):
        self.write("README.md", "see [there](https://example.org/none.md)")
        self.assert_holds()

    def test_link_that_leaves_the_tree_is_found(self):
        self.write("inner/README.md", "see [threads](../docs/threads.md)")
        self.root /= "inner"
        self.assert_finds("README.md:1: no file ../docs/threads.md")

    def test_only_links_are_looked_at_when_asked(self):
        self.write("README.md", "`base/Time.h`, `kNoWord`, [threads](threads.md)")
        self.assert_finds("README.md:1: no file threads.md", arguments=["--links"])

    def test_file_name_from_the_root_or_beside_the_text_holds(self):
        self.write("base/README.md", "`base/Clock.h`, `../base/Clock.h`, `base/../base/Clock.h`")
        self.assert_holds()

    def test_name_of_no_file_is_found(self):
        self.write("README.md", "read `base/Time.h` first")
        self.assert_finds("README.md:1: no file base/Time.h")

    def test_folder_in_a_folder_holds(self):
        self.write("base/parts/Part.h")
        self.write("README.md", "`base/parts/`, and a word with a stroke behind it, `elsewhere/`")
        self.assert_holds()

    def test_name_of_no_folder_is_found(self):
        self.write("README.md", "`docs/parts/`")
        self.assert_finds("README.md:1: no folder docs/parts/")

    def test_name_that_the_code_has_holds(self):
        self.write("base/Gate.cpp", "void CGate::OpenWide() {}")
        self.write("README.md", "`OpenWide`, `CGate`, `wide`, `<Name>Gate`, and UnquotedGate")
        self.assert_holds()

    def test_name_that_the_code_has_not_is_found(self):
        self.write("base/Gate.cpp", "void CGate::OpenWideAgain() {}")
        self.write("README.md", "", "`kGates` and `OpenWide`")
        self.assert_finds("README.md:2: no kGates in the code", "README.md:2: no OpenWide in the code")

    def test_name_in_another_text_is_not_in_the_code(self):
        self.write("README.md", "`OpenWide`")
        self.assert_finds("README.md:1: no OpenWide in the code")

    def test_file_is_no_folder_and_a_folder_no_file(self):
        self.write("base/parts.h/Part.h")
        self.write("README.md", "`base/Clock.h/`", "`base/parts.h`")
        self.assert_finds("README.md:1: no folder base/Clock.h/", "README.md:2: no file base/parts.h")

    def test_place_holder_stands_for_a_part_of_a_name(self):
        self.write("README.md", "`base/<Name>ck.h`, `<folder>/<Name>.h`")
        self.write("docs/life.md", "`../base/<Name>.h`")
        self.assert_holds()

    def test_place_holder_that_no_file_fits_is_found(self):
        self.write("README.md", "`base/<Name>Task.h`")
        self.assert_finds("README.md:1: no file base/<Name>Task.h")

    def test_place_holder_stands_for_something_within_one_folder(self):
        self.write("lab/host/Bus.h")
        self.write("lab/Task.h")
        self.write("README.md", "`lab/<Name>.h`", "`lab/<Name>Bus.h`", "`lab/<Name>Task.h`")
        self.assert_finds("README.md:2: no file lab/<Name>Bus.h", "README.md:3: no file lab/<Name>Task.h")

    def test_place_holder_of_a_folder_is_looked_for_among_folders(self):
        self.write("base/parts/Part.h")
        self.write("README.md", "`base/<Name>/`", "`docs/<Name>/`")
        self.assert_finds("README.md:2: no folder docs/<Name>/")

    def test_dot_of_a_pattern_is_a_dot(self):
        self.write("lab/Clock_h")
        self.write("README.md", "`lab/<Name>.h`")
        self.assert_finds("README.md:1: no file lab/<Name>.h")

    def test_each_of_the_names_in_braces_is_looked_for(self):
        self.write("base/Mutex.h")
        self.write("base/Mutex.cpp")
        self.write("README.md", "`base/Mutex.{h,cpp}`", "`base/Clock.{h,cpp}`", "`base/{Clock,Time}.h`")
        self.assert_finds("README.md:2: no file base/Clock.cpp", "README.md:3: no file base/Time.h")

    def test_braces_and_place_holders_go_together(self):
        self.write("README.md", "`base/<Name>.{h,cpp}`")
        self.assert_finds("README.md:1: no file base/<Name>.cpp")

    def test_star_is_anything_in_folders_below_as_well(self):
        self.write("lab/host/BusWindows.cpp")
        self.write("README.md", "`lab/*Windows.cpp`", "`lab/*Linux.cpp`")
        self.assert_finds("README.md:2: no file lab/*Linux.cpp")

    def test_build_results_words_and_commands_are_passed_over(self):
        self.write("build/README.md", "`base/None.h`")
        self.write("README.md", "`build/<preset>/a.log`, `build/fuzz/grown/`, `Name.h`, `/tmp/<name>.c`, `go base/no.h`")
        self.assert_holds()


if __name__ == "__main__":
    unittest.main()
