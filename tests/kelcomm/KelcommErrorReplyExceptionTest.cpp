#include <gtest/gtest.h>
#include <type_traits>

#include "connector/channel/ErrorReplyChannelException.h"
#include "kelcomm/KelcommErrorReplyException.h"

namespace Kyr::Connectors::Common::Kelcomm {
namespace {

TEST(KelcommErrorReplyExceptionTest, CopyKeepsMessageAndStatus) {
    const CKelcommErrorReplyException original("refused", 0xFFFFFFFE);
    const CKelcommErrorReplyException copy(original);
    EXPECT_STREQ(copy.what(), "refused");
    EXPECT_EQ(copy.GetStatus(), 0xFFFFFFFEu);
}

TEST(KelcommErrorReplyExceptionTest, ConnectorExceptionCopyKeepsMessageAndStatus) {
    const CErrorReplyChannelException original("refused", 7);
    const CErrorReplyChannelException copy(original);
    EXPECT_STREQ(copy.what(), "refused");
    EXPECT_EQ(copy.GetStatus(), 7u);
}

TEST(KelcommErrorReplyExceptionTest, BothAreRuntimeErrors) {
    EXPECT_TRUE((std::is_base_of_v<std::runtime_error, CKelcommErrorReplyException>));
    EXPECT_TRUE((std::is_base_of_v<std::runtime_error, CErrorReplyChannelException>));
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
