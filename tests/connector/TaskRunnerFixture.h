// A module with its task runner, and what both of its suites expect of events and lines.
//
// Threads: the test's.
#pragma once

#include <chrono>
#include <string>

#include "tests/connector/ModuleFixture.h"

namespace Kyr::Connectors::Common {

class TaskRunnerFixture : public ModuleFixture {
  protected:
    static constexpr std::chrono::milliseconds kTenSeconds{10000};
    static constexpr char kRetriesExhausted[] =
        "Message task was canceled because maximum retry count was reached";
    static constexpr char kRetriesExhaustedLine[] =
        "Message task was canceled because maximum retry count was reached, message was: "
        "KillProcessByPid";

    void ExpectEvent(const EventPointer& event, int status, std::uint64_t code, int severity,
                     const std::string& text) {
        const auto symbols = event->GetSymbols();
        EXPECT_EQ(static_cast<int>(event->GetMessageType()), 10368);
        EXPECT_EQ(symbols->GetInt32(2836), status);
        EXPECT_EQ(symbols->GetResourceId(2848), code);
        EXPECT_EQ(symbols->GetInt64(2850), severity);
        EXPECT_EQ(symbols->FindString(2913).value_or(""), text);
        EXPECT_EQ(symbols->GetUuid(2834).uuid(), "12345678-9abc-def0-1234-56789abcdef0");
        EXPECT_EQ(symbols->GetUuid(2842).uuid(), kFirst);
        EXPECT_EQ(symbols->GetUuid(2844).uuid(), kSecond);
        EXPECT_EQ(symbols->GetUuid(2846).uuid(), kThird);
        EXPECT_EQ(symbols->GetResourceId(2853), 0x07100000000005E2u);
        EXPECT_TRUE(event->IsReadOnly());
    }
    /// Delivers one task message to a connected module and lets it be handled without retries.
    void RunTaskMessage() {
        StartAndConnect();
        Deliver(MakeTaskMessage());
        Finish();
    }
    /// Delivers one task message and runs all its retries on a clock whose sleeps take no time.
    void RunUntilLogged(const std::string& lastText) {
        clock->SetAutomaticSleep(true);
        StartAndConnect();
        Deliver(MakeTaskMessage());
        ASSERT_TRUE(host.log->AwaitText(lastText));
        Finish();
    }
};

}  // namespace Kyr::Connectors::Common
