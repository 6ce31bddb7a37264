#include <fstream>
#include <gmock/gmock.h>
#include <sqlite3.h>

#include "probe/doctor/DatabaseChecks.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Probe {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class DatabaseChecksTest : public testing::Test {
  protected:
    void WriteBytes(const std::string& bytes) {
        std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes;
    }

    void Execute(const std::string& statements) {
        sqlite3* handle = nullptr;
        ASSERT_EQ(sqlite3_open(path_.c_str(), &handle), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(handle, statements.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(handle);
    }

    std::vector<std::string> Lines() {
        Checks checks;
        stored_ = CheckDatabase(path_, checks);
        std::vector<std::string> lines;
        for (const Check& check : checks) {
            lines.push_back(std::string(NameOf(check.verdict)) + ' ' + check.name + ": " +
                            check.why);
            next_ = check.next;
        }
        return lines;
    }

    const Kyr::Test::CTemporaryFolder folder_;
    const std::string path_ = folder_.File("host.db");
    StoredValues stored_;
    std::string next_;
};

TEST_F(DatabaseChecksTest, TableOfKeysAndValuesIsRead) {
    Execute(
        "CREATE TABLE key_values (key TEXT, value TEXT);"
        "INSERT INTO key_values VALUES ('XDR_OFFSET', '12'), ('OV_REMEDIATION_ENABLED', '1')");
    EXPECT_THAT(Lines(), Contains("fine position of indicators: 12"));
    EXPECT_EQ(stored_.indicators, 12U);
    EXPECT_EQ(stored_.actionsEnabled, true);
}

TEST_F(DatabaseChecksTest, TextWithLinesOfKeysAndValuesIsRead) {
    WriteBytes(
        "# written by hand\r\n"
        "XDR_OFFSET=12\r\n"
        "\n"
        "XDR_TELEMETRY_OFFSET=7=8\n"
        "XDR_ENABLED=1\n"
        "XDR_HOST=collector\n"
        "XDR_OFFSET=13");
    EXPECT_THAT(
        Lines(),
        ElementsAre("fine host's database: can be read", "fine position of indicators: 13",
                    "wrong position of telemetry: no number can be read from what is stored (3 "
                    "bytes)",
                    "fine position of actions: none is stored: they begin at 0",
                    "fine collection of records: switched on, with a server",
                    "fine remediation actions: not collected: the key OV_REMEDIATION_ENABLED is "
                    "not set; tasks do not need it"));
    EXPECT_EQ(stored_.actionsEnabled, false);
}

TEST_F(DatabaseChecksTest, DatabaseOfAnotherFormIsToldByItsTables) {
    Execute("CREATE TABLE settings (name TEXT); CREATE TABLE \"a\x1b[31m\" (b TEXT)");
    EXPECT_THAT(Lines(), ElementsAre("wrong host's database: cannot be read: an SQLite database "
                                     "without the table key_values; it has: a?[31m, settings"));
    EXPECT_EQ(next_,
              "expected is an SQLite database with the table key_values(key, value), or a text "
              "with lines key=value");
    EXPECT_EQ(stored_.actionsEnabled, std::nullopt);
}

TEST_F(DatabaseChecksTest, ManyTablesAreCounted) {
    for (char name = 'a'; name <= 'l'; ++name) {
        Execute(std::string("CREATE TABLE ") + name + " (b TEXT)");
    }
    EXPECT_THAT(Lines(), ElementsAre(HasSubstr("it has: a, b, c, d, e, f, g, h, i, j and 2 more")));
}

TEST_F(DatabaseChecksTest, TableWithOtherColumnsIsToldByThem) {
    Execute("CREATE TABLE key_values (name TEXT, value TEXT)");
    EXPECT_THAT(Lines(), ElementsAre("wrong host's database: cannot be read: an SQLite database "
                                     "whose table key_values has not the columns key and value, "
                                     "but: name, value"));
}

TEST_F(DatabaseChecksTest, DatabaseWithoutATableIsToldSo) {
    Execute("CREATE TABLE a (b TEXT); DROP TABLE a");
    EXPECT_THAT(Lines(), ElementsAre("wrong host's database: cannot be read: an SQLite database "
                                     "without a table"));
}

TEST_F(DatabaseChecksTest, FileThatIsNoDatabaseIsToldByWhatItIs) {
    struct Row {
        std::string bytes;
        const char* what;
    };
    const Row rows[] = {
        {"", "an empty file"},
        {"XDR_OFFSET=1\nthis is a secret", "a text whose line 2 is not key=value"},
        {"{\"a\": \"b=c\"}", "a text whose line 1 is not key=value"},
        {"colour=red\n", "a text of keys, and none of them is the connector's"},
        {std::string("XDR_OFFSET=1\0\n", 14), "neither an SQLite database nor a text"},
        {std::string((1 << 20) + 1, 'a'), "no SQLite database, and too long for lines key=value"},
    };
    for (const Row& row : rows) {
        WriteBytes(row.bytes);
        EXPECT_THAT(Lines(),
                    ElementsAre(StartsWith(std::string("wrong host's database: cannot be read: ") +
                                           row.what)));
    }
}

TEST_F(DatabaseChecksTest, FileThatIsNotThereIsToldSo) {
    EXPECT_THAT(Lines(), ElementsAre(HasSubstr("No such file or directory")));
    EXPECT_FALSE(std::ifstream(path_).is_open());  // nor made
}

}  // namespace
}  // namespace Kyr::Probe
