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

    def test_file_name_from_the_root_or_beside_the_text_holds(self):
        self.write("base/README.md", "`base/Clock.h`, `../base/Clock.h`, `base/../base/Clock.h`")
        self.assert_holds()

    def test_name_of_no_file_is_found(self):
        self.write("README.md", "read `base/Time.h` first")
        self.assert_finds("README.md:1: no file base/Time.h")

    def test_place_holders_and_build_results_are_passed_over(self):
        self.write("README.md", "`tests/<folder>/<Name>Test.cpp`, `base/*.h`, `build/fuzz/grown/a.log`, `Name.h`")
        self.assert_holds()


if __name__ == "__main__":
    unittest.main()
