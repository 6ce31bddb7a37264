#include <boost/weak_ptr.hpp>

#include "connector/channel/ErrorReplyChannelException.h"
#include "connector/tasks/ImportConfigurationTask.h"
#include "connector/tasks/PolicyBlob.h"
#include "host/message/ApplyPolicy.h"
#include "kelcomm/KelcommErrorReplyException.h"
#include "tests/connector/tasks/CommonTaskFixture.h"
#include "tests/connector/tasks/SmallPolicy.h"
#include "tests/support/host/PackedPolicy.h"

namespace Kyr::Connectors::Common::Tasks {
namespace {

using Kyr::Common::Message::Policies::CApplyPolicy;
using Kyr::Test::HexBytes;
using Kyr::Test::Packed;
using Kyr::Test::ThrownText;
using testing::ElementsAre;

class ImportConfigurationTaskTest : public CommonTaskFixture {
  protected:
    static boost::shared_ptr<CApplyPolicy> PolicyOf(const std::string& blob) {
        const auto message = boost::make_shared<CApplyPolicy>();
        message->SetPolicyBlob(blob);
        message->SetReadOnly();
        return message;
    }
    template <typename Failure>
    void ProductThrows(const Failure& failure) {
        channel->product = [failure](const auto&) -> Bytes { throw failure; };
    }
    void Import() { task.Execute(PolicyOf(SmallPolicyBlob())); }

    CImportConfigurationTask task{logger, factory, channel};
    const Bytes kImportOfAbc = HexBytes("0C 00 00 00 00 06 00 01 6D 00 00 00 61 62 63");
    const Bytes kImportOfNothing = HexBytes("0C 00 00 00 00 06 00 01 6D 00 00 00");
};

TEST_F(ImportConfigurationTaskTest, AlwaysServesType194) {
    EXPECT_EQ(static_cast<int>(task.GetMessageType()), 194);
}

TEST_F(ImportConfigurationTaskTest, PolicyTextIsSentBehindTheCommand) {
    Import();
    EXPECT_THAT(channel->requests, ElementsAre(kImportOfAbc));
    EXPECT_THAT(channel->calls, ElementsAre("SetBufferReceiver", "Send"));
}

TEST_F(ImportConfigurationTaskTest, AcceptedPolicyIsLogged) {
    Import();
    EXPECT_THAT(Lines(), ElementsAre("2 Set policy request to product was successfull"));
}

TEST_F(ImportConfigurationTaskTest, ContentOfTheReplyDoesNotMatter) {
    ProductAnswers({0xFF});
    Import();
    EXPECT_THAT(Lines(), ElementsAre("2 Set policy request to product was successfull"));
}

TEST_F(ImportConfigurationTaskTest, ReceiverOutlivesTheTask) {
    CImportConfigurationTask(logger, factory, channel).Execute(PolicyOf(SmallPolicyBlob()));
    channel->receiver->OnBufferReceived({});
    EXPECT_EQ(Lines().size(), 2u);
}

TEST_F(ImportConfigurationTaskTest, MessageOfAnotherClassLeavesTheProductUntouched) {
    task.Execute(Kyr::Test::MakeMessage("other", MessageType::ApplyPolicy));
    task.Execute({});
    EXPECT_THAT(channel->calls, ElementsAre());
    EXPECT_THAT(Lines(), ElementsAre());
}

// The operation of its own

TEST_F(ImportConfigurationTaskTest, WithoutAPolicyNothingIsSentAgain) {
    task.ImportConfiguration();
    EXPECT_THAT(channel->calls, ElementsAre());
}

TEST_F(ImportConfigurationTaskTest, LastPolicyIsSentAgain) {
    Import();
    task.ImportConfiguration();
    task.ImportConfiguration();
    EXPECT_THAT(channel->requests, ElementsAre(kImportOfAbc, kImportOfAbc, kImportOfAbc));
}

TEST_F(ImportConfigurationTaskTest, PolicyThatFailedIsSentAgain) {
    ProductThrows(std::runtime_error("broken"));
    EXPECT_EQ(RetryAfter([&] { Import(); }, false), "broken");
    channel->product = {};
    task.ImportConfiguration();
    EXPECT_THAT(channel->requests, ElementsAre(kImportOfAbc, kImportOfAbc));
}

TEST_F(ImportConfigurationTaskTest, LaterMessageReplacesThePolicyWhateverItIs) {
    Import();
    task.Execute(Kyr::Test::MakeMessage("other", MessageType::ApplyPolicy));
    task.ImportConfiguration();
    EXPECT_EQ(channel->requests.size(), 1u);
}

TEST_F(ImportConfigurationTaskTest, EachRequestHasAReceiverOfItsOwn) {
    Import();
    const boost::weak_ptr<IBufferReceiver> first = channel->receiver;
    task.ImportConfiguration();
    EXPECT_TRUE(first.expired());
}

// Failures

TEST_F(ImportConfigurationTaskTest, RefusalOfTheConnectorLayerIsLoggedAndDone) {
    ProductThrows(CErrorReplyChannelException("Product said no", 5));
    Import();
    EXPECT_THAT(Lines(), ElementsAre("4 Set policy failed: Product said no"));
}

TEST_F(ImportConfigurationTaskTest, RefusalOfTheKelcommChannelIsAnUncountedRetry) {
    ProductThrows(
        Kelcomm::CKelcommErrorReplyException("CKelcommChannel: Send request failed with 7", 7));
    EXPECT_EQ(RetryAfter([&] { Import(); }, false), "CKelcommChannel: Send request failed with 7");
    EXPECT_THAT(Lines(), ElementsAre());
}

TEST_F(ImportConfigurationTaskTest, RuntimeErrorIsAnUncountedRetry) {
    ProductThrows(std::runtime_error("CKelcommChannel: Send request failed"));
    EXPECT_EQ(RetryAfter([&] { Import(); }, false), "CKelcommChannel: Send request failed");
}

TEST_F(ImportConfigurationTaskTest, OtherExceptionsPassUnchanged) {
    ProductThrows(std::logic_error("not a runtime error"));
    EXPECT_EQ(ThrownText<std::logic_error>([&] { Import(); }), "not a runtime error");
    ProductThrows(std::bad_alloc());
    EXPECT_THROW(Import(), std::bad_alloc);
}

TEST_F(ImportConfigurationTaskTest, SendingAgainFailsLikeTheTask) {
    Import();
    ProductThrows(std::runtime_error("broken"));
    EXPECT_EQ(RetryAfter([&] { task.ImportConfiguration(); }, false), "broken");
    ProductThrows(CErrorReplyChannelException("Product said no", 5));
    EXPECT_NO_THROW(task.ImportConfiguration());
}

// Damaged policies

TEST_F(ImportConfigurationTaskTest, DamagedPolicyIsSentAsFarAsItReadsAndLoggedOnce) {
    task.Execute(PolicyOf(TextOf("08 05")));  // five bytes are stated, none are there
    EXPECT_THAT(channel->requests, ElementsAre(kImportOfNothing));
    EXPECT_THAT(Lines(), ElementsAre("4 Policy is damaged: does not inflate to 5 bytes (zlib -3), "
                                     "content does not parse",
                                     "2 Set policy request to product was successfull"));
}

TEST_F(ImportConfigurationTaskTest, PolicyThatIsTooLargeIsLoggedAndDone) {
    task.Execute(PolicyOf(Packed(std::string(kLargestPolicy, 'x'))));
    EXPECT_THAT(channel->calls, ElementsAre());
    EXPECT_THAT(Lines(), ElementsAre("4 Policy is not sent: it is larger than 67108864 bytes"));
}

TEST_F(ImportConfigurationTaskTest, PolicyWhoseLengthLiesIsStillSent) {
    // The same policy, which says that it inflates to 2^63 bytes.
    task.Execute(PolicyOf(TextOf("08 80 80 80 80 80 80 80 80 80 01 12 10") + SmallPolicyStream()));
    EXPECT_THAT(channel->requests, ElementsAre(kImportOfAbc));
    EXPECT_EQ(
        Lines()[0],
        "4 Policy is damaged: 5 bytes instead of 9223372036854775808, content does not parse");
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Tasks
