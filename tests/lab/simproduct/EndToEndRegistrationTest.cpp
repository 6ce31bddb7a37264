// What the program registers on this computer, and when it takes it back.
#include <fstream>
#include <optional>

#include "module/ProductBuildReader.h"
#include "tests/lab/simproduct/EndToEndTest.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::SimProduct {
namespace {

class EndToEndRegistrationTest : public EndToEndTest {
  protected:
    /// As one who looks for the product finds it.
    static std::optional<std::int64_t> Build() {
        return Connectors::OvAgentConnector::SystemProductBuildReader()->Read();
    }
};

TEST_F(EndToEndRegistrationTest, ProductThatServesIsRegistered) {
    Run();
    EXPECT_EQ(5600, Build());
    Command("install build=5058");
    EXPECT_EQ(5058, Build());
    Command("uninstall");
    EXPECT_EQ(std::nullopt, Build());
}

TEST_F(EndToEndRegistrationTest, BuildOfTheCommandLineOutlivesTheProduct) {
    Run({"--build=5057"});
    actor_->Send("quit");
    ExpectCleanEnd();
    EXPECT_EQ(5057, Build());
}

TEST_F(EndToEndRegistrationTest, ProductOfARecordingIsInstalledAsItWasThen) {
    const Kyr::Test::CTemporaryFolder folder;
    std::ofstream(folder.File("old")) << R"({"ov-recording":1,"build":1234,"answers":[]})";
    std::ofstream(folder.File("none")) << R"({"ov-recording":1,"build":null,"answers":[]})";
    Run({"--replay=" + folder.File("old")});
    EXPECT_EQ(1234, Build());
    Run({"--replay=" + folder.File("none")});
    EXPECT_EQ(std::nullopt, Build());
}

TEST_F(EndToEndRegistrationTest, RecordingThatIsNoneIsRefusedBeforeAnythingIsServed) {
    const Kyr::Test::CTemporaryFolder folder;
    Launch({"--replay=" + folder.File("missing")});
    EXPECT_EQ("the recording " + folder.File("missing") + ": cannot be read",
              Field(Await("error"), "text"));
    EXPECT_EQ(1, actor_->AwaitEnd(kPatience));
}

TEST_F(EndToEndRegistrationTest, ProductThatIsOnlyInstalledDoesNotServe) {
    Launch({"--install-only"});
    ExpectCleanEnd();
    EXPECT_EQ(5600, Build());
}

TEST_F(EndToEndRegistrationTest, ProductMayServeWithoutBeingInstalled) {
    Launch({"--install-only"});
    ExpectCleanEnd();
    Run({"--not-installed"});
    EXPECT_EQ(std::nullopt, Build());
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
