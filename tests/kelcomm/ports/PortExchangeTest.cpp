// The clients over real ports: a server thread of the test behind the port layer's functions, no
// scripted answer anywhere.
#include <cstring>
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
#include "tests/support/product/PortMessages.h"
#include "tests/support/product/PortServer.h"
#include "tests/support/system/RunDirectory.h"

namespace Kyr::Test {

namespace {

namespace Kelcomm = Connectors::Common::Kelcomm;
namespace Layer = PortLayer;
using Base::LoadLittleEndian;
using Base::StoreLittleEndian;
using NtApi::Handle;

constexpr std::uint32_t kEcho = 3;  // answers the request's bytes

/// A result code, the length of the bytes, and the bytes.
PortReply Reply(std::uint32_t result, const Bytes& bytes) {
    PortReply reply = {{}, sizeof reply.head, bytes.data(), bytes.size()};
    StoreLittleEndian(reply.head, result);
    StoreLittleEndian(reply.head + 4, static_cast<std::uint32_t>(bytes.size()));
    return reply;
}

/// Answers a request's bytes, and on a legacy port any other command with itself as the result
/// code.
template <typename Word>
class CLpcEcho {
  public:
    PortReply operator()(const PortRequest& request) {
        using Structs = Kelcomm::CKelcommStructsNt<Word>;
        const std::uint8_t* const message = request.message;
        const auto command = LoadLittleEndian<std::uint32_t>(message + Structs::kCommand);
        const std::size_t end = LoadLittleEndian<std::uint16_t>(message + 2);
        bytes_.assign(message + Structs::kSmallPayload, message + end);
        if (LoadLittleEndian<std::uint16_t>(message + NtApi::kDataInfoOffset) != 0) {
            bytes_.assign(message + Structs::kLargePayload, message + end);
            const auto length = LoadLittleEndian<std::uint32_t>(message + Structs::kRequestEntry +
                                                                Structs::Port::kDataEntryLength);
            if (length != 0) {
                bytes_.resize(length);
                EXPECT_EQ(0, Layer::NtReadRequestData(request.port, request.message, 0,
                                                      bytes_.data(), length, nullptr));
            }
        }
        return Reply(command == kEcho ? 0 : command, bytes_);
    }

  private:
    Bytes bytes_;
};

class CAlpcEcho {
  public:
    PortReply operator()(const PortRequest& request) {
        const auto length = LoadLittleEndian<std::uint32_t>(request.message + 32);
        const std::uint8_t* const source =
            request.view != nullptr ? request.view : request.message + 40;
        bytes_.assign(source, source + length);
        return Reply(0, bytes_);
    }

  private:
    Bytes bytes_;
};

struct LpcTraits {
    static constexpr const char* kName = "Lpc";
    static std::unique_ptr<Kelcomm::IKelcommClient> Client() {
        return Kelcomm::CreateKelcommClientNt(LayerFunctions());
    }
    static std::unique_ptr<CPortServer> Server() {
        return std::make_unique<CLpcPortServer>(
            Kelcomm::LpcPortName(Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId).data());
    }
    static PortAnswer Echo() {
        return SystemIsWide() ? PortAnswer(CLpcEcho<std::uint64_t>())
                              : PortAnswer(CLpcEcho<std::uint32_t>());
    }
};

struct AlpcTraits {
    static constexpr const char* kName = "Alpc";
    static std::unique_ptr<Kelcomm::IKelcommClient> Client() {
        auto client = std::make_unique<Kelcomm::CKelcommAlpcClient>(LayerFunctions());
        client->Initialize(Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId, 0);
        return client;
    }
    static std::unique_ptr<CPortServer> Server() {
        return std::make_unique<CAlpcPortServer>(
            Kelcomm::AlpcPortName(Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId).data());
    }
    static PortAnswer Echo() { return CAlpcEcho(); }
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
        EXPECT_EQ("", Layer::LiveObjects());
        EXPECT_TRUE(directory_.IsEmpty());
    }
    void StartServer() {
        server_ = Ports::Server();
        thread_ = std::thread([this] { server_->Serve(Ports::Echo()); });
    }
    void StopServer() {
        if (server_ != nullptr) {
            server_->Stop();
            thread_.join();
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
    std::unique_ptr<CPortServer> server_;
    std::thread thread_;
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
