// How much memory the status task holds at most while it turns a large reply into a log.
#include "connector/tasks/GetStatusTask.h"
#include "kelcomm/messages/XmlPayload.h"
#include "tests/connector/tasks/CommonTaskFixture.h"
#include "tests/support/AllocationWatch.h"

namespace Kyr::Connectors::Common::Tasks {
namespace {

class StatusMemoryTest : public CommonTaskFixture {
  protected:
    static std::string StatusOf(int records) {
        std::string xml = "<TULK><SECTION><STATUS>";
        for (int count = 0; count < records; ++count) {
            xml += R"(<RECORD STATUS="1" CATEGORY_RES_ID="71000000000022C")"
                   R"( STATUS_RES_ID="7100000000002FF" DESCRIPTION_RES_ID="7100000000003FF"/>)";
        }
        return xml + "</STATUS></SECTION></TULK>";
    }
    /// The most memory held while `action` runs beside what was held before, as a multiple of
    /// `size`.
    template <typename Action>
    static double MultipleOf(std::size_t size, Action action) {
        const Kyr::Test::CAllocationWatch watch;
        action();
        return static_cast<double>(watch.MostHeld()) / static_cast<double>(size);
    }
    double TaskMultiple(int records) {
        logger->Capture().SetRecording(false);
        const Bytes reply = ReplyWith(Kyr::Test::TextBytes(StatusOf(records)));
        CGetStatusTask::BufferReceiver receiver(logger, publisher, kProduct, 17, factory, instance,
                                                clock);
        return MultipleOf(reply.size(), [&] { receiver.OnBufferReceived(reply); });
    }
    static double TreeMultiple(int records) {
        const std::string xml = StatusOf(records);
        return MultipleOf(xml.size(), [&] { Kelcomm::Messages::ParseXml(xml); });
    }
};

TEST_F(StatusMemoryTest, LargeStatusHoldsASmallMultipleOfItsReply) {
    const double task = TaskMultiple(10000);
    RecordProperty("multiple_of_the_reply", std::to_string(task));
    RecordProperty("of_it_the_tree_alone", std::to_string(TreeMultiple(10000)));
    EXPECT_LT(task, 30.0);
    EXPECT_EQ(publisher->messages.size(), 1u);
}

TEST_F(StatusMemoryTest, MultipleDoesNotGrowWithTheReply) {
    EXPECT_LT(TaskMultiple(10000), TaskMultiple(1000) * 1.5);
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Tasks
