// What the product tells when the run directory cannot hold a registration.
#include <cstdlib>
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
    EXPECT_EQ(Kyr::Test::ThrownText([] { Install(5600); }),
              "cannot write to the run directory: status C0000022: " + directory.Path() +
                  ": others may use it: its mode must be 0700");
}

TEST(RegistrationLinuxTest, RunDirectoryThatCannotBeIsNotTakenForAProductThatIsNotInstalled) {
    const Kyr::Test::CRunDirectory directory;
    const std::string missing = directory.Path() + "/no/run";
    ::setenv("KELCOMM_RUNTIME_DIR", missing.c_str(), 1);
    EXPECT_EQ(Kyr::Test::ThrownText([] { Uninstall(); }),
              "cannot write to the run directory: status C000003A: " + missing +
                  ": No such file or directory");
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
