#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <stdexcept>
#include <string>

#include "tests/probe/explain/LoggedLife.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Probe {
namespace {

using namespace Kyr::Probe::Test;
using namespace testing;

TEST(HostLogTest, LineThatIsTooLongIsCountedAndTheNextIsRead) {
    HostLog log;
    std::istringstream input(std::string(std::size_t{5} * 1024 * 1024, 'x') +
                             "\nCOvAgentConnectorModule: Connecting to product\n");
    ReadHostLog(input, "host.log", log);
    EXPECT_EQ(log.tooLong, 1U);
    EXPECT_EQ(log.lines.at(0).number, 2U);
}

TEST(HostLogTest, GarbageIsNobodysLine) {
    HostLog log;
    std::istringstream input(std::string("\0\x01\x02\n\n\xff\xfe\nCOvAgentConnectorModule\n", 30));
    ReadHostLog(input, "host.log", log);
    EXPECT_THAT(log.lines, IsEmpty());
    EXPECT_EQ(log.others, 4U);
    EXPECT_FALSE(Tell(log).IsFine());  // it says nothing of the connector
}

TEST(HostLogTest, FileThatIsNotThereIsAnError) {
    HostLog log;
    EXPECT_THROW(ReadHostLogFile("no such file", log), std::runtime_error);
    EXPECT_THROW(ReadHostLogFile(".", log), std::runtime_error);
}

TEST(HostLogTest, DatabaseIsNoLog) {
    HostLog log;
    std::istringstream input(std::string("SQLite format 3\0\x10\n", 18));
    EXPECT_THAT([&] { ReadHostLog(input, "host.db", log); },
                ThrowsMessage<std::runtime_error>("host.db is a database, no log"));
}

class HostLogEndTest : public testing::Test {
  protected:
    HostLog EndOf(const std::string& bytes, std::streamoff most) const {
        std::ofstream(path_, std::ios::binary) << bytes;
        HostLog log;
        ReadHostLogEnd(path_, most, log);
        return log;
    }

    const Kyr::Test::CTemporaryFolder folder_;
    const std::string path_ = folder_.File("host.log");
};

constexpr char kTwoLines[] =
    "COvAgentConnectorModule: Connecting to product\n"
    "COvAgentConnectorModule: Reconnecting to product\n";
constexpr std::streamoff kSecondLine = 49;  // bytes, with its end

TEST_F(HostLogEndTest, ShortFileIsReadWhole) {
    EXPECT_THAT(EndOf(kTwoLines, 1000).lines, SizeIs(2));
}

TEST_F(HostLogEndTest, LineThatIsCutIsNobodys) {
    const HostLog log = EndOf(kTwoLines, kSecondLine + 1);
    ASSERT_THAT(log.lines, SizeIs(1));
    EXPECT_EQ(log.lines[0].text, "Reconnecting to product");
    EXPECT_EQ(log.others, 0U);
}

TEST_F(HostLogEndTest, LineThatBeginsThereIsWhole) {
    EXPECT_THAT(EndOf(kTwoLines, kSecondLine).lines, SizeIs(1));
    EXPECT_THAT(EndOf(kTwoLines, kSecondLine - 1).lines, IsEmpty());
}

}  // namespace
}  // namespace Kyr::Probe
