// A resource provider that has everything a connector module asks for, or what the test left of it.
//
// The number of each request is recorded. Threads: set up by one thread; the resources themselves
// may be used by any.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "host/kernel/IResource.h"
#include "host/kernel/Resources.h"
#include "tests/support/host/FakeBus.h"
#include "tests/support/host/FakeDatabase.h"
#include "tests/support/host/LogCapture.h"

namespace Kyr::Test {

/// A resource that is of none of the types that modules ask for.
class COtherResource : public Common::Kernel::IResource {};

class CFakeInstallConfiguration : public Common::Kernel::IInstallConfigurationResource {
  public:
    static constexpr char kInstanceUuid[] = "12345678-9abc-def0-1234-56789abcdef0";

    std::string GetInstanceUUID() const override { return instanceUuid; }

    std::string instanceUuid = kInstanceUuid;
};

/// Counts from 1.
class CFakeIdGenerator : public Common::Kernel::IIdGeneratorResource {
  public:
    std::uint32_t GenerateId() override { return ++last_; }

  private:
    std::uint32_t last_ = 0;
};

class CFakeConfiguration : public Common::Kernel::IConfigurationResource {};
class CFakeNetwork : public Common::Kernel::INetworkGrpcResource {};

class CFakeHost : public Common::Kernel::IResourceProvider {
  public:
    /// Provides the resources 1, 2, 3, 4, 6, 11 and 12.
    CFakeHost();

    boost::shared_ptr<Common::Kernel::IResource> GetResource(int number) override;

    void Set(int number, boost::shared_ptr<Common::Kernel::IResource> resource);

    const boost::shared_ptr<CFakeBus> bus;
    const boost::shared_ptr<CLogCapture> log;
    const boost::shared_ptr<CFakeInstallConfiguration> installConfiguration;
    const boost::shared_ptr<CFakeDatabase> database;
    /// Every number asked for, in order.
    std::vector<int> requested;

  private:
    std::map<int, boost::shared_ptr<Common::Kernel::IResource>> resources_;
};

}  // namespace Kyr::Test
