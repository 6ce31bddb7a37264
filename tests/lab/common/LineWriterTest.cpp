#include <cerrno>
#include <gtest/gtest.h>
#include <sstream>

#include "lab/common/LineWriter.h"

namespace Kyr::Lab {
namespace {

TimeOfDay At(std::int64_t milliseconds) {
    return [=] { return std::chrono::milliseconds(milliseconds); };
}

std::chrono::nanoseconds AtFive() {
    return std::chrono::nanoseconds(5);
}

TEST(LineWriterTest, LineBeginsWithTimeAndEndsWithItsStamp) {
    const struct {
        std::int64_t milliseconds;
        const char* line;
    } kRows[] = {
        {((13 * 60 + 4) * 60 + 5) * 1000 + 67, "13:04:05.067 did pid=7 at=5\n"},
        {86399999, "23:59:59.999 did pid=7 at=5\n"},
    };
    for (const auto& row : kRows) {
        std::ostringstream stream;
        CLineWriter(stream, "output", At(row.milliseconds), false, AtFive)
            .Write(CLine("did").With("pid", 7));
        EXPECT_EQ(row.line, stream.str());
    }
}

TEST(LineWriterTest, ColouredLineHasNoStampAndOnlyTheKindIsColoured) {
    std::ostringstream stream;
    CLineWriter writer(stream, "output", At(0), true);

    writer.Write(CLine("error").With("text", "no"));

    EXPECT_EQ("00:00:00.000 \x1b[31merror\x1b[0m text=no\n", stream.str());
}

/// A device that is full until it has room for everything.
class CFullDevice : public std::stringbuf {
  public:
    bool full = true;

  private:
    int sync() override {
        errno = ENOSPC;
        return full ? -1 : 0;
    }
};

TEST(LineWriterTest, LinesThatCannotBeWrittenAreToldOnceAndLaterOnesAreWrittenAgain) {
    CFullDevice device;
    std::ostream stream(&device);
    CLineWriter writer(stream, "the log file /x", At(0), false, AtFive);
    EXPECT_FALSE(writer.HasFailed());

    ::testing::internal::CaptureStderr();
    writer.Write(CLine("ready"));
    writer.Write(CLine("ready"));
    device.full = false;
    device.str("");
    writer.Write(CLine("did"));

    EXPECT_EQ("cannot write the log file /x: No space left on device\n",
              ::testing::internal::GetCapturedStderr());
    EXPECT_TRUE(writer.HasFailed());
    EXPECT_EQ("00:00:00.000 did at=5\n", device.str());
}

TEST(LineWriterTest, SystemTimeOfDayIsWithinOneDay) {
    EXPECT_GE(SystemTimeOfDay().count(), 0);
    EXPECT_LT(SystemTimeOfDay().count(), 86400000);
}

}  // namespace
}  // namespace Kyr::Lab
