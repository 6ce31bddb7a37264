#include <gmock/gmock.h>
#include <vector>
#include <zlib.h>

#include "connector/tasks/PolicyBlob.h"
#include "tests/probe/decode/Decoded.h"

namespace Kyr::Probe {
namespace {

using testing::ElementsAre;

/// A number as protobuf writes it.
std::string Varint(std::uint64_t number) {
    std::string bytes;
    for (; number > 0x7F; number >>= 7) {
        bytes.push_back(static_cast<char>(number | 0x80));
    }
    return bytes + static_cast<char>(number);
}

/// The blob of a policy that is one byte larger than any that is taken.
std::string TooLargeBlob() {
    const std::string policy(Connectors::Common::Tasks::kLargestPolicy + 1, '\0');
    uLongf length = compressBound(static_cast<uLong>(policy.size()));
    std::string compressed(length, '\0');
    EXPECT_EQ(
        compress(reinterpret_cast<Bytef*>(compressed.data()), &length,
                 reinterpret_cast<const Bytef*>(policy.data()), static_cast<uLong>(policy.size())),
        Z_OK);
    compressed.resize(length);
    return '\x08' + Varint(policy.size()) + '\x12' + Varint(length) + compressed;
}

TEST(PolicyTest, PolicyIsShownWithItsEnvelope) {
    // Four bytes, a text "ab", which zlib has stored and not made any smaller.
    EXPECT_THAT(Decoded("0804 120f 7801 010400fbff 0a026162 015600d0", "policy"),
                ElementsAre("0+2 length when inflated: 4",
                            "2+17 compressed policy: 7801010400fbff0a026162015600d0",
                            "0+19 policy: \"ab\""));
}

TEST(PolicyTest, PolicyThatIsDamagedSaysHow) {
    EXPECT_THAT(Decoded("ff", "policy"),
                ElementsAre("0+1 tag: ff !ends early: 1 of 2 bytes are there",
                            "0+1 policy: \"\" !not a compressed blob, does not inflate to 0 bytes "
                            "(zlib -3)"));
    EXPECT_THAT(
        Decoded("0805 120f 7801 010400fbff 0a026162 015600d0", "policy"),
        testing::Contains("0+19 policy: \"ab\" !4 bytes instead of 5, content does not parse"));
}

TEST(PolicyTest, PolicyThatIsTooLargeSaysSo) {
    const std::string blob = TooLargeBlob();
    EXPECT_EQ(LinesOf(Decode(blob, "policy", {})).back(),
              "0+" + std::to_string(blob.size()) + " policy:  !larger than the product is given");
}

}  // namespace
}  // namespace Kyr::Probe
