// What becomes of records when a collection ends at any of its steps: as after a crash, a new task
// goes on with what the host has kept. No record may be skipped, and only the batch that was in
// flight may come twice.
#include <stdexcept>

#include "connector/tasks/WinOvGetEcsLogsTasks.h"
#include "connector/tasks/WinOvGetRemediationTask.h"
#include "logs/DataMinerMessages.h"
#include "tests/connector/tasks/CollectionFixture.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using testing::ElementsAre;

/// The end of the program at some step; no task can catch it.
struct Crash {};

class CollectionCrashTest : public CollectionFixture {
  protected:
    /// From now on the program ends at its step number `last`, counted from 1. The steps are what
    /// others see: each read and write of a store, each request, each publication, and the moment
    /// after each.
    void CrashAt(int last) {
        left_ = last;
        keyValueStore->OnGet([this](const auto&) { Step(); });
        channel->product = [this](const Bytes& request) {
            Step();
            const Bytes reply = product(request);
            Step();
            return reply;
        };
        publisher->onPublish = [this](const auto& message) {
            Step();
            delivered(message);
            Step();
        };
        keyValueStore->OnSet([this](const std::string& key, const std::string& value) {
            Step();
            keyValueStore->Put(key, value);
            Step();
            return true;
        });
        remediationStore->OnStore([this](const auto& batch) {
            Step();
            received.insert(received.end(), batch.begin(), batch.end());
            Step();
            return true;
        });
    }
    /// Runs a new task; returns whether it came to its end.
    template <typename Execute>
    static bool Survives(Execute execute) {
        try {
            execute();
            return true;
        } catch (const Crash&) {
            return false;
        }
    }

    /// Collects with an end at the first step, at the second and so on until one collection comes
    /// to its end; each time from the beginning, and another collection goes on. Returns how many
    /// records arrived, by step; `check` looks at them before that.
    std::vector<std::size_t> Arrivals(
        const std::string& offsetKey, const std::string& lastOffset,
        const std::function<void()>& collect,
        const std::function<void(int step)>& check = [](int) {}) {
        std::vector<std::size_t> arrivals;
        bool survived = false;
        for (int step = 1; !survived; ++step) {
            received.clear();
            keyValueStore->Put(offsetKey, "");
            CrashAt(step);
            survived = Survives(collect);
            CrashAt(0);
            collect();
            EXPECT_EQ(keyValueStore->Text(offsetKey), lastOffset) << step;
            check(step);
            arrivals.push_back(received.size());
        }
        return arrivals;
    }

    std::function<Bytes(const Bytes& request)> product;
    std::function<void(const CRecordingPublisher::Message&)> delivered = [](const auto&) {};
    std::vector<std::string> received;  // in the order of arrival

  private:
    void Step() {
        if (--left_ == 0) {
            throw Crash();
        }
    }
    int left_ = 0;
};

// The product has "a", "b", "c" and hands out what lies behind the offset of the request, which is
// one byte behind the tag 08 or, for 0, not there.

TEST_F(CollectionCrashTest, NoStepOfARecordCollectionLosesARecord) {
    product = [](const Bytes& request) {
        const std::string all = "0A 01 61  0A 01 62  0A 01 63";
        const std::size_t offset = request.size() == 12 ? 0 : request.at(13);
        return offset == 0 ? Reply(all) : Reply("10 00");
    };
    delivered = [this](const CRecordingPublisher::Message& message) {
        using Batch = Kyr::Common::Message::DataMiners::CDataMinerStoreEcsIndicatorLogs;
        const auto& logs = dynamic_cast<const Batch&>(*message).GetLogs();
        received.insert(received.end(), logs.begin(), logs.end());
    };
    const auto collect = [this] {
        CWinOvGetEcsIndicatorLogsTask(logger, publisher, channel, nullptr, factory, keyValueStore)
            .Execute(TriggerOf(3));
    };
    const auto arrivals = Arrivals("XDR_OFFSET", "3", collect, [this](int step) {
        ASSERT_GE(received.size(), 3u) << step;
        EXPECT_EQ(std::vector<std::string>(received.begin(), received.begin() + 3),
                  (std::vector<std::string>{"a", "b", "c"}))
            << step;
    });
    // Read, request, reply, publish: once. Published, read again, stored: twice. Then it is past.
    EXPECT_THAT(arrivals, ElementsAre(3u, 3u, 3u, 3u, 6u, 6u, 6u, 3u, 3u));
}

TEST_F(CollectionCrashTest, NoStepOfARemediationLosesAnAction) {
    product = [](const Bytes& request) {
        const std::size_t offset = request.size() == 12 ? 0 : request.at(13);
        return offset == 0 ? Reply("0A 02 08 03  0A 02 08 01") : Reply("10 00");
    };
    const auto collect = [this] {
        CWinOvGetRemediationTask(logger, publisher, channel, nullptr, factory, remediationStore,
                                 keyValueStore)
            .Execute(TriggerOf(5));
    };
    // Read, request, reply, store: once. Stored, read again, offset: twice. Offset stored, and the
    // event before and after: past.
    EXPECT_THAT(Arrivals("OV_REMEDIATION_OFFSET", "2", collect),
                ElementsAre(1u, 1u, 1u, 1u, 2u, 2u, 2u, 1u, 1u, 1u, 1u));
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
