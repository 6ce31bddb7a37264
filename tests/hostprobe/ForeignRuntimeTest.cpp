// What a module sees that was linked with a protobuf of its own, beside a library of the host whose
// messages do not do what was agreed on. This program is both: its protobuf is a static one that
// the host's library does not see, and its CheckWritable goes before that of the host's library,
// as the first of two symbols does.
#include <gmock/gmock.h>
#include <sstream>
#include <stdexcept>
#include <string>

#include "host/message/WriteControl.h"
#include "hostprobe/ProcessChecks.h"

namespace Kyr {
namespace {

/// What the host's library does when a message is read-only.
void (*onReadOnly)() = nullptr;

}  // namespace

void Common::Message::CWriteControl::CheckWritable() const {
    if (readOnly_) {
        onReadOnly();
    }
}

namespace Test {
namespace {

using ::testing::HasSubstr;

std::string ToldOfProcess() {
    std::ostringstream told;
    HostProbe::CReport report(told);
    HostProbe::CheckProcess(report);
    return told.str();
}

TEST(ForeignRuntimeTest, MessagesOfAnotherRuntimeAreNamed) {
    onReadOnly = [] { throw std::runtime_error("Message is read only"); };
    const std::string told = ToldOfProcess();
    EXPECT_THAT(told, HasSubstr("WRONG protobuf-messages: the host's messages belong to another "
                                "protobuf runtime than the module's\n"));
    EXPECT_THAT(told, HasSubstr("fine exceptions-in: "));
}

TEST(ForeignRuntimeTest, ExceptionThatIsMissingOrAnotherIsNamed) {
    struct Row {
        void (*onReadOnly)();
        const char* told;
    };
    const Row kRows[] = {
        {[] {}, "reaches the module as nothing\n"},
        {[] { throw 7; }, "reaches the module as an exception of unknown type\n"},
        {[] { throw std::runtime_error("read-only"); }, "reaches the module as read-only\n"},
    };
    for (const Row& row : kRows) {
        onReadOnly = row.onReadOnly;
        EXPECT_THAT(
            ToldOfProcess(),
            HasSubstr(std::string("WRONG exceptions-in: an exception of the host's library ") +
                      row.told));
    }
}

}  // namespace
}  // namespace Test
}  // namespace Kyr
