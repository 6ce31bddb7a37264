// That a buffer gives its memory back. What the heap has handed out is glibc's to tell; a build
// with a sanitizer has another heap, which looks for what was lost by itself.
#include <gtest/gtest.h>
#include <malloc.h>
#include <vector>

#include "kelcomm/client/RawPacket.h"

namespace Kyr::Test {

namespace {

using Connectors::Common::Kelcomm::CBuffer;
using CAttachableBuffer = Connectors::Common::Kelcomm::CRawPacket::CAttachableBuffer;

std::size_t BytesInUse() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;  // in the heap's own memory, and in pages of their own
}

TEST(BufferMemoryTest, DestroyedBufferHasGivenItsBlockBack) {
    const std::size_t before = BytesInUse();
    {
        CBuffer buffer;
        EXPECT_NE(nullptr, buffer.Reserve(8 << 20));
    }
    EXPECT_EQ(before, BytesInUse());
}

TEST(BufferMemoryTest, AttachingGivesOwnMemoryBack) {
    char foreign[4] = {};
    CAttachableBuffer buffer;
    const std::size_t before = BytesInUse();
    EXPECT_NE(nullptr, buffer.Reserve(8 << 20));
    buffer.Attach(foreign, 4, 0);
    EXPECT_EQ(before, BytesInUse());
}

TEST(BufferMemoryTest, OwnMemoryThatIsOutgrownIsGivenBack) {
    const std::size_t before = BytesInUse();
    {
        CAttachableBuffer buffer;
        EXPECT_NE(nullptr, buffer.Reserve(8 << 20));
        EXPECT_NE(nullptr, buffer.Reserve(16 << 20));
    }
    {
        const std::vector<char> bytes(8 << 20);
        CAttachableBuffer buffer;
        EXPECT_NE(nullptr, buffer.Reserve(8 << 20));
        EXPECT_TRUE(buffer.AppendGrowing(bytes.data(), 8 << 20));
        EXPECT_TRUE(buffer.AppendGrowing("x", 1));
    }
    EXPECT_EQ(before, BytesInUse());
}

}  // namespace

}  // namespace Kyr::Test
