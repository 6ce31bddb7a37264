// The program with a client on its ports.
#include "tests/lab/simproduct/EndToEndTest.h"

#include <gmock/gmock.h>

#include <boost/thread/thread.hpp>

#include "lab/simproduct/processes/Process.h"
#include "tests/lab/simproduct/PortClient.h"
#include "tests/lab/simproduct/Requests.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::HasSubstr;

const Bytes kAccepted = Test::HexBytes("0C 00 00 00 00 00 00 00 00 00 00 00");

/// What holds on both ports alike.
template <typename Client>
class EndToEndPortTest : public EndToEndTest {};

using Clients = ::testing::Types<CLpcPortClient, CAlpcPortClient>;
struct ClientNames {
    template <typename Client>
    static std::string GetName(int) {
        return std::is_same<Client, CLpcPortClient>::value ? "Lpc" : "Alpc";
    }
};
TYPED_TEST_SUITE(EndToEndPortTest, Clients, ClientNames);

TYPED_TEST(EndToEndPortTest, PingIsAnsweredWithNothing) {
    this->Run();
    TypeParam client;
    ASSERT_EQ(0, client.Connect());
    this->Await("connect");

    const PortReply ping = client.Exchange(kPingCommand, {}, 0);

    EXPECT_EQ(0, ping.status);
    EXPECT_EQ(0u, ping.code);
    EXPECT_EQ(0u, ping.length);
}

/// What a client of each port says when it connects and pings, written down from the protocol.
template <typename Client>
struct NativeBytes;
template <>
struct NativeBytes<CLpcPortClient> {
    static constexpr char kConnect[] = "4b656c436f6d6d2002000000";
    // Command, flags, reply capacity.
    static constexpr char kPing[] = "000000000000000000000000";
};
template <>
struct NativeBytes<CAlpcPortClient> {
    static constexpr char kConnect[] = "4b656c436f6d6d2002000000cfff0000";
    // Command, whether a reply may have any length, request length, reply capacity.
    static constexpr char kPing[] = "00000000000000000000000000000000";
};

TYPED_TEST(EndToEndPortTest, ConnectAndPingAreToldAsTheyCame) {
    this->Run({"--native"});
    TypeParam client;
    ASSERT_EQ(0, client.Connect());
    client.Exchange(kPingCommand, {}, 0);

    const CLine connect = this->Await("native");
    EXPECT_EQ("connect", this->Field(connect, "message"));
    EXPECT_EQ("1", this->Field(connect, "client"));
    EXPECT_EQ(NativeBytes<TypeParam>::kConnect, this->Field(connect, "bytes"));
    const CLine ping = this->Await("native");
    EXPECT_EQ("ping", this->Field(ping, "message"));
    EXPECT_EQ(NativeBytes<TypeParam>::kPing, this->Field(ping, "bytes"));
}

TYPED_TEST(EndToEndPortTest, ConnectAndPingAreNotToldUnasked) {
    this->Run();
    TypeParam client;
    ASSERT_EQ(0, client.Connect());
    client.Exchange(kPingCommand, {}, 0);
    this->Await("reply");

    for (std::size_t event = 0; event < this->next_; ++event) {
        EXPECT_NE("native", this->actor_->EventAt(event).line.Kind());
    }
}

TYPED_TEST(EndToEndPortTest, KillEndsTheVictim) {
    this->Run();
    const std::string pid = this->StartVictim();
    TypeParam client;
    ASSERT_EQ(0, client.Connect());

    const PortReply kill = client.Exchange(kRequestCommand, KillPayload(pid), 65536);

    EXPECT_EQ(kAccepted, kill.bytes);
    this->Await("did action=kill pid=" + pid + " outcome=done");
    this->Await("ended pid=" + pid + " name=one by=kill-request");
    EXPECT_EQ("done", this->Field(this->Command("tasklog"), "state"));
}

TYPED_TEST(EndToEndPortTest, KillOfThisVeryProcessIsRefused) {
    this->Run();
    TypeParam client;
    ASSERT_EQ(0, client.Connect());
    const std::string own = std::to_string(OwnProcessId());

    EXPECT_EQ(kAccepted, client.Exchange(kRequestCommand, KillPayload(own), 65536).bytes);

    this->Await("did action=kill pid=" + own + " outcome=refused");
}

TYPED_TEST(EndToEndPortTest, OneWayKillEndsTheVictim) {
    this->Run();
    const std::string pid = this->StartVictim();
    TypeParam client;
    ASSERT_EQ(0, client.Connect());

    EXPECT_EQ(0, client.SendOneWay(KillPayload(pid)));

    this->Await("ended pid=" + pid);
}

TYPED_TEST(EndToEndPortTest, LongRequestAndLongReplyArriveWhole) {
    this->Run({"--misbehave=oversized 200000"});
    TypeParam client;
    ASSERT_EQ(0, client.Connect());
    Bytes payload = KillPayload("1");
    payload.resize(150000, ' ');  // blanks behind the document

    const PortReply exchange = client.Exchange(kRequestCommand, payload, 200000);

    this->Await("request id=1");
    this->Await("did action=kill pid=1 outcome=refused");
    EXPECT_EQ(0u, exchange.code);
    EXPECT_EQ(200000u, exchange.length);
    ASSERT_EQ(200000u, exchange.bytes.size());
    EXPECT_EQ(kAccepted, Bytes(exchange.bytes.begin(), exchange.bytes.begin() + 12));
}

TYPED_TEST(EndToEndPortTest, DroppedConnectionIsANativeFailure) {
    this->Run({"--misbehave=drop for=1"});
    TypeParam client;
    ASSERT_EQ(0, client.Connect());

    EXPECT_TRUE(NtApi::IsError(client.Exchange(kRequestCommand, KillPayload("1"), 65536).status));

    this->Await("disconnect");
    TypeParam again;
    ASSERT_EQ(0, again.Connect());
    EXPECT_EQ(kAccepted, again.Exchange(kRequestCommand, KillPayload("1"), 65536).bytes);
}

TYPED_TEST(EndToEndPortTest, DeathInMidRequestIsANativeFailure) {
    this->Run({"--misbehave=die"});
    TypeParam client;
    ASSERT_EQ(0, client.Connect());

    EXPECT_TRUE(NtApi::IsError(client.Exchange(kRequestCommand, KillPayload("1"), 65536).status));

    EXPECT_NE(0, this->actor_->AwaitEnd(this->kPatience));
}

TYPED_TEST(EndToEndPortTest, HangingRequestEndsWithTheProduct) {
    this->Run({"--misbehave=hang"});
    TypeParam client;
    ASSERT_EQ(0, client.Connect());
    PortReply hanging;
    boost::thread requester(
        [&] { hanging = client.Exchange(kRequestCommand, KillPayload("1"), 65536); });
    this->Await("reply id=1");

    this->actor_->Send("quit");
    requester.join();

    EXPECT_TRUE(NtApi::IsError(hanging.status));
    this->ExpectCleanEnd();
}

TYPED_TEST(EndToEndPortTest, DelayedReplyDoesNotHoldTheEndUp) {
    this->Run({"--misbehave=delay 3600000"});
    TypeParam client;
    ASSERT_EQ(0, client.Connect());
    boost::thread requester([&] { client.Exchange(kRequestCommand, KillPayload("1"), 65536); });
    this->Await("request id=1");

    this->actor_->Send("quit");
    requester.join();

    this->ExpectCleanEnd();
}

TYPED_TEST(EndToEndPortTest, AnnouncedLengthCanBeWrong) {
    this->Run({"--misbehave=bad-length 100"});
    TypeParam client;
    ASSERT_EQ(0, client.Connect());

    const PortReply exchange = client.Exchange(kRequestCommand, KillPayload("1"), 65536);

    EXPECT_EQ(100u, exchange.length);
    EXPECT_EQ(kAccepted, exchange.bytes);
}

TYPED_TEST(EndToEndPortTest, StrangerIsRefused) {
    this->Run();
    TypeParam client;

    EXPECT_EQ(NtApi::kStatusPortConnectionRefused, client.Connect("Stranger"));

    this->Await("error transport=");
}

TYPED_TEST(EndToEndPortTest, ClientThatGoesIsNoticed) {
    this->Run();
    {
        TypeParam client;
        ASSERT_EQ(0, client.Connect());
        this->Await("connect");
    }

    EXPECT_EQ("client", this->Field(this->Await("disconnect"), "by"));
}

TYPED_TEST(EndToEndPortTest, ProductEndsCleanlyWithAClientConnected) {
    this->Run();
    TypeParam client;
    ASSERT_EQ(0, client.Connect());

    this->actor_->Send("quit");

    this->ExpectCleanEnd();
    EXPECT_TRUE(NtApi::IsError(client.Exchange(kPingCommand, {}, 0).status));
}

TEST_F(EndToEndTest, BlockedProgramIsNotStartedAgain) {
    Run();
    actor_->Send("start one");
    const std::string hash = Field(Await("started"), "sha256");
    CAlpcPortClient client;
    ASSERT_EQ(0, client.Connect());

    client.Exchange(
        kRequestCommand,
        XmlPayload("<TULK><MESSAGE><REQUEST FUNCTION=\"BLOCK_EXECUTABLE_BY_HASH\"><DATA>"
                   "<NODE NAME=\"HASH_SHA2_256\" TYPE=\"STRING\" VALUE=\"" +
                   hash +
                   "\" /><NODE NAME=\"DELETE\" TYPE=\"DWORD\" VALUE=\"0\" />"
                   "</DATA></REQUEST></MESSAGE></TULK>"),
        65536);
    Await("did action=block");
    actor_->Send("start two");

    Await("error command=start text=blocked");

    // On Windows the victim would outlive a product that is ended by force.
    actor_->Send("quit");
    ExpectCleanEnd();
}

TEST_F(EndToEndTest, LongReplyWithoutItsViewOnlyAnnouncesIt) {
    Run({"--misbehave=view-missing"});
    CAlpcPortClient client;
    ASSERT_EQ(0, client.Connect());

    const PortReply exchange = client.Exchange(kRequestCommand, KillPayload("1"), 65536);

    EXPECT_EQ(65488u, exchange.length);
    EXPECT_FALSE(client.CameWithView());
}

TEST_F(EndToEndTest, SmallViewIsOneByteShort) {
    Run({"--misbehave=view-small"});
    CAlpcPortClient client;
    ASSERT_EQ(0, client.Connect());

    const PortReply exchange = client.Exchange(kRequestCommand, KillPayload("1"), 65536);

    EXPECT_EQ(65488u, exchange.length);
    EXPECT_TRUE(client.CameWithView());
    EXPECT_EQ(65487u, exchange.bytes.size());
}

TEST_F(EndToEndTest, LegacyReplyBeyondTheCapacityIsCutInTheBuffer) {
    Run({"--misbehave=oversized 70000"});
    CLpcPortClient client;
    ASSERT_EQ(0, client.Connect());

    const PortReply exchange = client.Exchange(kRequestCommand, KillPayload("1"), 65536);

    EXPECT_EQ(70000u, exchange.length);
    EXPECT_EQ(65536u, exchange.bytes.size());
}

TEST_F(EndToEndTest, AbsentPortIsUnknownByName) {
    Run({"--misbehave=no-alpc"});
    CAlpcPortClient alpc;
    CLpcPortClient lpc;

    EXPECT_EQ(NtApi::kStatusObjectNameNotFound, alpc.Connect());
    EXPECT_EQ(0, lpc.Connect());
}

TEST_F(EndToEndTest, PortCanBeClosedAndOpenedWhileTheProductRuns) {
    Run();
    CLpcPortClient before;
    ASSERT_EQ(0, before.Connect());

    actor_->Send("misbehave no-lpc");
    Await("answer command=misbehave faults=1");
    CLpcPortClient meanwhile;
    EXPECT_EQ(NtApi::kStatusObjectNameNotFound, meanwhile.Connect());
    EXPECT_TRUE(NtApi::IsError(before.Exchange(kPingCommand, {}, 0).status));

    actor_->Send("misbehave clear");
    Await("answer command=misbehave faults=0");
    CLpcPortClient after;
    EXPECT_EQ(0, after.Connect());
}

TEST_F(EndToEndTest, QuitEndsLabProcessesToo) {
    Run();
    const std::string pid = StartVictim();

    actor_->Send("quit");

    EXPECT_EQ("product", Field(Await("ended pid=" + pid), "by"));
    ExpectCleanEnd();
}

TEST_F(EndToEndTest, SecondProductIsRefusedAndLeavesTheFirstOnesAreaAlone) {
    Run();
    const std::string pid = Field(actor_->EventAt(0).line, "pid");
    Command("broadcast index=2 value=5");
    Runner::CActor second("second", KYR_SIMPRODUCT, {}, {},
                          [](const std::string&, const TimedLine&) {});

    EXPECT_EQ(1, second.AwaitEnd(kPatience));
    EXPECT_EQ("another product serves in " + directory_.Path() + ": process " + pid,
              Field(second.EventAt(0).line, "text"));
    EXPECT_EQ("5", Field(Command("broadcast"), "2"));
}

TEST_F(EndToEndTest, UnknownOptionIsRefused) {
    Runner::CActor product("product", KYR_SIMPRODUCT, {"--unknown"}, {},
                           [](const std::string&, const TimedLine&) {});

    EXPECT_EQ(2, product.AwaitEnd(kPatience));
}

TEST_F(EndToEndTest, UnknownFaultIsRefused) {
    Runner::CActor product("product", KYR_SIMPRODUCT, {"--misbehave=unknown"}, {},
                           [](const std::string&, const TimedLine&) {});

    EXPECT_EQ(2, product.AwaitEnd(kPatience));
}

TEST_F(EndToEndTest, ProductWithNothingNewHasOnlyValuesThatCountAsRead) {
    Run({"--nothing-new"});

    const CLine values = Command("broadcast");
    EXPECT_EQ("4294967295", Field(values, "2"));
    EXPECT_EQ("4294967295", Field(values, "10"));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
