#include <gtest/gtest.h>

#include "lab/simproduct/state/Configuration.h"

namespace Kyr::Lab::SimProduct {
namespace {

TEST(ConfigurationTest, TextIsKeptByteByByteUntilItIsReplaced) {
    CConfiguration configuration;
    configuration.Replace({"files=off\n\0\xFF", 12});
    EXPECT_EQ(std::string("files=off\n\0\xFF", 12), configuration.Text());

    configuration.Replace("");
    EXPECT_EQ("", configuration.Text());
    EXPECT_EQ(std::nullopt, configuration.Setting("files"));
}

TEST(ConfigurationTest, SettingIsTheLastLineOfItsName) {
    CConfiguration configuration;
    configuration.Replace("not files=off\nnetwork=on\r\nfiles=on\nfiles=off");

    EXPECT_EQ("off", configuration.Setting("files"));
    EXPECT_EQ("on", configuration.Setting("network"));
    EXPECT_EQ(std::nullopt, configuration.Setting("file"));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
