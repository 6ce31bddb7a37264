#include <gtest/gtest.h>

#include "lab/runner/NeutralRecords.h"

namespace Kyr::Lab::Runner {
namespace {

using namespace std::string_literals;

// A reply's header: its own size, the status, the length of what follows.
const std::string kHeader = "\x0C\0\0\0\0\0\0\0\x39\0\0\0"s;
const std::string kNeutralHeader = "\x0C\0\0\0\0\0\0\0<length>"s;

TEST(NeutralRecords, ProcessOfARecordAndTheLengthsAroundItAreLeftOut) {
    EXPECT_EQ(NeutralRecords(kHeader + "\x0A\x29"
                                       R"({"@timestamp":"now","process":{"pid":7}})"),
              kNeutralHeader + "\x0A<length>" + R"({"@timestamp":"now","process":"*"})");
}

TEST(NeutralRecords, LengthOfSeveralBytesIsLeftOutWhole) {
    EXPECT_EQ(NeutralRecords(kHeader + "\x0A\x80\x83\x01" + R"({"@timestamp":1,"process":{}})"),
              kNeutralHeader + "\x0A<length>" + R"({"@timestamp":1,"process":"*"})");
}

TEST(NeutralRecords, EachRecordOfABatchIsMadeNeutral) {
    EXPECT_EQ(NeutralRecords(kHeader + "\x0A\x1D" + R"({"@timestamp":1,"process":{}})" +
                             "\x0A\x1E" + R"({"@timestamp":2,"process":{"pid":1}})" + "\x10\x05"),
              kNeutralHeader + "\x0A<length>" + R"({"@timestamp":1,"process":"*"})" +
                  "\x0A<length>" + R"({"@timestamp":2,"process":"*"})" + "\x10\x05");
}

TEST(NeutralRecords, RecordOfNoProcessStaysAsItIs) {
    const std::string reply = kHeader + "\x0A\x1F" + R"({"@timestamp":1,"message":"."})";
    EXPECT_EQ(NeutralRecords(reply), reply);
}

TEST(NeutralRecords, BracesInATextDoNotEndTheRecord) {
    EXPECT_EQ(NeutralRecords(kHeader + "\x0A\x10" +
                             R"({"@timestamp":1,"process":{"name":"}\"}"}})" + "\x0A"),
              kNeutralHeader + "\x0A<length>" + R"({"@timestamp":1,"process":"*"})" + "\x0A");
}

TEST(NeutralRecords, BrokenRecordStaysAsItIs) {
    for (const char* const reply : {R"({"@timestamp":1,"process":{)", R"({"@timestamp":})"}) {
        const std::string bytes = std::string(kHeader).append("\x0A\x10").append(reply);
        EXPECT_EQ(NeutralRecords(bytes), bytes);
    }
}

TEST(NeutralRecords, BytesTooShortForAHeaderStayAsTheyAre) {
    const std::string record = R"({"@timestamp":1,"process":{}})";
    EXPECT_EQ(NeutralRecords(""), "");
    EXPECT_EQ(NeutralRecords(record), record);
}

}  // namespace
}  // namespace Kyr::Lab::Runner
