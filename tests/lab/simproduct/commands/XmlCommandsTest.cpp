#include "lab/simproduct/commands/XmlCommands.h"
#include "tests/lab/simproduct/ProductFixture.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Test::HexBytes;

class XmlCommandsTest : public ProductFixture {
  protected:
    InnerReply PerformXml(const std::string& function, std::vector<XmlNode> nodes) {
        InnerAction action;
        action.inner.command = kXmlCommand;
        action.xml.function = function;
        action.xml.nodes = std::move(nodes);
        return XmlCommands(product_).at(0).handler(action);
    }

    TaskLogEntry OnlyTask() {
        EXPECT_EQ(1u, product_.TaskLog().size());
        return product_.TaskLog().at(0);
    }
};

TEST_F(XmlCommandsTest, KillHashesAreHeeded) {
    StartOne();

    PerformXml("KILL_PROCESS_BY_PID",
               {{"PID", "STRING", "1000"}, {"HASH_SHA2_256", "STRING", "00"}});

    EXPECT_EQ("another program has that hash", OnlyTask().text);
}

TEST_F(XmlCommandsTest, BlockTakesHashesAndDeleteFlag) {
    const InnerReply reply =
        PerformXml("BLOCK_EXECUTABLE_BY_HASH", {{"HASH_SHA1", "STRING", "s1"},
                                                {"HASH_SHA2_256", "STRING", "s2"},
                                                {"DELETE", "DWORD", "1"},
                                                {"USERDATA", "STRING", "a;b;c"}});

    EXPECT_EQ(kStatusDone, reply.status);
    ASSERT_EQ(1u, product_.Blocked().size());
    EXPECT_EQ("s1", product_.Blocked()[0].hashes.sha1);
    EXPECT_EQ("s2", product_.Blocked()[0].hashes.sha256);
    EXPECT_TRUE(product_.Blocked()[0].deleteFile);
    EXPECT_EQ("a;b;c", OnlyTask().userData);
}

TEST_F(XmlCommandsTest, DeleteFlagZeroIsNoDelete) {
    PerformXml("BLOCK_EXECUTABLE_BY_HASH",
               {{"HASH_SHA1", "STRING", "s1"}, {"DELETE", "DWORD", "0"}});

    ASSERT_EQ(1u, product_.Blocked().size());
    EXPECT_FALSE(product_.Blocked()[0].deleteFile);
}

TEST_F(XmlCommandsTest, UnknownFunctionIsAnErrorStatus) {
    const InnerReply reply = PerformXml("RESTART_FDE", {});

    EXPECT_EQ(HexBytes("0C 00 00 00 03 00 00 00 00 00 00 00"), EncodeReply(reply));
    EXPECT_TRUE(product_.TaskLog().empty());
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
