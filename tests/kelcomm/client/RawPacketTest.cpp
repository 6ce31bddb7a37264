#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "kelcomm/client/RawPacket.h"

namespace Kyr::Test {

namespace {

using CAttachableBuffer = Connectors::Common::Kelcomm::CRawPacket::CAttachableBuffer;

std::string Held(const CAttachableBuffer& buffer) {
    return std::string(reinterpret_cast<const char*>(buffer.GetData()), buffer.GetSize());
}

TEST(RawPacketTest, NewBufferOwnsItsMemory) {
    CAttachableBuffer buffer;
    EXPECT_FALSE(buffer.IsAttached());
    buffer.Append("abc", 3);
    EXPECT_EQ("abc", Held(buffer));
}

TEST(RawPacketTest, AttachedMemoryOutlivesTheBuffer) {
    char foreign[] = "foreign";  // on the stack: freeing it would end the test
    {
        CAttachableBuffer buffer;
        buffer.Attach(foreign, 7, 7);
        EXPECT_TRUE(buffer.IsAttached());
        EXPECT_EQ("foreign", Held(buffer));
    }
    EXPECT_STREQ("foreign", foreign);
}

TEST(RawPacketTest, AttachingFreesOwnMemory) {
    char foreign[4] = {};
    CAttachableBuffer buffer;
    buffer.Append("own", 3);  // a leak checker sees this one if it stays
    buffer.Attach(foreign, 4, 0);
    EXPECT_EQ(0U, buffer.GetSize());
}

TEST(RawPacketTest, AttachedMemoryIsWrittenWhileItSuffices) {
    char foreign[4] = {'a', 0, 0, 0};
    CAttachableBuffer buffer;
    buffer.Attach(foreign, 4, 1);
    EXPECT_EQ(1U, buffer.Append("bcd", 3));
    EXPECT_EQ(0, std::memcmp(foreign, "abcd", 4));
    EXPECT_TRUE(buffer.IsAttached());
}

TEST(RawPacketTest, GrowingMovesToOwnMemory) {
    char foreign[4] = {'a', 'b', 'c', 'd'};
    CAttachableBuffer buffer;
    buffer.Attach(foreign, 4, 4);
    EXPECT_EQ(4U, buffer.Append("e", 1));
    EXPECT_FALSE(buffer.IsAttached());
    EXPECT_EQ("abcde", Held(buffer));
    EXPECT_EQ(0, std::memcmp(foreign, "abcd", 4));
}

TEST(RawPacketTest, GrowingTakesASingleByteAlong) {
    char foreign[1] = {'a'};
    CAttachableBuffer buffer;
    buffer.Attach(foreign, 1, 1);
    EXPECT_EQ(1U, buffer.Append("b", 1));
    EXPECT_EQ("ab", Held(buffer));
}

/// Attached memory is all that it can have.
class CExhaustedBuffer : public CAttachableBuffer {
  protected:
    void* Allocate(std::uint32_t) override { return nullptr; }
};

TEST(RawPacketTest, GrowingWithoutMemoryLeavesTheAttachedOne) {
    char foreign[4] = {'a', 'b', 'c', 'd'};
    CExhaustedBuffer buffer;
    buffer.Attach(foreign, 4, 4);
    EXPECT_EQ(CAttachableBuffer::kNoOffset, buffer.Append("e", 1));
    EXPECT_TRUE(buffer.IsAttached());
    EXPECT_EQ("abcd", Held(buffer));
}

TEST(RawPacketTest, GrowingByteByByteMovesToOwnMemory) {
    char foreign[2] = {'a', 'b'};
    CAttachableBuffer buffer;
    buffer.Attach(foreign, 2, 2);
    EXPECT_TRUE(buffer.AppendGrowing("cd", 2));
    EXPECT_FALSE(buffer.IsAttached());
    EXPECT_EQ("abcd", Held(buffer));
}

TEST(RawPacketTest, AttachingAgainLetsGoOfTheFirstMemory) {
    char first[] = "first";
    char second[] = "second";
    CAttachableBuffer buffer;
    buffer.Attach(first, 5, 5);
    buffer.Attach(second, 6, 6);
    EXPECT_EQ("second", Held(buffer));
    EXPECT_STREQ("first", first);
}

TEST(RawPacketTest, NothingAttachedGrowsIntoOwnMemory) {
    CAttachableBuffer buffer;
    buffer.Attach(nullptr, 0, 0);
    EXPECT_EQ(0U, buffer.Append("x", 1));
    EXPECT_EQ("x", Held(buffer));
}

}  // namespace

}  // namespace Kyr::Test
