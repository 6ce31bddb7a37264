#include <gtest/gtest.h>

#include "kelcomm/messages/XmlRequest.h"
#include "tests/kelcomm/messages/TaskMessage.h"
#include "tests/support/GroupingLocale.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using Test::CGroupingLocale;
using Test::CPlainTask;

constexpr char kOpening[] =
    R"(<?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1"><REQUEST FUNCTION="F"><DATA>)";
constexpr char kClosing[] = "</DATA></REQUEST></MESSAGE></TULK>";

/// A request of the function F that holds `nodes`.
std::string Request(const std::string& nodes) {
    return kOpening + nodes + kClosing;
}

TEST(XmlRequestTest, RequestWithDataAndNoNodes) {
    EXPECT_EQ(CXmlRequest::WithData("RESTART_FDE").Close(),
              R"(<?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1">)"
              R"(<REQUEST FUNCTION="RESTART_FDE"><DATA></DATA></REQUEST></MESSAGE></TULK>)");
}

TEST(XmlRequestTest, RequestWithoutData) {
    EXPECT_EQ(CXmlRequest::WithoutData("GET_ENCRYPTION_STORAGE_STATUS").Close(),
              R"(<?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1">)"
              R"(<REQUEST FUNCTION="GET_ENCRYPTION_STORAGE_STATUS"></REQUEST></MESSAGE></TULK>)");
}

TEST(XmlRequestTest, StringNode) {
    EXPECT_EQ(CXmlRequest::WithData("F").StringNode("HASH_SHA1", "ab01").Close(),
              Request(R"(<NODE NAME="HASH_SHA1" TYPE="STRING" VALUE="ab01" />)"));
}

TEST(XmlRequestTest, EmptyValueKeepsItsNode) {
    EXPECT_EQ(CXmlRequest::WithData("F").StringNode("HASH_SHA1", "").Close(),
              Request(R"(<NODE NAME="HASH_SHA1" TYPE="STRING" VALUE="" />)"));
}

TEST(XmlRequestTest, NumberInAStringNodeIsUnsignedDecimal) {
    EXPECT_EQ(CXmlRequest::WithData("F").StringNode("PID", 0xFFFFFFFFFFFFFFFFu).Close(),
              Request(R"(<NODE NAME="PID" TYPE="STRING" VALUE="18446744073709551615" />)"));
}

TEST(XmlRequestTest, DwordNode) {
    EXPECT_EQ(CXmlRequest::WithData("F").DwordNode("DELETE", 1).Close(),
              Request(R"(<NODE NAME="DELETE" TYPE="DWORD" VALUE="1" />)"));
}

TEST(XmlRequestTest, NumbersAreNeverGrouped) {
    const CGroupingLocale locale;
    EXPECT_EQ(CXmlRequest::WithData("F").StringNode("A", 1234567).DwordNode("B", 7654321).Close(),
              Request(R"(<NODE NAME="A" TYPE="STRING" VALUE="1234567" />)"
                      R"(<NODE NAME="B" TYPE="DWORD" VALUE="7654321" />)"));
}

TEST(XmlRequestTest, NodesFollowEachOtherInOrderWithNothingBetween) {
    EXPECT_EQ(CXmlRequest::WithData("F").StringNode("B", "2").StringNode("A", "1").Close(),
              Request(R"(<NODE NAME="B" TYPE="STRING" VALUE="2" />)"
                      R"(<NODE NAME="A" TYPE="STRING" VALUE="1" />)"));
}

TEST(XmlRequestTest, ValuesAreNotEscaped) {
    EXPECT_EQ(CXmlRequest::WithData("F").StringNode("A", R"(<&">)").Close(),
              Request(R"(<NODE NAME="A" TYPE="STRING" VALUE="<&">" />)"));
}

TEST(XmlRequestTest, UserDataJoinsTheThreeIdentifiersInTheirOrder) {
    const CPlainTask task("11111111-1111-1111-1111-111111111111",
                          "22222222-2222-2222-2222-222222222222",
                          "33333333-3333-3333-3333-333333333333");
    EXPECT_EQ(CXmlRequest::WithData("F").UserData(task).Close(),
              Request(R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE=")"
                      "11111111-1111-1111-1111-111111111111;22222222-2222-2222-2222-222222222222;"
                      R"(33333333-3333-3333-3333-333333333333" />)"));
}

TEST(XmlRequestTest, EmptyThirdIdentifierEndsUserDataWithASemicolon) {
    EXPECT_EQ(CXmlRequest::WithData("F").UserData(CPlainTask("a", "b", "")).Close(),
              Request(R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="a;b;" />)"));
}

TEST(XmlRequestTest, UidElementsStandDirectlyInTheRequest) {
    EXPECT_EQ(CXmlRequest::WithoutData("F").UidElement("RECOVERY_DATA", "id").Close(),
              R"(<?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1">)"
              R"(<REQUEST FUNCTION="F"><RECOVERY_DATA UID="id" /></REQUEST></MESSAGE></TULK>)");
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
