#include <fstream>
#include <gmock/gmock.h>

#include "lab/simproduct/recording/Recording.h"
#include "tests/support/ThrownText.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

class RecordingTest : public ::testing::Test {
  protected:
    std::string Write(const std::string& text) const {
        std::ofstream(file_) << text;
        return file_;
    }
    /// What is wrong with a file of this text, behind its name.
    std::string Complaint(const std::string& text) const {
        const std::string complaint = Kyr::Test::ThrownText([&] { CRecording{Write(text)}; });
        const std::string start = "the recording " + file_ + ": ";
        EXPECT_EQ(complaint.substr(0, start.size()), start);
        return complaint.substr(std::min(start.size(), complaint.size()));
    }

  private:
    const Kyr::Test::CTemporaryFolder folder_;
    const std::string file_ = folder_.File("some.recording");
};

TEST_F(RecordingTest, TellsBuildAndArea) {
    const CRecording recording(
        Write(R"({"ov-recording":1,"build":5600,"area":"20000000","answers":[]})"));
    EXPECT_THAT(recording.Build(), Optional(5600));
    EXPECT_THAT(recording.Area(), ElementsAre(0x20, 0, 0, 0));
}

TEST_F(RecordingTest, ProductThatWasNotInstalledHasNoBuild) {
    const CRecording recording(
        Write(R"({"ov-recording":1,"build":null,"area":null,"answers":[]})"));
    EXPECT_EQ(recording.Build(), std::nullopt);
    EXPECT_THAT(recording.Area(), IsEmpty());
}

TEST_F(RecordingTest, RequestGetsItsAnswersInTheirOrderAndTheLastAgainAndAgain) {
    CRecording recording(Write(R"({"ov-recording":1,"answers":[
        {"request":"0102","reply":"FFfe"},{"request":"02","reply":"0C"},
        {"request":"0102","reply":"0B"}]})"));
    EXPECT_THAT(recording.AnswerTo({1, 2}), Optional(ElementsAre(0xFF, 0xFE)));
    EXPECT_THAT(recording.AnswerTo({1, 2}), Optional(ElementsAre(0x0B)));
    EXPECT_THAT(recording.AnswerTo({1, 2}), Optional(ElementsAre(0x0B)));
}

TEST_F(RecordingTest, AnswerThatWasLeftOutIsNoneAndARefusalAHeaderWithItsStatus) {
    CRecording recording(Write(R"({"ov-recording":1,"answers":[
        {"request":"01","reply":null,"length":900},
        {"request":"02","reply":null,"refused":14}]})"));
    EXPECT_EQ(recording.AnswerTo({1}), std::nullopt);
    EXPECT_EQ(recording.AnswerTo({3}), std::nullopt);
    EXPECT_THAT(recording.AnswerTo({2}),
                Optional(ElementsAre(12, 0, 0, 0, 14, 0, 0, 0, 0, 0, 0, 0)));
}

TEST_F(RecordingTest, FileThatIsNoneIsRefusedWithTheReason) {
    const std::pair<std::string, const char*> kRows[] = {
        {"", "is no JSON: incomplete JSON"},
        {std::string(100000, '['), "is no JSON: too deep"},
        {"[]", "the document is no object"},
        {"{}", "is no recording: it has no \"ov-recording\""},
        {R"({"ov-recording":2})", "has version 2; this program reads version 1"},
        {R"({"ov-recording":"1"})", "has version \"1\"; this program reads version 1"},
        {R"({"ov-recording":1})", "answers are no array"},
        {R"({"ov-recording":1,"build":"x","answers":[]})", "build is no number of 32 bits"},
        {R"({"ov-recording":1,"build":4294967296,"answers":[]})", "build is no number of 32 bits"},
        {R"({"ov-recording":1,"area":7,"answers":[]})", "area is no text"},
        {R"({"ov-recording":1,"answers":[7]})", "an answer is no object"},
        {R"({"ov-recording":1,"answers":[{"reply":"00"}]})", "an answer has no request"},
        {R"({"ov-recording":1,"answers":[{"request":"00","refused":-1}]})", "refused is no status"},
    };
    for (const auto& [text, complaint] : kRows) {
        EXPECT_EQ(Complaint(text), complaint) << text.substr(0, 80);
    }
}

TEST_F(RecordingTest, DigitsThatAreNoneAreRefused) {
    EXPECT_THAT(Complaint(R"({"ov-recording":1,"area":"2","answers":[]})"),
                ::testing::StartsWith("area: "));
    EXPECT_THAT(Complaint(R"({"ov-recording":1,"answers":[{"request":"xy"}]})"),
                ::testing::StartsWith("request: "));
}

TEST_F(RecordingTest, FileThatIsMissingIsNamed) {
    EXPECT_EQ(Kyr::Test::ThrownText([] { CRecording("/no/such/file"); }),
              "the recording /no/such/file: cannot be read");
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
