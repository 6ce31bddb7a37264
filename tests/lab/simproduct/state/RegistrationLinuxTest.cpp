// What the product tells when the run directory cannot hold a registration.
#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>

#include "lab/simproduct/state/Registration.h"
#include "tests/support/ThrownText.h"
#include "tests/support/system/RunDirectory.h"

namespace Kyr::Lab::SimProduct {
namespace {

TEST(RegistrationLinuxTest, RunDirectoryThatOthersMayEnterIsAFailureWithItsStatus) {
    const Kyr::Test::CRunDirectory directory;
    boost::filesystem::permissions(directory.Path(),
                                   boost::filesystem::add_perms | boost::filesystem::others_read);
    EXPECT_EQ(Kyr::Test::ThrownText([] { SystemRegistration()->Install(5600); }),
              "cannot write to the run directory: status C0000022");
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
