// The small resources of the host, and the provider that hands all of them out by number and tells
// each request on demand, as `resource`.
//
// Threads: any, once the provider has been filled.
#pragma once

#include <atomic>
#include <map>
#include <string>

#include "host/kernel/Resources.h"
#include "lab/common/LineWriter.h"

namespace Kyr::Lab::DevHost {

class CInstallConfiguration final : public Common::Kernel::IInstallConfigurationResource {
  public:
    explicit CInstallConfiguration(std::string instanceUuid);
    ~CInstallConfiguration() override;
    std::string GetInstanceUUID() const override;

  private:
    const std::string instanceUuid_;
};

/// Counts from 1.
class CIdGenerator final : public Common::Kernel::IIdGeneratorResource {
  public:
    ~CIdGenerator() override;
    std::uint32_t GenerateId() override;

  private:
    std::atomic<std::uint32_t> last_{0};
};

/// Modules hold it and call nothing of it.
class CConfiguration final : public Common::Kernel::IConfigurationResource {
  public:
    ~CConfiguration() override;
};

/// Modules hold it and call nothing of it.
class CNetworkGrpc final : public Common::Kernel::INetworkGrpcResource {
  public:
    ~CNetworkGrpc() override;
};

class CResourceProvider final : public Common::Kernel::IResourceProvider {
  public:
    explicit CResourceProvider(LineSink events);
    ~CResourceProvider() override;
    void Add(int number, boost::shared_ptr<Common::Kernel::IResource> resource);
    boost::shared_ptr<Common::Kernel::IResource> GetResource(int number) override;

  private:
    const LineSink events_;
    std::map<int, boost::shared_ptr<Common::Kernel::IResource>> resources_;
};

}  // namespace Kyr::Lab::DevHost
