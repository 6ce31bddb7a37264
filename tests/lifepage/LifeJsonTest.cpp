#include <gmock/gmock.h>

#include "lifepage/LifeJson.h"

namespace Kyr::LifePage {
namespace {

using ::testing::HasSubstr;

Life OneEvent(const Event& event) {
    Life life;
    life.events.push_back(event);
    return life;
}

TEST(LifeJsonTest, EmptyLifeHasEveryMember) {
    Life life;
    life.title = "T";
    life.toldBy = "W";
    life.begin = std::chrono::system_clock::time_point(std::chrono::milliseconds(5));
    life.length = std::chrono::microseconds(1500);
    EXPECT_EQ(ToJson({life}),
              R"({"form":"life-of-a-connector","version":1,"lives":[{"title":"T","told-by":"W",)"
              R"("begin":5,"length":1.5,"processes":[],"steps":[],"events":[],"tasks":[],)"
              R"("records":[],"outages":[],"neutral":[]}]})");
}

TEST(LifeJsonTest, WhatIsNotKnownOfTheTimesIsSaid) {
    Life life;
    life.clock = Clock::kTimeOfDay;
    EXPECT_THAT(ToJson({life}), HasSubstr(R"("neutral":[],"clock":"time-of-day"})"));
    life.clock = Clock::kOrder;
    EXPECT_THAT(ToJson({life}), HasSubstr(R"("neutral":[],"clock":"order"})"));
}

TEST(LifeJsonTest, EveryStateOfATaskHasItsName) {
    Life life;
    for (int state = 0; state <= static_cast<int>(Task::State::kTold); ++state) {
        Task task;
        task.state = static_cast<Task::State>(state);
        life.tasks.push_back(task);
    }
    const std::string json = ToJson({life});
    std::size_t at = 0;
    for (const char* const name :
         {"given", "asked", "accepted", "accepted-not-done", "failing", "done", "done-with-warning",
          "failed", "given-up", "dropped", "told"}) {
        at = json.find("\"state\":\"" + std::string(name) + "\"", at);
        ASSERT_NE(at, std::string::npos) << name;
    }
}

TEST(LifeJsonTest, EventHasWhatItHasToSayAndNoMore) {
    Event event;
    event.at = std::chrono::nanoseconds(1234567);
    event.lane = Lane::kWire;
    event.kind = "reply";
    event.process = 1;
    event.weight = Weight::kWarning;
    event.text = "t";
    EXPECT_THAT(ToJson({OneEvent(event)}),
                HasSubstr(R"("events":[{"at":1.235,"lane":"wire","kind":"reply","process":1,)"
                          R"("weight":2,"text":"t"}])"));
}

TEST(LifeJsonTest, EverythingThatAnEventCanHave) {
    Event event;
    event.level = 3;
    event.fields = {{"k", "v"}};
    event.rows = {{"0", {{"1-a", "b"}}}};
    event.bytes = "A\xFF";
    event.parts = {{0, 1, "n", "v", ""}, {1, 1, "m", "", "no"}};
    event.answers = 4;
    event.message = 5;
    event.tasks = {6, 7};
    EXPECT_THAT(ToJson({OneEvent(event)}),
                HasSubstr(R"("level":3,"fields":[["k","v"]],)"
                          R"("rows":[{"name":"0","symbols":[["1-a","b"]]}],)"
                          R"("bytes":"41ff","length":2,"parts":[[0,1,"n","v"],[1,1,"m","","no"]],)"
                          R"("answers":4,"message":5,"tasks":[6,7])"));
}

TEST(LifeJsonTest, OfManyBytesTheFirstStandThere) {
    Event event;
    event.bytes = std::string(5000, 'A');
    const std::string json = ToJson({OneEvent(event)});
    std::string digits;
    for (int at = 0; at < 4096; ++at) {
        digits += "41";
    }
    EXPECT_THAT(json, HasSubstr("\"bytes\":\"" + digits + "\",\"length\":5000"));
}

TEST(LifeJsonTest, TasksRecordsOutagesStepsProcessesAndLines) {
    Life life;
    life.processes = {{"host 1", Moment(0), std::chrono::milliseconds(2), "with code 0"}};
    life.steps = {{Moment(0), std::chrono::milliseconds(2), "s", Step::End::kFailed, "f"}};
    Task task;
    task.what = "w";
    task.identifiers = {"a"};
    task.attempts = 2;
    task.state = Task::State::kDropped;
    task.why = "y";
    task.road = {{std::chrono::milliseconds(1), "r", Weight::kError, 3}};
    life.tasks = {task};
    life.records = {{"action", {{std::chrono::milliseconds(1), 7, 8, 9}}, 6, 5, {}, 0}};
    life.outages = {{Moment(0), std::chrono::milliseconds(2), true, false, true, "c", 2, 3}};
    life.neutral = {{"one", 4}, {"two", {}}};
    EXPECT_THAT(
        ToJson({life}),
        HasSubstr(
            R"("processes":[{"name":"host 1","from":0.0,"until":2.0,"end":"with code 0"}],)"
            R"("steps":[{"from":0.0,"until":2.0,"text":"s","held":false,"failure":"f"}],)"
            R"("events":[],"tasks":[{"what":"w","identifiers":["a"],"from":0.0,"until":0.0,)"
            R"("attempts":2,"state":"dropped","why":"y",)"
            R"("road":[{"at":1.0,"text":"r","weight":3,"event":3}]}],)"
            R"("records":[{"kind":"action","sent":6,"stored":5,"twice":null,"lost":0,)"
            R"("batches":[{"at":1.0,"from":7,"records":8,"event":9}]}],)"
            R"("outages":[{"from":0.0,"until":2.0,"over":true,"first":false,"host-stopped":true,)"
            R"("cause":"c","attempts":2,"event":3}],"neutral":[["one",4],["two",null]])"));
}

TEST(LifeJsonTest, CharactersOfHtmlAreEscaped) {
    Event event;
    event.text = "</script><!-- & \xE2\x80\xA8\xE2\x80\xA9";
    EXPECT_THAT(ToJson({OneEvent(event)}),
                HasSubstr(R"("text":"\u003c/script\u003e\u003c!-- \u0026 \u2028\u2029")"));
}

TEST(LifeJsonTest, WhatIsNoUtf8IsReplaced) {
    Event event;
    event.text = "a\xFF\xC0\xAF\xED\xA0\x80z";
    const std::string json = ToJson({OneEvent(event)});
    EXPECT_THAT(json, HasSubstr("\"text\":\"a\\ufffd"));
    EXPECT_THAT(json, HasSubstr("z\""));
    for (const char byte : json) {
        EXPECT_TRUE(byte >= ' ' && byte < 0x7F);
    }
}

TEST(LifeJsonTest, ControlCharactersAndQuotesAreEscaped) {
    Event event;
    event.text = std::string("\"\\\n\0\x1B", 5);
    EXPECT_THAT(ToJson({OneEvent(event)}), HasSubstr(R"("text":"\"\\\n\u0000\u001b")"));
}

}  // namespace
}  // namespace Kyr::LifePage
