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
    std::ostringstream stream;
    CLineWriter writer(stream, At(((13 * 60 + 4) * 60 + 5) * 1000 + 67), false, AtFive);

    writer.Write(CLine("did").With("pid", 7));

    EXPECT_EQ("13:04:05.067 did pid=7 at=5\n", stream.str());
}

TEST(LineWriterTest, LastMillisecondOfTheDayIsWritten) {
    std::ostringstream stream;
    CLineWriter writer(stream, At(86399999), false, AtFive);

    writer.Write(CLine("ready"));

    EXPECT_EQ("23:59:59.999 ready at=5\n", stream.str());
}

TEST(LineWriterTest, ColouredLineHasNoStampAndOnlyTheKindIsColoured) {
    std::ostringstream stream;
    CLineWriter writer(stream, At(0), true);

    writer.Write(CLine("error").With("text", "no"));

    EXPECT_EQ("00:00:00.000 \x1b[31merror\x1b[0m text=no\n", stream.str());
}

TEST(LineWriterTest, SystemTimeOfDayIsWithinOneDay) {
    EXPECT_GE(SystemTimeOfDay().count(), 0);
    EXPECT_LT(SystemTimeOfDay().count(), 86400000);
}

}  // namespace
}  // namespace Kyr::Lab
