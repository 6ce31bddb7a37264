// What the loaded module asks of the host when it is initialized.
#include <gmock/gmock.h>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "tests/module/LoadedLibrary.h"
#include "tests/support/host/FakeHost.h"
#include "tests/support/product/InstalledProduct.h"

namespace Kyr::Test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

struct MandatoryResource {
    int number;
    const char* complaint;
    std::vector<int> before;  // asked for and kept before this one
    std::vector<int> after;   // not asked for any more
};

void PrintTo(const MandatoryResource& resource, std::ostream* out) {
    *out << "resource " << resource.number;
}

class InitializeTest : public ::testing::Test {
  protected:
    /// What Initialize complains of; empty when it does not.
    std::string Complaint() {
        try {
            module_->Initialize(host_);
            return {};
        } catch (const std::runtime_error& exception) {
            return exception.what();
        }
    }

    const CInstalledProduct product_{5600};
    CLoadedLibrary library_;
    CFakeHost host_;
    boost::shared_ptr<CLoadedLibrary::Module> module_ = library_.CreateModule();
};

class MandatoryResourceTest : public InitializeTest,
                              public ::testing::WithParamInterface<MandatoryResource> {
  protected:
    long Owners(int number) { return host_.GetResource(number).use_count(); }
};

TEST_P(MandatoryResourceTest, MissingResourceIsNamed) {
    host_.Set(GetParam().number, {});
    EXPECT_EQ(Complaint(), GetParam().complaint);
}

TEST_P(MandatoryResourceTest, ResourceOfAnotherTypeIsTreatedLikeAMissingOne) {
    host_.Set(GetParam().number, boost::make_shared<COtherResource>());
    EXPECT_EQ(Complaint(), GetParam().complaint);
}

TEST_P(MandatoryResourceTest, ResourcesBeforeTheMissingOneAreKept) {
    std::vector<long> owners;
    for (const int number : GetParam().before) {
        owners.push_back(Owners(number));
    }
    host_.Set(GetParam().number, {});
    Complaint();
    for (std::size_t index = 0; index < owners.size(); ++index) {
        EXPECT_EQ(Owners(GetParam().before[index]), owners[index] + 1);
    }
}

TEST_P(MandatoryResourceTest, ResourcesBehindTheMissingOneAreNotAskedFor) {
    host_.Set(GetParam().number, {});
    Complaint();
    for (const int number : GetParam().after) {
        EXPECT_THAT(host_.requested, Not(Contains(number)));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Each, MandatoryResourceTest,
    ::testing::Values(
        MandatoryResource{
            1, "Bad cast to Kyr::Common::Kernel::IBusResource", {}, {2, 3, 4, 11, 12}},
        MandatoryResource{2,
                          "Bad cast to Kyr::Common::Kernel::IInstallConfigurationResource",
                          {1},
                          {3, 4, 11, 12}},
        MandatoryResource{
            3, "Bad cast to Kyr::Common::Kernel::ILoggerResource", {1, 2}, {4, 11, 12}},
        MandatoryResource{
            4, "Bad cast to Kyr::Common::Kernel::IIdGeneratorResource", {1, 2, 3}, {11, 12}},
        MandatoryResource{
            11, "Bad cast to Kyr::Common::Kernel::IConfigurationResource", {1, 2, 3, 4}, {12}}));

TEST_F(InitializeTest, HostWithoutAnythingLacksTheBusFirst) {
    for (const int number : {1, 2, 3, 4, 6, 11, 12}) {
        host_.Set(number, {});
    }
    EXPECT_EQ(Complaint(), "Bad cast to Kyr::Common::Kernel::IBusResource");
}

TEST_F(InitializeTest, DatabaseIsAskedForFirstAndTheNetworkLast) {
    EXPECT_EQ(Complaint(), "");
    EXPECT_THAT(host_.requested, ElementsAre(6, 1, 2, 3, 4, 11, 12));
}

TEST_F(InitializeTest, BothMappersAreObtained) {
    Complaint();
    EXPECT_THAT(host_.database->requested, ElementsAre(348, 388));
}

TEST_F(InitializeTest, MissingDatabaseIsNotComplainedOf) {
    host_.Set(6, {});
    EXPECT_EQ(Complaint(), "");
}

TEST_F(InitializeTest, DatabaseOfAnotherTypeIsNotComplainedOf) {
    host_.Set(6, boost::make_shared<COtherResource>());
    EXPECT_EQ(Complaint(), "");
}

TEST_F(InitializeTest, MapperOfAnotherTypeIsNotComplainedOf) {
    host_.database->mappers = {{348, host_.database->remediationActions}};
    EXPECT_EQ(Complaint(), "");
}

TEST_F(InitializeTest, NetworkMayBeMissing) {
    host_.Set(12, {});
    EXPECT_EQ(Complaint(), "");
}

TEST_F(InitializeTest, NetworkMayBeOfAnotherType) {
    host_.Set(12, boost::make_shared<COtherResource>());
    EXPECT_EQ(Complaint(), "");
}

}  // namespace
}  // namespace Kyr::Test
