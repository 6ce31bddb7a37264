// The clients over real ports: a server thread of the test behind the port layer's functions, no
// scripted answer anywhere.
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

#include "base/LittleEndian.h"
#include "kelcomm/client/Buffer.h"
#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/client/KelcommNames.h"
#include "kelcomm/ports/KelcommAlpcClient.h"
#include "kelcomm/ports/KelcommClientNt.h"
#include "ntapi/PortMessage.h"
#include "ntapi/Status.h"
#include "portlayer/LiveCounters.h"
#include "portlayer/ServerFunctions.h"
#include "tests/kelcomm/native/LayerFunctions.h"
#include "tests/support/HexBytes.h"
#include "tests/support/system/RunDirectory.h"

namespace Kyr::Test {

namespace {

namespace Kelcomm = Connectors::Common::Kelcomm;
namespace Layer = PortLayer;
using Base::LoadLittleEndian;
using Base::StoreLittleEndian;
using NtApi::Handle;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kEcho = 3;  // answers the request's bytes

/// Serves one port on a thread of its own until it is stopped.
class CServer {
  public:
    virtual ~CServer() = default;
    void Stop() {
        Layer::NtClose(port_);
        thread_.join();
        for (const Handle client : clients_) {
            Layer::NtClose(client);
        }
    }

  protected:
    NtApi::ObjectAttributes* Attributes(const Kelcomm::ObjectName& name) {
        name_ = name;
        Layer::RtlInitUnicodeString(&counted_, name_.data());
        attributes_ = {sizeof(attributes_), nullptr, &counted_, 0, nullptr, nullptr};
        return &attributes_;
    }
    static std::uint16_t Kind(const std::uint8_t* message) {
        return LoadLittleEndian<std::uint16_t>(message + NtApi::kTypeOffset) &
               NtApi::kMessageKindMask;
    }
    /// Turns a received message into a reply with this result and these bytes.
    static void MakeReply(std::uint8_t* message, std::size_t header, std::uint32_t result,
                          std::uint32_t length, const Bytes& bytes) {
        const auto dataLength = static_cast<std::uint16_t>(8 + bytes.size());
        StoreLittleEndian(message, dataLength);
        StoreLittleEndian(message + 2, static_cast<std::uint16_t>(header + dataLength));
        StoreLittleEndian<std::uint32_t>(message + 4, 0);
        StoreLittleEndian(message + header, result);
        StoreLittleEndian(message + header + 4, length);
        std::copy(bytes.begin(), bytes.end(), message + header + 8);
    }

    Handle port_ = nullptr;
    std::thread thread_;
    std::vector<Handle> clients_;

  private:
    Kelcomm::ObjectName name_;
    NtApi::UnicodeString counted_;
    NtApi::ObjectAttributes attributes_;
};

template <typename Word>
class CLpcServer : public CServer {
  public:
    using Structs = Kelcomm::CKelcommStructsNt<Word>;
    using Message = typename Structs::Message;
    CLpcServer() {
        EXPECT_EQ(0, Layer::NtCreatePort(&port_,
                                         Attributes(Kelcomm::LpcPortName(
                                             Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId)),
                                         260, sizeof(Message), 0));
        thread_ = std::thread([this] { Run(); });
    }

  private:
    void Run() {
        Message message;
        while (Layer::NtReplyWaitReceivePort(port_, nullptr, nullptr, message.bytes) == 0) {
            if (Kind(message.bytes) == NtApi::kLpcConnectionRequest) {
                Handle client = nullptr;
                Layer::NtAcceptConnectPort(&client, nullptr, message.bytes, 1, nullptr, nullptr);
                Layer::NtCompleteConnectPort(client);
                clients_.push_back(client);
            } else if (Kind(message.bytes) == NtApi::kLpcRequest) {
                Answer(message);
            }
        }
    }
    void Answer(Message& message) {
        std::uint8_t* const bytes = message.bytes;
        const auto command = LoadLittleEndian<std::uint32_t>(bytes + Structs::kCommand);
        const std::size_t end = LoadLittleEndian<std::uint16_t>(bytes + 2);
        Bytes request(bytes + Structs::kSmallPayload, bytes + end);
        if (LoadLittleEndian<std::uint16_t>(bytes + NtApi::kDataInfoOffset) != 0) {
            request.assign(bytes + Structs::kLargePayload, bytes + end);
            const auto length = LoadLittleEndian<std::uint32_t>(bytes + Structs::kRequestEntry +
                                                                Structs::Port::kDataEntryLength);
            if (length != 0) {
                request.resize(length);
                EXPECT_EQ(
                    0, Layer::NtReadRequestData(port_, bytes, 0, request.data(), length, nullptr));
            }
        }
        const auto length = static_cast<std::uint32_t>(request.size());
        if (length > Structs::kMaxSmallReply) {
            EXPECT_EQ(0,
                      Layer::NtWriteRequestData(port_, bytes, 1, request.data(), length, nullptr));
            request.clear();
        }
        MakeReply(bytes, Structs::Port::kHeaderSize, command == kEcho ? 0 : command, length,
                  request);
        EXPECT_EQ(0, Layer::NtReplyPort(port_, bytes));
    }
};

class CAlpcServer : public CServer {
  public:
    CAlpcServer() {
        NtApi::AlpcPortAttributes attributes{};
        attributes.MaxMessageLength = NtApi::kAlpcMaxMessage;
        EXPECT_EQ(
            0, Layer::NtAlpcCreatePort(&port_,
                                       Attributes(Kelcomm::AlpcPortName(Kelcomm::kKelcommClientId,
                                                                        Kelcomm::kKelcommServerId)),
                                       &attributes));
        thread_ = std::thread([this] { Run(); });
    }

  private:
    struct Attribute {
        NtApi::AlpcMessageAttributes head{NtApi::kAlpcMessageViewAttribute, 0};
        NtApi::AlpcDataViewAttr view{};
    };
    void Run() {
        Bytes buffer(NtApi::kAlpcMaxMessage);
        std::uint8_t* const message = buffer.data();
        for (;;) {
            Attribute received;
            std::size_t length = buffer.size();
            if (Layer::NtAlpcSendWaitReceivePort(port_, 0, nullptr, nullptr, message, &length,
                                                 &received.head, nullptr) != 0) {
                return;
            }
            if (Kind(message) == NtApi::kLpcConnectionRequest) {
                Handle client = nullptr;
                EXPECT_EQ(0, Layer::NtAlpcAcceptConnectPort(&client, port_, 0, nullptr, nullptr,
                                                            nullptr, message, nullptr, 1));
                clients_.push_back(client);
            } else if (Kind(message) == NtApi::kLpcRequest) {
                Answer(message, received);
            }
        }
    }
    void Answer(std::uint8_t* message, Attribute& received) {
        const auto length = LoadLittleEndian<std::uint32_t>(message + 32);
        const std::uint8_t* source = message + 40;
        const bool hasView = received.head.ValidAttributes != 0;
        if (hasView) {
            EXPECT_GE(received.view.ViewSize, length);
            source = static_cast<const std::uint8_t*>(received.view.ViewBase);
        }
        Bytes bytes(source, source + length);
        if (hasView) {
            Layer::NtAlpcDeleteSectionView(clients_.back(), 0, received.view.ViewBase);
        }
        Attribute sent;
        const bool longReply = length > 65487;
        if (longReply) {
            MakeView(sent.view, bytes);
            sent.head.ValidAttributes = NtApi::kAlpcMessageViewAttribute;
            bytes.clear();
        }
        MakeReply(message, 24, 0, length, bytes);
        EXPECT_EQ(0, Layer::NtAlpcSendWaitReceivePort(port_, NtApi::kAlpcReleaseMessage, message,
                                                      longReply ? &sent.head : nullptr, nullptr,
                                                      nullptr, nullptr, nullptr));
        if (longReply) {
            Layer::NtAlpcDeletePortSection(clients_.back(), 0, sent.view.SectionHandle);
        }
    }
    void MakeView(NtApi::AlpcDataViewAttr& view, const Bytes& bytes) {
        std::size_t actual = 0;
        EXPECT_EQ(
            0, Layer::NtAlpcCreatePortSection(clients_.back(), NtApi::kAlpcPortSectionSecure,
                                              nullptr, bytes.size(), &view.SectionHandle, &actual));
        view.ViewSize = bytes.size();
        EXPECT_EQ(0, Layer::NtAlpcCreateSectionView(clients_.back(), 0, &view));
        std::copy(bytes.begin(), bytes.end(), static_cast<std::uint8_t*>(view.ViewBase));
        view.Flags = NtApi::kAlpcViewSecured | NtApi::kAlpcViewAutoRelease;
    }
};

struct LpcTraits {
    static constexpr const char* kName = "Lpc";
    static std::unique_ptr<Kelcomm::IKelcommClient> Client() {
        return Kelcomm::CreateKelcommClientNt(LayerFunctions());
    }
    static std::unique_ptr<CServer> Server() {
        NtApi::Bool isWow64 = 0;
        Layer::IsWow64Process(Layer::GetCurrentProcess(), &isWow64);
        if (isWow64 != 0) {
            return std::make_unique<CLpcServer<std::uint64_t>>();
        }
        return std::make_unique<CLpcServer<std::uint32_t>>();
    }
};

struct AlpcTraits {
    static constexpr const char* kName = "Alpc";
    static std::unique_ptr<Kelcomm::IKelcommClient> Client() {
        auto client = std::make_unique<Kelcomm::CKelcommAlpcClient>(LayerFunctions());
        client->Initialize(Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId, 0);
        return client;
    }
    static std::unique_ptr<CServer> Server() { return std::make_unique<CAlpcServer>(); }
};

template <typename Ports>
class PortExchangeTest : public testing::Test {
  protected:
    void SetUp() override {
        client_ = Ports::Client();
        ASSERT_NE(nullptr, client_);
    }
    void TearDown() override {
        client_->Close();
        client_.reset();
        StopServer();
        EXPECT_TRUE(Layer::ReadLiveCounters().AllZero()) << Layer::ReadLiveCounters().Text();
        EXPECT_TRUE(directory_.IsEmpty());
    }
    void StartServer() { server_ = Ports::Server(); }
    void StopServer() {
        if (server_ != nullptr) {
            server_->Stop();
            server_.reset();
        }
    }

    /// Sends bytes that differ from place to place and expects them back.
    void ExpectEcho(std::size_t length) {
        Bytes request(length);
        for (std::size_t i = 0; i < length; ++i) {
            request[i] = static_cast<std::uint8_t>(i * 31 + (i >> 8));
        }
        Bytes reply(length);
        std::uint32_t replyLength = 0;
        EXPECT_EQ(
            0U, client_->Request(0, kEcho, request.data(), static_cast<std::uint32_t>(length),
                                 reply.data(), static_cast<std::uint32_t>(length), &replyLength, 0))
            << length;
        EXPECT_EQ(length, replyLength);
        EXPECT_EQ(request, reply) << length;
    }

    CRunDirectory directory_;
    std::unique_ptr<CServer> server_;
    std::unique_ptr<Kelcomm::IKelcommClient> client_;
};

using BothPorts = testing::Types<LpcTraits, AlpcTraits>;
struct PortNames {
    template <typename Ports>
    static std::string GetName(int) {
        return Ports::kName;
    }
};
TYPED_TEST_SUITE(PortExchangeTest, BothPorts, PortNames);

TYPED_TEST(PortExchangeTest, AbsentServerIsAFailure) {
    EXPECT_EQ(1U, this->client_->Request(0, 0, nullptr, 0, nullptr, 0, nullptr, 0));
}

TYPED_TEST(PortExchangeTest, PingIsAnswered) {
    this->StartServer();
    EXPECT_EQ(0U, this->client_->Request(0, 3, nullptr, 0, nullptr, 0, nullptr, 0));
}

TYPED_TEST(PortExchangeTest, BytesComeBackAroundEverySizeBoundary) {
    this->StartServer();
    for (const std::size_t length : {1,   271, 272, 273, 292, 293,  296,   297,   555,   556,
                                     557, 596, 597, 600, 601, 4096, 65479, 65480, 65487, 65488}) {
        this->ExpectEcho(length);
    }
}

TYPED_TEST(PortExchangeTest, MebibytesComeBack) {
    this->StartServer();
    this->ExpectEcho(std::size_t{3} << 20);
    this->ExpectEcho(std::size_t{3} << 20);
}

TYPED_TEST(PortExchangeTest, RestartedServerIsFoundByTheRepeat) {
    this->StartServer();
    this->ExpectEcho(10);
    this->StopServer();
    this->StartServer();
    this->ExpectEcho(10);
}

TYPED_TEST(PortExchangeTest, BroadcastAreaIsReadFromTheNamedSection) {
    const Handle mutex = Layer::CreateMutexW(
        nullptr, 0,
        Kelcomm::BroadcastMutexName(Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId).data());
    const Handle section = Layer::CreateFileMappingW(
        reinterpret_cast<Handle>(~std::uintptr_t{0}), nullptr, 4, 0, 36,
        Kelcomm::BroadcastSectionName(Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId).data());
    void* const view = Layer::MapViewOfFile(section, 2, 0, 0, 0);
    ASSERT_NE(nullptr, view);
    const Bytes area = HexBytes(
        "20 00 00 00 00 00 00 00 4B 65 6C 43 6F 6D 6D 20 02 00 00 00 00 00 00 00"
        "20 00 00 00 00 10 00 00 78 56 34 12");  // claims 4096 bytes of data, has four
    std::memcpy(view, area.data(), area.size());

    std::uint32_t value = 0;
    EXPECT_EQ(0U, this->client_->ReadBroadcastValue(0, &value));
    EXPECT_EQ(0x12345678U, value);
    std::uint16_t half = 0;
    EXPECT_EQ(0U, this->client_->ReadBroadcast(2, &half, 2));
    EXPECT_EQ(0x1234, half);
    EXPECT_EQ(1U, this->client_->ReadBroadcast(4092, &half, 2));

    Layer::UnmapViewOfFile(view);
    Layer::CloseHandle(section);
    Layer::CloseHandle(mutex);
    this->client_->Close();
}

using LpcPortExchangeTest = PortExchangeTest<LpcTraits>;

TEST_F(LpcPortExchangeTest, ServerCodeComesBack) {
    StartServer();
    EXPECT_EQ(77U, client_->Request(0, 77, nullptr, 0, nullptr, 0, nullptr, 0));
}

TEST_F(LpcPortExchangeTest, WaitPoolExchangesWithoutAMessagePump) {
    StartServer();
    client_->Initialize(Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId,
                        Kelcomm::kKelcommPumpMessages);
    ExpectEcho(100);
    ExpectEcho(5000);
}

using AlpcPortExchangeTest = PortExchangeTest<AlpcTraits>;

TEST_F(AlpcPortExchangeTest, GrowableBufferTakesALongReply) {
    StartServer();
    const Bytes request(100000, 'g');
    Kelcomm::CBuffer buffer;
    EXPECT_EQ(0U, client_->RequestToBuffer(0, kEcho, request.data(), 100000, &buffer, 0));
    EXPECT_EQ(request, Bytes(buffer.GetData(), buffer.GetData() + buffer.GetSize()));
}

TEST_F(AlpcPortExchangeTest, OneWayMessageIsFollowedByARequest) {
    StartServer();
    EXPECT_EQ(0U, client_->Request(1, kEcho, "abc", 3, nullptr, 0, nullptr, 0));
    ExpectEcho(10);
}

}  // namespace

}  // namespace Kyr::Test
