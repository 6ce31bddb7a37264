#include <gtest/gtest.h>
#include <stdexcept>

#include "lab/devhost/typed/RequestBuilder.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CCommandArguments;

auto BuildTrigger(std::vector<std::string> words) {
    CCommandArguments arguments(std::move(words));
    return Lab::DevHost::BuildTrigger(arguments);
}

TEST(RequestBuilderTest, TriggerIsOfTheKindThatWasNamed) {
    EXPECT_EQ(2, BuildTrigger({"kind=2"})->GetRequestType());
}

TEST(RequestBuilderTest, TriggerMayBeOfAKindThatNobodyKnows) {
    EXPECT_EQ(2147483647, BuildTrigger({"kind=2147483647"})->GetRequestType());
}

TEST(RequestBuilderTest, TriggerIsReadOnlyBeforeItIsPublished) {
    EXPECT_TRUE(BuildTrigger({"kind=0"})->IsReadOnly());
}

TEST(RequestBuilderTest, TriggerNeedsAKind) {
    EXPECT_THROW(BuildTrigger({}), std::invalid_argument);
}

TEST(RequestBuilderTest, KindBeyondTheMessagesRangeIsRefused) {
    EXPECT_THROW(BuildTrigger({"kind=2147483648"}), std::invalid_argument);
}

TEST(RequestBuilderTest, WordTooManyIsRefused) {
    EXPECT_THROW(BuildTrigger({"kind=0", "now"}), std::invalid_argument);
}

}  // namespace
}  // namespace Kyr::Test
