#include <gtest/gtest.h>
#include <vector>

#include "kelcomm/client/Buffer.h"
#include "tests/support/HexBytes.h"
#include "tests/support/VirtualSlot.h"

namespace Kyr::Test {

namespace {

using Connectors::Common::Kelcomm::CBuffer;
using Bytes = std::vector<std::uint8_t>;

/// A buffer that tells what its allocator is asked for, and can be put into any state.
class CProbedBuffer : public CBuffer {
  public:
    ~CProbedBuffer() override {
        if (pretending_) {
            base_ = nullptr;
        }
    }

    /// Sizes without memory behind them, for arithmetic at the edges. REQUIRES: nothing is held.
    void Pretend(std::uint8_t* memory, std::uint32_t capacity, std::uint32_t size) {
        pretending_ = true;
        base_ = data_ = memory;
        capacity_ = capacity;
        size_ = size;
    }

    void* Reallocate(void* block, std::uint32_t size) override {
        reallocated.push_back(size);
        return failing ? nullptr : CBuffer::Reallocate(block, size);
    }
    void* Allocate(std::uint32_t size) override {
        allocated.push_back(size);
        return failing ? nullptr : CBuffer::Allocate(size);
    }
    void Free(void* block) override {
        freed.push_back(block);
        CBuffer::Free(block);
    }

    /// Base, data, capacity and size lie one after the other behind the table.
    bool HasItsFieldsInOrder() const {
        const auto place = [this](const void* field) {
            return static_cast<const std::uint8_t*>(field) -
                   reinterpret_cast<const std::uint8_t*>(static_cast<const CBuffer*>(this));
        };
        constexpr std::ptrdiff_t kPointer = sizeof(void*);
        return place(&base_) == kPointer && place(&data_) == 2 * kPointer &&
               place(&capacity_) == 3 * kPointer && place(&size_) == 3 * kPointer + 4;
    }

    bool failing = false;
    std::vector<std::uint32_t> reallocated;
    std::vector<std::uint32_t> allocated;
    std::vector<const void*> freed;  // pointers that are not to be used

    using CBuffer::base_;
    using CBuffer::data_;

  private:
    bool pretending_ = false;
};

Bytes Held(const CBuffer& buffer) {
    return Bytes(buffer.GetData(), buffer.GetData() + buffer.GetSize());
}

Bytes Counting(std::size_t length) {
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i);
    }
    return bytes;
}

TEST(BufferTest, ReservingNothingReturnsTheDataPointer) {
    CBuffer buffer;
    EXPECT_EQ(nullptr, buffer.Reserve(0));
    buffer.Append("abc", 3);
    buffer.Consume(1);
    const std::uint8_t* const data = buffer.GetData();
    EXPECT_EQ(data, buffer.Reserve(0));
    EXPECT_EQ(data, buffer.GetData());
}

TEST(BufferTest, FirstReserveRoundsUpToAPage) {
    CProbedBuffer buffer;
    EXPECT_NE(nullptr, buffer.Reserve(1));
    EXPECT_EQ(4096U, buffer.GetCapacity());
    EXPECT_EQ(0U, buffer.GetSize());
    EXPECT_EQ(std::vector<std::uint32_t>({4096}), buffer.reallocated);
}

TEST(BufferTest, ReserveThatFitsPointsBehindTheHeldBytes) {
    CProbedBuffer buffer;
    buffer.Append("abc", 3);
    EXPECT_EQ(buffer.GetData() + 3, buffer.Reserve(4093));
    EXPECT_EQ(1U, buffer.reallocated.size());
}

TEST(BufferTest, GrowthIsOneAndAHalfTimesRoundedToAPage) {
    CProbedBuffer buffer;
    buffer.Append(Counting(4096).data(), 4096);
    buffer.Append("x", 1);
    ASSERT_EQ(8192U, buffer.GetCapacity());  // 6144 rounded up
    EXPECT_EQ('x', buffer.GetData()[4096]);
}

TEST(BufferTest, GrowthIsByAHalfWhereRoundingHidesNoOtherPart) {
    CProbedBuffer buffer;
    buffer.Append(Counting(65536).data(), 65536);
    EXPECT_EQ(65536U, buffer.GetCapacity());
    buffer.Append("x", 1);
    EXPECT_EQ(98304U, buffer.GetCapacity());  // a whole number of pages as it is
}

TEST(BufferTest, GrowthFollowsTheNeedWhenThatIsLarger) {
    CProbedBuffer buffer;
    buffer.Append("x", 1);
    buffer.Reserve(12288);
    EXPECT_EQ(16384U, buffer.GetCapacity());  // 12289 rounded up
}

TEST(BufferTest, ReserveMovesHeldBytesToTheBaseFirst) {
    CProbedBuffer buffer;
    buffer.Append(Counting(4096).data(), 4096);
    buffer.Consume(4090);
    std::uint8_t* const place = buffer.Reserve(4090);
    EXPECT_EQ(buffer.base_, buffer.data_);
    EXPECT_EQ(buffer.base_ + 6, place);
    EXPECT_EQ(HexBytes("FA FB FC FD FE FF"), Held(buffer));
    EXPECT_EQ(1U, buffer.reallocated.size());
}

TEST(BufferTest, ReservePastTheLargestSizeIsRefused) {
    std::uint8_t memory[1];
    CProbedBuffer buffer;
    buffer.Pretend(memory, 0xFFFFFFFF, 0xFFFFFFFF);
    EXPECT_EQ(nullptr, buffer.Reserve(1));
    EXPECT_TRUE(buffer.reallocated.empty());
}

/// The sizes that a full buffer of `size` bytes asks for, in vain, to reserve `more`.
std::vector<std::uint32_t> AskedFor(std::uint32_t size, std::uint32_t more) {
    std::uint8_t memory[1];
    CProbedBuffer buffer;
    buffer.failing = true;
    buffer.Pretend(memory, size, size);
    EXPECT_EQ(nullptr, buffer.Reserve(more));
    return buffer.reallocated;
}

TEST(BufferTest, ReserveUpToTheLargestSizeIsAskedFor) {
    EXPECT_EQ(std::vector<std::uint32_t>({0xFFFFFFFF}), AskedFor(0xFFFFFFFE, 1));
}

TEST(BufferTest, RoundingPastTheLargestSizeAsksForTheNeedItself) {
    EXPECT_EQ(std::vector<std::uint32_t>({0xFFFFF001}), AskedFor(1, 0xFFFFF000));
}

TEST(BufferTest, HalfMoreThatOverflowsAsksForTheNeedItself) {
    EXPECT_EQ(std::vector<std::uint32_t>({0xC0000001}), AskedFor(0xC0000000, 1));
}

TEST(BufferTest, FailedAllocationLeavesTheHeldBytes) {
    CProbedBuffer buffer;
    buffer.Append("abc", 3);
    buffer.failing = true;
    EXPECT_EQ(nullptr, buffer.Reserve(5000));
    EXPECT_EQ(CBuffer::kNoOffset, buffer.Append(Counting(5000).data(), 5000));
    EXPECT_EQ(HexBytes("61 62 63"), Held(buffer));
    EXPECT_EQ(4096U, buffer.GetCapacity());
}

TEST(BufferTest, AppendReturnsTheOffsetOfItsBytes) {
    CBuffer buffer;
    EXPECT_EQ(0U, buffer.Append("abc", 3));
    EXPECT_EQ(3U, buffer.Append("de", 2));
    EXPECT_EQ(HexBytes("61 62 63 64 65"), Held(buffer));
}

TEST(BufferTest, AppendingNothingReturnsTheSize) {
    CBuffer buffer;
    EXPECT_EQ(0U, buffer.Append(nullptr, 0));
    buffer.Append("abc", 3);
    EXPECT_EQ(3U, buffer.Append(nullptr, 0));
    EXPECT_EQ(3U, buffer.GetSize());
}

TEST(BufferTest, RecordIsTagLengthAndBytes) {
    CBuffer buffer;
    EXPECT_TRUE(buffer.AppendRecord(0x00100002, "xyz", 3));
    EXPECT_EQ(HexBytes("02 00 10 00 03 00 00 00 78 79 7A"), Held(buffer));
}

TEST(BufferTest, RecordsFollowEachOther) {
    CBuffer buffer;
    EXPECT_TRUE(buffer.AppendRecord(0x104, "\x03\x00\x00\x00", 4));
    EXPECT_TRUE(buffer.AppendRecord(7, nullptr, 0));
    EXPECT_EQ(HexBytes("04 01 00 00 04 00 00 00 03 00 00 00 07 00 00 00 00 00 00 00"),
              Held(buffer));
}

TEST(BufferTest, RecordWhoseValueDoesNotFitLeavesNothingBehind) {
    CProbedBuffer buffer;
    buffer.Append("a", 1);
    buffer.failing = true;
    EXPECT_FALSE(buffer.AppendRecord(1, Counting(5000).data(), 5000));
    EXPECT_EQ(HexBytes("61"), Held(buffer));
}

TEST(BufferTest, RecordWithoutRoomForItsHeadFails) {
    std::uint8_t memory[1];
    CProbedBuffer buffer;
    buffer.Pretend(memory, 0xFFFFFFFF, 0xFFFFFFFF);
    EXPECT_FALSE(buffer.AppendRecord(1, "x", 1));
    EXPECT_EQ(0xFFFFFFFFU, buffer.GetSize());
}

TEST(BufferTest, RecordWhoseHeadDoesNotFitFailsThoughItsValueIsEmpty) {
    std::uint8_t memory[1];
    CProbedBuffer buffer;
    buffer.Pretend(memory, 0xFFFFFFFC, 0xFFFFFFFC);
    EXPECT_FALSE(buffer.AppendRecord(1, nullptr, 0));
    EXPECT_EQ(0xFFFFFFFCU, buffer.GetSize());
}

TEST(BufferTest, GrowingAppendUsesTheCapacityThatAByteByByteOneWould) {
    CProbedBuffer buffer;
    EXPECT_TRUE(buffer.AppendGrowing(Counting(10).data(), 10));
    EXPECT_EQ(std::vector<std::uint32_t>({1, 2, 3, 4, 6, 9, 13}), buffer.allocated);
    EXPECT_TRUE(buffer.reallocated.empty());
    EXPECT_EQ(Counting(10), Held(buffer));
    EXPECT_EQ(13U, buffer.GetCapacity());
}

TEST(BufferTest, GrowingAppendKeepsConsumedBytesOut) {
    CProbedBuffer buffer;
    buffer.AppendGrowing("abcd", 4);
    buffer.Consume(3);
    EXPECT_TRUE(buffer.AppendGrowing("ef", 2));
    EXPECT_EQ(HexBytes("64 65 66"), Held(buffer));
    EXPECT_EQ(6U, buffer.GetCapacity());  // the consumed room is not used again
}

TEST(BufferTest, GrowingAppendFreesWhatItOutgrew) {
    CProbedBuffer buffer;
    buffer.AppendGrowing("a", 1);
    buffer.Consume(1);
    const void* const outgrown = buffer.base_;
    buffer.freed.clear();
    EXPECT_TRUE(buffer.AppendGrowing("b", 1));
    EXPECT_EQ(std::vector<const void*>({outgrown}), buffer.freed);
}

TEST(BufferTest, FailedGrowingAppendLeavesTheHeldBytes) {
    CProbedBuffer buffer;
    buffer.AppendGrowing("abc", 3);
    buffer.failing = true;
    EXPECT_FALSE(buffer.AppendGrowing("defg", 4));
    EXPECT_EQ(HexBytes("61 62 63"), Held(buffer));
}

TEST(BufferTest, GrowingAppendThatFailsHalfwayLeavesNothingBehind) {
    CProbedBuffer buffer;
    buffer.AppendGrowing("abcde", 5);
    ASSERT_EQ(6U, buffer.GetCapacity());  // room for one more
    buffer.failing = true;
    EXPECT_FALSE(buffer.AppendGrowing("fg", 2));
    EXPECT_EQ(HexBytes("61 62 63 64 65"), Held(buffer));
}

TEST(BufferTest, GrowingAppendEndsAtTwoGigabytes) {
    std::uint8_t memory[1];
    CProbedBuffer buffer;
    buffer.failing = true;
    buffer.Pretend(memory, 0x60000000, 0x60000000);
    EXPECT_FALSE(buffer.AppendGrowing("x", 1));
    EXPECT_EQ(std::vector<std::uint32_t>({0x7FFFFFFF}), buffer.allocated);
    buffer.Pretend(memory, 0x7FFFFFFF, 0x7FFFFFFF);
    EXPECT_FALSE(buffer.AppendGrowing("x", 1));
    EXPECT_EQ(1U, buffer.allocated.size());
}

TEST(BufferTest, FieldsAreBaseDataCapacitySize) {
    EXPECT_TRUE(CProbedBuffer().HasItsFieldsInOrder());
    EXPECT_EQ(3 * sizeof(void*) + 8, sizeof(CBuffer));
}

TEST(BufferTest, SlotsAreDestructorReallocateAllocateFree) {
    EXPECT_EQ(1, VirtualSlot(&CProbedBuffer::Reallocate));
    EXPECT_EQ(2, VirtualSlot(&CProbedBuffer::Allocate));
    EXPECT_EQ(3, VirtualSlot(&CProbedBuffer::Free));
}

}  // namespace

}  // namespace Kyr::Test
