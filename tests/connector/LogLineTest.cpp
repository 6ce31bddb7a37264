#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <utility>

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "connector/LogLine.h"
#include "tests/support/AllocationWatch.h"
#include "tests/support/GroupingLocale.h"
#include "tests/support/host/LogCapture.h"
#include "tests/support/time/Await.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Test::CLogCapture;
using Kyr::Test::LogEntry;
using testing::ElementsAre;
using testing::IsEmpty;

class LogLineTest : public testing::Test {
  protected:
    CLogLine Line() { return CLogLine(log, 3, "Source"); }

    const boost::shared_ptr<CLogCapture> log = boost::make_shared<CLogCapture>();
};

TEST_F(LogLineTest, WritesTextLevelAndSourceWhenItEnds) {
    {
        CLogLine line = Line();
        line << "There were " << 3 << " messages";
        EXPECT_THAT(log->Entries(), IsEmpty());
    }
    EXPECT_THAT(log->Entries(), ElementsAre(LogEntry{"There were 3 messages", 3, "Source"}));
}

TEST_F(LogLineTest, EmptyLineWritesNothing) {
    Line();
    Line() << "";
    EXPECT_THAT(log->Entries(), IsEmpty());
}

TEST_F(LogLineTest, MovedLineIsWrittenOnce) {
    {
        CLogLine line = Line();
        line << "text";
        const CLogLine other = std::move(line);
    }
    EXPECT_THAT(log->Entries(), ElementsAre(LogEntry{"text", 3, "Source"}));
}

// Texts come from the product and from the host's messages: they are data, and nobody's format. A
// line is one call whatever it holds, so that the host can tell where the next one begins.
TEST_F(LogLineTest, FormatMarksAndLineBreaksPassAsTheyAre) {
    const std::string hostile("%s%n%1$s {} {0}\n4 forged\r\n\x1b[2J\0end", 34);
    ASSERT_EQ(hostile.substr(31), "end");
    Line() << "status: " << hostile;
    EXPECT_THAT(log->Entries(), ElementsAre(LogEntry{"status: " + hostile, 3, "Source"}));
}

TEST_F(LogLineTest, NumbersIgnoreTheGlobalLocale) {
    const Kyr::Test::CGroupingLocale grouping;
    Line() << std::uint64_t{18446744073709551615u};
    EXPECT_THAT(log->Entries(), ElementsAre(LogEntry{"18446744073709551615", 3, "Source"}));
}

TEST_F(LogLineTest, LineWithoutALoggerIsDropped) {
    EXPECT_NO_THROW(CLogLine(nullptr, 1, "Source") << "text");
}

TEST_F(LogLineTest, FailingLoggerIsSwallowed) {
    log->OnLine([](const LogEntry&) { throw std::runtime_error("disk full"); });
    EXPECT_NO_THROW(Line() << "text");
}

/// Written as something that fails.
struct Unwritable {};
std::ostream& operator<<(std::ostream&, const Unwritable&) {
    throw std::runtime_error("unwritable");
}

TEST_F(LogLineTest, LineWithAValueThatCannotBeWrittenIsLost) {
    EXPECT_NO_THROW(Line() << "begin " << Unwritable() << " end");
    EXPECT_THAT(log->Entries(), IsEmpty());
}

TEST_F(LogLineTest, LineThatWantsForMemoryIsLostAndNothingElse) {
    KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED();
    const std::string text(1000, 't');
    unsigned failures = 0;
    for (bool failed = true; failed; ++failures) {
        std::string source(100, 'S');
        {
            const Kyr::Test::CAllocationFailure failure(failures);
            CLogLine(log, 3, std::move(source)) << text << 1 << text << text;
            failed = failure.HasHappened();
        }
        EXPECT_EQ(log->Entries().size(), failed ? 0u : 1u) << failures;
    }
    // The line itself at least; Windows' runtime takes what its text needs by itself.
    EXPECT_GE(failures, 2u);
}

TEST_F(LogLineTest, WaitingLoggerDoesNotTakeTheInterruption) {
    log->OnLine([](const LogEntry&) { boost::this_thread::interruption_point(); });
    bool interrupted = false;
    boost::thread thread([&] {
        EXPECT_TRUE(Kyr::Test::AwaitInterruption());
        Line() << "text";
        interrupted = boost::this_thread::interruption_requested();
    });
    thread.interrupt();
    thread.join();
    EXPECT_TRUE(interrupted);
}

}  // namespace
}  // namespace Kyr::Connectors::Common
