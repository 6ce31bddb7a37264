// What the program registers on this computer, and when it takes it back.
#include <fstream>
#include <optional>

#include "module/ProductBuildReader.h"
#include "tests/lab/simproduct/EndToEndTest.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Build = std::optional<std::int64_t>;

class EndToEndRegistrationTest : public EndToEndTest {
  protected:
    /// As one who looks for the product finds it.
    static Build Found() {
        return Connectors::OvAgentConnector::SystemProductBuildReader()->Read();
    }

    const Kyr::Test::CTemporaryFolder folder_;
};

TEST_F(EndToEndRegistrationTest, ProductIsRegisteredAsTheCommandLineSays) {
    const std::string old = folder_.File("old");
    const std::string none = folder_.File("none");
    std::ofstream(old) << R"({"ov-recording":1,"build":1234,"answers":[]})";
    std::ofstream(none) << R"({"ov-recording":1,"build":null,"answers":[]})";
    const std::pair<std::vector<std::string>, Build> kRows[] = {
        {{}, 5600},
        {{"--build=5057"}, 5057},
        {{"--not-installed"}, std::nullopt},
        {{"--replay=" + old}, 1234},
        {{"--replay=" + none}, std::nullopt},
    };
    for (const auto& [arguments, build] : kRows) {
        Run(arguments);
        EXPECT_EQ(build, Found()) << (arguments.empty() ? "" : arguments[0]);
        actor_->Send("quit");
        ExpectCleanEnd();
        EXPECT_EQ(build, Found()) << "of a product that has ended";
    }
}

TEST_F(EndToEndRegistrationTest, RegistrationOutlivesTheProductAndCanBeMadeWithoutServing) {
    Launch({"--install-only"});
    ExpectCleanEnd();
    EXPECT_EQ(5600, Found());
}

TEST_F(EndToEndRegistrationTest, RecordingThatIsNoneIsRefusedBeforeAnythingIsServed) {
    Launch({"--replay=" + folder_.File("missing")});
    EXPECT_EQ("the recording " + folder_.File("missing") + ": cannot be read",
              Field(Await("error"), "text"));
    EXPECT_EQ(1, actor_->AwaitEnd(kPatience));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
