#include "connector/tasks/WinOvBlockExecutableByHashTask.h"
#include "tests/connector/tasks/ActionTaskFixture.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Message = Kyr::Common::Message::Connectors::OvAgentConnector::Task::CBlockExecutableByHash;

class WinOvBlockExecutableByHashTaskTest : public ActionTaskFixture {
  protected:
    void SetUp() override { payload.set_delete_executable(false); }
    /// Sends the payload; `nodes` is what is expected between DATA and its end.
    void ExpectNodes(const std::string& nodes) {
        task.Execute(MakeTaskMessage<Message>(payload));
        EXPECT_EQ(SentText(), RequestText("BLOCK_EXECUTABLE_BY_HASH", nodes));
    }

    Message::Payload payload;
    CWinOvBlockExecutableByHashTask task{channel, &logger};
};

TEST_F(WinOvBlockExecutableByHashTaskTest, WithoutHashesThereAreTwoNodes) {
    ExpectNodes(R"(<NODE NAME="DELETE" TYPE="DWORD" VALUE="0" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)");
}

TEST_F(WinOvBlockExecutableByHashTaskTest, DeletionIsWrittenEvenWhenItWasNeverSet) {
    payload.clear_delete_executable();
    ExpectNodes(R"(<NODE NAME="DELETE" TYPE="DWORD" VALUE="0" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)");
}

TEST_F(WinOvBlockExecutableByHashTaskTest, DeletionIsOne) {
    payload.set_delete_executable(true);
    ExpectNodes(R"(<NODE NAME="DELETE" TYPE="DWORD" VALUE="1" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)");
}

TEST_F(WinOvBlockExecutableByHashTaskTest, BothHashesPrecedeTheDeletion) {
    payload.set_executable_hash_sha1("0aB1");
    payload.set_executable_hash_sha2_256("FFee");
    ExpectNodes(R"(<NODE NAME="HASH_SHA1" TYPE="STRING" VALUE="0aB1" />)"
                R"(<NODE NAME="HASH_SHA2_256" TYPE="STRING" VALUE="FFee" />)"
                R"(<NODE NAME="DELETE" TYPE="DWORD" VALUE="0" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)");
}

TEST_F(WinOvBlockExecutableByHashTaskTest, EmptyHashIsStillANode) {
    payload.set_executable_hash_sha1("");
    ExpectNodes(R"(<NODE NAME="HASH_SHA1" TYPE="STRING" VALUE="" />)"
                R"(<NODE NAME="DELETE" TYPE="DWORD" VALUE="0" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)");
}

TEST_F(WinOvBlockExecutableByHashTaskTest, HashIsWrittenUnescaped) {
    payload.set_executable_hash_sha2_256("</DATA>\"");
    ExpectNodes(R"(<NODE NAME="HASH_SHA2_256" TYPE="STRING" VALUE="</DATA>"" />)"
                R"(<NODE NAME="DELETE" TYPE="DWORD" VALUE="0" />)"
                R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)");
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
