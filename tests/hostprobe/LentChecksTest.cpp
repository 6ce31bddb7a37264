// Logs and stores with one fault each.
#include <gmock/gmock.h>
#include <map>
#include <stdexcept>
#include <string>

#include <boost/make_shared.hpp>

#include "tests/hostprobe/ProbedHost.h"

namespace Kyr::Test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST_F(HostProbeTest, LogThatThrowsAtOneLevelIsNamedAndPointsGoOn) {
    host_.log->OnLine([](const LogEntry& line) {
        if (line.level == 1) {
            throw std::runtime_error("no such level");
        }
    });
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("log-levels"));
    EXPECT_THAT(Told(), HasSubstr("the log throws an exception at level 1"));
}

TEST_F(HostProbeTest, LogThatTakesNoLineOfThePointsIsNamed) {
    host_.log->OnLine([](const LogEntry&) { throw std::runtime_error("disk full"); });
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("log-lines", "log-levels"));
}

TEST_F(HostProbeTest, ValueThatIsNotStoredIsNamed) {
    host_.database->keyValues->OnSet([](const std::string&, const std::string&) { return false; });
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("values-written", "values-read"));
}

TEST_F(HostProbeTest, StoreThatThrowsForAMissingKeyIsNamed) {
    host_.database->keyValues->OnGet([](const std::string& key) {
        if (key == "HOST_PROBE_NEVER_WRITTEN") {
            throw std::runtime_error("no such key");
        }
    });
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("values-read"));
    EXPECT_THAT(Told(), HasSubstr("no such key"));
}

TEST_F(HostProbeTest, StoreThatAnswersForAMissingKeyIsNamed) {
    class CGuessing final : public Common::Database::IKeyValueAccessMapper {
        std::string GetValue(const std::string& key) override {
            const auto found = values_.find(key);
            return found == values_.end() ? "0" : found->second;
        }
        bool SetValue(const std::string& key, const std::string& value) override {
            values_[key] = value;
            return true;
        }
        std::map<std::string, std::string> values_;
    };
    host_.database->mappers[348] = boost::make_shared<CGuessing>();
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("values-missing"));
}

TEST_F(HostProbeTest, StoreThatThrowsWhatIsNoExceptionIsNamed) {
    host_.database->keyValues->OnGet([](const std::string&) { throw 7; });
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("values-read"));
    EXPECT_THAT(Told(), HasSubstr("something that is no std::exception"));
}

TEST_F(HostProbeTest, StoreOfActionsThatRefusesIsDoubtful) {
    host_.database->remediationActions->OnStore(
        [](const CFakeRemediationActions::Batch&) { return false; });
    Examine();
    EXPECT_THAT(Wrong(), IsEmpty());
    EXPECT_THAT(Points("doubtful"), ElementsAre("actions-stored"));
}

}  // namespace
}  // namespace Kyr::Test
