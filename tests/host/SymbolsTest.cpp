// The host's number for each symbol that rows of this system carry.
#include <gtest/gtest.h>

#include "host/logs/Symbols.h"

namespace Kyr::Common::Logs::Symbols {
namespace {

TEST(SymbolsTest, ProtectionStatus) {
    EXPECT_EQ(ProtectionStatus::kInstance, 235);
    EXPECT_EQ(ProtectionStatus::kSeverity, 241);
    EXPECT_EQ(ProtectionStatus::kTime, 242);
    EXPECT_EQ(ProtectionStatus::kProductType, 244);
    EXPECT_EQ(ProtectionStatus::kProduct, 245);
    EXPECT_EQ(ProtectionStatus::kCategory, 246);
    EXPECT_EQ(ProtectionStatus::kStatusText, 247);
    EXPECT_EQ(ProtectionStatus::kStatus, 248);
    EXPECT_EQ(ProtectionStatus::kDescription, 4298);
}

TEST(SymbolsTest, AgentPresence) {
    EXPECT_EQ(AgentPresence::kInstance, 2141);
    EXPECT_EQ(AgentPresence::kPresence, 2143);
    EXPECT_EQ(AgentPresence::kTime, 2144);
    EXPECT_EQ(AgentPresence::k2146, 2146);
    EXPECT_EQ(AgentPresence::k2147, 2147);
}

TEST(SymbolsTest, ProductPresence) {
    EXPECT_EQ(ProductPresence::kInstance, 3552);
    EXPECT_EQ(ProductPresence::kPresence, 3554);
    EXPECT_EQ(ProductPresence::kTime, 3555);
    EXPECT_EQ(ProductPresence::kProductType, 3559);
    EXPECT_EQ(ProductPresence::kProductName, 3560);
    EXPECT_EQ(ProductPresence::kProduct, 4429);
}

TEST(SymbolsTest, Task) {
    EXPECT_EQ(Task::kInstance, 2834);
    EXPECT_EQ(Task::kStatus, 2836);
    EXPECT_EQ(Task::kTime, 2838);
    EXPECT_EQ(Task::kFirstIdentifier, 2842);
    EXPECT_EQ(Task::kSecondIdentifier, 2844);
    EXPECT_EQ(Task::kThirdIdentifier, 2846);
    EXPECT_EQ(Task::kOutcome, 2848);
    EXPECT_EQ(Task::kSeverity, 2850);
    EXPECT_EQ(Task::kProduct, 2853);
    EXPECT_EQ(Task::kDescription, 2913);
}

TEST(SymbolsTest, ProductConfiguration) {
    EXPECT_EQ(ProductConfiguration::kInstance, 1886);
    EXPECT_EQ(ProductConfiguration::kStatus, 1888);
    EXPECT_EQ(ProductConfiguration::kTime, 1889);
    EXPECT_EQ(ProductConfiguration::kProduct, 1891);
    EXPECT_EQ(ProductConfiguration::kConfiguration, 1892);
}

}  // namespace
}  // namespace Kyr::Common::Logs::Symbols
