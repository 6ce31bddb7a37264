#include <cstdint>

#include "connector/tasks/WinOvKillProcessByPidTask.h"
#include "tests/connector/tasks/ActionTaskFixture.h"
#include "tests/support/GroupingLocale.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using KillMessage = Kyr::Common::Message::Connectors::OvAgentConnector::Task::CKillProcessByPid;

class WinOvKillProcessByPidTaskTest : public ActionTaskFixture {
  protected:
    void SetUp() override { payload.set_process_id(4711); }
    /// Sends the payload; `nodes` is what is expected between DATA and its end.
    void ExpectNodes(const std::string& nodes, const std::string& third = "id-3") {
        task.Execute(MakeTaskMessage<KillMessage>(payload, third));
        EXPECT_EQ(SentText(), RequestText("KILL_PROCESS_BY_PID", nodes));
    }

    KillMessage::Payload payload;
    CWinOvKillProcessByPidTask task{channel, &logger};
};

TEST_F(WinOvKillProcessByPidTaskTest, WithoutHashesThereAreTwoNodes) {
    ExpectNodes(R"(<NODE NAME="PID" TYPE="STRING" VALUE="4711" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)");
}

TEST_F(WinOvKillProcessByPidTaskTest, BothHashesFollowTheProcess) {
    payload.set_executable_hash_sha1("0aB1");
    payload.set_executable_hash_sha2_256("FFee");
    ExpectNodes(R"(<NODE NAME="PID" TYPE="STRING" VALUE="4711" />)"
                R"(<NODE NAME="HASH_SHA1" TYPE="STRING" VALUE="0aB1" />)"
                R"(<NODE NAME="HASH_SHA2_256" TYPE="STRING" VALUE="FFee" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)");
}

TEST_F(WinOvKillProcessByPidTaskTest, EmptyHashIsStillANode) {
    payload.set_executable_hash_sha2_256("");
    ExpectNodes(R"(<NODE NAME="PID" TYPE="STRING" VALUE="4711" />)"
                R"(<NODE NAME="HASH_SHA2_256" TYPE="STRING" VALUE="" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)");
}

TEST_F(WinOvKillProcessByPidTaskTest, ProcessIdentifierIsWrittenEvenWhenItWasNeverSet) {
    payload.clear_process_id();
    ExpectNodes(R"(<NODE NAME="PID" TYPE="STRING" VALUE="0" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)");
}

TEST_F(WinOvKillProcessByPidTaskTest, LargestProcessIdentifierHasTwentyDigits) {
    payload.set_process_id(UINT64_MAX);
    ExpectNodes(R"(<NODE NAME="PID" TYPE="STRING" VALUE="18446744073709551615" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)");
}

TEST_F(WinOvKillProcessByPidTaskTest, ProcessIdentifierIsWrittenWithoutGrouping) {
    const Kyr::Test::CGroupingLocale grouping;
    ExpectNodes(R"(<NODE NAME="PID" TYPE="STRING" VALUE="4711" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)");
}

TEST_F(WinOvKillProcessByPidTaskTest, HashIsWrittenUnescaped) {
    payload.set_executable_hash_sha1("a\"<&");
    ExpectNodes(R"(<NODE NAME="PID" TYPE="STRING" VALUE="4711" />)"
                R"(<NODE NAME="HASH_SHA1" TYPE="STRING" VALUE="a"<&" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)");
}

TEST_F(WinOvKillProcessByPidTaskTest, EmptyThirdIdentifierEndsWithASemicolon) {
    ExpectNodes(R"(<NODE NAME="PID" TYPE="STRING" VALUE="4711" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;" />)",
                "");
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
