#include <gmock/gmock.h>

#include "lab/simproduct/typed/ConfigurationCommands.h"
#include "tests/lab/simproduct/typed/GroupFixture.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::ElementsAre;

class ConfigurationCommandsTest : public GroupFixture {
  protected:
    ConsoleCommandGroup Group() override {
        return ConfigurationCommands(configuration_, lines_.Sink());
    }

    CConfiguration configuration_;
};

TEST_F(ConfigurationCommandsTest, AloneItShowsTheText) {
    EXPECT_THAT(Execute("configuration"), ElementsAre("answer command=configuration length=22 "
                                                      "text=\"update-server=default\\n\""));
}

TEST_F(ConfigurationCommandsTest, SetReplacesTheText) {
    EXPECT_THAT(Execute("configuration set files=off"),
                ElementsAre("answer command=configuration length=9 text=\"files=off\""));
    EXPECT_EQ("files=off", configuration_.Text());
}

TEST_F(ConfigurationCommandsTest, OfALongTextOnlyTheBeginningIsShown) {
    configuration_.Replace(std::string(1000, 'x'));

    EXPECT_THAT(Execute("configuration"), ElementsAre("answer command=configuration length=1000 "
                                                      "text=" +
                                                      std::string(200, 'x')));
}

TEST_F(ConfigurationCommandsTest, SetWithoutATextIsRefused) {
    EXPECT_EQ("a text is wanted behind `set`", Refusal("configuration set"));
    EXPECT_EQ("a text is wanted behind `set`", Refusal("configuration show"));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
