#include <gmock/gmock.h>
#include <optional>
#include <stdexcept>

#include "lab/simproduct/typed/RegistrationCommands.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::ElementsAre;

class CFakeRegistration : public IRegistration {
  public:
    void Install(std::int32_t newBuild) override { build = newBuild; }
    void Uninstall() override { build.reset(); }

    std::optional<std::int32_t> build = 1;
};

class RegistrationCommandsTest : public ::testing::Test {
  protected:
    std::vector<std::string> Execute(const Words& words) {
        for (const ConsoleCommand& command : commands_) {
            if (command.name == words[0]) {
                command.run(words);
            }
        }
        return lines_.Take();
    }

    CFakeRegistration registration_;
    CLineList lines_;
    const ConsoleCommandGroup commands_ = RegistrationCommands(registration_, lines_.Sink());
};

TEST_F(RegistrationCommandsTest, InstallRegistersTheBuild) {
    EXPECT_THAT(Execute({"install", "build=5058"}),
                ElementsAre("answer command=install build=5058"));
    EXPECT_EQ(registration_.build, 5058);
}

TEST_F(RegistrationCommandsTest, BuildMayBeNegative) {
    EXPECT_THAT(Execute({"install", "build=-1"}), ElementsAre("answer command=install build=-1"));
    EXPECT_EQ(registration_.build, -1);
}

TEST_F(RegistrationCommandsTest, InstallWithoutANumberIsRefused) {
    EXPECT_THROW(Execute({"install"}), std::invalid_argument);
    EXPECT_THROW(Execute({"install", "5058"}), std::invalid_argument);
    EXPECT_THROW(Execute({"install", "build=5o"}), std::invalid_argument);
    EXPECT_EQ(registration_.build, 1);
}

TEST_F(RegistrationCommandsTest, UninstallTakesTheRegistrationBack) {
    EXPECT_THAT(Execute({"uninstall"}), ElementsAre("answer command=uninstall"));
    EXPECT_EQ(registration_.build, std::nullopt);
}

TEST_F(RegistrationCommandsTest, UninstallTakesNoWords) {
    EXPECT_THROW(Execute({"uninstall", "now"}), std::invalid_argument);
    EXPECT_EQ(registration_.build, 1);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
