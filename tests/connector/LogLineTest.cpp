#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <locale>
#include <stdexcept>
#include <string>
#include <utility>

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "connector/LogLine.h"
#include "tests/support/LogCapture.h"

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

/// Groups digits, as many users' locales do.
class CGrouping : public std::numpunct<char> {
  protected:
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
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

TEST_F(LogLineTest, NumbersIgnoreTheGlobalLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale(), new CGrouping));
    Line() << std::uint64_t{18446744073709551615u};
    std::locale::global(before);
    EXPECT_THAT(log->Entries(), ElementsAre(LogEntry{"18446744073709551615", 3, "Source"}));
}

TEST_F(LogLineTest, LineWithoutALoggerIsDropped) {
    EXPECT_NO_THROW(CLogLine(nullptr, 1, "Source") << "text");
}

TEST_F(LogLineTest, FailingLoggerIsSwallowed) {
    class CFailing : public CLogCapture {
        void Log(const std::string&, int, const std::string&) override {
            throw std::runtime_error("disk full");
        }
    };
    EXPECT_NO_THROW(CLogLine(boost::make_shared<CFailing>(), 1, "Source") << "text");
}

TEST_F(LogLineTest, WaitingLoggerDoesNotTakeTheInterruption) {
    class CWaiting : public CLogCapture {
        void Log(const std::string&, int, const std::string&) override {
            boost::this_thread::interruption_point();
        }
    };
    bool interrupted = false;
    boost::thread thread([&] {
        boost::this_thread::disable_interruption off;
        while (!boost::this_thread::interruption_requested()) {
            boost::this_thread::yield();
        }
        const boost::this_thread::restore_interruption on(off);
        CLogLine(boost::make_shared<CWaiting>(), 1, "Source") << "text";
        interrupted = boost::this_thread::interruption_requested();
    });
    thread.interrupt();
    thread.join();
    EXPECT_TRUE(interrupted);
}

}  // namespace
}  // namespace Kyr::Connectors::Common
