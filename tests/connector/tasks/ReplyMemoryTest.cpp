// What the library holds at most of replies that were made to fill the memory.
#include <algorithm>
#include <functional>
#include <limits>

#include "connector/tasks/GetStatusTask.h"
#include "connector/tasks/GetTaskStatusTask.h"
#include "connector/tasks/WinOvGetEcsLogsTasks.h"
#include "connector/tasks/WinOvGetRemediationTask.h"
#include "kelcomm/KelcommChannelAdapter.h"
#include "tests/connector/tasks/CommonTaskFixture.h"
#include "tests/connector/tasks/TaskOutcomeReply.h"
#include "tests/support/AllocationWatch.h"
#include "tests/support/host/FakeDatabase.h"
#include "tests/support/product/FakeKelcommClient.h"

namespace Kyr::Connectors::Common::Tasks {
namespace {

using Kyr::Test::CAllocationWatch;

constexpr std::size_t kMebibyte = 1 << 20;

/// How a product answers that has no memory of its own in the account.
struct StandingAnswer {
    std::uint32_t code = 0;
    int repliesLeft = std::numeric_limits<int>::max();  // then replies without payload
};

/// Answers requests with the same bytes.
class CStandingClient final : public Kelcomm::IKelcommClient {
  public:
    CStandingClient(const std::vector<unsigned char>& reply, StandingAnswer& answer)
        : reply_(reply), answer_(answer) {}
    std::uint32_t Initialize(std::uint32_t, std::uint32_t, std::uint32_t) override { return 0; }
    std::uint32_t Uninitialize() override { return 0; }
    std::uint32_t Close() override { return 0; }
    std::uint32_t RequestToBuffer(std::uint32_t, std::uint32_t, const void*, std::uint32_t,
                                  Kelcomm::CBuffer*, std::int64_t) override {
        return Kelcomm::kKelcommFailure;
    }
    std::uint32_t Request(std::uint32_t, std::uint32_t, const void*, std::uint32_t, void* reply,
                          std::uint32_t replyCapacity, std::uint32_t* replyLength,
                          std::int64_t) override {
        if (answer_.code != Kelcomm::kKelcommSuccess) {
            return answer_.code;
        }
        const auto& bytes = answer_.repliesLeft-- > 0 ? reply_ : last_;
        if (bytes.size() > replyCapacity) {
            ++answer_.repliesLeft;
            return Kelcomm::kKelcommReplyTooLarge;
        }
        std::copy(bytes.begin(), bytes.end(), static_cast<unsigned char*>(reply));
        *replyLength = static_cast<std::uint32_t>(bytes.size());
        return Kelcomm::kKelcommSuccess;
    }
    std::uint32_t ReadBroadcast(std::uint32_t, void*, std::uint32_t) override { return 1; }
    std::uint32_t ReadBroadcastValue(std::uint32_t, std::uint32_t*) override { return 1; }

  private:
    const std::vector<unsigned char>& reply_;
    const std::vector<unsigned char> last_ = NoOutcomeReply();
    StandingAnswer& answer_;
};

class ReplyMemoryTest : public CommonTaskFixture {
  protected:
    ReplyMemoryTest() {
        logger->Capture().SetRecording(false);
        publisher->recording = false;
    }
    /// The most that is held while the task of `make` answers a trigger of `kind` by this reply.
    std::size_t HeldFor(
        const Bytes& reply, int kind,
        const std::function<boost::shared_ptr<CMessageTask>(const boost::shared_ptr<IChannel>&)>&
            make) {
        const auto over = boost::make_shared<Kelcomm::CKelcommChannelAdapter>(
            std::make_unique<CStandingClient>(reply, standing),
            std::make_unique<CStandingClient>(reply, standing), clock);
        const auto task = make(over);
        outcome.clear();
        const CAllocationWatch watch;
        try {
            task->Execute(TriggerOf(kind));
        } catch (const CRetryException& retry) {
            outcome = retry.what();
        }
        const std::size_t held = watch.MostHeld();
        over->SetBufferReceiver({});
        return held;
    }
    std::size_t HeldForStatus(const std::string& xml) {
        const Bytes reply = ReplyWith(Kyr::Test::TextBytes(xml));
        size = reply.size();
        return HeldFor(reply, 0, [this](const auto& over) {
            return boost::make_shared<CGetStatusTask>(MessageType::OvAgentRequest, logger,
                                                      publisher, instance, factory, over, kProduct,
                                                      17, clock);
        });
    }
    std::size_t HeldForOutcome(const Bytes& reply) {
        size = reply.size();
        return HeldFor(reply, 2, [this](const auto& over) {
            return boost::make_shared<CGetTaskStatusTask>(MessageType::OvAgentRequest, logger,
                                                          publisher, instance, factory, over,
                                                          kProduct, clock);
        });
    }
    std::size_t HeldForRecords(const Bytes& payload) {
        const Bytes reply = ReplyWith(payload);
        size = reply.size();
        return HeldFor(reply, 3, [this](const auto& over) {
            return boost::make_shared<OvAgentConnector::CWinOvGetEcsIndicatorLogsTask>(
                logger, publisher, over, nullptr, factory,
                boost::make_shared<Kyr::Test::CFakeKeyValues>());
        });
    }
    std::size_t HeldForActions(const Bytes& payload) {
        const Bytes reply = ReplyWith(payload);
        size = reply.size();
        return HeldFor(reply, 5, [this](const auto& over) {
            return boost::make_shared<OvAgentConnector::CWinOvGetRemediationTask>(
                logger, publisher, over, nullptr, factory,
                boost::make_shared<Kyr::Test::CFakeRemediationActions>(),
                boost::make_shared<Kyr::Test::CFakeKeyValues>());
        });
    }
    static std::string Repeated(const std::string& text, std::size_t times) {
        std::string all;
        for (std::size_t count = 0; count < times; ++count) {
            all += text;
        }
        return all;
    }
    static Bytes RepeatedBytes(const std::string& hex, std::size_t times) {
        const Bytes once = Kyr::Test::HexBytes(hex);
        Bytes all;
        all.reserve(once.size() * times);
        for (std::size_t count = 0; count < times; ++count) {
            all.insert(all.end(), once.begin(), once.end());
        }
        return all;
    }
    static std::string Wide(const std::string& child, std::size_t times) {
        return "<TULK><SECTION><STATUS>" + Repeated(child, times) + "</STATUS></SECTION></TULK>";
    }
    /// A task-status reply of 8 MiB whose user data are this unit.
    static Bytes UserData(const std::string& unit) {
        return ReplyWith(
            Kyr::Test::operator+(Kyr::Test::HexBytes("00 00 00 00  00 00 00 00  0C 00 00 00"),
                                 RepeatedBytes(unit, 4 * kMebibyte)));
    }
    /// A reply of n bytes makes the library hold 24 n and 128 MiB at most. `retry`: the text of the
    /// retry that it ended in, if any.
    void ExpectBounded(std::size_t held, const std::string& retry) {
        EXPECT_LT(held, 24 * size + 128 * kMebibyte) << "for a reply of " << size;
        EXPECT_EQ(outcome, retry);
    }

    static constexpr char kBadlyFormated[] =
        "Task log: Log record has badly formated uuids in user data";

    StandingAnswer standing;
    std::size_t size = 0;  // of the reply
    std::string outcome;   // the text of a retry
};

// XML, whose tree takes a hundred times its text. Each is as long as it may be.

TEST_F(ReplyMemoryTest, WidestXml) {
    ExpectBounded(HeldForStatus(Wide("<a/>", 249990)), "");
    ExpectBounded(HeldForStatus(Wide("<a>x</a>", 249990)), "");
}

TEST_F(ReplyMemoryTest, MostAttributesAndComments) {
    ExpectBounded(HeldForStatus(Wide("<a b=''/>", 91000)), "");
    ExpectBounded(HeldForStatus(Wide("<!---->", 319000)), "");
    ExpectBounded(HeldForStatus(Wide("<a " + Repeated("b=''\n", 296000) + "/>", 1)), "");
}

TEST_F(ReplyMemoryTest, MostStatusRecords) {
    ExpectBounded(HeldForStatus(Wide("<RECORD STATUS='FFFFFFFF'/>", 115000)), "");
    ExpectBounded(
        HeldForStatus(Wide("<RECORD STATUS='1' CATEGORY_RES_ID='' STATUS_RES_ID=''/>", 76000)), "");
}

TEST_F(ReplyMemoryTest, XmlBeyondItsLimits) {
    ExpectBounded(HeldForStatus(Wide("<a/>", 2 * kMebibyte)),
                  "<unspecified file>: too many elements");
    ExpectBounded(HeldForStatus(Wide("<!---->", 2 * kMebibyte)),
                  "<unspecified file>: too many attributes and comments");
}

TEST_F(ReplyMemoryTest, MarkupWithoutNodes) {
    ExpectBounded(HeldForStatus(Wide("x<![CDATA[]]>", kMebibyte)), "");
    ExpectBounded(HeldForStatus(Wide("x<?a?>", kMebibyte)), "");
}

// Task outcomes.

TEST_F(ReplyMemoryTest, UserDataOfSeparatorsOnly) {
    ExpectBounded(HeldForOutcome(UserData("3B 00")), kBadlyFormated);
}

TEST_F(ReplyMemoryTest, UserDataOfOneText) {
    ExpectBounded(HeldForOutcome(UserData("AC 20")), kBadlyFormated);
}

TEST_F(ReplyMemoryTest, ChainOfOutcomesHoldsNoMoreThanOneExchange) {
    // 2,000 replies of 100,000 bytes and more, of which the text ends early.
    Bytes reply = OutcomeReply(0);
    reply.resize(100000, 0xEE);
    standing.repliesLeft = 2000;
    EXPECT_LT(HeldForOutcome(reply), kMebibyte);
    EXPECT_EQ(standing.repliesLeft, -1);
}

// Records.

TEST_F(ReplyMemoryTest, RecordsWithoutBytes) {
    ExpectBounded(HeldForRecords(RepeatedBytes("0A 00", kMebibyte / 2)), "");
    ExpectBounded(HeldForRecords(RepeatedBytes("0A 00", 4 * kMebibyte)), "");
}

TEST_F(ReplyMemoryTest, RecordsOfOneByte) {
    ExpectBounded(HeldForRecords(RepeatedBytes("0A 01 61", 2 * kMebibyte)), "");
}

TEST_F(ReplyMemoryTest, FieldsThatNobodyKnows) {
    ExpectBounded(HeldForRecords(RepeatedBytes("1A 00", 4 * kMebibyte)), "");
    ExpectBounded(HeldForRecords(RepeatedBytes("1B 1C", 2 * kMebibyte)), "");
}

TEST_F(ReplyMemoryTest, ActionsWithoutFields) {
    ExpectBounded(HeldForActions(RepeatedBytes("0A 00", 5 * kMebibyte)), "");
}

TEST_F(ReplyMemoryTest, ActionsThatOnlyBlock) {
    ExpectBounded(HeldForActions(RepeatedBytes("0A 02 08 03", 2 * kMebibyte)), "");
}

TEST_F(ReplyMemoryTest, ActionsOfFieldsThatNobodyKnows) {
    ExpectBounded(HeldForActions(RepeatedBytes("0A 02 1B 1C", 2 * kMebibyte)), "");
    ExpectBounded(HeldForActions(RepeatedBytes("0A 04 1A 00 1A 00", kMebibyte)), "");
    // One action of 2^23 bytes.
    ExpectBounded(HeldForActions(Kyr::Test::operator+(Kyr::Test::HexBytes("0A 80 80 80 04"),
                                                      RepeatedBytes("1A 00", 4 * kMebibyte))),
                  "");
}

// Products that call every buffer too small: what is offered is all that is taken.

TEST_F(ReplyMemoryTest, BufferThatIsTooSmallForEver) {
    const Bytes tooSmall = Kyr::Test::KelcommReply(5, 0);
    EXPECT_LT(HeldForOutcome(tooSmall), 257 * kMebibyte);
    EXPECT_EQ(outcome, "CKelcommChannel: Reply buffer exeeded allowed size");
}

TEST_F(ReplyMemoryTest, ReplyThatNeverFits) {
    standing.code = Kelcomm::kKelcommReplyTooLarge;
    EXPECT_LT(HeldForOutcome({}), 257 * kMebibyte);
    EXPECT_EQ(outcome, "CKelcommChannel: Reply buffer exeeded allowed size");
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Tasks
