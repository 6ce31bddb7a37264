#include <fstream>
#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "lab/common/CommandWords.h"
#include "lab/simproduct/commands/XmlCommands.h"
#include "lab/simproduct/desk/RequestDesk.h"
#include "tests/lab/simproduct/ProductFixture.h"
#include "tests/lab/simproduct/Requests.h"
#include "tests/support/system/TemporaryFolder.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Delivery = PortAnswer::Delivery;
using Test::CManualClock;
using Test::HexBytes;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class RequestDeskTest : public ProductFixture {
  protected:
    CRequestDesk& Desk() {
        if (!desk_) {
            desk_ = std::make_unique<CRequestDesk>(
                commands_, misbehaviours_, clock_, lines_.Sink(),
                CRequestDesk::Settings{wire_, [this] { ++endings_; }, recording_});
        }
        return *desk_;
    }

    void Misbehave(const std::string& words) {
        misbehaviours_.Add(ParseMisbehaviour(SplitWords(words)));
    }

    /// A kill request for process 1000, which "one" is when it was started.
    PortAnswer Kill(Transport transport = Transport::kAlpc) {
        return Desk().Answer(Request(transport, KillPayload("1000")));
    }

    /// A command that understands no body.
    static InnerCommandGroup FussyCommands() {
        return {
            {7, "fussy", [](const InnerAction&) -> InnerReply { throw CMalformed("not that"); }}};
    }

    static PortRequest Ping() {
        PortRequest ping;
        ping.transport = Transport::kAlpc;
        ping.command = kPingCommand;
        return ping;
    }

    /// A command that answers with two bytes.
    static InnerCommandGroup TwoByteCommands() {
        return {{8, "two-bytes", [](const InnerAction&) {
                     InnerReply reply;
                     reply.payload = {0xAA, 0xBB};
                     return reply;
                 }}};
    }
    PortAnswer TwoBytes() {
        return Desk().Answer(
            Request(Transport::kAlpc, HexBytes("0C 00 00 00 00 06 00 01 08 00 00 00")));
    }

    bool OneIsRunning() { return processes_.Find(1000)->running; }

    /// Asks what TwoBytes asks was answered with these bytes before.
    void Recorded(const std::string& reply) {
        const std::string file = folder_.File("recording");
        std::ofstream(file)
            << R"({"ov-recording":1,"answers":[{"request":"0c0000000006000108000000")"
            << R"(,"reply":")" << reply << R"("}]})";
        recording_ = std::make_shared<CRecording>(file);
    }

    bool wire_ = false;
    int endings_ = 0;
    const Kyr::Test::CTemporaryFolder folder_;
    std::shared_ptr<CRecording> recording_;
    const CInnerCommands commands_{{XmlCommands(product_), FussyCommands(), TwoByteCommands()}};
    CMisbehaviours misbehaviours_;
    boost::shared_ptr<CManualClock> clock_ = boost::make_shared<CManualClock>();
    std::unique_ptr<CRequestDesk> desk_;
};

const Bytes kDoneReply = HexBytes("0C 00 00 00 00 00 00 00 00 00 00 00");

TEST_F(RequestDeskTest, PingIsAnsweredWithNothing) {
    const PortAnswer answer = Desk().Answer(Ping());

    EXPECT_EQ(Delivery::kReply, answer.delivery);
    EXPECT_EQ(0u, answer.code);
    EXPECT_TRUE(answer.bytes.empty());
    EXPECT_THAT(lines_.Take(),
                ElementsAre("request id=1 transport=alpc command=0 length=0 capacity=0",
                            "reply id=1 transport=alpc code=0 length=0"));
}

TEST_F(RequestDeskTest, KillRequestIsCarriedOutAndAccepted) {
    StartOne();

    const PortAnswer answer = Kill();

    EXPECT_EQ(0u, answer.code);
    EXPECT_EQ(kDoneReply, answer.bytes);
    ASSERT_EQ(1u, product_.TaskLog().size());
    EXPECT_EQ("killed", product_.TaskLog()[0].text);
}

TEST_F(RequestDeskTest, EventsTellRequestDeedAndReplyInOrder) {
    Desk().Answer(Request(Transport::kLpc, KillPayload("7")));

    EXPECT_THAT(lines_.Take(),
                ElementsAre("request id=1 transport=lpc command=3 inner=2 name=xml "
                            "function=KILL_PROCESS_BY_PID length=252 capacity=65536",
                            "did action=kill pid=7 outcome=refused text=\"not a lab process\" "
                            "userdata=a;b;c",
                            "reply id=1 transport=lpc code=0 status=0 length=12"));
}

TEST_F(RequestDeskTest, WireShowsTheBytes) {
    wire_ = true;

    Desk().Answer(Request(Transport::kAlpc, HexBytes("0C 00 00 00 00 06 00 01 21 00 00 00")));

    EXPECT_THAT(lines_.Take(),
                ElementsAre("request id=1 transport=alpc command=3 inner=33 name=unknown length=12 "
                            "capacity=65536 bytes=0c0000000006000121000000",
                            "reply id=1 transport=alpc code=0 status=1 length=12 "
                            "bytes=0c0000000100000000000000"));
}

TEST_F(RequestDeskTest, RecordedRequestGetsTheReplyOfThen) {
    Recorded("0c00000007000000");
    EXPECT_EQ(TwoBytes().bytes, HexBytes("0C 00 00 00 07 00 00 00"));
}

TEST_F(RequestDeskTest, RequestThatWasNotRecordedIsCarriedOut) {
    Recorded("0c00000007000000");
    StartOne();
    EXPECT_EQ(Kill().bytes, kDoneReply);
    EXPECT_EQ(1u, product_.TaskLog().size());
}

TEST_F(RequestDeskTest, RecordedReplyThatDoesNotFitALegacyClientIsAskedForAgain) {
    Recorded("0c00000000000000040000000a0b0c0d");
    PortRequest request = Request(Transport::kLpc, HexBytes("0C 00 00 00 00 06 00 01 08 00 00 00"));
    request.replyCapacity = 12;
    EXPECT_EQ(Desk().Answer(request).bytes, HexBytes("0C 00 00 00 05 00 00 00 00 00 00 00"));
}

TEST_F(RequestDeskTest, UnknownPortCommandIsAFailureCode) {
    PortRequest request = Ping();
    request.command = 7;

    EXPECT_EQ(3u, Desk().Answer(request).code);
}

TEST_F(RequestDeskTest, RawBytesReplaceTheReplyBehindTheDeed) {
    StartOne();
    Misbehave("raw 0102 for=1");

    EXPECT_EQ((Bytes{1, 2}), Kill().bytes);
    ASSERT_EQ(1u, product_.TaskLog().size());
    EXPECT_EQ("killed", product_.TaskLog()[0].text);
    EXPECT_EQ(kDoneReply, Kill().bytes);
}

TEST_F(RequestDeskTest, RawBytesCanAnswerAPing) {
    Misbehave("raw 01 command=0");

    EXPECT_EQ(Bytes{1}, Desk().Answer(Ping()).bytes);
    EXPECT_EQ(kDoneReply, Kill().bytes);
}

TEST_F(RequestDeskTest, RequestThatCannotBeReadGetsItsStatus) {
    const PortAnswer answer = Desk().Answer(Request(Transport::kAlpc, XmlPayload("<TULK>")));

    EXPECT_EQ(HexBytes("0C 00 00 00 02 00 00 00 00 00 00 00"), answer.bytes);
    EXPECT_THAT(lines_.Take()[0], HasSubstr("problem="));
}

TEST_F(RequestDeskTest, BodyThatACommandCannotReadGetsItsStatus) {
    const PortAnswer answer =
        Desk().Answer(Request(Transport::kAlpc, HexBytes("0C 00 00 00 00 06 00 01 07 00 00 00")));

    EXPECT_EQ(HexBytes("0C 00 00 00 02 00 00 00 00 00 00 00"), answer.bytes);
    EXPECT_EQ("reply id=1 transport=alpc code=0 status=2 length=12 problem=\"not that\"",
              lines_.Take()[1]);
}

TEST_F(RequestDeskTest, OneWayRequestIsCarriedOutWithoutAReply) {
    StartOne();
    PortRequest request = Request(Transport::kAlpc, KillPayload("1000"));
    request.wantsReply = false;

    Desk().Answer(request);

    EXPECT_EQ("killed", product_.TaskLog().at(0).text);
    EXPECT_THAT(lines_.Take(),
                ::testing::Contains("reply id=1 transport=alpc delivery=not-wanted"));
}

TEST_F(RequestDeskTest, LegacyReplyThatDoesNotFitAsksForMoreRoom) {
    PortRequest request = Request(Transport::kLpc, KillPayload("7"));
    request.replyCapacity = 11;

    const PortAnswer answer = Desk().Answer(request);

    EXPECT_EQ(6u, answer.code);
    EXPECT_TRUE(answer.bytes.empty());
}

TEST_F(RequestDeskTest, StatusFaultRefusesTheRequest) {
    StartOne();
    Misbehave("status 14 for=1");

    EXPECT_EQ(HexBytes("0C 00 00 00 0E 00 00 00 00 00 00 00"), Kill().bytes);
    EXPECT_TRUE(OneIsRunning());
    EXPECT_EQ(kDoneReply, Kill().bytes);
}

TEST_F(RequestDeskTest, CodeFaultRefusesTheRequest) {
    StartOne();
    Misbehave("code 9");

    const PortAnswer answer = Kill();

    EXPECT_EQ(9u, answer.code);
    EXPECT_TRUE(answer.bytes.empty());
    EXPECT_TRUE(OneIsRunning());
}

TEST_F(RequestDeskTest, PingsFailWhenAFaultIsForThem) {
    Misbehave("code 1 command=0 for=1");
    EXPECT_EQ(1u, Desk().Answer(Ping()).code);

    Misbehave("oversized 4 command=0");
    EXPECT_EQ(Bytes(4, 0), Desk().Answer(Ping()).bytes);
}

TEST_F(RequestDeskTest, ShortFaultCutsTheReplyAfterItIsDone) {
    StartOne();
    Misbehave("short 11");

    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 00 00 00"), Kill().bytes);
    EXPECT_EQ("killed", product_.TaskLog().at(0).text);
}

TEST_F(RequestDeskTest, FaultsOfTheReplyChangeItsBytes) {
    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 02 00 00 00 AA BB"), TwoBytes().bytes);
    const struct {
        const char* fault;
        const char* reply;
    } kRows[] = {
        {"short 15", "0C 00 00 00 00 00 00 00 02 00 00 00 AA BB"},
        {"header-size 16", "10 00 00 00 00 00 00 00 02 00 00 00 AA BB"},
        {"value 0x01020304", "0C 00 00 00 00 00 00 00 04 03 02 01 AA BB"},
        {"no-payload", "0C 00 00 00 00 00 00 00 00 00 00 00"},
        {"bad-payload inner=8", "0C 00 00 00 00 00 00 00 01 00 00 00 07"},
        {"result-code 7", "0C 00 00 00 00 00 00 00 02 00 00 00 10 07"},
    };
    for (const auto& row : kRows) {
        misbehaviours_.Clear();
        Misbehave(row.fault);
        EXPECT_EQ(HexBytes(row.reply), TwoBytes().bytes) << row.fault;
    }
}

TEST_F(RequestDeskTest, OversizedFaultLengthensTheReply) {
    Misbehave("oversized 65537");

    const PortAnswer answer = Kill();

    EXPECT_EQ(65537u, answer.bytes.size());
    EXPECT_EQ(65537u, answer.AnnouncedLength());
    EXPECT_EQ(kDoneReply, Bytes(answer.bytes.begin(), answer.bytes.begin() + 12));
}

TEST_F(RequestDeskTest, BadLengthFaultAnnouncesWhatItIsToldOrOneMoreThanThereIs) {
    Misbehave("bad-length 4294967295 for=1");
    EXPECT_EQ(4294967295u, Kill().AnnouncedLength());
    Misbehave("bad-length");

    const PortAnswer answer = Kill();

    EXPECT_EQ(kDoneReply, answer.bytes);
    EXPECT_EQ(13u, answer.AnnouncedLength());
}

TEST_F(RequestDeskTest, ViewFaultsMakeTheReplyLongEnoughForAView) {
    Misbehave("view-missing for=1");
    const PortAnswer missing = Kill();
    EXPECT_TRUE(missing.withoutView);
    EXPECT_EQ(65488u, missing.AnnouncedLength());

    Misbehave("view-small for=1");
    const PortAnswer small = Kill();
    EXPECT_TRUE(small.smallView);
    EXPECT_FALSE(small.withoutView);
    EXPECT_EQ(65488u, small.bytes.size());
}

TEST_F(RequestDeskTest, DropFaultClosesTheConnectionAndDoesNothing) {
    StartOne();
    Misbehave("drop");

    EXPECT_EQ(Delivery::kDrop, Kill().delivery);
    EXPECT_TRUE(OneIsRunning());
    EXPECT_THAT(lines_.Take(), ::testing::Contains("reply id=1 transport=alpc delivery=dropped"));
}

TEST_F(RequestDeskTest, HangFaultNeverRepliesAndDoesNothing) {
    StartOne();
    Misbehave("hang");

    EXPECT_EQ(Delivery::kHang, Kill().delivery);
    EXPECT_TRUE(OneIsRunning());
    EXPECT_THAT(lines_.Take(), ::testing::Contains("reply id=1 transport=alpc delivery=never"));
}

TEST_F(RequestDeskTest, DieFaultEndsTheProductOnceTheRequestIsThere) {
    Misbehave("die");

    Kill();

    EXPECT_EQ(1, endings_);
    EXPECT_THAT(lines_.Take()[0], HasSubstr("request id=1"));
}

TEST_F(RequestDeskTest, DelayFaultHoldsTheReplyBack) {
    Misbehave("delay 250");
    CRequestDesk& desk = Desk();
    boost::thread requester([&] {
        desk.Answer(Ping());
        Kill();
    });
    ASSERT_TRUE(clock_->AwaitWaiters(1));
    clock_->Advance(std::chrono::milliseconds(249));
    EXPECT_TRUE(product_.TaskLog().empty());

    clock_->Advance(std::chrono::milliseconds(1));
    requester.join();

    EXPECT_EQ(1u, product_.TaskLog().size());
}

TEST_F(RequestDeskTest, StopEndsADelay) {
    Misbehave("delay 3600000");
    CRequestDesk& desk = Desk();
    boost::thread requester([&] { Kill(); });
    ASSERT_TRUE(clock_->AwaitWaiters(1));

    desk.Stop();
    requester.join();
    Kill();

    EXPECT_EQ(2u, product_.TaskLog().size());
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
