#include <gtest/gtest.h>

#include <boost/thread/thread.hpp>

#include "connector/DeliveryContext.h"
#include "tests/support/host/TestMessage.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Test::MakeContext;

TEST(DeliveryContextTest, NewThreadHasAnEmptyOne) {
    bool empty = false;
    boost::thread([&] { empty = GetDeliveryContext() == nullptr; }).join();
    EXPECT_TRUE(empty);
}

// One that were made for the reading thread would be cleaned up when that thread ends, at a time
// when the library may be gone.
TEST(DeliveryContextTest, ThreadsThatSetNoneShareTheEmptyOne) {
    boost::thread([] {
        const auto* mine = &GetDeliveryContext();
        boost::thread([mine] { EXPECT_EQ(&GetDeliveryContext(), mine); }).join();
    }).join();
}

TEST(DeliveryContextTest, ThreadKeepsItsOwn) {
    const auto mine = MakeContext();
    const auto theirs = MakeContext();
    SetDeliveryContext(mine);
    boost::thread([&] {
        SetDeliveryContext(theirs);
        EXPECT_EQ(GetDeliveryContext(), theirs);
    }).join();
    EXPECT_EQ(GetDeliveryContext(), mine);
    SetDeliveryContext({});
}

TEST(DeliveryContextTest, IsKeptUntilReplaced) {
    const auto first = MakeContext();
    SetDeliveryContext(first);
    EXPECT_EQ(GetDeliveryContext(), first);
    EXPECT_EQ(GetDeliveryContext(), first);
    SetDeliveryContext({});
    EXPECT_EQ(GetDeliveryContext(), nullptr);
}

TEST(DeliveryContextTest, IsReleasedWithItsThread) {
    const auto context = MakeContext();
    boost::thread([&] { SetDeliveryContext(context); }).join();
    EXPECT_EQ(context.use_count(), 1);
}

}  // namespace
}  // namespace Kyr::Connectors::Common
