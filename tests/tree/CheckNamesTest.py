"""Tests of scripts/check-names on small trees made for each case."""
import unittest

from TreeCheck import TreeCheck

TABLES = """# Names

<!-- words -->
| word | say | except in |
|---|---|---|
| `agent`, `agents` | product | `Ov agent`, `which agent` |
| `taker` | consumer | |

<!-- exceptions -->
| type | why |
|---|---|
| `CGivenRecord`, `GivenBuffer`, `GivenNumber` | contract |
"""


class CheckNames(TreeCheck):
    script = "check-names"

    def setUp(self):
        super().setUp()
        self.write("docs/names.md", TABLES)

    def test_each_kind_with_its_mark_holds(self):
        self.write("lab/Kinds.h", "class CDoor {};", "class IDoor {};", "struct Door {};",
                   "enum class Side { kLeft = 1, kRight };", "struct CDoor::State {", "};",
                   "class CDoor::CHinge final : public IDoor {};", "class Declared;",
                   "template <typename Kind>", "class CDoors<Kind>::CEach {};")
        self.assert_holds()

    def test_struct_with_the_mark_of_a_class_is_found(self):
        self.write("lab/Kinds.h", "", "struct CDoor {", "};")
        self.assert_finds("lab/Kinds.h:2: struct CDoor has the mark of a class")

    def test_derived_declared_and_nested_structs_are_found(self):
        self.write("tests/Kinds.cpp", "struct CDoor : Wall {};", "struct CGate;", "struct CHouse::CDoor {};",
                   "struct CLock final : Base<int> {};")
        self.assert_finds("tests/Kinds.cpp:1: struct CDoor has the mark of a class",
                          "tests/Kinds.cpp:2: struct CGate has the mark of a class",
                          "tests/Kinds.cpp:3: struct CDoor has the mark of a class",
                          "tests/Kinds.cpp:4: struct CLock has the mark of a class")

    def test_struct_whose_name_begins_with_c_holds(self):
        self.write("lab/Kinds.h", "struct Closed {};", "struct Counter {};")
        self.assert_holds()

    def test_enumeration_with_an_e_is_found(self):
        self.write("portlayer/Kinds.h", "enum class ESide { kLeft };", "enum ENumber : int { kOne };", "enum class Event;")
        self.assert_finds("portlayer/Kinds.h:1: enumeration ESide has an E before its name",
                          "portlayer/Kinds.h:2: enumeration ENumber has an E before its name")

    def test_enumerator_without_k_is_found(self):
        self.write("lab/Kinds.h", "enum class Side : int {", "    kLeft = 1,  // Over, there", "    Right = Left(2),",
                   "    keen", "};")
        self.assert_finds("lab/Kinds.h:3: enumerator Right has no k before its name",
                          "lab/Kinds.h:4: enumerator keen has no k before its name")

    def test_class_without_a_mark_is_found(self):
        self.write("kelcomm/Kinds.h", "class Door : public IDoor {};", "class Client {};", "class Info {};")
        self.assert_finds("kelcomm/Kinds.h:1: class Door has neither C nor I before its name",
                          "kelcomm/Kinds.h:2: class Client has neither C nor I before its name",
                          "kelcomm/Kinds.h:3: class Info has neither C nor I before its name")

    def test_fixture_needs_no_mark(self):
        self.write("tests/DoorTest.cpp", "class DoorTest : public testing::Test {};")
        self.assert_holds()

    def test_exceptions_of_the_table_hold(self):
        self.write("connector/Kinds.h", "struct CGivenRecord {};", "class GivenBuffer {};",
                   "class CTask::GivenBuffer : public IDoor {};", "enum class GivenNumber { One, Two };")
        self.assert_holds()

    def test_native_names_are_passed_over(self):
        self.write("ntapi/Native.h", "struct CLIENT_ID {};", "struct CId {};")
        self.assert_holds()

    def test_types_in_strings_and_comments_are_passed_over(self):
        self.write("lab/Kinds.cpp", "// struct CDoor {};", "const char* a = \"struct CDoor {\";",
                   "const char* b = R\"(", "struct CDoor {};", ")\";", "const int c = 1'000; /* enum EOld {}; */")
        self.assert_holds()

    def test_what_follows_a_digit_separator_is_read(self):
        self.write("lab/Kinds.cpp", "const int c = 1'000;", "struct CDoor {};", "const char d = 'x';")
        self.assert_finds("lab/Kinds.cpp:2: struct CDoor has the mark of a class")

    def test_word_in_a_comment_is_found(self):
        self.write("kelcomm/Talk.h", "int talk;  // what the agent says", "/// Agents!")
        self.assert_finds("kelcomm/Talk.h:1: agent, say product",
                          "kelcomm/Talk.h:2: Agents, say product")

    def test_word_in_a_text_and_in_a_message_description_is_found(self):
        self.write("docs/talk.md", "# Talk", "", "The agent answers.")
        self.write("host/proto/talk.proto", "// the taker")
        self.assert_finds("docs/talk.md:3: agent, say product",
                          "host/proto/talk.proto:1: taker, say consumer")

    def test_exception_of_a_word_holds_across_a_line(self):
        self.write("kelcomm/Talk.h", "// tells the Ov", "// agent, or which", "///  agent it is")
        self.write("README.md", "The Ov", "agent answers.")
        self.assert_holds()

    def test_exception_holds_only_for_its_own_words(self):
        self.write("kelcomm/Talk.h", "// the Ov agent is an agent")
        self.assert_finds("kelcomm/Talk.h:1: agent, say product")

    def test_word_with_exceptions_is_not_looked_for_in_identifiers(self):
        self.write("kelcomm/Talk.h", "class COvAgent {};", "int agentNumber;", "// COvAgent, agentNumber")
        self.assert_holds()

    def test_word_without_exceptions_is_found_in_identifiers(self):
        self.write("kelcomm/Talk.h", "int firstTaker_;", "int taker;", "int partakers;")
        self.assert_finds("kelcomm/Talk.h:1: Taker, say consumer",
                          "kelcomm/Talk.h:2: taker, say consumer")

    def test_quoted_words_are_passed_over(self):
        self.write("kelcomm/Talk.cpp", "const char* a = \"the agent\";", "// says \"agent\", or `agent`")
        self.write("docs/talk.md", "`agent`, \"agent\", [talk](agent.md)", "```", "agent", "```")
        self.assert_holds()

    def test_words_of_other_folders_are_passed_over(self):
        self.write("lab/Talk.h", "// the agent")
        self.write("tests/Talk.h", "// the taker")
        self.assert_holds()

    def test_build_folder_is_passed_over(self):
        self.write("build/debug/Kinds.h", "struct CDoor {};")
        self.assert_holds()

    def test_missing_table_is_an_error(self):
        self.write("docs/names.md", "# Names")
        self.assert_finds("check-names: docs/names.md has no table 'words'")

    def test_empty_table_is_an_error(self):
        self.write("docs/names.md", "<!-- words -->", "| word | say | except in |", "|---|---|---|")
        self.assert_finds("check-names: the table 'words' of docs/names.md is empty")


if __name__ == "__main__":
    unittest.main()
