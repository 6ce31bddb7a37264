#include <future>
#include <gtest/gtest.h>

#include "kelcomm/client/Buffer.h"
#include "kelcomm/ports/KelcommClientNt.h"
#include "tests/kelcomm/ports/LpcWidths.h"
#include "tests/support/VirtualSlot.h"

namespace Kyr::Test {

namespace {

template <typename Width>
class KelcommClientNtTest : public LpcClientFixture<Width> {
  protected:
    void ExpectNeitherRepeatedNorDropped() {
        EXPECT_EQ(1U, this->native_.ports.requests.size());
        EXPECT_EQ(1U, this->native_.CountLive("port"));
    }
};

TYPED_TEST_SUITE(KelcommClientNtTest, LpcWidths, LpcWidthNames);

// ---- connecting ----

TYPED_TEST(KelcommClientNtTest, FirstRequestConnects) {
    EXPECT_TRUE(this->native_.ports.connections.empty());
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Ping());
    ASSERT_EQ(1U, this->native_.ports.connections.size());
    const CScriptedPorts::Connection& connection = this->native_.ports.connections[0];
    EXPECT_EQ(u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPort", connection.name);
    EXPECT_EQ(TextBytes("KelComm ") + HexBytes("02 00 00 00"), connection.message);
    EXPECT_FALSE(connection.hasOptional);
}

TYPED_TEST(KelcommClientNtTest, ServerMayImpersonateTheClient) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->Ping();
    const NtApi::SecurityQualityOfService qos = this->native_.ports.connections.at(0).qos;
    EXPECT_EQ(12U, qos.Length);
    EXPECT_EQ(2U, qos.ImpersonationLevel);
    EXPECT_EQ(1, qos.ContextTrackingMode);
    EXPECT_EQ(0, qos.EffectiveOnly);
}

TYPED_TEST(KelcommClientNtTest, LaterRequestsUseTheSamePort) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->QueueReply(this->Reply(0, 0, {}));
    this->Ping();
    this->Ping();
    EXPECT_EQ(1U, this->native_.ports.connections.size());
}

TYPED_TEST(KelcommClientNtTest, FailedConnectIsAFailure) {
    this->native_.Fail("NtConnectPort");
    EXPECT_EQ(1U, this->Ping());
    EXPECT_TRUE(this->native_.ports.requests.empty());
}

TYPED_TEST(KelcommClientNtTest, HandleOfAFailedConnectIsClosedUnused) {
    this->native_.Fail("NtConnectPort");
    this->native_.ports.leaveHandleOnFailedConnect = true;
    EXPECT_EQ(1U, this->Ping());
    EXPECT_TRUE(this->native_.ports.requests.empty());
    EXPECT_EQ(0U, this->native_.CountLive());
}

TYPED_TEST(KelcommClientNtTest, ConnectionWithAPositiveStatusIsUsed) {
    this->native_.Fail("NtConnectPort", 1, 0, 0x103);
    this->native_.ports.leaveHandleOnFailedConnect = true;
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Ping());
    EXPECT_EQ(1U, this->native_.ports.connections.size());
}

TYPED_TEST(KelcommClientNtTest, ConnectionIsTriedAgainByTheNextRequest) {
    this->native_.Fail("NtConnectPort", 1);
    EXPECT_EQ(1U, this->Ping());
    EXPECT_EQ(1U, this->native_.ports.connections.size());
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Ping());
}

TYPED_TEST(KelcommClientNtTest, SystemWithoutLegacyPortsIsAFailure) {
    this->native_.Remove("NtConnectPort");
    EXPECT_EQ(1U, this->Ping());
}

// ---- replies ----

TYPED_TEST(KelcommClientNtTest, SmallReplyIsCopied) {
    this->QueueReply(this->Reply(0, 3, TextBytes("xyz")));
    EXPECT_EQ(0U, this->Request({}, 16));
    EXPECT_EQ(TextBytes("xyz"), this->reply_);
}

TYPED_TEST(KelcommClientNtTest, ServerCodeIsReturnedWithItsReply) {
    this->QueueReply(this->Reply(0x12345678, 3, TextBytes("xyz")));
    EXPECT_EQ(0x12345678U, this->Request({}, 16));
    EXPECT_EQ(TextBytes("xyz"), this->reply_);
}

TYPED_TEST(KelcommClientNtTest, EmptyReplyCopiesNothing) {
    this->QueueReply(this->Reply(7, 0, {}));
    EXPECT_EQ(7U, this->Request({}, 16));
    EXPECT_EQ(0U, this->replyLength_);
}

TYPED_TEST(KelcommClientNtTest, ReplyLengthPointerIsOptional) {
    this->QueueReply(this->Reply(0, 3, TextBytes("xyz")));
    char reply[4] = {};
    EXPECT_EQ(0U, this->client_->Request(0, 3, nullptr, 0, reply, 3, nullptr, 0));
    EXPECT_STREQ("xyz", reply);
}

TYPED_TEST(KelcommClientNtTest, ReplyLongerThanTheCapacityIsAFailure) {
    this->QueueReply(this->Reply(0, 4, TextBytes("wxyz")));
    EXPECT_EQ(1U, this->Request({}, 3));
    EXPECT_EQ(this->kUntouchedLength, this->replyLength_);
    EXPECT_EQ(Bytes(3, 0xEE), this->reply_);
    this->ExpectNeitherRepeatedNorDropped();
}

TYPED_TEST(KelcommClientNtTest, PingAnsweredWithBytesIsAFailure) {
    this->QueueReply(this->Reply(0, 1, TextBytes("x")));
    EXPECT_EQ(1U, this->Ping());
}

TYPED_TEST(KelcommClientNtTest, LongestInlineReplyIsCopiedFromTheMessage) {
    const Bytes bytes(TypeParam::kSmallReply, 'r');
    this->QueueReply(this->Reply(0, TypeParam::kSmallReply, bytes));
    EXPECT_EQ(0U, this->Request({}, TypeParam::kSmallReply + 100));
    EXPECT_EQ(bytes, this->reply_);
}

TYPED_TEST(KelcommClientNtTest, LongerReplyHasBeenWrittenByTheServer) {
    const std::uint32_t length = TypeParam::kSmallReply + 1;
    CScriptedPorts::Answer answer;
    answer.reply = this->Reply(0, length, {});
    answer.action = [this](const CScriptedPorts::Sent&) {
        std::fill(this->reply_.begin(), this->reply_.end(), std::uint8_t{'s'});
    };
    this->native_.ports.Queue(answer);
    EXPECT_EQ(0U, this->Request({}, length));
    EXPECT_EQ(Bytes(length, 's'), this->reply_);
}

TYPED_TEST(KelcommClientNtTest, ReplyWithLessThanEightDataBytesIsAFailure) {
    this->QueueReply(this->Reply(0, 0, {}, 7));
    EXPECT_EQ(1U, this->Request({}, 16));
    this->ExpectNeitherRepeatedNorDropped();
}

TYPED_TEST(KelcommClientNtTest, ReplyOfEightDataBytesIsAnEmptyOne) {
    this->QueueReply(this->Reply(0, 0, {}, 8));
    EXPECT_EQ(0U, this->Request({}, 16));
    EXPECT_EQ(0U, this->replyLength_);
}

TYPED_TEST(KelcommClientNtTest, SuccessThatWroteNothingIsAnEmptyReply) {
    this->QueueStatus(0);
    EXPECT_EQ(0U, this->Request({}, 16));
    EXPECT_EQ(0U, this->replyLength_);
}

TYPED_TEST(KelcommClientNtTest, ReplyForAMissingBufferIsAFailure) {
    this->QueueReply(this->Reply(0, 3, TextBytes("xyz")));
    EXPECT_EQ(1U, this->client_->Request(0, 3, nullptr, 0, nullptr, 16, nullptr, 0));
}

TYPED_TEST(KelcommClientNtTest, ReplyThatEndsBeforeItsBytesIsAFailure) {
    this->QueueReply(this->Reply(0, 4, TextBytes("wxy")));
    EXPECT_EQ(1U, this->Request({}, 16));
    EXPECT_EQ(Bytes(16, 0xEE), this->reply_);
}

// ---- failures, dropping the port and repeating ----

TYPED_TEST(KelcommClientNtTest, FailedExchangeReconnectsAndRepeatsOnce) {
    CScriptedPorts::Answer failure;
    failure.status = kPortDisconnected;
    failure.reply = this->Reply(9, 2, TextBytes("no"));  // must not reach the second exchange
    this->native_.ports.Queue(failure);
    this->QueueReply(this->Reply(0, 3, TextBytes("xyz")));
    EXPECT_EQ(0U, this->Request(TextBytes("abc"), 16));
    EXPECT_EQ(TextBytes("xyz"), this->reply_);
    ASSERT_EQ(2U, this->native_.ports.requests.size());
    EXPECT_EQ(this->native_.ports.requests[0].message, this->native_.ports.requests[1].message);
    EXPECT_EQ(this->native_.ports.requests[0].announced, this->native_.ports.requests[1].announced);
    EXPECT_NE(this->native_.ports.requests[0].port, this->native_.ports.requests[1].port);
    EXPECT_EQ(1U, this->native_.CountLive("port"));
}

TYPED_TEST(KelcommClientNtTest, SecondFailureIsFinalAndDropsThePort) {
    this->QueueStatus(kPortDisconnected);
    this->QueueStatus(kPortDisconnected);
    EXPECT_EQ(1U, this->Request({}, 16));
    EXPECT_EQ(2U, this->native_.ports.requests.size());
    EXPECT_EQ(0U, this->native_.CountLive("port"));
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Ping());
    EXPECT_EQ(3U, this->native_.ports.connections.size());
}

TYPED_TEST(KelcommClientNtTest, FailedReconnectIsAFailure) {
    this->native_.Fail("NtConnectPort", 1, 1);
    this->QueueStatus(kPortDisconnected);
    EXPECT_EQ(1U, this->Request({}, 16));
    EXPECT_EQ(1U, this->native_.ports.requests.size());
    EXPECT_EQ(0U, this->native_.CountLive("port"));
}

TYPED_TEST(KelcommClientNtTest, InvalidParameterIsNotRepeatedAndKeepsThePort) {
    this->QueueStatus(kInvalidParameter);
    EXPECT_EQ(1U, this->Request({}, 16));
    this->ExpectNeitherRepeatedNorDropped();
}

TYPED_TEST(KelcommClientNtTest, InvalidParameterOfTheRepeatKeepsTheNewPort) {
    this->QueueStatus(kPortDisconnected);
    this->QueueStatus(kInvalidParameter);
    EXPECT_EQ(1U, this->Request({}, 16));
    EXPECT_EQ(2U, this->native_.ports.requests.size());
    EXPECT_EQ(1U, this->native_.CountLive("port"));
}

TYPED_TEST(KelcommClientNtTest, BroadcastCanBeReadDuringAnExchange) {
    CScriptedPorts::Answer answer;
    answer.reply = this->Reply(0, 0, {});
    answer.action = [this](const CScriptedPorts::Sent&) {
        std::uint32_t value = 0;
        EXPECT_EQ(1U, this->client_->ReadBroadcastValue(0, &value));  // there is no area
    };
    this->native_.Fail("OpenMutexW");
    this->native_.ports.Queue(answer);
    EXPECT_EQ(0U, this->Ping());
}

TYPED_TEST(KelcommClientNtTest, PositiveStatusIsASuccess) {
    CScriptedPorts::Answer answer;
    answer.status = 0x102;
    answer.reply = this->Reply(0, 0, {});
    this->native_.ports.Queue(answer);
    EXPECT_EQ(0U, this->Ping());
}

// ---- one-way requests ----

TYPED_TEST(KelcommClientNtTest, OneWayRequestWaitsForNoReply) {
    EXPECT_EQ(0U, this->Request(TextBytes("abc"), 16, 1));
    EXPECT_EQ(1U, this->native_.ports.oneWays.size());
    EXPECT_TRUE(this->native_.ports.requests.empty());
    EXPECT_EQ(this->kUntouchedLength, this->replyLength_);
}

TYPED_TEST(KelcommClientNtTest, OneWayWithAPositiveStatusIsASuccess) {
    this->native_.Fail("NtRequestPort", 1, 0, 0x103);
    EXPECT_EQ(0U, this->Request({}, 0, 1));
    EXPECT_EQ(1U, this->native_.ports.oneWays.size());
}

TYPED_TEST(KelcommClientNtTest, FailedOneWayReconnectsAndRepeatsOnce) {
    this->native_.Fail("NtRequestPort", 1);
    EXPECT_EQ(0U, this->Request({}, 0, 1));
    EXPECT_EQ(2U, this->native_.ports.oneWays.size());
    EXPECT_EQ(2U, this->native_.ports.connections.size());
}

TYPED_TEST(KelcommClientNtTest, OneWayFailingTwiceIsAFailure) {
    this->native_.Fail("NtRequestPort");
    EXPECT_EQ(1U, this->Request({}, 0, 1));
    EXPECT_EQ(2U, this->native_.ports.oneWays.size());
    EXPECT_EQ(0U, this->native_.CountLive("port"));
}

TYPED_TEST(KelcommClientNtTest, OneWayWithFailedReconnectIsAFailure) {
    this->native_.Fail("NtRequestPort");
    this->native_.Fail("NtConnectPort", 1, 1);
    EXPECT_EQ(1U, this->Request({}, 0, 1));
    EXPECT_EQ(1U, this->native_.ports.oneWays.size());
}

TYPED_TEST(KelcommClientNtTest, OneWayInvalidParameterIsNotRepeated) {
    this->native_.Fail("NtRequestPort", CScriptedNative::kAlways, 0, kInvalidParameter);
    EXPECT_EQ(1U, this->Request({}, 0, 1));
    EXPECT_EQ(1U, this->native_.ports.oneWays.size());
    EXPECT_EQ(1U, this->native_.CountLive("port"));
}

TYPED_TEST(KelcommClientNtTest, LargeOneWayRequestIsAnExchange) {
    // Data entries can only be read while the sender waits.
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Request(Bytes(TypeParam::kSmallPayload + 1), 16, 1));
    EXPECT_EQ(1U, this->native_.ports.requests.size());
    EXPECT_EQ(this->kUntouchedLength, this->replyLength_);
}

// ---- arguments and life cycle ----

TYPED_TEST(KelcommClientNtTest, TimeoutIsAnInvalidArgument) {
    EXPECT_EQ(10U, this->Request({}, 16, 0, -10000));
    EXPECT_EQ(10U, this->Request({}, 16, 0, 1));
    EXPECT_TRUE(this->native_.ports.requests.empty());
    EXPECT_EQ(1U, this->native_.ports.connections.size());
}

TYPED_TEST(KelcommClientNtTest, TimeoutIsLookedAtAfterConnecting) {
    this->native_.Fail("NtConnectPort");
    EXPECT_EQ(1U, this->Request({}, 16, 0, -10000));
}

TYPED_TEST(KelcommClientNtTest, GrowableRepliesAreNotProvided) {
    Kelcomm::CBuffer buffer;
    EXPECT_EQ(1U, this->client_->RequestToBuffer(0, 3, nullptr, 0, &buffer, 0));
    EXPECT_TRUE(this->native_.ports.connections.empty());
}

TYPED_TEST(KelcommClientNtTest, UninitializeIsNotProvidedAndChangesNothing) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->Ping();
    EXPECT_EQ(3U, this->client_->Uninitialize());
    EXPECT_EQ(1U, this->native_.CountLive("port"));
}

TYPED_TEST(KelcommClientNtTest, OptionsOtherThanPumpingMeanNothing) {
    EXPECT_EQ(0U, this->client_->Initialize(0x31564B51, 0x61564B51, 0xFFFFFFFD));
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Ping());
    EXPECT_EQ(0U, this->native_.CountCalls("CreateEventW"));
}

TYPED_TEST(KelcommClientNtTest, CloseClosesThePortAndKeepsTheIds) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->Ping();
    EXPECT_EQ(0U, this->client_->Close());
    EXPECT_EQ(0U, this->native_.CountLive());
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Ping());
    EXPECT_EQ(this->native_.ports.connections.at(0).name,
              this->native_.ports.connections.at(1).name);
}

TYPED_TEST(KelcommClientNtTest, InitializeClosesAndTakesNewIds) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->Ping();
    EXPECT_EQ(0U, this->client_->Initialize(1, 2, 0));
    EXPECT_EQ(0U, this->native_.CountLive());
    this->QueueReply(this->Reply(0, 0, {}));
    this->Ping();
    EXPECT_EQ(u"\\BaseNamedObjects\\KELCOMM00000001To00000002CommPort",
              this->native_.ports.connections.at(1).name);
}

TYPED_TEST(KelcommClientNtTest, DestructorClosesThePort) {
    {
        Kelcomm::CKelcommClientNt<typename TypeParam::Word> other(this->native_.GetFunctions());
        this->QueueReply(this->Reply(0, 0, {}));
        EXPECT_EQ(0U, other.Request(0, 0, nullptr, 0, nullptr, 0, nullptr, 0));
        EXPECT_EQ(1U, this->native_.CountLive());
    }
    EXPECT_EQ(0U, this->native_.CountLive());
}

// ---- what is done in which order, and under which lock ----

TYPED_TEST(KelcommClientNtTest, CloseClosesThePortBeforeTheArea) {
    this->ProvideEmptyArea();
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Ping());
    EXPECT_EQ(0U, this->client_->ReadBroadcast(0, nullptr, 0));
    EXPECT_EQ(std::vector<std::string>({"port", "mapped area", "mapping", "mutex"}),
              this->GivenBackBy([this] { this->client_->Close(); }));
}

TYPED_TEST(KelcommClientNtTest, DestructionClosesThePortBeforeTheAreaToo) {
    this->ProvideEmptyArea();
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Ping());
    EXPECT_EQ(0U, this->client_->ReadBroadcast(0, nullptr, 0));
    EXPECT_EQ(std::vector<std::string>({"port", "mapped area", "mapping", "mutex"}),
              this->GivenBackBy([this] { this->client_.reset(); }));
    this->client_ = std::make_unique<Kelcomm::CKelcommClientNt<typename TypeParam::Word>>(
        this->native_.GetFunctions());
}

/// The critical section of a client, which only its own class can name.
class CCriticalSection : public Kelcomm::CKelcommCommonNt {
  public:
    static bool IsHeld(Kelcomm::CKelcommCommonNt& client) {
        Base::CMutex& section = client.*(&CCriticalSection::criticalSection_);
        // On a thread of its own: the owner must not ask.
        return std::async(std::launch::async,
                          [&section] {
                              if (!section.TryLock()) {
                                  return true;
                              }
                              section.Unlock();
                              return false;
                          })
            .get();
    }
};

template <typename Width>
class KelcommClientNtLockTest : public KelcommClientNtTest<Width> {
  protected:
    KelcommClientNtLockTest() {
        this->native_.OnCall([this](const std::string& function) {
            if (function == function_) {
                held_.push_back(CCriticalSection::IsHeld(
                    static_cast<Kelcomm::CKelcommClientNt<typename Width::Word>&>(*this->client_)));
            }
        });
    }
    std::string function_;    // that is watched
    std::vector<bool> held_;  // the critical section, at each of its calls
};

TYPED_TEST_SUITE(KelcommClientNtLockTest, LpcWidths, LpcWidthNames);

TYPED_TEST(KelcommClientNtLockTest, ConnectingHoldsTheCriticalSection) {
    this->function_ = "NtConnectPort";
    this->QueueStatus(kPortDisconnected);
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Ping());
    EXPECT_EQ(std::vector<bool>({true, true}), this->held_);
}

TYPED_TEST(KelcommClientNtLockTest, ClosingThePortHoldsTheCriticalSection) {
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Ping());
    this->function_ = "CloseHandle";
    this->client_->Close();
    EXPECT_EQ(std::vector<bool>({true}), this->held_);
}

TYPED_TEST(KelcommClientNtLockTest, DroppingThePortHoldsTheCriticalSection) {
    this->QueueStatus(kPortDisconnected);
    this->QueueStatus(kPortDisconnected);
    this->function_ = "CloseHandle";
    EXPECT_EQ(1U, this->Ping());
    EXPECT_EQ(std::vector<bool>({true, true}), this->held_);
}

TYPED_TEST(KelcommClientNtLockTest, ExchangesRunOutsideTheCriticalSection) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->function_ = "NtRequestWaitReplyPort";
    EXPECT_EQ(0U, this->Ping());
    EXPECT_EQ(std::vector<bool>({false}), this->held_);
    this->function_ = "NtRequestPort";
    EXPECT_EQ(0U, this->Request({}, 0, 1));
    EXPECT_EQ(std::vector<bool>({false, false}), this->held_);
}

// ---- the factory ----

class CreateKelcommClientNtTest : public ClientFixture {
  protected:
    void Create() { client_ = Kelcomm::CreateKelcommClientNt(native_.GetFunctions()); }
    bool Uses64BitStructures() {
        return dynamic_cast<Kelcomm::CKelcommClientNt<std::uint64_t>*>(client_.get()) != nullptr;
    }
    bool Uses32BitStructures() {
        return dynamic_cast<Kelcomm::CKelcommClientNt<std::uint32_t>*>(client_.get()) != nullptr;
    }
};

TEST_F(CreateKelcommClientNtTest, ProcessOnA64BitSystemUses64BitStructures) {
    native_.process.isWow64 = true;
    Create();
    EXPECT_TRUE(Uses64BitStructures());
}

TEST_F(CreateKelcommClientNtTest, ProcessOnA32BitSystemUses32BitStructures) {
    Create();
    EXPECT_TRUE(Uses32BitStructures());
}

TEST_F(CreateKelcommClientNtTest, UnknownSystemUses32BitStructures) {
    native_.process.isWow64 = true;
    native_.Fail("IsWow64Process");
    Create();
    EXPECT_TRUE(Uses32BitStructures());
}

TEST_F(CreateKelcommClientNtTest, SystemWithoutTheQuestionUses32BitStructures) {
    native_.process.isWow64 = true;
    native_.Remove("IsWow64Process");
    Create();
    EXPECT_TRUE(Uses32BitStructures());
}

TEST_F(CreateKelcommClientNtTest, ClientHasTheModulesIds) {
    Create();
    QueueReply(ReceivedMessage(24, 0, 0, {}));
    EXPECT_EQ(0U, Ping());
    EXPECT_EQ(u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPort",
              native_.ports.connections.at(0).name);
}

TEST_F(CreateKelcommClientNtTest, ClientHasNoOptions) {
    Create();
    QueueReply(ReceivedMessage(24, 0, 0, {}));
    EXPECT_EQ(0U, Ping());
    EXPECT_EQ(0U, native_.CountCalls("CreateEventW"));  // no pool for window messages
}

TEST(IKelcommClientTest, SlotsStandInTheirOrder) {
    using Kelcomm::IKelcommClient;
    EXPECT_EQ(1, VirtualSlot(&IKelcommClient::Initialize));
    EXPECT_EQ(2, VirtualSlot(&IKelcommClient::Uninitialize));
    EXPECT_EQ(3, VirtualSlot(&IKelcommClient::Close));
    EXPECT_EQ(4, VirtualSlot(&IKelcommClient::RequestToBuffer));
    EXPECT_EQ(5, VirtualSlot(&IKelcommClient::Request));
    EXPECT_EQ(6, VirtualSlot(&IKelcommClient::ReadBroadcast));
    EXPECT_EQ(7, VirtualSlot(&IKelcommClient::ReadBroadcastValue));
}

}  // namespace

}  // namespace Kyr::Test
