#include <gtest/gtest.h>

#include "lab/simproduct/state/Configuration.h"

namespace Kyr::Lab::SimProduct {
namespace {

TEST(ConfigurationTest, TextIsKeptByteByByte) {
    CConfiguration configuration;
    const std::string text("a\0\xFF\r\n", 5);

    configuration.Replace(text);

    EXPECT_EQ(text, configuration.Text());
}

TEST(ConfigurationTest, ReplacedTextLeavesNothingOfTheOneBefore) {
    CConfiguration configuration;
    configuration.Replace("files=off\n");
    configuration.Replace("");

    EXPECT_EQ("", configuration.Text());
    EXPECT_EQ(std::nullopt, configuration.Setting("files"));
}

TEST(ConfigurationTest, SettingIsALineOfItsOwn) {
    CConfiguration configuration;
    configuration.Replace("not files=off\nnetwork=on\r\nfiles=off");

    EXPECT_EQ("off", configuration.Setting("files"));
    EXPECT_EQ("on", configuration.Setting("network"));
    EXPECT_EQ(std::nullopt, configuration.Setting("file"));
}

TEST(ConfigurationTest, LastLineOfANameHolds) {
    CConfiguration configuration;
    configuration.Replace("files=off\nfiles=on\n");

    EXPECT_EQ("on", configuration.Setting("files"));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
