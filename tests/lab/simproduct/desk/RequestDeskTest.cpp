#include <fstream>

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "lab/common/CommandWords.h"
#include "tests/lab/simproduct/ProductFixture.h"
#include "tests/lab/simproduct/Requests.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Delivery = PortAnswer::Delivery;
using Test::CManualClock;
using Test::HexBytes;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

const Bytes kStatusRequest = HexBytes("0C 00 00 00 00 06 00 01 21 00 00 00");

class RequestDeskTest : public ProductFixture {
  protected:
    RequestDeskTest() { product_.protection.ReportInstead("\xAA\xBB"); }

    CRequestDesk& Desk() {
        if (!desk_) {
            desk_ = std::make_unique<CRequestDesk>(
                product_.commands, misbehaviours_, clock_, lines_.Sink(),
                CRequestDesk::Settings{wire_, [this] { ++endings_; }, recording_});
        }
        return *desk_;
    }

    void Misbehave(const std::string& words) {
        misbehaviours_.Add(ParseMisbehaviour(SplitWords(words)));
    }

    /// A kill request for process 1000, which "one" is when it was started.
    PortAnswer Kill() { return Desk().Answer(Request(Transport::kAlpc, KillPayload("1000"))); }

    PortAnswer Ping() {
        PortRequest ping;
        ping.transport = Transport::kAlpc;
        ping.command = kPingCommand;
        return Desk().Answer(ping);
    }

    /// A request for the status, which is told in two bytes.
    PortAnswer Status() { return Desk().Answer(Request(Transport::kAlpc, kStatusRequest)); }

    bool OneIsRunning() { return product_.processes.Find(1000)->running; }
    std::string LastTask() { return product_.tasks.TaskLog().back().Value("text"); }

    /// A request for the status was answered with these bytes before.
    void Recorded(const std::string& reply) {
        const std::string file = folder_.File("recording");
        std::ofstream(file)
            << R"({"ov-recording":1,"answers":[{"request":"0c0000000006000121000000")"
            << R"(,"reply":")" << reply << R"("}]})";
        recording_ = std::make_shared<CRecording>(file);
    }

    bool wire_ = false;
    int endings_ = 0;
    std::shared_ptr<CRecording> recording_;
    boost::shared_ptr<CManualClock> clock_ = boost::make_shared<CManualClock>();
    std::unique_ptr<CRequestDesk> desk_;
};

const Bytes kDoneReply = HexBytes("0C 00 00 00 00 00 00 00 00 00 00 00");

TEST_F(RequestDeskTest, PingIsAnsweredWithNothing) {
    const PortAnswer answer = Ping();

    EXPECT_EQ(Delivery::kReply, answer.delivery);
    EXPECT_EQ(0u, answer.code);
    EXPECT_TRUE(answer.bytes.empty());
    EXPECT_THAT(lines_.Take(),
                ElementsAre("request id=1 transport=alpc command=0 length=0 capacity=0",
                            "reply id=1 transport=alpc code=0 length=0"));
}

TEST_F(RequestDeskTest, EventsTellRequestDeedAndReplyInOrder) {
    EXPECT_EQ(kDoneReply, Desk().Answer(Request(Transport::kLpc, KillPayload("7"))).bytes);

    EXPECT_THAT(lines_.Take(),
                ElementsAre("request id=1 transport=lpc command=3 inner=2 name=xml "
                            "function=KILL_PROCESS_BY_PID length=252 capacity=65536",
                            "did action=kill pid=7 outcome=refused text=\"not a lab process\" "
                            "userdata=a;b;c",
                            "reply id=1 transport=lpc code=0 status=0 length=12"));
}

TEST_F(RequestDeskTest, WireShowsTheBytes) {
    wire_ = true;

    Desk().Answer(Request(Transport::kAlpc, HexBytes("0C 00 00 00 00 06 00 01 22 00 00 00")));

    EXPECT_THAT(lines_.Take(),
                ElementsAre("request id=1 transport=alpc command=3 inner=34 name=unknown length=12 "
                            "capacity=65536 bytes=0c0000000006000122000000",
                            "reply id=1 transport=alpc code=0 status=1 length=12 "
                            "bytes=0c0000000100000000000000"));
}

TEST_F(RequestDeskTest, RecordedRequestGetsTheReplyOfThenAndAnyOtherIsCarriedOut) {
    Recorded("0c00000007000000");
    EXPECT_EQ(Status().bytes, HexBytes("0C 00 00 00 07 00 00 00"));
    StartOne();
    EXPECT_EQ(Kill().bytes, kDoneReply);
    EXPECT_EQ("killed", LastTask());
}

TEST_F(RequestDeskTest, RecordedReplyThatDoesNotFitALegacyClientIsAskedForAgain) {
    Recorded("0c00000000000000040000000a0b0c0d");
    PortRequest request = Request(Transport::kLpc, kStatusRequest);
    request.replyCapacity = 12;
    EXPECT_EQ(Desk().Answer(request).bytes, HexBytes("0C 00 00 00 05 00 00 00 00 00 00 00"));
}

TEST_F(RequestDeskTest, UnknownPortCommandIsAFailureCode) {
    PortRequest request;
    request.command = 7;

    EXPECT_EQ(3u, Desk().Answer(request).code);
}

TEST_F(RequestDeskTest, RequestThatCannotBeReadGetsItsStatus) {
    const PortAnswer answer = Desk().Answer(Request(Transport::kAlpc, XmlPayload("<TULK>")));

    EXPECT_EQ(HexBytes("0C 00 00 00 02 00 00 00 00 00 00 00"), answer.bytes);
    EXPECT_THAT(lines_.Take()[0], HasSubstr("problem="));
}

TEST_F(RequestDeskTest, BodyThatACommandCannotReadGetsItsStatus) {
    const PortAnswer answer =
        Desk().Answer(Request(Transport::kAlpc, HexBytes("0C 00 00 00 00 06 00 01 9A 00 00 00")));

    EXPECT_EQ(HexBytes("0C 00 00 00 02 00 00 00 00 00 00 00"), answer.bytes);
    EXPECT_EQ(
        "reply id=1 transport=alpc code=0 status=2 length=12 "
        "problem=\"the record that says 3 is missing\"",
        lines_.Take()[1]);
}

TEST_F(RequestDeskTest, OneWayRequestIsCarriedOutWithoutAReply) {
    StartOne();
    PortRequest request = Request(Transport::kAlpc, KillPayload("1000"));
    request.wantsReply = false;

    Desk().Answer(request);

    EXPECT_EQ("killed", LastTask());
    EXPECT_THAT(lines_.Take(), Contains("reply id=1 transport=alpc delivery=not-wanted"));
}

TEST_F(RequestDeskTest, LegacyReplyThatDoesNotFitAsksForMoreRoom) {
    PortRequest request = Request(Transport::kLpc, KillPayload("7"));
    request.replyCapacity = 11;

    const PortAnswer answer = Desk().Answer(request);

    EXPECT_EQ(6u, answer.code);
    EXPECT_TRUE(answer.bytes.empty());
}

TEST_F(RequestDeskTest, FaultThatRefusesLeavesTheDeedUndone) {
    const struct {
        const char* fault;
        Delivery delivery;
        std::uint32_t code;
        const char* reply;
        const char* told;
    } kRows[] = {
        {"status 14 for=1", Delivery::kReply, 0, "0C 00 00 00 0E 00 00 00 00 00 00 00",
         "code=0 status=14 length=12"},
        {"code 9 for=1", Delivery::kReply, 9, "", "code=9 length=0"},
        {"drop for=1", Delivery::kDrop, 0, "", "delivery=dropped"},
        {"hang for=1", Delivery::kHang, 0, "", "delivery=never"},
    };
    StartOne();
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.fault);
        Misbehave(row.fault);
        const PortAnswer answer = Kill();
        EXPECT_EQ(row.delivery, answer.delivery);
        EXPECT_EQ(row.code, answer.code);
        EXPECT_EQ(HexBytes(row.reply), answer.bytes);
        EXPECT_TRUE(OneIsRunning());
        EXPECT_THAT(lines_.Take(), Contains(::testing::EndsWith(row.told)));
    }
    EXPECT_EQ(kDoneReply, Kill().bytes);
    EXPECT_EQ("killed", LastTask());
}

TEST_F(RequestDeskTest, ResultCodeFaultLeavesNothingOfAStatusFault) {
    Misbehave("code 9");
    Misbehave("status 14");

    const PortAnswer answer = Status();
    EXPECT_EQ(9u, answer.code);
    EXPECT_EQ(Bytes(), answer.bytes);
}

TEST_F(RequestDeskTest, ReplyLengthenedForAViewAnnouncesItsOwnLength) {
    Misbehave("bad-length 3");
    Misbehave("view-small");

    const PortAnswer answer = Status();
    EXPECT_EQ(65488u, answer.bytes.size());
    EXPECT_EQ(65488u, answer.AnnouncedLength());
}

TEST_F(RequestDeskTest, FaultOfTheReplyChangesItsBytesBehindTheDeed) {
    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 02 00 00 00 AA BB"), Status().bytes);
    const struct {
        const char* fault;
        const char* reply;
    } kRows[] = {
        {"short 11", "0C 00 00 00 00 00 00 00 02 00 00"},
        {"short 15", "0C 00 00 00 00 00 00 00 02 00 00 00 AA BB"},
        {"header-size 16", "10 00 00 00 00 00 00 00 02 00 00 00 AA BB"},
        {"value 0x01020304", "0C 00 00 00 00 00 00 00 04 03 02 01 AA BB"},
        {"oversized 16", "0C 00 00 00 00 00 00 00 02 00 00 00 AA BB 00 00"},
        {"raw 0102", "01 02"},
        {"no-payload", "0C 00 00 00 00 00 00 00 00 00 00 00"},
        {"bad-payload inner=0x21", "0C 00 00 00 00 00 00 00 01 00 00 00 07"},
        {"result-code 7", "0C 00 00 00 00 00 00 00 02 00 00 00 10 07"},
        {"result-code 0", "0C 00 00 00 00 00 00 00 02 00 00 00 10 00"},
    };
    for (const auto& row : kRows) {
        misbehaviours_.Clear();
        Misbehave(row.fault);
        const PortAnswer answer = Status();
        EXPECT_EQ(HexBytes(row.reply), answer.bytes) << row.fault;
        EXPECT_EQ(answer.bytes.size(), answer.AnnouncedLength()) << row.fault;
    }
    StartOne();
    Misbehave("raw 0102");
    Kill();
    EXPECT_EQ("killed", LastTask());
}

TEST_F(RequestDeskTest, PingIsAnsweredWronglyWhenAFaultIsForPings) {
    Misbehave("code 1 command=0 for=1");
    EXPECT_EQ(1u, Ping().code);
    Misbehave("oversized 4 command=0 for=1");
    EXPECT_EQ(Bytes(4, 0), Ping().bytes);
    Misbehave("raw 01 command=0");
    EXPECT_EQ(Bytes{1}, Ping().bytes);
    EXPECT_EQ(kDoneReply, Kill().bytes);
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

TEST_F(RequestDeskTest, DieFaultEndsTheProductOnceTheRequestIsThere) {
    Misbehave("die");

    Kill();

    EXPECT_EQ(1, endings_);
    EXPECT_THAT(lines_.Take()[0], HasSubstr("request id=1"));
}

TEST_F(RequestDeskTest, DelayFaultHoldsTheReplyBack) {
    Misbehave("delay 250");
    Desk();
    boost::thread requester([&] {
        Ping();
        Kill();
    });
    ASSERT_TRUE(clock_->AwaitWaiters(1));
    clock_->Advance(std::chrono::milliseconds(249));
    EXPECT_TRUE(product_.tasks.TaskLog().empty());

    clock_->Advance(std::chrono::milliseconds(1));
    requester.join();

    EXPECT_EQ(1u, product_.tasks.TaskLog().size());
}

TEST_F(RequestDeskTest, StopEndsADelay) {
    Misbehave("delay 3600000");
    Desk();
    boost::thread requester([&] { Kill(); });
    ASSERT_TRUE(clock_->AwaitWaiters(1));

    Desk().Stop();
    requester.join();
    Kill();

    EXPECT_EQ(2u, product_.tasks.TaskLog().size());
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
