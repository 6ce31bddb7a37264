// Legacy ports: the data-information block, and what the server reads and writes through it.
#include <future>

#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class LpcDataTest : public LpcPortFixture {
  protected:
    /// Serves requests with `use`, then answers them.
    void ServeRequests(const Handler& use) {
        Serve(OnRequests([use](ReceivedCall& call) {
            use(call);
            EXPECT_EQ(call.Reply(ToBytes("done")), kStatusSuccess);
        }));
    }
    /// One request with these entries.
    void Offer(const std::vector<BlockEntry>& entries) {
        const Handle port = Connect();
        Bytes reply;
        EXPECT_EQ(Exchange(port, LpcMessageWithEntries(entries), reply), kStatusSuccess);
        EXPECT_EQ(LpcData(reply.data()), ToBytes("done"));
        CloseHandle(port);
    }
    static BlockEntry Entry(Bytes& bytes) {
        return {bytes.data(), static_cast<std::uint32_t>(bytes.size())};
    }
    /// Tries to.
    static NtStatus Read(ReceivedCall& call, std::uint32_t entry, std::size_t size) {
        Bytes bytes(size);
        return NtReadRequestData(call.port, call.message.data(), entry, bytes.data(), size,
                                 nullptr);
    }
    static NtStatus Write(ReceivedCall& call, std::uint32_t entry, Bytes bytes) {
        return NtWriteRequestData(call.port, call.message.data(), entry, bytes.data(), bytes.size(),
                                  nullptr);
    }
    static Bytes ReadAll(ReceivedCall& call, std::uint32_t entry, std::size_t size) {
        Bytes bytes(size);
        EXPECT_EQ(
            NtReadRequestData(call.port, call.message.data(), entry, bytes.data(), size, nullptr),
            kStatusSuccess);
        return bytes;
    }
};

TEST_F(LpcDataTest, ServerReadsTheFirstEntryAgainAndAgain) {
    for (const std::size_t size : {1u, 700u, 32768u, 32769u, 3u * 1024 * 1024 + 5}) {
        SCOPED_TRACE(size);
        Bytes first = Pattern(size);
        Bytes second = ToBytes("second");
        ServeRequests([&](ReceivedCall& call) {
            EXPECT_EQ(ReadAll(call, 0, size), Pattern(size));
            EXPECT_EQ(ReadAll(call, 0, size), Pattern(size));
        });
        Offer({Entry(first), Entry(second)});
        StopServer();
    }
}

TEST_F(LpcDataTest, ShorterReadStartsAtTheBase) {
    Bytes first = ToBytes("0123456789");
    ServeRequests([&](ReceivedCall& call) { EXPECT_EQ(ReadAll(call, 0, 4), ToBytes("0123")); });
    Offer({Entry(first)});
}

TEST_F(LpcDataTest, ServerWritesStraightIntoTheClientsMemory) {
    for (const std::size_t size : {1u, 601u, 32768u, 32769u, 65536u, 5000000u}) {
        SCOPED_TRACE(size);
        Bytes request = ToBytes("request");
        Bytes reply(size + 1, 0xEE);
        ServeRequests(
            [&](ReceivedCall& call) { EXPECT_EQ(Write(call, 1, Pattern(size)), kStatusSuccess); });
        Offer({Entry(request), Entry(reply)});
        StopServer();
        EXPECT_EQ(reply.back(), 0xEE);
        reply.pop_back();
        EXPECT_EQ(reply, Pattern(size));
        EXPECT_EQ(request, ToBytes("request"));
    }
}

TEST_F(LpcDataTest, WritesToOneEntryOverlay) {
    Bytes memory = ToBytes("----------");
    ServeRequests([&](ReceivedCall& call) {
        EXPECT_EQ(Write(call, 0, ToBytes("aaaa")), kStatusSuccess);
        EXPECT_EQ(Write(call, 0, ToBytes("bbbbbb")), kStatusSuccess);
        EXPECT_EQ(Write(call, 0, ToBytes("cc")), kStatusSuccess);
        EXPECT_EQ(ReadAll(call, 0, 10), ToBytes("ccbbbb----"));
        EXPECT_EQ(ReadAll(call, 0, 3), ToBytes("ccb"));
    });
    Offer({Entry(memory)});
    EXPECT_EQ(memory, ToBytes("ccbbbb----"));
}

TEST_F(LpcDataTest, EveryEntryCanBeWritten) {
    std::vector<Bytes> memory(5, Bytes(20000));
    std::vector<BlockEntry> entries;
    entries.reserve(memory.size());
    for (Bytes& bytes : memory) {
        entries.push_back(Entry(bytes));
    }
    ServeRequests([&](ReceivedCall& call) {
        for (std::uint32_t i = 0; i < 5; ++i) {
            const Bytes bytes(20000, static_cast<std::uint8_t>('a' + i));
            EXPECT_EQ(Write(call, i, bytes), kStatusSuccess);
        }
    });
    Offer(entries);
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(memory[i], Bytes(20000, static_cast<std::uint8_t>('a' + i)));
    }
}

TEST_F(LpcDataTest, LargeTransfersGoOnForEver) {
    Bytes request(100000);
    Bytes reply(100000);
    ServeRequests([&](ReceivedCall& call) {
        EXPECT_EQ(Write(call, 1, ReadAll(call, 0, 100000)), kStatusSuccess);
    });
    const Handle port = Connect();
    for (int i = 0; i < 200; ++i) {
        request.assign(request.size(), static_cast<std::uint8_t>(i));
        Bytes answer;
        ASSERT_EQ(Exchange(port, LpcMessageWithEntries({Entry(request), Entry(reply)}), answer),
                  kStatusSuccess);
        ASSERT_EQ(reply, request);
    }
}

TEST_F(LpcDataTest, TransfersBeyondTheBlockOrTheEntryAreInvalid) {
    Bytes first = Pattern(10);
    Bytes second = Pattern(20);
    ServeRequests([&](ReceivedCall& call) {
        EXPECT_EQ(Read(call, 2, 1), kStatusInvalidParameter);
        EXPECT_EQ(Write(call, 2, Bytes(1)), kStatusInvalidParameter);
        EXPECT_EQ(Read(call, 0xFFFFFFFF, 1), kStatusInvalidParameter);
        EXPECT_EQ(Read(call, 0, 11), kStatusInvalidParameter);
        EXPECT_EQ(Write(call, 1, Bytes(21)), kStatusInvalidParameter);
        EXPECT_EQ(Read(call, 1, 0), kStatusSuccess);
    });
    Offer({Entry(first), Entry(second)});
    EXPECT_EQ(second, Pattern(20));
}

TEST_F(LpcDataTest, TransferredCountIsTold) {
    Bytes memory = Pattern(10);
    ServeRequests([&](ReceivedCall& call) {
        Bytes buffer(100);
        std::size_t count = 77;
        EXPECT_EQ(NtReadRequestData(call.port, call.message.data(), 0, buffer.data(), 7, &count),
                  kStatusSuccess);
        EXPECT_EQ(count, 7u);
        EXPECT_EQ(NtWriteRequestData(call.port, call.message.data(), 9, buffer.data(), 7, &count),
                  kStatusInvalidParameter);
        EXPECT_EQ(count, 0u);
    });
    Offer({Entry(memory)});
}

TEST_F(LpcDataTest, AnsweredAndUnknownRequestsHaveNoData) {
    Bytes memory = Pattern(10);
    std::promise<void> checked;
    Serve(OnRequests([&](ReceivedCall& call) {
        EXPECT_EQ(call.Reply(ToBytes("done")), kStatusSuccess);
        EXPECT_EQ(Read(call, 0, 1), kStatusReplyMessageMismatch);
        EXPECT_EQ(Write(call, 0, Bytes(1)), kStatusReplyMessageMismatch);
        Put<std::uint32_t>(call.message.data(), LpcLayout::kMessageId, 0x3FFFFFFF);
        EXPECT_EQ(Read(call, 0, 1), kStatusReplyMessageMismatch);
        checked.set_value();
    }));
    Offer({Entry(memory)});
    checked.get_future().get();
}

TEST_F(LpcDataTest, RequestWithoutABlockHasNoEntries) {
    ServeRequests([](ReceivedCall& call) { EXPECT_EQ(Read(call, 0, 1), kStatusInvalidParameter); });
    EXPECT_EQ(Ask(Connect(), ToBytes("plain")), ToBytes("done"));
}

TEST_F(LpcDataTest, EmptyEntriesAreHarmless) {
    Bytes memory = Pattern(10);
    ServeRequests([&](ReceivedCall& call) {
        EXPECT_EQ(Read(call, 0, 1), kStatusInvalidParameter);
        EXPECT_EQ(Write(call, 1, ToBytes("0123456789")), kStatusSuccess);
    });
    Offer({{nullptr, 0}, Entry(memory)});
    EXPECT_EQ(memory, ToBytes("0123456789"));
}

struct BadBlock {
    std::uint16_t offset;
    std::uint32_t count;
};

TEST_F(LpcDataTest, BlockOutsideTheMessageIsInvalid) {
    Serve([](ReceivedCall& call) { call.Reply({}); });
    const Handle port = Connect();
    const auto header = static_cast<std::uint16_t>(LpcLayout::kHeaderSize);
    const auto after = [header](int bytes) { return static_cast<std::uint16_t>(header + bytes); };
    const BadBlock blocks[] = {{1, 0},        {after(-1), 0},       {header, 2},
                               {after(1), 1}, {header, 0xFFFFFFFF}, {header, 0x10000001},
                               {0xFFFF, 0},   {after(100), 0}};
    for (const BadBlock& block : blocks) {
        std::uint8_t byte = 0;
        Bytes request = LpcMessageWithEntries({{&byte, 1}});
        Put(request.data(), 6, block.offset);
        if (block.offset >= header && block.offset < LpcLayout::kMaxMessage - 4) {
            Put(request.data(), block.offset, block.count);
        }
        Bytes reply;
        EXPECT_EQ(Exchange(port, request, reply), kStatusInvalidParameter)
            << block.offset << ' ' << block.count;
    }
}

TEST_F(LpcDataTest, OnlyRequestsMayHaveABlock) {
    Serve(OnRequests([](ReceivedCall& call) {
        EXPECT_EQ(NtReplyPort(call.port, call.message.data()), kStatusInvalidParameter);
        EXPECT_EQ(call.Reply({}), kStatusSuccess);
    }));
    const Handle port = Connect();
    std::uint8_t byte = 0;
    Bytes message = LpcMessageWithEntries({{&byte, 1}});
    EXPECT_EQ(SendOneWay(port, message), kStatusInvalidParameter);
    Bytes reply;
    EXPECT_EQ(Exchange(port, message, reply), kStatusSuccess);
}

}  // namespace

}  // namespace Kyr::Test
