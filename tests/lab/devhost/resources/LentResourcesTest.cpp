#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>

#include "lab/devhost/resources/Bus.h"
#include "lab/devhost/resources/LentResources.h"

namespace Kyr::Test {
namespace {

using Common::Database::IKeyValueAccessMapper;
using Common::Database::IMapper;
using Common::Database::IOvRemediationActionsMapper;
using Common::Kernel::IDatabaseResource;
using namespace Lab::DevHost;

template <typename Interface, typename Pointer>
bool Is(const Pointer& object) {
    return boost::dynamic_pointer_cast<Interface>(object) != nullptr;
}

TEST(LentResourcesTest, DatabaseAndItsMappersAreNotTakenForEachOther) {
    const Lab::LineSink nowhere = [](const Lab::CLine&) {};
    CDatabase database(":memory:");
    CCollectionSteps steps({}, [] {});
    CFailures failures(nowhere);
    CLentResources lent(
        {boost::make_shared<CBus>(nowhere), database, steps, failures, nowhere, nowhere});

    const auto resource = lent.GetResource(6);
    EXPECT_FALSE(Is<IMapper>(resource));
    const auto lentDatabase = boost::dynamic_pointer_cast<IDatabaseResource>(resource);
    ASSERT_TRUE(lentDatabase);

    const auto values = lentDatabase->GetMapper(348);
    EXPECT_TRUE(Is<IKeyValueAccessMapper>(values));
    EXPECT_FALSE(Is<IOvRemediationActionsMapper>(values));
    EXPECT_FALSE(Is<IDatabaseResource>(values));

    const auto actions = lentDatabase->GetMapper(388);
    EXPECT_TRUE(Is<IOvRemediationActionsMapper>(actions));
    EXPECT_FALSE(Is<IKeyValueAccessMapper>(actions));
    EXPECT_FALSE(Is<IDatabaseResource>(actions));
}

}  // namespace
}  // namespace Kyr::Test
