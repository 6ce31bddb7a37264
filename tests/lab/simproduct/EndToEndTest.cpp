// The program with one of the connector's clients on its ports.
#include "tests/lab/simproduct/EndToEndTest.h"

#include <future>

#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/ports/KelcommAlpcClient.h"
#include "kelcomm/ports/KelcommClientNt.h"
#include "lab/simproduct/ports/PortServer.h"
#include "ntapi/Status.h"
#include "portlayer/ClientFunctions.h"
#include "tests/kelcomm/native/LayerFunctions.h"
#include "tests/lab/simproduct/Requests.h"

namespace Kyr::Lab::SimProduct {
namespace {

namespace Kelcomm = Connectors::Common::Kelcomm;

struct Closing {
    void operator()(Kelcomm::IKelcommClient* client) const {
        client->Close();
        delete client;
    }
};
using ClientPointer = std::unique_ptr<Kelcomm::IKelcommClient, Closing>;

const Bytes kAccepted = Test::HexBytes("0C 00 00 00 00 00 00 00 00 00 00 00");

struct LegacyPort {
    static constexpr const char* kName = "Lpc";
    static constexpr char kAbsent[] = "no-lpc";
    // What a client says when it connects and pings, written down from the protocol. Of the ping:
    // command, flags, reply capacity.
    static constexpr char kConnect[] = "4b656c436f6d6d2002000000";
    static constexpr char kPing[] = "000000000000000000000000";
    static ClientPointer Client() {
        return ClientPointer(Kelcomm::CreateKelcommClientNt(Test::LayerFunctions()).release());
    }
};

struct AdvancedPort {
    static constexpr const char* kName = "Alpc";
    static constexpr char kAbsent[] = "no-alpc";
    // Of the ping: command, whether a reply may have any length, request length, reply capacity.
    static constexpr char kConnect[] = "4b656c436f6d6d2002000000cfff0000";
    static constexpr char kPing[] = "00000000000000000000000000000000";
    static ClientPointer Client() {
        ClientPointer client(new Kelcomm::CKelcommAlpcClient(Test::LayerFunctions()));
        client->Initialize(Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId, 0);
        return client;
    }
};

/// A result code, of the product or of the client, and what came with it.
struct Answered {
    std::uint32_t code;
    Bytes bytes;
};

Answered Ask(Kelcomm::IKelcommClient& client, const Bytes& payload, std::uint32_t capacity = 65536,
             std::uint32_t flags = 0) {
    Answered answered{0, Bytes(capacity)};
    std::uint32_t length = 0;
    answered.code = client.Request(flags, kRequestCommand, payload.data(),
                                   static_cast<std::uint32_t>(payload.size()),
                                   answered.bytes.data(), capacity, &length, 0);
    answered.bytes.resize(length);
    return answered;
}

/// What holds on both ports alike.
template <typename Port>
class EndToEndPortTest : public EndToEndTest {
  protected:
    ClientPointer client_ = Port::Client();
};

struct PortNames {
    template <typename Port>
    static std::string GetName(int) {
        return Port::kName;
    }
};
using BothPorts = ::testing::Types<LegacyPort, AdvancedPort>;
TYPED_TEST_SUITE(EndToEndPortTest, BothPorts, PortNames);

TYPED_TEST(EndToEndPortTest, ConnectAndPingAreToldAsTheyCameWhenThatIsAskedFor) {
    for (const bool asked : {true, false}) {
        this->Run(asked ? std::vector<std::string>{"--native"} : std::vector<std::string>{});
        const ClientPointer client = TypeParam::Client();
        EXPECT_EQ(0u, client->Request(0, kPingCommand, nullptr, 0, nullptr, 0, nullptr, 0));
        this->Await("reply");

        std::vector<std::string> native;
        for (std::size_t event = 0; event < this->next_; ++event) {
            const CLine line = this->actor_->EventAt(event).line;
            if (line.Kind() == "native") {
                native.push_back(line.Value("message") + " " + line.Value("bytes"));
            }
        }
        const std::vector<std::string> told{std::string("connect ") + TypeParam::kConnect,
                                            std::string("ping ") + TypeParam::kPing};
        EXPECT_EQ(asked ? told : std::vector<std::string>(), native);
    }
}

TYPED_TEST(EndToEndPortTest, OneWayKillEndsTheVictim) {
    this->Run();
    const std::string pid = this->StartVictim();

    EXPECT_EQ(0u, Ask(*this->client_, KillPayload(pid), 0, Kelcomm::kKelcommOneWay).code);

    this->Await("did action=kill pid=" + pid + " outcome=done");
    this->Await("ended pid=" + pid + " name=one by=kill-request");
    EXPECT_EQ("done", this->Field(this->Command("tasklog"), "state"));
}

TYPED_TEST(EndToEndPortTest, LongRequestAndLongReplyArriveWhole) {
    this->Run({"--misbehave=oversized 200000"});
    Bytes payload = KillPayload("1");
    payload.resize(150000, ' ');  // blanks behind the document

    const Answered answered = Ask(*this->client_, payload, 200000);

    this->Await("request id=1");
    this->Await("did action=kill pid=1 outcome=refused");
    EXPECT_EQ(0u, answered.code);
    ASSERT_EQ(200000u, answered.bytes.size());
    EXPECT_EQ(kAccepted, Bytes(answered.bytes.begin(), answered.bytes.begin() + 12));
}

TYPED_TEST(EndToEndPortTest, ProductEndsCleanlyWhileAClientWaits) {
    for (const char* fault : {"hang", "delay 3600000"}) {
        SCOPED_TRACE(fault);
        this->Run({std::string("--misbehave=") + fault});
        const ClientPointer client = TypeParam::Client();
        auto waiting =
            std::async(std::launch::async, [&] { return Ask(*client, KillPayload("1")).code; });
        this->Await("request id=1");

        this->actor_->Send("quit");

        this->ExpectCleanEnd();
        waiting.wait();
    }
}

TYPED_TEST(EndToEndPortTest, ClientThatGoesIsNoticed) {
    this->Run();
    EXPECT_EQ(kAccepted, Ask(*this->client_, KillPayload("1")).bytes);
    this->client_->Close();

    EXPECT_EQ("client", this->Field(this->Await("disconnect"), "by"));
}

TYPED_TEST(EndToEndPortTest, PortCanBeClosedAndOpenedWhileTheProductRuns) {
    this->Run();
    EXPECT_EQ(kAccepted, Ask(*this->client_, KillPayload("1")).bytes);

    this->Misbehave(TypeParam::kAbsent);
    EXPECT_NE(0u, Ask(*this->client_, KillPayload("1")).code);

    this->Misbehave("clear");
    EXPECT_EQ(kAccepted, Ask(*TypeParam::Client(), KillPayload("1")).bytes);
}

TEST_F(EndToEndTest, LongReplyWhoseViewIsMissingOrSmallIsNoReply) {
    for (const char* fault : {"view-missing", "view-small"}) {
        SCOPED_TRACE(fault);
        Run();
        const ClientPointer client = AdvancedPort::Client();
        Misbehave("oversized 65488");
        EXPECT_EQ(65488u, Ask(*client, KillPayload("1")).bytes.size());
        Misbehave("clear");
        Misbehave(fault);
        EXPECT_EQ(Kelcomm::kKelcommFailure, Ask(*client, KillPayload("1")).code);
    }
}

TEST_F(EndToEndTest, StrangersAreRefused) {
    Run();
    NtApi::Handle port = nullptr;
    NtApi::UnicodeString lpc;
    NtApi::UnicodeString alpc;
    PortLayer::RtlInitUnicodeString(&lpc, kLpcPortName);
    PortLayer::RtlInitUnicodeString(&alpc, kAlpcPortName);

    EXPECT_EQ(NtApi::kStatusPortConnectionRefused,
              PortLayer::NtConnectPort(&port, &lpc, nullptr, nullptr, nullptr, nullptr, nullptr,
                                       nullptr));
    Await("error transport=lpc text=\"a stranger was refused\"");
    EXPECT_EQ(NtApi::kStatusPortConnectionRefused,
              PortLayer::NtAlpcConnectPort(&port, &alpc, nullptr, nullptr, 0x20000, nullptr,
                                           nullptr, nullptr, nullptr, nullptr, nullptr));
    Await("error transport=alpc text=\"a stranger was refused\"");
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

TEST_F(EndToEndTest, UnknownFaultIsRefused) {
    Runner::CActor product("product", KYR_SIMPRODUCT, {"--misbehave=unknown"}, {},
                           [](const std::string&, const TimedLine&) {});

    EXPECT_EQ(2, product.AwaitEnd(kPatience));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
