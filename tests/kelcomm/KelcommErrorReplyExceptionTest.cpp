#include <gtest/gtest.h>
#include <string>
#include <type_traits>

#include "connector/channel/ErrorReplyChannelException.h"
#include "kelcomm/KelcommErrorReplyException.h"

namespace Kyr::Connectors::Common::Kelcomm {
namespace {

template <typename Exception>
class ErrorReplyTest : public testing::Test {};

struct ErrorReplyNames {
    template <typename Exception>
    static std::string GetName(int index) {
        return index == 0 ? "Kelcomm" : "Connector";
    }
};

using ErrorReplies = testing::Types<CKelcommErrorReplyException, CErrorReplyChannelException>;
TYPED_TEST_SUITE(ErrorReplyTest, ErrorReplies, ErrorReplyNames);

TYPED_TEST(ErrorReplyTest, CopyKeepsMessageAndStatus) {
    const TypeParam original("refused", 0xFFFFFFFE);
    const TypeParam copy(original);
    EXPECT_STREQ(copy.what(), "refused");
    EXPECT_EQ(copy.GetStatus(), 0xFFFFFFFEu);
}

TYPED_TEST(ErrorReplyTest, AssignmentTakesMessageAndStatus) {
    const TypeParam original("refused", 7);
    TypeParam copy("other", 1);
    copy = original;
    EXPECT_STREQ(copy.what(), "refused");
    EXPECT_EQ(copy.GetStatus(), 7u);
}

TYPED_TEST(ErrorReplyTest, IsCaughtAsTheStandardsExceptions) {
    EXPECT_THROW(throw TypeParam("refused", 1), std::runtime_error);
    EXPECT_THROW(throw TypeParam("refused", 1), std::exception);
}

TEST(KelcommErrorReplyExceptionTest, NeitherIsCaughtAsTheOther) {
    try {
        throw CKelcommErrorReplyException("refused", 1);
    } catch (const CErrorReplyChannelException&) {
        FAIL() << "caught as the connector's exception";
    } catch (const CKelcommErrorReplyException& error) {
        EXPECT_EQ(error.GetStatus(), 1u);
    }
    EXPECT_FALSE((std::is_base_of_v<CKelcommErrorReplyException, CErrorReplyChannelException>));
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm
