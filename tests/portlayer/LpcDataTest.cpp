// Legacy ports: the data-information block, and what the server reads and writes through it.
#include <future>

#include "tests/portlayer/LpcPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class LpcDataTest : public LpcPortFixture {
  protected:
    /// Serves requests with `use`, then answers them.
    void ServeRequests(const std::function<void(LpcCall&)>& use) {
        Serve(OnRequests([use](LpcCall& call) {
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
    static Bytes ReadAll(LpcCall& call, std::uint32_t entry, std::size_t size) {
        Bytes bytes(size);
        EXPECT_EQ(call.Read(entry, bytes.data(), size), kStatusSuccess);
        return bytes;
    }
};

TEST_F(LpcDataTest, ServerReadsTheFirstEntryAgainAndAgain) {
    for (const std::size_t size : {1u, 700u, 32768u, 32769u, 3u * 1024 * 1024 + 5}) {
        SCOPED_TRACE(size);
        Bytes first = Pattern(size);
        Bytes second = ToBytes("second");
        ServeRequests([&](LpcCall& call) {
            EXPECT_EQ(ReadAll(call, 0, size), Pattern(size));
            EXPECT_EQ(ReadAll(call, 0, size), Pattern(size));
        });
        Offer({Entry(first), Entry(second)});
        StopServer();
    }
}

TEST_F(LpcDataTest, ShorterReadStartsAtTheBase) {
    Bytes first = ToBytes("0123456789");
    ServeRequests([&](LpcCall& call) { EXPECT_EQ(ReadAll(call, 0, 4), ToBytes("0123")); });
    Offer({Entry(first)});
}

TEST_F(LpcDataTest, ServerWritesStraightIntoTheClientsMemory) {
    for (const std::size_t size : {1u, 601u, 32768u, 32769u, 65536u, 5000000u}) {
        SCOPED_TRACE(size);
        Bytes request = ToBytes("request");
        Bytes reply(size + 1, 0xEE);
        ServeRequests([&](LpcCall& call) {
            EXPECT_EQ(call.Write(1, Pattern(size).data(), size), kStatusSuccess);
        });
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
    ServeRequests([&](LpcCall& call) {
        EXPECT_EQ(call.Write(0, "aaaa", 4), kStatusSuccess);
        EXPECT_EQ(call.Write(0, "bbbbbb", 6), kStatusSuccess);
        EXPECT_EQ(call.Write(0, "cc", 2), kStatusSuccess);
        EXPECT_EQ(ReadAll(call, 0, 10), ToBytes("ccbbbb----"));
        EXPECT_EQ(ReadAll(call, 0, 3), ToBytes("ccb"));
    });
    Offer({Entry(memory)});
    EXPECT_EQ(memory, ToBytes("ccbbbb----"));
}

TEST_F(LpcDataTest, EveryEntryCanBeWritten) {
    std::vector<Bytes> memory(5, Bytes(20000));
    std::vector<BlockEntry> entries;
    for (Bytes& bytes : memory) {
        entries.push_back(Entry(bytes));
    }
    ServeRequests([&](LpcCall& call) {
        for (std::uint32_t i = 0; i < 5; ++i) {
            const Bytes bytes(20000, static_cast<std::uint8_t>('a' + i));
            EXPECT_EQ(call.Write(i, bytes.data(), bytes.size()), kStatusSuccess);
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
    ServeRequests([&](LpcCall& call) {
        const Bytes bytes = ReadAll(call, 0, 100000);
        EXPECT_EQ(call.Write(1, bytes.data(), bytes.size()), kStatusSuccess);
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
    ServeRequests([&](LpcCall& call) {
        Bytes buffer(100);
        EXPECT_EQ(call.Read(2, buffer.data(), 1), kStatusInvalidParameter);
        EXPECT_EQ(call.Write(2, buffer.data(), 1), kStatusInvalidParameter);
        EXPECT_EQ(call.Read(0xFFFFFFFF, buffer.data(), 1), kStatusInvalidParameter);
        EXPECT_EQ(call.Read(0, buffer.data(), 11), kStatusInvalidParameter);
        EXPECT_EQ(call.Write(1, buffer.data(), 21), kStatusInvalidParameter);
        EXPECT_EQ(call.Read(1, buffer.data(), 0), kStatusSuccess);
    });
    Offer({Entry(first), Entry(second)});
    EXPECT_EQ(second, Pattern(20));
}

TEST_F(LpcDataTest, TransferredCountIsTold) {
    Bytes memory = Pattern(10);
    ServeRequests([&](LpcCall& call) {
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
    Serve(OnRequests([&](LpcCall& call) {
        EXPECT_EQ(call.Reply(ToBytes("done")), kStatusSuccess);
        Bytes buffer(10);
        EXPECT_EQ(call.Read(0, buffer.data(), 1), kStatusReplyMessageMismatch);
        EXPECT_EQ(call.Write(0, buffer.data(), 1), kStatusReplyMessageMismatch);
        Put<std::uint32_t>(call.message.data(), LpcLayout::kMessageId, 0x3FFFFFFF);
        EXPECT_EQ(call.Read(0, buffer.data(), 1), kStatusReplyMessageMismatch);
        checked.set_value();
    }));
    Offer({Entry(memory)});
    checked.get_future().get();
}

TEST_F(LpcDataTest, RequestWithoutABlockHasNoEntries) {
    ServeRequests([&](LpcCall& call) {
        std::uint8_t byte = 0;
        EXPECT_EQ(call.Read(0, &byte, 1), kStatusInvalidParameter);
    });
    const Handle port = Connect();
    EXPECT_EQ(Ask(port, ToBytes("plain")), ToBytes("done"));
}

TEST_F(LpcDataTest, EmptyEntriesAreHarmless) {
    Bytes memory = Pattern(10);
    ServeRequests([&](LpcCall& call) {
        std::uint8_t byte = 0;
        EXPECT_EQ(call.Read(0, &byte, 1), kStatusInvalidParameter);
        EXPECT_EQ(call.Write(1, "0123456789", 10), kStatusSuccess);
    });
    Offer({{nullptr, 0}, Entry(memory)});
    EXPECT_EQ(memory, ToBytes("0123456789"));
}

struct BadBlock {
    std::uint16_t offset;
    std::uint32_t count;
};

class LpcBadBlockTest : public LpcPortFixture {};

TEST_F(LpcBadBlockTest, BlockOutsideTheMessageIsInvalid) {
    Serve([](LpcCall& call) { call.Reply({}); });
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

TEST_F(LpcBadBlockTest, OnlyRequestsMayHaveABlock) {
    Serve(OnRequests([](LpcCall& call) {
        EXPECT_EQ(NtReplyPort(call.port, call.message.data()), kStatusInvalidParameter);
        EXPECT_EQ(call.Reply({}), kStatusSuccess);
    }));
    const Handle port = Connect();
    std::uint8_t byte = 0;
    Bytes message = LpcMessageWithEntries({{&byte, 1}});
    EXPECT_EQ(NtRequestPort(port, message.data()), kStatusInvalidParameter);
    Bytes reply;
    EXPECT_EQ(Exchange(port, message, reply), kStatusSuccess);
}

}  // namespace

}  // namespace Kyr::Test
