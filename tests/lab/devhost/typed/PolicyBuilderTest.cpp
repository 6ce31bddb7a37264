#include <fstream>
#include <gmock/gmock.h>
#include <stdexcept>

#include <boost/pointer_cast.hpp>

#include "host/message/ApplyPolicy.h"
#include "host/proto/common.pb.h"
#include "lab/devhost/typed/PolicyBuilder.h"
#include "tests/support/HexBytes.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Test {
namespace {

using Common::DataDefinition::Common::CompressedBlob;
using Common::Message::Policies::CApplyPolicy;

/// The message of the words behind the command.
boost::shared_ptr<CApplyPolicy> BuildPolicy(std::vector<std::string> words) {
    Lab::CCommandWords arguments(std::move(words));
    return boost::dynamic_pointer_cast<CApplyPolicy>(Lab::DevHost::BuildPolicy(arguments));
}

CompressedBlob BlobOf(std::vector<std::string> words) {
    CompressedBlob blob;
    EXPECT_TRUE(blob.ParseFromString(BuildPolicy(std::move(words))->GetPolicyBlob()));
    return blob;
}

// The policy message of "abc" (0A 03 and the text) as zlib packs it: its header, one block with
// fixed codes, which spends eight bits a byte, and the Adler-32 checksum of the five bytes.
const std::vector<unsigned char> kPackedAbc = HexBytes("78 9C E3 62 4E 4C 4A 06 00 02 8D 01 34");

TEST(PolicyBuilderTest, TextIsPackedAndALengthStated) {
    const CTemporaryFolder folder;
    std::ofstream(folder.File("policy"), std::ios::binary) << "abc";
    const struct {
        const char* situation;
        std::vector<std::string> words;
        std::uint64_t stated;
        std::vector<unsigned char> data;
    } kRows[] = {
        {"a text", {"text=abc"}, 5, kPackedAbc},
        {"no text", {"text="}, 2, HexBytes("78 9C E3 62 00 00 00 16 00 0B")},
        {"a file", {"file=" + folder.File("policy")}, 5, kPackedAbc},
        {"repeated once", {"text=abc", "repeat=1"}, 5, kPackedAbc},
        {"another length",
         {"text=abc", "length=9223372036854775808"},
         9223372036854775808u,
         kPackedAbc},
        {"a broken stream, whose length stays",
         {"text=abc", "broken=stream"},
         5,
         HexBytes("FF FF FF")},
    };
    for (const auto& row : kRows) {
        const CompressedBlob blob = BlobOf(row.words);
        EXPECT_EQ(blob.uncompressed_length(), row.stated) << row.situation;
        EXPECT_EQ(TextBytes(blob.compressed_data()), row.data) << row.situation;
        EXPECT_TRUE(BuildPolicy(row.words)->IsReadOnly()) << row.situation;
    }
}

TEST(PolicyBuilderTest, TextIsRepeatedAsOftenAsWanted) {
    EXPECT_EQ(BlobOf({"text=abc", "repeat=0"}).uncompressed_length(), 2u);
    // 70000 bytes behind the tag and a length of three bytes; so many equal ones take few.
    const CompressedBlob blob = BlobOf({"text=ab", "repeat=35000"});
    EXPECT_EQ(blob.uncompressed_length(), 70004u);
    EXPECT_LT(blob.compressed_data().size(), 1000u);
}

TEST(PolicyBuilderTest, BrokenPolicyIsPackedWell) {
    const CompressedBlob blob = BlobOf({"text=abc", "broken=policy"});
    EXPECT_EQ(blob.uncompressed_length(), 3u);
    EXPECT_THAT(blob.compressed_data(), ::testing::StartsWith("\x78\x9C"));
}

TEST(PolicyBuilderTest, BrokenBlobIsNoBlob) {
    const std::string bytes = BuildPolicy({"text=abc", "broken=blob"})->GetPolicyBlob();
    EXPECT_FALSE(bytes.empty());
    EXPECT_FALSE(CompressedBlob().ParseFromString(bytes));
}

TEST(PolicyBuilderTest, WordsThatMakeNoPolicyAreRefused) {
    // Of the longer repetition the length would fit in 64 bits again, had it been computed there.
    for (const char* second : {"file=a", "broken=all", "repeat=33554433",
                               "repeat=9223372036854775809", "repeat=often"}) {
        EXPECT_THROW(BuildPolicy({"text=ab", second}), std::invalid_argument) << second;
    }
    EXPECT_THROW(BuildPolicy({}), std::invalid_argument);
    EXPECT_THROW(BuildPolicy({"file=/nowhere/at/all"}), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Test
