#include <gmock/gmock.h>

#include "lab/simproduct/commands/StatusCommands.h"
#include "tests/lab/common/LineList.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using namespace Test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StatusCommandsTest : public ::testing::Test {
  protected:
    Bytes Ask(std::uint32_t number) {
        InnerAction action;
        action.inner.command = number;
        return EncodeReply(
            CInnerCommands({StatusCommands(protection_, results_, lines_.Sink())}).Perform(action));
    }

    CLineList lines_;
    CConfiguration configuration_;
    CProtection protection_{configuration_};
    CTaskResults results_;
};

const Bytes kEmptyReply = HexBytes("0C 00 00 00 00 00 00 00 00 00 00 00");

TEST_F(StatusCommandsTest, StatusIsTheReportBehindItsLength) {
    protection_.ReportInstead("<TULK/>");

    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 07 00 00 00") + TextBytes("<TULK/>"), Ask(0x21));
}

TEST_F(StatusCommandsTest, EachQuestionFetchesOneResultUntilNoneIsLeft) {
    results_.Add({kTaskDone, "a;b;c"});
    results_.Add({kTaskFailed, ""});

    // clang-format off
    EXPECT_EQ(HexBytes("0C 00 00 00  00 00 00 00  18 00 00 00"
                       "00 00 00 00  01 00 00 00  0C 00 00 00"
                       "61 00 3B 00 62 00 3B 00 63 00 00 00"), Ask(0x70));
    EXPECT_EQ(HexBytes("0C 00 00 00  00 00 00 00  0E 00 00 00"
                       "00 00 00 00  02 00 00 00  0C 00 00 00"
                       "00 00"), Ask(0x70));
    // clang-format on
    EXPECT_EQ(kEmptyReply, Ask(0x70));
    EXPECT_EQ(kEmptyReply, Ask(0x70));
}

TEST_F(StatusCommandsTest, FetchedResultIsTold) {
    results_.Add({kTaskDone, "a;b;c"});

    Ask(0x70);
    EXPECT_THAT(lines_.Take(), ElementsAre("did action=task-result outcome=1 userdata=a;b;c"));
    Ask(0x70);
    EXPECT_THAT(lines_.Take(), IsEmpty());
}

TEST(EncodeTaskResultTest, UserDataIsUtf16WithSurrogatePairs) {
    // U+00E9, then U+1F600
    EXPECT_EQ(HexBytes("00 00 00 00 07 00 00 00 0C 00 00 00 E9 00 3D D8 00 DE 00 00"),
              EncodeTaskResult({7, "\xC3\xA9\xF0\x9F\x98\x80"}));
}

TEST(EncodeTaskResultTest, OffsetIsWrittenAsItIsTold) {
    EXPECT_EQ(HexBytes("00 00 00 00 01 00 00 00 FF FF FF FF 61 00 00 00"),
              EncodeTaskResult({kTaskDone, "a", 0xFFFFFFFF}));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
