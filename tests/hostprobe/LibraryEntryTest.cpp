// The library itself in the lab's host, which it fails on request.
#include <Poco/Environment.h>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <string>

#include "tests/support/system/TemporaryFolder.h"
#include "tests/support/system/TestProcess.h"

namespace Kyr::Test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

class LibraryEntryTest : public ::testing::Test {
  protected:
    CTestProcess StartHost() const {
        return CTestProcess(KYR_DEVHOST_PATH, {std::string("--library=") + KYR_HOST_PROBE_PATH,
                                               "--database=" + folder_.File("host.db"),
                                               "--log=" + folder_.File("host.log")});
    }

    const CTemporaryFolder folder_;
};

TEST_F(LibraryEntryTest, HostTakesAnExceptionOfInitializeWhenItIsAskedFor) {
    const std::string report = folder_.File("report.txt");
    Poco::Environment::set("OV_HOST_PROBE_REPORT", report);
    Poco::Environment::set("OV_HOST_PROBE_FAIL", "1");
    CTestProcess host = StartHost();
    host.EndInput();  // a host that does not fail ends, too
    EXPECT_THAT(host.ReadUntil("call=Initialize"),
                HasSubstr("result=failed text=\"HostProbe: an exception of Initialize, as it was "
                          "asked for\""));
    EXPECT_THAT(host.ReadUntil("call=destroy"), HasSubstr("result=ok"));
    EXPECT_EQ(host.Wait(), 1);

    std::ifstream file(report);
    const std::string told(std::istreambuf_iterator<char>(file), {});
    EXPECT_THAT(told, Not(HasSubstr("WRONG")));
    EXPECT_THAT(told, EndsWith("HostProbe: fine exceptions-out: the host has taken an exception of "
                               "Initialize, and destroys the module\n"
                               "HostProbe: not tried life-threads: the module was not started\n"
                               "HostProbe: end: 19 points: 18 fine, 0 doubtful, 0 wrong, 1 not "
                               "tried\n"));
}

}  // namespace
}  // namespace Kyr::Test
